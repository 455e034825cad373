#include "view/driver/DriveInfo.h"
#include "common/facts/Command.h"
#include "common/ui/kit/ServerCall.h"
#include <QLabel>
#include <QProgressBar>
#include <QStyle>
#include <QVBoxLayout>

namespace
{
constexpr double NearlyFull = 0.9, Gib = 1024.0 * 1024 * 1024;
constexpr int AskMs = 5000;

double number(const QJsonObject &object, const char *key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    bool good = false;
    const double number = value.toVariant().toDouble(&good);
    return good ? number : -1;
}
} // namespace

DriveInfo::DriveInfo(int farmId, QWidget *parent)
    : QWidget(parent), m_farm(farmId), m_text(new QLabel(this)), m_bar(new QProgressBar(this))
{
    m_text->setObjectName(QStringLiteral("quiet"));
    m_text->setTextFormat(Qt::PlainText);
    m_bar->setObjectName(QStringLiteral("space"));
    m_bar->setAccessibleName(tr("网盘空间"));
    m_bar->setTextVisible(false);
    m_bar->setFixedHeight(6);
    m_bar->setRange(0, 1000);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addWidget(m_text);
    column->addWidget(m_bar);
    hide();
}

QString DriveInfo::text() const { return m_text->text(); }

void DriveInfo::ask(std::function<void()> then)
{
    const auto told = [this, then](const ServerCall::Answer &answer) {
        const double used = number(answer.object(), "usedSize"), size = number(answer.object(), "size");
        if (answer.good() && used >= 0 && size >= 0) {
            m_left = qint64(qMax(0.0, size - used) * Gib);
            show(used, size);
        }
        if (then)
            then();
    };
    ServerCall::ask(this, Command::DriveInfo, {{"farmId", m_farm}}, told, {}, AskMs);
}

void DriveInfo::show(double used, double size)
{
    m_text->setText(QStringLiteral("%1G/%2G").arg(used, 0, 'f', used < 100 ? 1 : 0).arg(size, 0, 'g', 6));
    const double part = size > 0 ? qBound(0.0, used / size, 1.0) : 1;
    m_bar->setValue(int(part * m_bar->maximum()));
    m_bar->setProperty("full", part > NearlyFull);
    m_bar->style()->unpolish(m_bar);
    m_bar->style()->polish(m_bar);
    setToolTip(tr("网盘空间：已用 %1G，共 %2G").arg(used, 0, 'f', 2).arg(size, 0, 'g', 6));
    QWidget::show();
}
