#pragma once
// The business protocol's packages as values: no socket, no thread. Both heads are big-endian.
//
// Received head, 36 bytes:                      Sent head, 28 bytes:
//   0  4 magic 11 12 13 14                        0  4 magic 11 12 13 14
//   4  4 length: bytes behind this field          4  4 length: body + 20
//   8  4 seq: request answered, -1 a push         8  4 seq
//  12  4 field3   16  4 field4 (unused)          12  4 reserved, 0
//  20  4 cmd                                     16  4 check: checksum of module, cmd, body
//  24  8 field6 (unused)                         20  4 module
//  32  4 val: result code                        24  4 cmd
//  36  length-28 body                            28    body
#include <functional>
#include <QByteArray>
#include <QMetaType>

struct RecvPackageHead {
    static constexpr int Size = 36;
    qint32 magic = 0, length = 0, seq = 0, field3 = 0, field4 = 0, cmd = 0;
    qint64 field6 = 0;
    qint32 val = 0;
    static bool parse(const QByteArray &data, RecvPackageHead *head); // false: short, wrong magic or length
};
Q_DECLARE_METATYPE(RecvPackageHead)

qint32 packageChecksum(qint32 module, qint32 cmd, const QByteArray &body);
QByteArray makePackage(qint32 module, qint32 cmd, qint32 seq, const QByteArray &body);

// Puts the stream together again: feed() takes what a read gave and calls out once per whole package, in order, in a
// loop (thirty thousand packages in one read don't deepen the stack). A head with a wrong magic drops the rest of that
// read and is counted; a length below 28 or above MaxLength can't be followed: broken() is then true, and the owner
// closes the link.
class PackageReader
{
public:
    static constexpr qint32 MaxLength = 256 * 1024 * 1024; // no reply of the server comes near
    void feed(const QByteArray &data, const std::function<void(const QByteArray &package)> &out);
    void reset();
    bool broken() const { return m_broken; }
    int badHeads() const { return m_badHeads; }
    bool readingHead() const { return m_buffer.isEmpty(); }

private:
    int takeInto(const QByteArray &data, int at, const std::function<void(const QByteArray &package)> &out);
    qint64 wholeSize(const char *head);

    QByteArray m_buffer; // a package that isn't whole yet, from its first byte
    int m_badHeads = 0;
    int m_life = 0; // counts resets: a callback may reset the reader that calls it
    bool m_broken = false;
};
