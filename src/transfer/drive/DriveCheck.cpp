#include "transfer/drive/DriveCheck.h"
#include "transfer/drive/DriveCheckWork.h"
#include <condition_variable>
#include <mutex>
#include <QDataStream>
#include <QDateTime>
#include <QDebug>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <thread>

namespace
{
constexpr int WrittenMs = 60000; // until a batch is in the store
constexpr int LookMs = 200;
constexpr int EndMs = 3000; // for what runs, at the program's end

// All that was started, so that it ends before the program does.
struct Living {
    QMutex mutex;
    QList<std::weak_ptr<std::atomic_bool>> stops;
    QMap<qlonglong, std::shared_ptr<DriveCheck>> remembered;
    qlonglong lastId = 0;
    std::atomic_int threads{0};
};

Living &living()
{
    static Living *one = [] {
        qAddPostRoutine([] {
            Living &all = living();
            QMap<qlonglong, std::shared_ptr<DriveCheck>> gone;
            {
                QMutexLocker lock(&all.mutex);
                gone.swap(all.remembered);
                for (const auto &stop : qAsConst(all.stops))
                    if (const auto flag = stop.lock())
                        *flag = true;
            }
            QElapsedTimer clock;
            clock.start();
            while (all.threads > 0 && clock.elapsed() < EndMs)
                QThread::msleep(5);
        });
        return new Living; // for threads that a dead drive holds past the end
    }();
    return *one;
}

QDataStream &operator<<(QDataStream &out, const DriveCheck::Difference &one)
{
    const SubFile &e = one.entry;
    return out << int(one.what) << one.lpath << one.dpath << e.id << e.name << e.type << e.size << e.hash;
}

QDataStream &operator>>(QDataStream &in, DriveCheck::Difference &one)
{
    SubFile &e = one.entry;
    int what = 0;
    in >> what >> one.lpath >> one.dpath >> e.id >> e.name >> e.type >> e.size >> e.hash;
    one.what = DriveCheck::Difference::What(what);
    return in;
}

bool mends(DriveCheck::Difference::What what, bool toDrive)
{
    using D = DriveCheck::Difference;
    switch (what) {
    case D::OnlyHere:
        return toDrive;
    case D::OnlyThere:
    case D::Unreadable:
        return !toDrive;
    case D::Size:
    case D::Hash:
        return true;
    case D::Kind:
        break;
    }
    return false;
}
} // namespace

DriveCheck::DriveCheck(const DriveQueue::Place &place)
    : m_place(place), m_stop(std::make_shared<std::atomic_bool>(false))
{
    Living &all = living();
    QMutexLocker lock(&all.mutex);
    all.stops.erase(std::remove_if(all.stops.begin(), all.stops.end(), [](const auto &stop) { return stop.expired(); }),
                    all.stops.end());
    all.stops.append(m_stop);
}

DriveCheck::~DriveCheck() { stop(); }

void DriveCheck::onThread(const char *name, std::function<void()> work)
{
    ++living().threads;
    std::thread([name, work = std::move(work)]() mutable {
        QThread::currentThread()->setObjectName(QLatin1String(name));
        work();
        work = {};
        --living().threads;
    }).detach();
}

std::shared_ptr<DriveCheck> DriveCheck::start(const DriveQueue::Place &place, const QList<Pair> &tops)
{
    const std::shared_ptr<DriveCheck> check(new DriveCheck(place));
    onThread("DriveCheck", [weak = std::weak_ptr<DriveCheck>(check), place, stop = check->m_stop, tops] {
        QEventLoop loop;
        DriveCheckWork work(weak, place, stop);
        QObject::connect(&work, &DriveCheckWork::over, &loop, &QEventLoop::quit, Qt::QueuedConnection);
        QTimer::singleShot(0, &work, [&work, &tops] { work.begin(tops); });
        loop.exec();
    });
    return check;
}

void DriveCheck::compared(bool sizeOnly)
{
    QMutexLocker lock(&m_mutex);
    ++m_status.files;
    m_status.sizeOnly += sizeOnly ? 1 : 0;
}

void DriveCheck::listed()
{
    QMutexLocker lock(&m_mutex);
    ++m_status.folders;
}

bool DriveCheck::note(const Difference &one)
{
    QMutexLocker lock(&m_mutex);
    ++m_status.different;
    m_status.toSend += mends(one.what, true) ? 1 : 0;
    m_status.toFetch += mends(one.what, false) ? 1 : 0;
    if (m_list.size() < MostKept) {
        m_list.append(one);
        return true;
    }
    if (!m_rest) {
        m_rest = std::make_unique<QTemporaryFile>();
        if (!m_rest->open())
            return false;
    }
    QDataStream out(m_rest.get());
    out << one;
    return m_rest->isOpen() && out.status() == QDataStream::Ok;
}

void DriveCheck::end(bool whole, const QString &why)
{
    int wish = -1;
    {
        QMutexLocker lock(&m_mutex);
        m_status.over = true;
        const bool kept = !m_rest || m_rest->flush();
        m_status.whole = whole && kept;
        m_status.why = kept ? why : tr("差异清单无法保存，请检查磁盘空间");
        wish = m_status.whole ? std::exchange(m_wish, -1) : -1;
    }
    if (wish >= 0)
        mend(wish == 1);
}

