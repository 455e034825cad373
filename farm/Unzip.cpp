// One file out of a ZIP: the central directory tells where it lies, how long it is and its checksum; the data is stored
// or deflated. Sizes beyond 4 GiB stand in the 64-bit extra field.
#include "ContentStore.h"
#include <QFile>
#include <QtEndian>
#include <zlib.h>

namespace farm
{

namespace
{
quint16 u16(const QByteArray &bytes, int at) { return qFromLittleEndian<quint16>(bytes.constData() + at); }
quint32 u32(const QByteArray &bytes, int at) { return qFromLittleEndian<quint32>(bytes.constData() + at); }
quint64 u64(const QByteArray &bytes, int at) { return qFromLittleEndian<quint64>(bytes.constData() + at); }

struct Entry {
    int method = 0;
    quint32 crc = 0;
    quint64 packed = 0, size = 0, header = 0;
    QByteArray name;
};

// The values that stand as all ones in the record follow in the extra field, in this order.
void readExtra(const QByteArray &extra, Entry *entry)
{
    for (int at = 0; at + 4 <= extra.size();) {
        const int id = u16(extra, at), length = u16(extra, at + 2);
        if (at + 4 + length > extra.size())
            return;
        int from = at + 4;
        for (quint64 *value : {&entry->size, &entry->packed, &entry->header}) {
            if (id == 1 && *value == 0xffffffffu && from + 8 <= at + 4 + length) {
                *value = u64(extra, from);
                from += 8;
            }
        }
        at += 4 + length;
    }
}

bool findEntry(QFile &zip, Entry *entry)
{
    const qint64 tailSize = qMin<qint64>(zip.size(), 65557);
    if (!zip.seek(zip.size() - tailSize))
        return false;
    const QByteArray tail = zip.read(tailSize);
    const int end = tail.lastIndexOf(QByteArray("PK\x05\x06", 4));
    if (end < 0 || end + 22 > tail.size())
        return false;
    quint64 count = u16(tail, end + 10), directory = u32(tail, end + 16);
    if ((count == 0xffff || directory == 0xffffffffu) && end >= 20 &&
        tail.mid(end - 20, 4) == QByteArray("PK\x06\x07", 4)) {
        if (!zip.seek(qint64(u64(tail, end - 20 + 8))))
            return false;
        const QByteArray big = zip.read(56);
        if (big.size() < 56)
            return false;
        count = u64(big, 32);
        directory = u64(big, 48);
    }
    if (count != 1 || directory > quint64(zip.size()) || !zip.seek(qint64(directory)))
        return false;
    const QByteArray record = zip.read(46);
    if (record.size() < 46 || record.left(4) != QByteArray("PK\x01\x02", 4))
        return false;
    *entry = Entry{u16(record, 10), u32(record, 16), u32(record, 20), u32(record, 24), u32(record, 42), {}};
    const QByteArray rest = zip.read(u16(record, 28) + u16(record, 30));
    entry->name = rest.left(u16(record, 28));
    readExtra(rest.mid(u16(record, 28)), entry);
    if (entry->header > quint64(zip.size()) || !zip.seek(qint64(entry->header)))
        return false;
    const QByteArray local = zip.read(30);
    return local.size() == 30 && local.left(4) == QByteArray("PK\x03\x04", 4) &&
           zip.seek(qint64(entry->header) + 30 + u16(local, 26) + u16(local, 28)) &&
           entry->packed <= quint64(zip.size());
}

// Runs the entry's bytes into the target, never writing more than its size.
bool unpack(QFile &zip, const Entry &entry, QFile &target)
{
    quint64 left = entry.packed, written = 0;
    uLong crc = crc32(0, nullptr, 0);
    const auto put = [&](const char *bytes, quint64 count) {
        written += count;
        crc = crc32(crc, reinterpret_cast<const Bytef *>(bytes), uInt(count));
        return written <= entry.size && target.write(bytes, qint64(count)) == qint64(count);
    };
    z_stream stream{};
    if (entry.method == 8 && inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return false;
    QByteArray out(1 << 18, Qt::Uninitialized);
    bool good = entry.method == 8 || entry.method == 0, ended = entry.method == 0;
    while (good && left > 0) {
        QByteArray in = zip.read(qint64(qMin<quint64>(left, 1 << 18)));
        good = !in.isEmpty();
        left -= quint64(in.size());
        if (entry.method == 0) {
            good = good && put(in.constData(), quint64(in.size()));
            continue;
        }
        stream.next_in = reinterpret_cast<Bytef *>(in.data());
        stream.avail_in = uInt(in.size());
        while (good && !ended) {
            stream.next_out = reinterpret_cast<Bytef *>(out.data());
            stream.avail_out = uInt(out.size());
            const int result = inflate(&stream, Z_NO_FLUSH);
            good = result == Z_OK || result == Z_STREAM_END || result == Z_BUF_ERROR;
            ended = result == Z_STREAM_END;
            const quint64 count = quint64(out.size()) - stream.avail_out;
            good = good && put(out.constData(), count);
            if (stream.avail_in == 0 && count < quint64(out.size()))
                break;
        }
    }
    if (entry.method == 8)
        inflateEnd(&stream);
    return good && ended && written == entry.size && quint32(crc) == entry.crc && target.flush();
}
} // namespace

bool unzipOne(const QString &path, const QString &target, qint64 size, const QString &name)
{
    QFile zip(path), out(target);
    Entry entry;
    if (!zip.open(QIODevice::ReadOnly) || !findEntry(zip, &entry) || entry.size != quint64(size) ||
        entry.name != name.toUtf8())
        return false;
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    if (unpack(zip, entry, out))
        return true;
    out.remove();
    return false;
}

} // namespace farm
