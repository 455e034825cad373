#include "Wire.h"
#include <QtEndian>

namespace farm
{

namespace
{
qint32 int32At(const QByteArray &bytes, int at) { return qFromBigEndian<qint32>(bytes.constData() + at); }

void putInt32(QByteArray *bytes, qint32 value)
{
    char piece[4];
    qToBigEndian(value, piece);
    bytes->append(piece, 4);
}
} // namespace

void PackageFeed::add(const QByteArray &bytes)
{
    if (m_at > 0 && m_at == m_bytes.size()) {
        m_bytes.clear();
        m_at = 0;
    }
    m_bytes += bytes;
}

PackageFeed::Step PackageFeed::next(Package *package, QString *why)
{
    if (m_bytes.size() - m_at < RequestHead)
        return More;
    const int length = int32At(m_bytes, m_at + 4);
    if (int32At(m_bytes, m_at) != Magic) {
        *why = QStringLiteral("wrong magic");
        return Bad;
    }
    if (length < RequestHead - 8 || length > MaxPackage) {
        *why = QStringLiteral("length %1").arg(length);
        return Bad;
    }
    if (m_bytes.size() - m_at < length + 8)
        return More;
    package->seq = int32At(m_bytes, m_at + 8);
    package->module = int32At(m_bytes, m_at + 20);
    package->cmd = int32At(m_bytes, m_at + 24);
    package->body = m_bytes.mid(m_at + RequestHead, length + 8 - RequestHead);
    const qint32 zero = int32At(m_bytes, m_at + 12);
    const quint32 check = quint32(int32At(m_bytes, m_at + 16));
    m_at += length + 8;
    if (m_at > (1 << 20) || m_at == m_bytes.size()) {
        m_bytes.remove(0, m_at);
        m_at = 0;
    }
    if (zero != 0)
        *why = QStringLiteral("reserved field is %1").arg(zero);
    else if (check != packageCheck(package->module, package->cmd, package->body))
        *why = QStringLiteral("wrong checksum of command %1").arg(package->cmd);
    else if (package->module != package->cmd / 100)
        *why = QStringLiteral("module %1 of command %2").arg(package->module).arg(package->cmd);
    else
        return Whole;
    return Bad;
}

// A 32-bit FNV-1a over module, command and body, bytes taken as signed, with a final mix; the right shifts keep the
// sign.
quint32 packageCheck(int module, int cmd, const QByteArray &body)
{
    QByteArray front;
    putInt32(&front, module);
    putInt32(&front, cmd);
    quint32 sum = 2166136261u;
    const auto mix = [&sum](const QByteArray &bytes) {
        for (char one : bytes)
            sum = (sum ^ quint32(qint32(static_cast<signed char>(one)))) * 16777619u;
    };
    mix(front);
    mix(body);
    const auto right = [&sum](int bits) { return quint32(qint32(sum) >> bits); };
    sum += sum << 7;
    sum ^= right(6);
    sum += sum << 3;
    sum ^= right(8);
    sum += sum << 1;
    return sum;
}

QByteArray replyPackage(int seq, int cmd, int val, const QByteArray &body)
{
    QByteArray bytes;
    bytes.reserve(ReplyHead + body.size());
    for (int value : {int(Magic), ReplyHead - 8 + body.size(), seq, 0, 0, cmd, 0, 0, val})
        putInt32(&bytes, value);
    return bytes + body;
}

bool readFrameHead(const QByteArray &head, Frame *frame)
{
    frame->phase = int32At(head, 4);
    frame->offset = qFromBigEndian<qint64>(head.constData() + 8);
    frame->command = int32At(head, 16);
    frame->token = head.mid(20, 16);
    frame->length = int32At(head, 36);
    return int32At(head, 0) == Magic && frame->length >= 0 && frame->length <= MaxFrameData;
}

QByteArray frameReply(int phase, int command, int code, const QByteArray &body)
{
    QByteArray bytes;
    bytes.reserve(FrameReplyHead + body.size());
    for (int value : {int(Magic), phase, 0, command, 0, 0, code, body.size()})
        putInt32(&bytes, value);
    return bytes + body;
}

} // namespace farm