DriveCheck::Status DriveCheck::status() const
{
    QMutexLocker lock(&m_mutex);
    return m_status;
}

QList<DriveCheck::Difference> DriveCheck::differences(int from, int most) const
{
    QMutexLocker lock(&m_mutex);
    return m_list.mid(from, most);
}

QString DriveCheck::text(Difference::What what)
{
    switch (what) {
    case Difference::OnlyHere:
        return tr("仅在本地");
    case Difference::OnlyThere:
        return tr("仅在云盘");
    case Difference::Size:
        return tr("大小不同");
    case Difference::Hash:
        return tr("内容不同");
    case Difference::Kind:
        return tr("一边是文件，一边是文件夹");
    case Difference::Unreadable:
        return tr("本地文件无法读取");
    }
    return {};
}

const char *DriveCheck::word(Difference::What what)
{
    static const char *const words[] = {"only-here", "only-there", "size", "hash", "kind", "unreadable"};
    return words[what];
}

void DriveCheck::mend(bool toDrive)
{
    {
        QMutexLocker lock(&m_mutex);
        if (m_status.mend == Mend::Runs)
            return;
        if (!m_status.over) {
            m_wish = toDrive ? 1 : 0;
            return;
        }
        m_status.mend = Mend::Runs;
        m_status.batches.clear();
    }
    onThread("DriveMend", [self = shared_from_this(), toDrive] { self->mendNow(toDrive); });
}

// The next differences, first those that are held, then those of the file.
QList<DriveCheck::Difference> DriveCheck::group(int *at, qint64 *place) const
{
    QMutexLocker lock(&m_mutex);
    QList<Difference> found = m_list.mid(*at, GroupRows);
    *at += found.size();
    if (!found.isEmpty() || !m_rest || !m_rest->seek(*place))
        return found;
    QDataStream in(m_rest.get());
    while (found.size() < GroupRows && !in.atEnd()) {
        Difference one;
        in >> one;
        if (in.status() != QDataStream::Ok)
            break;
        found.append(one);
    }
    *place = m_rest->pos();
    return found;
}

// A batch after the other, each once the one before is written: memory stays flat, and what is told as made is made.
void DriveCheck::mendNow(bool toDrive)
{
    struct Written {
        std::mutex mutex;
        std::condition_variable changed;
        QHash<qlonglong, bool> batches;
    };
    const auto written = std::make_shared<Written>();
    QObject context;
    QObject::connect(
        UploadDDAO::instance(toDrive ? UploadDDAO::Up : UploadDDAO::Down), &UploadDDAO::farmAdded, &context,
        [written](qlonglong farmPri, bool good) {
            const std::lock_guard<std::mutex> lock(written->mutex);
            written->batches.insert(farmPri, good);
            written->changed.notify_all();
        },
        Qt::DirectConnection);
    const auto isWritten = [&](qlonglong batch) {
        std::unique_lock<std::mutex> lock(written->mutex);
        const auto told = [&] { return written->batches.contains(batch) || *m_stop; };
        for (int waited = 0; waited < WrittenMs && !told(); waited += LookMs) // nobody tells of the stop
            written->changed.wait_for(lock, std::chrono::milliseconds(LookMs), told);
        return written->batches.value(batch);
    };
    bool good = true;
    int at = 0;
    qint64 place = 0;
    for (QList<Difference> some = group(&at, &place); good && !some.isEmpty(); some = group(&at, &place)) {
        QList<SubFile> entries;
        for (const Difference &one : qAsConst(some)) {
            if (!mends(one.what, toDrive))
                continue;
            SubFile entry = one.entry;
            entry.fileType = m_place.fileType;
            entry.lpath = one.lpath;
            entry.dpath = one.dpath;
            if (entry.name.isEmpty())
                entry.name = one.lpath.mid(one.lpath.lastIndexOf('/') + 1);
            entries.append(entry);
        }
        if (entries.isEmpty())
            continue;
        const qlonglong batch = DriveQueue::transfer(m_place, entries, toDrive);
        good = batch != 0 && isWritten(batch);
        QMutexLocker lock(&m_mutex);
        if (good)
            m_status.batches.append(batch);
    }
    qDebug().noquote() << "DriveCheck::mendNow" << toDrive << status().batches.size() << good;
    QMutexLocker lock(&m_mutex);
    m_status.mend = good ? Mend::Done : Mend::Failed;
}

qlonglong DriveCheck::remember(const std::shared_ptr<DriveCheck> &check)
{
    Living &all = living();
    QMutexLocker lock(&all.mutex);
    int run = 0;
    for (auto it = all.remembered.begin(); it != all.remembered.end();) {
        const bool over = it.value()->status().over;
        run += over ? 0 : 1;
        if (over && all.remembered.size() >= MostRemembered)
            it = all.remembered.erase(it);
        else
            ++it;
    }
    if (run >= MostRun)
        return 0;
    all.lastId = qMax(all.lastId + 1, QDateTime::currentMSecsSinceEpoch());
    all.remembered.insert(all.lastId, check);
    return all.lastId;
}

std::shared_ptr<DriveCheck> DriveCheck::remembered(qlonglong id)
{
    Living &all = living();
    QMutexLocker lock(&all.mutex);
    return all.remembered.value(id);
}
