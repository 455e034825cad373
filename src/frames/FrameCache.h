#pragma once
// Frames that were read, ready to be painted, within a bounded memory: the ones longest unused go first. Reading
// happens on threads of the cache's own, the newest wish first, so that a jump doesn't wait for what was wished before.
// Main thread, but for what it does inside. A wish for what is there already answers at once.
#include "frames/FrameImage.h"
#include <deque>
#include <memory>
#include <QHash>
#include <QObject>
#include <QThreadPool>

class FrameCache : public QObject
{
    Q_OBJECT
public:
    struct Ready {
        std::shared_ptr<const FrameImage> frame;
        QImage shown;
        QSize size; // of the frame
        quint64 used = 0;
    };
    // mostBytes: of what is kept. shownWithin: pictures are kept scaled down to it (an empty one: as they are), and
    // the frame itself is let go then.
    explicit FrameCache(qint64 mostBytes, QObject *parent = nullptr, const QSize &shownWithin = {});
    ~FrameCache() override; // waits for the reads under way

    const Ready *find(const QString &path); // null: not there; wish for it
    void wish(const QString &path);         // ready() follows, once, also on failure
    void dropWishes();                      // of those that aren't being read yet
    void setLook(const FrameLook &look);    // what was developed otherwise goes
    void forget(const QString &path);       // the file has changed
    qint64 bytes() const { return m_bytes; }
    int waiting() const { return int(m_wishes.size()) + m_reading.size(); }

signals:
    void ready(QString path);

private:
    static constexpr int Threads = 2;
    void start();
    void take(const QString &path, std::shared_ptr<FrameImage> frame, const QImage &shown, int age);
    void shrink();
    static qint64 bytesOf(const Ready &one);

    qint64 m_most, m_bytes = 0;
    QSize m_within;
    FrameLook m_look;
    int m_age = 0; // of the look
    quint64 m_clock = 0;
    QHash<QString, Ready> m_ready;
    std::deque<QString> m_wishes;
    QHash<QString, int> m_reading; // path -> age of the look
    QThreadPool m_pool;
    std::shared_ptr<std::atomic_bool> m_stop = std::make_shared<std::atomic_bool>(false);
};
