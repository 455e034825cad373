#include "io/Package.h"
#include <cstring>
#include <QDataStream>
#include <QDebug>
#include <QtEndian>

namespace
{
constexpr char Magic[4] = {0x11, 0x12, 0x13, 0x14};
constexpr int LengthEnd = 8; // the length field counts what stands behind it
constexpr qint32 MinLength = RecvPackageHead::Size - LengthEnd;

bool hasMagic(const char *head) { return std::memcmp(head, Magic, sizeof(Magic)) == 0; }

// Shift right that keeps the sign, on the bits of an unsigned number.
quint32 arithmeticShift(quint32 value, int bits)
{
    const quint32 shifted = value >> bits;
    return value & 0x80000000u ? shifted | ~(0xFFFFFFFFu >> bits) : shifted;
}
} // namespace

bool RecvPackageHead::parse(const QByteArray &data, RecvPackageHead *head)
{
    if (data.size() < Size || !hasMagic(data.constData()))
        return false;
    QDataStream in(data);
    in >> head->magic >> head->length >> head->seq >> head->field3 >> head->field4 >> head->cmd >> head->field6 >>
        head->val;
    return head->length >= MinLength && head->length <= PackageReader::MaxLength;
}

qint32 packageChecksum(qint32 module, qint32 cmd, const QByteArray &body)
{
    char lead[8];
    qToBigEndian(module, lead);
    qToBigEndian(cmd, lead + 4);
    quint32 hash = 0x811C9DC5u;
    const auto mix = [&hash](const char *bytes, int count) {
        for (int i = 0; i < count; ++i) {
            const qint32 wide = static_cast<signed char>(bytes[i]);
            hash = (hash ^ static_cast<quint32>(wide)) * 16777619u;
        }
    };
    mix(lead, sizeof(lead));
    mix(body.constData(), body.size());
    hash += hash << 7;
    hash ^= arithmeticShift(hash, 6);
    hash += hash * 8u;
    hash ^= arithmeticShift(hash, 8);
    hash += hash * 2u;
    return static_cast<qint32>(hash);
}

QByteArray makePackage(qint32 module, qint32 cmd, qint32 seq, const QByteArray &body)
{
    QByteArray package;
    package.reserve(28 + body.size());
    QDataStream out(&package, QIODevice::WriteOnly);
    out << qint32(0x11121314) << qint32(body.size() + 20) << seq << qint32(0) << packageChecksum(module, cmd, body)
        << module << cmd;
    package += body;
    return package;
}

void PackageReader::feed(const QByteArray &data, const std::function<void(const QByteArray &)> &out)
{
    if (m_broken)
        return;
    // A package that is still running takes its bytes first; what is left is read in place, without being moved.
    int at = 0;
    while (at < data.size() && !m_broken) {
        if (!m_buffer.isEmpty() || data.size() - at < RecvPackageHead::Size) {
            at += takeInto(data, at, out);
            continue;
        }
        const qint64 whole = wholeSize(data.constData() + at);
        if (whole <= 0) {
            at = data.size();
        } else if (data.size() - at >= whole) {
            // The callback may reset this reader (a kick resets the link): nothing of the old stream counts then.
            const int life = m_life;
            out(data.mid(at, int(whole)));
            if (life != m_life)
                return;
            at += int(whole);
        } else {
            m_buffer = data.mid(at);
            at = data.size();
        }
    }
}

int PackageReader::takeInto(const QByteArray &data, int at, const std::function<void(const QByteArray &)> &out)
{
    qint64 want = RecvPackageHead::Size;
    if (m_buffer.size() >= RecvPackageHead::Size)
        want = wholeSize(m_buffer.constData());
    const int taken = int(qMin<qint64>(want - m_buffer.size(), data.size() - at));
    m_buffer.append(data.constData() + at, taken);
    if (m_buffer.size() < want)
        return taken;
    if (want == RecvPackageHead::Size && m_buffer.size() == RecvPackageHead::Size) {
        want = wholeSize(m_buffer.constData());
        if (want <= 0) {
            m_buffer.clear();
            return data.size() - at; // lost step: the rest of this read goes too
        }
        if (want > RecvPackageHead::Size)
            return taken;
    }
    QByteArray package;
    package.swap(m_buffer);
    const int life = m_life;
    out(package);
    return life == m_life ? taken : data.size() - at;
}

// Bytes of the package that starts here; 0 with a wrong magic, -1 with a length that can't be followed.
qint64 PackageReader::wholeSize(const char *head)
{
    if (!hasMagic(head)) {
        qDebug().noquote() << "------------ERROR!!!!!-------------" << ++m_badHeads;
        qDebug().noquote() << QStringLiteral("------------报文头不正确-------------");
        return 0;
    }
    const qint32 length = qFromBigEndian<qint32>(head + 4);
    if (length < MinLength || length > MaxLength) {
        qWarning().noquote() << "PackageReader::wholeSize: package length out of range," << length;
        m_broken = true;
        return -1;
    }
    return qint64(length) + LengthEnd;
}

void PackageReader::reset()
{
    m_buffer.clear();
    m_broken = false;
    ++m_life;
}
