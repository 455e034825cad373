#include "SourceFile.h"
#include "OssErrors.h"
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <thread>

namespace
{
constexpr std::chrono::milliseconds LookForStop{100};
std::atomic_int left{0}; // threads that nobody waits for any more
} // namespace

struct SourceFile::Desk {
    std::thread thread;
    std::mutex mutex; // the members below
    std::condition_variable turn;
    std::function<int(Desk *)> work;
    bool busy = false, end = false, counted = false; // counted: among those that are left
    int code = 0;
    // The thread's while busy, else the caller's.
    std::unique_ptr<QFile> file;
    Facts facts;
    QByteArray bytes;
    qint64 got = 0;

    static void serve(const std::shared_ptr<Desk> &desk)
    {
        std::unique_lock<std::mutex> lock(desk->mutex);
        for (;;) {
            desk->turn.wait(lock, [&desk] { return desk->busy || desk->end; });
            if (!desk->busy) {
                desk->file.reset();
                left -= desk->counted ? 1 : 0;
                return;
            }
            lock.unlock();
            const int code = desk->work(desk.get());
            lock.lock();
            desk->code = code;
            desk->busy = false;
            desk->turn.notify_all();
        }
    }
};

SourceFile::SourceFile(const std::atomic_bool *stop, int limitMs)
    : m_desk(std::make_shared<Desk>()), m_stop(stop), m_limitMs(limitMs)
{
    if (left.load() >= MostLeft)
        m_lost = OssError::SourceSilent;
    else
        m_desk->thread = std::thread([desk = m_desk] { Desk::serve(desk); });
}

SourceFile::~SourceFile()
{
    if (!m_desk->thread.joinable())
        return;
    // The file is closed for good when this returns, unless the storage holds it.
    const int closed = ask([](Desk *desk) -> int {
        desk->file.reset();
        return OssError::Done;
    });
    m_desk->thread.detach();
    const std::lock_guard<std::mutex> lock(m_desk->mutex);
    m_desk->end = true;
    m_desk->counted = closed != OssError::Done;
    left += m_desk->counted ? 1 : 0;
    m_desk->turn.notify_all();
}

int SourceFile::ask(const std::function<int(Desk *)> &work)
{
    if (m_lost != 0)
        return m_lost;
    std::unique_lock<std::mutex> lock(m_desk->mutex);
    m_desk->work = work;
    m_desk->busy = true;
    m_desk->turn.notify_all();
    const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(m_limitMs);
    while (!m_desk->turn.wait_for(lock, LookForStop, [this] { return !m_desk->busy; })) {
        if (m_stop->load())
            return m_lost = OssError::Stopped;
        if (std::chrono::steady_clock::now() >= limit)
            return m_lost = OssError::SourceSilent;
    }
    return m_desk->code;
}

int SourceFile::open(const QString &path)
{
    return ask([path](Desk *desk) -> int {
        const QFileInfo info(path);
        if (!info.exists())
            return OssError::FileMissing;
        desk->file = std::make_unique<QFile>(path);
        // Nothing is opened that may wait for another end.
        const bool good = info.isFile() && desk->file->open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        return good ? OssError::Done : OssError::FileUnreadable;
    });
}

int SourceFile::take(std::unique_ptr<QFile> file)
{
    m_desk->file = std::move(file);
    return OssError::Done;
}

int SourceFile::look(const QString &path, Facts *facts)
{
    const int code = ask([path](Desk *desk) -> int {
        const QFileInfo info(path);
        desk->facts = {info.size(), info.lastModified().toMSecsSinceEpoch()};
        return OssError::Done;
    });
    if (code == OssError::Done)
        *facts = m_desk->facts;
    return code;
}

int SourceFile::read(qint64 from, char *to, qint64 most, qint64 *got)
{
    *got = -1;
    if (m_stop->load())
        return OssError::Stopped;
    const int code = ask([from, most](Desk *desk) -> int {
        desk->bytes.resize(int(most));
        QFile *file = desk->file.get();
        desk->got = file && (file->isSequential() || file->seek(from)) ? file->read(desk->bytes.data(), most) : -1;
        return OssError::Done;
    });
    if (code == OssError::Done)
        *got = m_desk->got;
    if (*got > 0)
        std::memcpy(to, m_desk->bytes.constData(), size_t(*got));
    return code;
}
