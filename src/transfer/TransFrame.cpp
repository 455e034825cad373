#include "transfer/TransFrame.h"
#include <QJsonDocument>
#include <QtEndian>

namespace TransFrame
{

constexpr quint32 Magic = 0x11121314;

bool Reply::parse(const QByteArray &data, Reply *reply)
{
    if (data.size() < ReplySize)
        return false;
    const char *bytes = data.constData();
    reply->phase = qFromBigEndian<qint32>(bytes + 4);
    reply->command = qFromBigEndian<qint32>(bytes + 12);
    reply->code = qFromBigEndian<qint32>(bytes + 24);
    return true;
}

QByteArray head(qint32 phase, qint32 command, const QByteArray &token, qint64 offset, qint32 length)
{
    char bytes[HeadSize] = {};
    qToBigEndian<quint32>(Magic, bytes);
    qToBigEndian<qint32>(phase, bytes + 4);
    qToBigEndian<qint64>(offset, bytes + 8);
    qToBigEndian<qint32>(command, bytes + 16);
    memcpy(bytes + 20, token.constData(), size_t(qMin(token.size(), TokenSize)));
    qToBigEndian<qint32>(length, bytes + 36);
    return QByteArray(bytes, HeadSize);
}

QByteArray ask(qint32 phase, qint32 command, const QByteArray &token, const QJsonObject &body)
{
    const QByteArray text = QJsonDocument(body).toJson(QJsonDocument::Compact);
    return head(phase, command, token, -1, text.size()) + text;
}

QByteArray tokenBytes(const QString &text)
{
    QString digits = text;
    digits.remove(QLatin1Char('-'));
    QByteArray out(TokenSize, '\0');
    for (int i = 0; i < TokenSize && 2 * i + 1 < digits.size(); ++i)
        out[i] = char(digits.midRef(2 * i, 2).toUInt(nullptr, 16));
    return out;
}

Body parseBody(const QByteArray &data, QJsonObject *object)
{
    const QJsonDocument doc = QJsonDocument::fromJson(data);
    if (doc.isObject()) {
        *object = doc.object();
        return Body::Complete;
    }
    return data.size() > MaxReplyBody || doc.isArray() ? Body::Bad : Body::Incomplete;
}
} // namespace TransFrame
