#pragma once
// The two wire formats of the farm, as values. Integers are big-endian.
//
// Business package from a client: 28 bytes of head, then the body.
//   0 magic 0x11121314 | 4 length: bytes behind this field | 8 seq | 12 zero | 16 check | 20 module | 24 command
// Business package to a client: 36 bytes of head, then the body.
//   0 magic | 4 length: bytes behind this field | 8 seq, -1 for a push | 12, 16 zero | 20 command | 24 zero (8) | 32
//   result
// File frame from a client: 40 bytes of head, then the body.
//   0 magic | 4 phase | 8 offset (8) | 16 command | 20 token (16) | 36 length of the body
// File reply: 32 bytes of head, then the body.
//   0 magic | 4 phase | 8 zero | 12 command | 16 zero (8) | 24 code | 28 length of the body
#include <QByteArray>
#include <QString>

namespace farm
{

enum { Magic = 0x11121314, RequestHead = 28, ReplyHead = 36, FrameHead = 40, FrameReplyHead = 32 };
constexpr int MaxPackage = 256 << 20;  // a whole business package
constexpr int MaxFrameJson = 1 << 20;  // body of an ask or a commit
constexpr int MaxFrameData = 64 << 20; // body of a chunk; the client's own ceiling is 40 MiB

struct Package {
    int seq = 0, module = 0, cmd = 0;
    QByteArray body;
};

// Takes the bytes of one link in any pieces and gives whole packages.
class PackageFeed
{
public:
    enum Step { Whole, More, Bad };
    void add(const QByteArray &bytes);
    // Bad: the stream can't be trusted any longer; why tells the reason.
    Step next(Package *package, QString *why);

private:
    QByteArray m_bytes;
    int m_at = 0;
};

quint32 packageCheck(int module, int cmd, const QByteArray &body);
QByteArray replyPackage(int seq, int cmd, int val, const QByteArray &body);

struct Frame {
    int phase = 0;
    qint64 offset = 0;
    int command = 0;
    QByteArray token;
    int length = 0;
};
// Reads the 40 bytes of a head. False: the magic or the length is wrong.
bool readFrameHead(const QByteArray &head, Frame *frame);
QByteArray frameReply(int phase, int command, int code, const QByteArray &body = {});

} // namespace farm
