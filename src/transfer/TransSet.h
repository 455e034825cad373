#pragma once
// What all transfers share: states and their texts, error texts, hashes, the frame, the size of the next packet. All
// static, any thread.
#include "common/facts/FileStates.h"
#include <atomic>
#include <QByteArray>
#include <QFile>
#include <QString>

class TransSet : public FileStates // TransSet::FileState
{
public:
    // How a worker ended, for finishUp, finishDown and the ...Finished signals.
    enum Finish {
        Done = 0,
        Dropped = 1,   // by the client: pause, delete
        Transient = 2, // back to waiting, no retry counted
        Hard = 3       // counted against the retry limit
    };
    // Errors that arise here (the servers' own codes pass through).
    enum Error {
        NoFile = 10000,
        OpenFailed = 10001,
        TimedOut = 10010,
        ShortHead = 10011,
        SocketWrite = 10012,
        BadStart = 10013,
        NotWritable = 10014,
        AccessFailed = 10015,
        NoHash = 10016,
        ZipFailed = 10017,
        BadHash = 10018,
        Changed = 10019,
        DiskFull = 10020,
        PathTooLong = 10021,
        EndFailed = 10022,
        NoFolder = 10023,
        DriveFailed = 10024,
        UnknownProtocol = 10025,
        AlreadyHere = 10026, // of a file that is over: it stood here, nothing was fetched
        StaleToken = 203,
        SocketBase = 100000
    };

    static QString errorText(int code);             // "<code>_<text>"; an unknown code is its own text
    static QString sentence(int code);              // for the user: the text, with the code in brackets
    static QString stateText(int state, int error); // empty where a state has no text

    // Lower-case hex MD5. Empty when stop turned true between two reads, or a read failed (logged). The first opens the
    // file where it isn't open and leaves it open; it reads from the start.
    static QString fileMD5(QFile *file, const std::atomic_bool &stop);
    static QString fileHash(const QString &path, const std::atomic_bool &stop);
    // Identifies a file by time, size, path and the account's prefix without reading it; empty for a missing one.
    static QString fakeHash(const QString &path);

    // A whole request frame: head and body joined (TransFrame.h has the layout).
    static QByteArray packFrame(int phase, int command, const QByteArray &token, qint64 offset, int length,
                                const QByteArray &body);

    static constexpr int FirstPacket = 10240, MinPacket = 10240, MaxPacket = 41943040;
    // Bytes of the next packet after one that took elapsedMs: three quarters above 10 s, else half as much again.
    static int nextPacketSize(int size, int elapsedMs);
    struct Pace {
        int packetSize;
        int delayMs;
    };
    // The next packet under a limit (KiB/s shared by `workers`; 0: none), and how long to wait before it: one packet a
    // second, and more of them where a second's share is bigger than a packet can be. elapsedMs: since the last one
    // began, its ask included.
    static Pace pace(int limitKib, int workers, int packetSize, int elapsedMs);

    // The limit that holds now, in KiB/s; 0: none. Within the hours from otherFrom to otherTo (minutes of the day, over
    // midnight too; alike: no such hours) the other speed holds.
    static int upLimit();
    static int downLimit();
    static int limitAt(int normal, int other, int from, int to, int minute);

    static constexpr int HashBlock = 1048576;
};
