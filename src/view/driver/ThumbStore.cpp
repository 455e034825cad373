#include "view/driver/ThumbStore.h"
#include "common/Delivery.h"
#include "frames/FrameImage.h"
#include <QPointer>
#include <QRunnable>

namespace
{
constexpr int Threads = 2, Kept = 600;
constexpr qint64 MostPixels = 64 * 1000 * 1000;
} // namespace

ThumbStore::ThumbStore(Fetch fetch, QObject *parent) : QObject(parent), m_fetch(std::move(fetch)), m_pixmaps(Kept)
{
    m_pool.setMaxThreadCount(Threads);
}

ThumbStore::~ThumbStore()
{
    m_pool.clear();
    m_pool.waitForDone();
}

QString ThumbStore::keyOf(const FileView &entry)
{
    return QStringLiteral("%1:%2:%3:%4").arg(entry.fileType).arg(entry.id).arg(entry.size).arg(entry.updatedAt);
}

const QPixmap *ThumbStore::find(const FileView &entry)
{
    const QPixmap *pixmap = m_pixmaps.object(keyOf(entry));
    return pixmap && !pixmap->isNull() ? pixmap : nullptr;
}

void ThumbStore::setSeen(const QVector<FileView> &entries)
{
    m_wanted.clear();
    for (const FileView &entry : entries)
        if (DriveText::picture(entry) && entry.size > 0 && entry.size <= Largest && !m_pixmaps.contains(keyOf(entry)) &&
            !m_under.contains(keyOf(entry)))
            m_wanted << entry;
    start();
}

void ThumbStore::forget()
{
    m_wanted.clear();
    const QStringList keys = m_pixmaps.keys();
    for (const QString &key : keys)
        if (m_pixmaps.object(key)->isNull())
            m_pixmaps.remove(key);
}

void ThumbStore::start()
{
    while (m_running < AtOnce && !m_wanted.isEmpty()) {
        const FileView entry = m_wanted.takeFirst();
        const QString key = keyOf(entry);
        ++m_running;
        m_under.insert(key);
        m_fetch(entry, [this, key, entry](const QByteArray &bytes) {
            if (bytes.isEmpty())
                return take(key, entry.id, {});
            const auto make = [this, key, entry, bytes, way = Delivery::here(), alive = QPointer<ThumbStore>(this)] {
                const FrameImage frame = FrameReader::read(bytes, entry.name, MostPixels);
                const QImage image = frame.valid() ? FrameReader::thumbnail(frame, QSize(Side, Side)) : QImage();
                way.post(QPointer<QObject>(alive), [this, key, entry, image] { take(key, entry.id, image); });
            };
            m_pool.start(make);
        });
    }
}

void ThumbStore::take(const QString &key, const QString &id, const QImage &image)
{
    --m_running;
    m_under.remove(key);
    m_pixmaps.insert(key, new QPixmap(QPixmap::fromImage(image)));
    start();
    if (!image.isNull())
        emit ready(id);
}
