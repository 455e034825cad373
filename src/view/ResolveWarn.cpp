#include "view/ResolveWarn.h"
#include "common/UserInfo.h"
#include <QFileInfo>
#include <QPlainTextEdit>
#include <QPushButton>

ResolveWarn::ResolveWarn(const db_resolve &res, QWidget *parent)
    : DialogFrame(QStringLiteral("ResolveWarn"), tr("解析警告"), parent)
{
    setHeading(QFileInfo(res.lpath).fileName(), res.lpath);
    auto *text = new QPlainTextEdit(this);
    text->setObjectName(QStringLiteral("text"));
    text->setReadOnly(true);
    text->setTabChangesFocus(true);
    text->setPlainText(res.errstr.trimmed());
    text->setAccessibleName(tr("警告内容"));
    text->setMinimumSize(520, 220);
    content()->addWidget(text, 1);
    const qlonglong key = res.rkey;
    const auto then = [this](auto signal, qlonglong rkey) {
        emit(this->*signal)(rkey);
        close();
    };
    addButton(tr("忽略警告继续提交"), Primary, [=] { then(&ResolveWarn::commit, key); });
    addButton(tr("本批次文件都忽略警告继续提交"), Plain, [=] { then(&ResolveWarn::batch, key); });
    addButton(tr("参数设置"), Plain, [=] {
        then(&ResolveWarn::parameters, key);
    })->setEnabled(UserInfo::canSetParameters());
    addButton(tr("重新解析"), Left, [=] { then(&ResolveWarn::again, key); })->setEnabled(UserInfo::canAnalyse());
    addButton(tr("关闭"), Close);
    preferBack();
}
