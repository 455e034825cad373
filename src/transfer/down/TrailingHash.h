#pragma once
// The MD5 of a file that is still being written: a side thread reads behind the writer, from the file itself, so that
// the digest stands about when the last byte does. Made, advanced and asked on one thread; the destructor ends the side
// thread. The stop flag must outlive the object.
// fd: the file, opened a second time for reading; closed by this object.
#include <atomic>
#include <future>
#include <QMutex>
#include <QString>
#include <QWaitCondition>

class TrailingHash
{
public:
    TrailingHash(int fd, qint64 size, const std::atomic_bool &stop);
    ~TrailingHash();

    void advance(qint64 position); // bytes that may be read now
    // Waits for the digest of all `size` bytes, lower-case hex. Empty when stopped or on a failed read (logged).
    QString result();

private:
    QString run();
    qint64 wait(qint64 done); // how far the file may be read; -1 to give up

    const int m_fd;
    const qint64 m_size;
    const std::atomic_bool &m_stop;
    QMutex m_mutex;
    QWaitCondition m_moved;
    qint64 m_position = 0;
    bool m_leave = false;
    std::future<QString> m_result;
};
