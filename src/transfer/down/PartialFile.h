#pragma once
// A download on its way: "<target>.xtemp" holds the data at full size, "<target>.vd" the number of bytes that are good,
// in decimal text, right-aligned in 10 characters. The number is written only once the data before it is on the medium
// (a sync on a side thread each second), so that it never runs ahead, not even through a power cut, which costs about
// a second of the stream. While bytes arrive a second line tells what is written beyond it and since which start of
// the machine (platform::bootMark): a killed program goes on from there. A big file's hash is worked out behind the
// writing position while the rest arrives. One thread: the worker's. Results are 0 or an error code of TransSet.
//
// The folder may be shared with others: it's reached step by step from the root, the partial files are made anew or
// known as our own, and nothing is written through a link that another user planted (see platform::Folder).
// A file below MarkFrom has no number: in a tree of many small ones it would cost more than they do.
//
//   open() -> write()... keep()... -> finish(): the target stands, both files are gone
//                                  -> destruction: both files stay, the number is brought up to date
#include "common/platform/SafeFile.h"
#include <atomic>
#include <future>
#include <memory>
#include <QElapsedTimer>
#include <QFile>
#include <QString>

class TrailingHash;

class PartialFile
{
public:
    static constexpr int Stopped = -1;
    static constexpr int KeepMs = 1000;
    static constexpr qint64 TrailFrom = 8 * 1024 * 1024; // smaller files are hashed at the end
    static constexpr qint64 NoteStep = 65536;            // bytes between two notes of what is written
    static constexpr qint64 MarkFrom = 262145;           // a smaller file has no number: it is fetched anew
    static constexpr qint64 Step = 64 * 1024 * 1024;     // the file grows by this much at a time
    static constexpr qint64 Spare = 1073741824;          // bytes that stay free on the drive

    // root: the known folder that target lies below; without one the target's own folder counts as chosen by the user.
    explicit PartialFile(const QString &target, const QString &root = {});
    ~PartialFile();
    PartialFile(const PartialFile &) = delete;
    PartialFile &operator=(const PartialFile &) = delete;

    // Of a name too long for an ending: a shorter one that is told from it.
    static QString tempPath(const QString &target);
    static QString sidePath(const QString &target);
    static void removeBoth(const QString &target, const QString &root = {});

    // Makes folder and files where they are missing and finds where to go on. NoFolder: somebody's link stands in the
    // way; NotWritable: the target's folder or drive takes no file; DiskFull: the rest doesn't fit into what is free
    // above Spare, or there is no room for a name or in the user's share; OpenFailed.
    int open(qint64 size);
    // Starts following the data with a hash, from the beginning of the file. stop ends it early.
    void trail(const std::atomic_bool &stop);
    qint64 position() const { return m_position; } // bytes written, from the start of the file
    qint64 mark() const { return m_mark; }         // what the position file says
    int write(const char *data, qint64 length);    // AccessFailed, DiskFull
    // Brings the number forward when a second has passed; costs nothing otherwise. AccessFailed.
    int keep();
    int keepNow(); // waits for the medium
    // Compares the hash (empty: nothing to compare), gives the file its name. Stopped; NoHash when it can't
    // be read; BadHash, which removes both files; EndFailed when the target can't be replaced.
    int finish(const QString &hash, const std::atomic_bool &stop);
    // Who has many small files synced together: finish() doesn't wait for the medium.
    void setSyncedByOwner() { m_ownSync = false; }
    void discard(); // closes and removes both

private:
    int reach();
    int openFresh();
    int openFiles();
    int grow(qint64 upTo);
    qint64 readMark();
    int writeMark(qint64 synced);
    bool syncRunning() const;
    int takeSync(bool wait);
    void close();

    const QString m_target, m_root, m_name;
    std::unique_ptr<platform::Folder> m_folder;
    QFile m_temp, m_side;
    qint64 m_size = 0, m_position = 0, m_mark = 0, m_noted = 0, m_sideSize = 0;
    qint64 m_grown = 0; // bytes that the file has been given
    bool m_ownSync = true;
    std::future<int> m_sync; // 0 or an error code
    qint64 m_syncing = 0;    // position that m_sync covers
    QElapsedTimer m_sinceSync;
    std::unique_ptr<TrailingHash> m_hash;
};
