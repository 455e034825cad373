#include "transfer/down/TrailingHash.h"
#include "transfer/Md5.h"
#include <QDebug>
#include <QFile>

namespace
{
constexpr qint64 Block = 1048576;
constexpr int LookMs = 200; // how soon a stop is noticed while nothing arrives
} // namespace

TrailingHash::TrailingHash(int fd, qint64 size, const std::atomic_bool &stop) : m_fd(fd), m_size(size), m_stop(stop)
{
    m_result = std::async(std::launch::async, [this] { return run(); });
}

TrailingHash::~TrailingHash()
{
    {
        QMutexLocker lock(&m_mutex);
        m_leave = true;
        m_moved.wakeAll();
    }
    if (m_result.valid())
        m_result.wait();
}

void TrailingHash::advance(qint64 position)
{
    QMutexLocker lock(&m_mutex);
    const bool wake = position / Block != m_position / Block || position == m_size;
    m_position = position;
    if (wake)
        m_moved.wakeAll();
}

QString TrailingHash::result() { return m_result.valid() ? m_result.get() : QString(); }

qint64 TrailingHash::wait(qint64 done)
{
    QMutexLocker lock(&m_mutex);
    while (!m_leave && !m_stop && m_position != m_size && m_position < done + Block)
        m_moved.wait(&m_mutex, LookMs);
    return m_leave || m_stop ? -1 : m_position;
}

QString TrailingHash::run()
{
    QFile file;
    if (!file.open(m_fd, QIODevice::ReadOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)) {
        qWarning().noquote() << "TrailingHash::run hasherr" << file.errorString();
        return {};
    }
    Md5 hash;
    QByteArray block(Block, Qt::Uninitialized);
    qint64 done = 0;
    while (done < m_size) {
        const qint64 until = wait(done);
        if (until < 0)
            return {};
        while (done < until && !m_stop) {
            const qint64 got = file.read(block.data(), qMin(Block, until - done));
            if (got <= 0) {
                qWarning().noquote() << "TrailingHash::run hasherr" << file.errorString();
                return {};
            }
            hash.add(block.constData(), got);
            done += got;
        }
    }
    return hash.hex();
}
