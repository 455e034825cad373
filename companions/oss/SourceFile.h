#pragma once
// The file that is sent, on storage that may stop answering (a network folder whose server went away). Every look at it
// and every read is made by a thread of this object's; the caller waits for it, at most the limit and no longer than
// the stop flag is down. A call that the storage holds is left behind with its thread, which ends when the storage
// answers; from then on this object answers SourceSilent. One object serves one caller's thread.
#include <atomic>
#include <functional>
#include <memory>
#include <QString>

class QFile;

class SourceFile
{
public:
    static constexpr int LimitMs = 60000;
    static constexpr int MostLeft = 64; // threads that storage holds; beyond that no more are risked

    // stop: owned by the caller, outlives this.
    explicit SourceFile(const std::atomic_bool *stop, int limitMs = LimitMs);
    ~SourceFile();
    SourceFile(const SourceFile &) = delete;
    SourceFile &operator=(const SourceFile &) = delete;

    struct Facts {
        qint64 size = 0, modified = 0; // modified: milliseconds since the epoch
        bool operator==(const Facts &other) const { return size == other.size && modified == other.modified; }
    };
    // Each answers an OssError::Code: Done, FileMissing, FileUnreadable, SourceSilent or Stopped.
    int open(const QString &path);         // nothing but a regular file
    int take(std::unique_ptr<QFile> file); // one that is open already
    int look(const QString &path, Facts *facts);
    int read(qint64 from, char *to, qint64 most, qint64 *got); // got: 0 at the end, -1 where it can't be read

private:
    struct Desk;
    int ask(const std::function<int(Desk *)> &work);

    std::shared_ptr<Desk> m_desk; // shared with the thread
    const std::atomic_bool *m_stop;
    int m_limitMs, m_lost = 0; // lost: the code that all further calls get
};
