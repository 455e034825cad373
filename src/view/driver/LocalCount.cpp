#include "view/driver/LocalCount.h"
#include "common/Delivery.h"
#include <QDeadlineTimer>
#include <QDirIterator>
#include <QFileInfo>
#include <QThreadPool>

LocalCount::Sum LocalCount::count(const QStringList &paths, int patienceMs)
{
    Sum sum;
    const QDeadlineTimer until(patienceMs);
    for (const QString &path : paths) {
        const QFileInfo info(path);
        if (info.isFile()) {
            sum.bytes += info.size();
            ++sum.files;
        } else if (info.isDir()) {
            QDirIterator all(path, QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
            while (!until.hasExpired() && all.hasNext()) {
                all.next();
                sum.bytes += all.fileInfo().size();
                ++sum.files;
            }
        }
        if (until.hasExpired())
            return sum;
    }
    sum.whole = true;
    return sum;
}

// Not the shared thread of small disk work: a folder on a share that hangs would hold it up.
void LocalCount::start(const QList<QUrl> &urls, QObject *guard,
                       std::function<void(const QStringList &, const Sum &)> then)
{
    static QThreadPool pool;
    pool.start([urls, way = Delivery::here(), alive = QPointer<QObject>(guard), then] {
        QStringList paths;
        for (const QUrl &url : urls)
            if (url.isLocalFile())
                paths << url.toLocalFile();
        const Sum sum = count(paths);
        way.post(alive, [paths, sum, then] { then(paths, sum); });
    });
}
