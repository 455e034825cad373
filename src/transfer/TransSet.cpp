#include "transfer/TransSet.h"
#include "common/UserInfo.h"
#include "transfer/TransFrame.h"
#include <QCryptographicHash>
#include <QDateTime>
#include <QFileInfo>

QString TransSet::fakeHash(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return {};
    const QString text = QStringLiteral("%1_%2_%3_%4")
                             .arg(info.lastModified().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")),
                                  QString::number(info.size()), path, UserInfo::hashPrefix());
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
}

QByteArray TransSet::packFrame(int phase, int command, const QByteArray &token, qint64 offset, int length,
                               const QByteArray &body)
{
    return TransFrame::head(phase, command, token, offset, length) + body;
}

int TransSet::nextPacketSize(int size, int elapsedMs)
{
    const double next = size * (elapsedMs > 10000 ? 0.75 : 1.5);
    return int(qBound(double(MinPacket), next, double(MaxPacket)));
}

TransSet::Pace TransSet::pace(int limitKib, int workers, int packetSize, int elapsedMs)
{
    if (limitKib <= 0)
        return {nextPacketSize(packetSize, elapsedMs), 0};
    const qint64 share = (qint64(limitKib) << 10) / qMax(1, workers);
    const int perWork = int(qBound(qint64(1), share, qint64(MaxPacket)));
    if (packetSize == perWork)
        return {packetSize, int(qMax<qint64>(0, 1000 * qint64(perWork) / qMax<qint64>(1, share) - elapsedMs))};
    return {qMin(nextPacketSize(packetSize, elapsedMs), perWork), 0};
}

int TransSet::limitAt(int normal, int other, int from, int to, int minute)
{
    const bool within = from < to ? minute >= from && minute < to : from > to && (minute >= from || minute < to);
    return qMax(0, within ? other : normal);
}

namespace
{
int limitNow(Settings::Key normal, Settings::Key other)
{
    const auto number = [](Settings::Key key) { return UserInfo::setting(key).toInt(); };
    const int minute = QTime::currentTime().msecsSinceStartOfDay() / 60000;
    return TransSet::limitAt(number(normal), number(other), number(Settings::OtherFrom), number(Settings::OtherTo),
                             minute);
}
} // namespace

int TransSet::upLimit() { return limitNow(Settings::UpSpeed, Settings::OtherUpSpeed); }
int TransSet::downLimit() { return limitNow(Settings::DownSpeed, Settings::OtherDownSpeed); }
