#pragma once
// The file server's frames as values: no socket, no thread. All integers are big-endian.
//
// Request, 40 bytes and the body:                    Reply, 32 bytes and the body:
//    0  4  magic 11 12 13 14                            0  4  magic (not checked)
//    4  4  phase: 0 ask, 1 data, 2 commit               4  4  phase of the request; -1: the frame was refused
//    8  8  offset of the data in the file; -1: none     8  4  (unused)
//   16  4  command                                     12  4  command
//   20 16  token, raw                                  16  8  (unused)
//   36  4  length of the body                          24  4  code
//   40     body: compact JSON or file bytes            28  4  (unused)
//                                                      32     body
//
// The reply tells no length: its body is whatever stands behind the head.
#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace TransFrame
{
constexpr int HeadSize = 40;
constexpr int ReplySize = 32;
constexpr int TokenSize = 16;
constexpr int MaxReplyBody = 64 * 1024; // a start point takes some 20 bytes; more isn't an answer

enum Command { AskUp = 70000, DataUp = 70002, CommitUp = 70004, AskDown = 70100, Refused = 79999 };
enum Phase { Ask = 0, Data = 1, Commit = 2, Failed = -1 };

struct Reply {
    qint32 phase = 0, command = 0, code = 0;
    // False: fewer than ReplySize bytes. Nothing else of the head is judged.
    static bool parse(const QByteArray &data, Reply *reply);
};

// The head alone: the caller sends `length` bytes of body after it.
QByteArray head(qint32 phase, qint32 command, const QByteArray &token, qint64 offset, qint32 length);
QByteArray ask(qint32 phase, qint32 command, const QByteArray &token, const QJsonObject &body); // offset -1

// The 16 token bytes of a UUID text; what isn't there (a shorter or broken text) reads as zero.
QByteArray tokenBytes(const QString &text);

enum class Body { Incomplete, Complete, Bad };
// Whether the bytes behind a head are a whole JSON object yet.
Body parseBody(const QByteArray &data, QJsonObject *object);
} // namespace TransFrame
