#include "view/ResolveWarn.h"
#include "common/UserInfo.h"
#include <QFileInfo>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

ResolveWarn::ResolveWarn(const db_resolve &res, QWidget *parent) : BaseWidget(Dialog, parent)
{
    setObjectName(QStringLiteral("ResolveWarn"));
    setAttribute(Qt::WA_DeleteOnClose);
    setTitle(tr("解析警告"));
    auto *lines = new QVBoxLayout;
    lines->setContentsMargins(24, 16, 24, 16);
    lines->setSpacing(8);
    auto *name = new QLabel(QFileInfo(res.lpath).fileName(), this);
    name->setObjectName(QStringLiteral("heading"));
    name->setToolTip(res.lpath);
    lines->addWidget(name);
    auto *text = new QPlainTextEdit(this);
    text->setObjectName(QStringLiteral("text"));
    text->setReadOnly(true);
    text->setPlainText(res.errstr.trimmed());
    text->setAccessibleName(tr("警告内容"));
    text->setMinimumSize(520, 220);
    lines->addWidget(text, 1);
    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    const auto add = [&](const QString &title, bool primary, auto hit) {
        auto *button = new QPushButton(title, this);
        button->setProperty("primary", primary);
        connect(button, &QPushButton::clicked, this, [this, hit] {
            hit();
            close();
        });
        buttons->addWidget(button);
        return button;
    };
    const qlonglong key = res.rkey;
    add(tr("提交渲染"), true, [this, key] { emit commit(key); });
    add(tr("重新解析"), false, [this, key] { emit again(key); })->setEnabled(UserInfo::canAnalyse());
    add(tr("关闭"), false, [] {})->setFocus();
    lines->addLayout(buttons);
    body()->addLayout(lines);
}
