#include "frames/FrameCache.h"
#include <algorithm>
#include <QRunnable>

FrameCache::FrameCache(qint64 mostBytes, QObject *parent, const QSize &shownWithin)
    : QObject(parent), m_most(mostBytes), m_within(shownWithin)
{
    m_pool.setMaxThreadCount(Threads);
}

FrameCache::~FrameCache()
{
    *m_stop = true;
    m_pool.clear();
    m_pool.waitForDone();
}

const FrameCache::Ready *FrameCache::find(const QString &path)
{
    const auto it = m_ready.find(path);
    if (it == m_ready.end())
        return nullptr;
    it->used = ++m_clock;
    return &*it;
}

void FrameCache::wish(const QString &path)
{
    if (m_ready.contains(path)) {
        QMetaObject::invokeMethod(
            this, [this, path] { emit ready(path); }, Qt::QueuedConnection);
        return;
    }
    if (m_reading.value(path, -1) == m_age)
        return;
    m_wishes.erase(std::remove(m_wishes.begin(), m_wishes.end(), path), m_wishes.end());
    m_wishes.push_front(path);
    start();
}

void FrameCache::dropWishes() { m_wishes.clear(); }

void FrameCache::start()
{
    while (!m_wishes.empty() && m_reading.size() < Threads) {
        const QString path = m_wishes.front();
        m_wishes.pop_front();
        if (m_reading.contains(path)) { // with an older look: its end brings it back
            m_reading[path] = -1;
            continue;
        }
        const int age = m_age;
        m_reading.insert(path, age);
        m_pool.start(QRunnable::create([this, path, age, look = m_look, within = m_within, stop = m_stop] {
            auto frame = std::make_shared<FrameImage>();
            QImage shown;
            if (!*stop) {
                *frame = FrameReader::read(path);
                shown = FrameReader::develop(*frame, look, stop.get());
                if (within.isValid() && (shown.width() > within.width() || shown.height() > within.height()))
                    shown = shown.scaled(within, Qt::KeepAspectRatio, Qt::SmoothTransformation);
            }
            if (!*stop)
                QMetaObject::invokeMethod(
                    this, [this, path, frame, shown, age] { take(path, frame, shown, age); }, Qt::QueuedConnection);
        }));
    }
}

void FrameCache::take(const QString &path, std::shared_ptr<FrameImage> frame, const QImage &shown, int age)
{
    const int wanted = m_reading.take(path);
    if (age != m_age || wanted != age) { // the look has changed meanwhile
        if (std::find(m_wishes.begin(), m_wishes.end(), path) == m_wishes.end())
            m_wishes.push_front(path);
        start();
        return;
    }
    Ready one;
    one.size = QSize(frame->width, frame->height);
    one.shown = shown;
    if (m_within.isValid()) {
        frame->pixels = {};
        frame->image = {};
    }
    one.frame = frame;
    one.used = ++m_clock;
    forget(path);
    m_bytes += bytesOf(one);
    m_ready.insert(path, one);
    shrink();
    start();
    emit ready(path);
}

qint64 FrameCache::bytesOf(const Ready &one) { return one.shown.sizeInBytes() + one.frame->bytes(); }

void FrameCache::forget(const QString &path)
{
    const auto it = m_ready.find(path);
    if (it == m_ready.end())
        return;
    m_bytes -= bytesOf(*it);
    m_ready.erase(it);
}

// The newest one stays, however large it is.
void FrameCache::shrink()
{
    while (m_bytes > m_most && m_ready.size() > 1) {
        const auto oldest = std::min_element(m_ready.begin(), m_ready.end(),
                                             [](const Ready &a, const Ready &b) { return a.used < b.used; });
        m_bytes -= bytesOf(*oldest);
        m_ready.erase(oldest);
    }
}

void FrameCache::setLook(const FrameLook &look)
{
    if (look == m_look)
        return;
    m_look = look;
    ++m_age;
    m_ready.clear();
    m_bytes = 0;
}
