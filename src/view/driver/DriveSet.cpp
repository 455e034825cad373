#include "view/driver/DriveSet.h"
#include "common/ui/kit/Form.h"
#include "common/UserInfo.h"
#include "transfer/drive/DriveQueue.h"
#include <QPlainTextEdit>
#include <QPushButton>

namespace
{
constexpr int MostLimit = 1048576; // KiB/s

// A line each, none twice.
QStringList patterns(const QString &text, QChar sign)
{
    QStringList out;
    const QStringList lines = text.split(sign);
    for (const QString &line : lines)
        if (const QString one = line.trimmed().remove(QLatin1Char(';')); !one.isEmpty() && !out.contains(one))
            out << one;
    return out;
}
} // namespace

DriveSet::DriveSet(QWidget *parent)
    : DialogFrame(QStringLiteral("DriveSet"), tr("云盘设置"), parent), m_exclude(new QPlainTextEdit(this))
{
    m_form = new Form({Field::number(QStringLiteral("upDSpeed"), tr("上传限速"), 0, MostLimit)
                           .orNone(tr("不限"))
                           .measured(QStringLiteral("KB/s")),
                       Field::toggle(QStringLiteral("upHash"), tr("上传前计算MD5，农场已有的文件不再上传"))},
                      this);
    m_form->setValues({{"upDSpeed", UserInfo::upDSpeed()}, {"upHash", UserInfo::upHash()}});
    content()->addWidget(m_form);
    auto *words =
        new QLabel(tr("传输文件夹时不包含以下名称（每行一个，可用 * 和 ?，以 / 结尾表示只匹配文件夹）："), this);
    words->setWordWrap(true);
    content()->addWidget(words);
    m_exclude->setObjectName(QStringLiteral("text"));
    m_exclude->setAccessibleName(tr("不传输的名称"));
    m_exclude->setTabChangesFocus(true);
    m_exclude->setPlainText(
        patterns(UserInfo::setting(Settings::DriveExclude).toString(), QLatin1Char(';')).join(QLatin1Char('\n')));
    content()->addWidget(m_exclude, 1);
    setWanted({460, 300});
    addButton(tr("恢复默认"), Left, [this] {
        m_exclude->setPlainText(patterns(Settings::of(Settings::DriveExclude).fallback.toString(), QLatin1Char(';'))
                                    .join(QLatin1Char('\n')));
    });
    addButton(tr("保存"), Primary, [this] { save(); });
    addButton(tr("取消"), Close);
}

void DriveSet::save()
{
    if (!m_form->check())
        return;
    UserInfo::setSetting(Settings::DriveExclude,
                         patterns(m_exclude->toPlainText(), QLatin1Char('\n')).join(QLatin1Char(';')));
    UserInfo::setSetting(Settings::UpHash, m_form->value(QStringLiteral("upHash")).toVariant().toInt());
    DriveQueue::setUpLimit(m_form->value(QStringLiteral("upDSpeed")).toVariant().toInt());
    close();
}
