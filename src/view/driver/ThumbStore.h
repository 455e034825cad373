#pragma once
// Small pictures of the pictures that are seen, fetched from the farm and made small in the background: at most four at
// a time, and only for what is in sight now; what scrolled away before its turn isn't fetched. Those longest unused go
// first. Main thread; owned by the farm's page.
#include "view/driver/FileView.h"
#include <functional>
#include <QCache>
#include <QObject>
#include <QPixmap>
#include <QSet>
#include <QThreadPool>

class ThumbStore : public QObject
{
    Q_OBJECT
public:
    static constexpr int AtOnce = 4, Side = 96;
    static constexpr qlonglong Largest = 32LL << 20; // bytes of a file that is worth a small picture
    // Fetches a whole file and calls back on the main thread, once, with nothing on failure.
    using Fetch = std::function<void(const FileView &entry, std::function<void(const QByteArray &)> then)>;
    ThumbStore(Fetch fetch, QObject *parent);
    ~ThumbStore() override;                     // waits for the pictures in the making
    const QPixmap *find(const FileView &entry); // null: none, or not yet
    void setSeen(const QVector<FileView> &entries);
    void forget(); // another folder: failures are tried again
    int running() const { return m_running; }

signals:
    void ready(QString id);

private:
    void start();
    void take(const QString &key, const QString &id, const QImage &image);
    static QString keyOf(const FileView &entry);

    Fetch m_fetch;
    QCache<QString, QPixmap> m_pixmaps; // a null one: there is none
    QVector<FileView> m_wanted;
    QSet<QString> m_under; // way
    int m_running = 0;
    QThreadPool m_pool;
};
