#include "transfer/drive/DriveHandler.h"
#include "common/Session.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "transfer/TransSet.h"
#include "transfer/TransWork.h"
#include <QDateTime>
#include <QDebug>
#include <QTimer>

namespace
{
constexpr int MostStale = 1;
constexpr int TendMs = 20;
constexpr int MostReads = 20, MostHeld = 20000;
} // namespace

DriveHandler::DriveHandler(int which) : m_which(which)
{
    m_clock.start();
    m_lastLook.start();
    m_lastFlush.start();
    const auto wake = [this] {
        m_nothing = false;
        look();
    };
    connect(store(), &UploadDDAO::farmCount, this, wake, Qt::QueuedConnection);
    connect(store(), &UploadDDAO::refreshAll, this, wake, Qt::QueuedConnection);
    for (const db_upfarmD &farm : store()->farms()) {
        if (farm.state == store()->cancelled())
            m_leaving.append({farm.pri}); // the last run ended before all of it was gone
    }
    for (int store : {m_which, int(UploadDDAO::Ok)})
        connect(
            UploadDDAO::instance(store), &UploadDDAO::farmDeleted, this, [this] { tend(); }, Qt::QueuedConnection);
    connect(
        UploadDDAO::instance(UploadDDAO::Ok), &UploadDDAO::refreshAll, this, [this] { tend(); }, Qt::QueuedConnection);
    startRenewal();
    tend();
}

DriveHandler::~DriveHandler() = default;

QString DriveHandler::keyOf(qlonglong farmPri, qlonglong filePri)
{
    return QStringLiteral("%1_%2").arg(farmPri).arg(filePri);
}

// What a million rows would make long, piece by piece.
void DriveHandler::tend()
{
    bool more = false;
    for (qlonglong farmPri : QSet<qlonglong>(m_resuming)) {
        const int left = store()->resumeSome(farmPri);
        if (left != 1)
            resumed(farmPri);
        more = more || left == 1;
    }
    more = store()->tend() || more;
    if (m_which == UploadDDAO::Up) // of the two who could
        more = UploadDDAO::instance(UploadDDAO::Ok)->tend() || more;
    if (!more || m_tends)
        return;
    m_tends = true;
    QTimer::singleShot(m_resuming.isEmpty() ? TendMs : 0, this, [this] {
        m_tends = false;
        tend();
    });
}

void DriveHandler::look()
{
    if (m_soon)
        return;
    m_soon = true;
    QTimer::singleShot(0, this, [this] {
        m_soon = false;
        scan();
    });
}

void DriveHandler::scan()
{
    if (!Session::live() || Session::closing())
        return;
    flush(false);
    leave();
    if (m_overCount > MostUnwritten)
        return; // a store takes nothing
    if (!NetTcp::isLogin() || (m_nothing && !m_lastLook.hasExpired(LookMs)))
        return;
    int free = limit() - running();
    if (free <= 0)
        return;
    const QList<db_upfarmD> farms = store()->active(free + m_batches.size() + 1);
    m_nothing = farms.isEmpty() && m_over.isEmpty() && m_writing.isEmpty();
    m_lastLook.start();
    for (const db_upfarmD &farm : farms) {
        Batch &mine = m_batches[farm.pri];
        if (mine.until > now())
            continue;
        if (farm.state == waiting() && !store()->setFarmState(farm.pri, runs())) {
            mine.until = now() + LookMs;
            continue;
        }
        while (free > 0) {
            const db_upfile file = next(farm, &mine);
            if (file.pri == 0) {
                judge(farm, &mine);
                break;
            }
            const QString key = keyOf(farm.pri, file.pri);
            if (worker(key))
                continue;
            if (!launch(farm, file, key)) {
                mine.ready.prepend(file);
                mine.until = now() + m_timing.restMs; // the farm's address or token isn't there (yet)
                if (++mine.unlaunched > QuietFailures)
                    heldUp(farm.pri, &mine, tr("没有农场的地址或令牌"));
                break;
            }
            mine.unlaunched = 0;
            mine.held.insert(file.pri);
            m_runs.insert(key, {farm.pri, file.pri});
            store()->show(file.pri, runs(), 0);
            --free;
        }
        if (free <= 0)
            return;
    }
}

void DriveHandler::prepare(const db_upfarmD &, Batch *, QList<db_upfile> *) {}

// The next row to start; pri 0: none for now.
db_upfile DriveHandler::next(const db_upfarmD &farm, Batch *batch)
{
    for (auto it = batch->delayed.begin(); it != batch->delayed.end(); ++it) {
        if (*it > now() || batch->held.contains(it.key()))
            continue;
        const qlonglong pri = it.key();
        batch->delayed.erase(it);
        QList<db_upfile> rows{store()->file(farm.pri, pri)};
        if (rows.first().pri != 0 && rows.first().state == waiting())
            prepare(farm, batch, &rows);
        else
            rows.clear();
        if (!rows.isEmpty())
            return rows.first();
        break; // its row is gone, was paused or waits for an answer; the next look goes on
    }
    for (int reads = 0; batch->ready.isEmpty(); ++reads) {
        if (reads == MostReads || batch->held.size() > MostHeld)
            return {}; // a look later; those that wait for an answer may be a million
        QList<db_upfile> rows = store()->nextFiles(farm.pri, batch->behind, Ahead);
        if (rows.isEmpty())
            return {};
        batch->behind = rows.last().pri;
        rows.erase(std::remove_if(rows.begin(), rows.end(),
                                  [&](const db_upfile &row) {
                                      return batch->held.contains(row.pri) || batch->delayed.contains(row.pri);
                                  }),
                   rows.end());
        prepare(farm, batch, &rows);
        batch->ready = rows;
    }
    return batch->ready.takeFirst();
}

// Nothing of the batch can be started. Over, or failed as a whole, only where nothing of it is under way.
void DriveHandler::judge(const db_upfarmD &farm, Batch *batch)
{
    if (m_resuming.contains(farm.pri) || !batch->held.isEmpty() || !batch->delayed.isEmpty() || !batch->ready.isEmpty())
        return;
    const db_upfarmD fresh = store()->farm(farm.pri); // the walk may have ended meanwhile
    if (fresh.pri == 0 || fresh.dirstate != UploadDDAO::DirWalked)
        return;
    const qlonglong rows = store()->countFiles(farm.pri);
    if (rows < 0)
        return;
    if (rows == 0 && fresh.failed == 0) {
        store()->setNote(farm.pri, {}); // what held it up may have gone with files that were deleted
        const db_upfarmD whole = store()->farm(farm.pri);
        if (whole.pri == 0 || !toHistory(whole)) // which forgets the batch
            batch->until = now() + LookMs;
        return;
    }
    if (!store()->nextFiles(farm.pri, 0, 1).isEmpty()) {
        batch->behind = 0; // a row waits again that this queue didn't hear of
        return;
    }
    qWarning().noquote() << "DriveHandler::judge batch stopped:" << farm.pri << farm.name << "failed:" << fresh.failed;
    if (fresh.failed > 0)
        pauseWith(farm.pri, tr("有 %1 项传输失败，可重新开始").arg(fresh.failed));
    else
        pauseFarm(farm.pri); // the user has paused all that is left
}

void DriveHandler::ended(const db_upfarmD &farm, db_upfile file, int kind, bool progress, bool stale)
{
    const QString key = keyOf(farm.pri, file.pri);
    const TransWork *work = worker(key);
    const int busyMs = work ? work->busyMs.load() : -1;
    const bool refused = work && work->frameRefused;
    m_runs.remove(key);
    if (!takeWork(key, kind == TransSet::Done ? 0 : kind))
        return;
    look();
    const auto found = m_batches.find(farm.pri);
    if (found == m_batches.end() || kind == TransSet::Dropped)
        return;
    Batch &mine = *found;
    if (kind == TransSet::Done) {
        forgetRetries(key);
        mine.stale = 0;
        rest(farm.pri, &mine, true, {});
        return over(farm.pri, file);
    }
    mine.held.remove(file.pri);
    // Once it's taken for an old token that ten workers hold; what a new one doesn't help is the server's failure.
    if (refused && (mine.stale == 0 || now() - mine.lastStale < m_timing.staleGapMs))
        stale = true;
    if (file.error == TransSet::DiskFull || file.error == QuotaFull) {
        store()->setState(farm.pri, file.pri, waiting(), file.error);
        const bool disk = file.error == TransSet::DiskFull;
        return pauseWith(farm.pri, disk ? tr("磁盘空间不足，已暂停") : tr("网盘空间不足，已暂停"));
    }
    const int socket = file.error - TransSet::SocketBase;
    if (kind == TransSet::Transient || stale || busyMs >= 0 || (socket >= 0 && socket < 100)) {
        if (!stale)
            rest(farm.pri, &mine, progress, TransSet::sentence(file.error));
        if (busyMs > 0)
            mine.until = qMax(mine.until, now() + busyMs);
        return passing(farm, &mine, file, stale);
    }
    if (file.error == QNetworkReply::InternalServerError || file.error == QNetworkReply::UnknownServerError)
        rest(farm.pri, &mine, progress,
             TransSet::sentence(file.error)); // it may be the whole drive that fails: the next files aren't burnt on it
    const int tries = retries(key);
    if (checkRetry(key)) {
        store()->unshow(file.pri);
        return wait(farm.pri, file, m_timing.passingMs << tries);
    }
    store()->setState(farm.pri, file.pri, gaveUp(), file.error);
    if (down())
        dropped(store()->farm(farm.pri), {file}); // a given-up file starts over
}

void DriveHandler::passing(const db_upfarmD &farm, Batch *batch, const db_upfile &file, bool stale)
{
    wait(farm.pri, file, m_timing.passingMs);
    if (!stale || now() - batch->lastStale < m_timing.staleGapMs)
        return; // ten workers tell of one token
    batch->lastStale = now();
    dropFarm(farm.id);
    if (++batch->stale <= MostStale)
        return;
    batch->until = now() + m_timing.longestRestMs;
    batch->told = true;
    store()->setNote(farm.pri, tr("农场拒绝访问，稍后重试"));
}

void DriveHandler::wait(qlonglong farmPri, const db_upfile &file, int ms)
{
    Batch &mine = m_batches[farmPri];
    mine.held.remove(file.pri);
    mine.delayed.insert(file.pri, now() + ms);
    store()->show(file.pri, waiting(), file.error);
    store()->unshow(file.pri);
}

void DriveHandler::rest(qlonglong farmPri, Batch *batch, bool progress, const QString &why)
{
    if (progress) {
        batch->failures = 0;
        batch->until = 0;
        if (std::exchange(batch->told, false))
            store()->setNote(farmPri, {});
        return;
    }
    if (batch->failures >= QuietFailures)
        heldUp(farmPri, batch, why);
    const int extra = ++batch->failures - FreeFailures;
    if (extra > 0)
        batch->until = now() + qMin(m_timing.restMs << qMin(extra - 1, 12), m_timing.longestRestMs);
}

void DriveHandler::heldUp(qlonglong farmPri, Batch *batch, const QString &why)
{
    if (!std::exchange(batch->told, true))
        store()->setNote(farmPri, tr("传输受阻，稍后重试：%1").arg(why));
}

void DriveHandler::over(qlonglong farmPri, const db_upfile &ended)
{
    db_upfile file = ended;
    file.state = down() ? TransSet::DownDone : TransSet::UpDone;
    file.error = file.error == TransSet::AlreadyHere ? file.error : 0;
    file.oktime = QDateTime::currentMSecsSinceEpoch();
    m_batches[farmPri].held.insert(file.pri);
    m_over[farmPri].append(file);
    ++m_overCount;
}

void DriveHandler::pauseWith(qlonglong farmPri, const QString &note)
{
    pauseFarm(farmPri);
    store()->setNote(farmPri, note);
}

QSet<qlonglong> DriveHandler::runningOf(qlonglong farmPri) const
{
    QSet<qlonglong> set;
    for (const Run &run : m_runs) {
        if (run.farmPri == farmPri)
            set.insert(run.filePri);
    }
    return set;
}

void DriveHandler::drop(const QString &key, int kind)
{
    const Run run = m_runs.take(key);
    takeWork(key, kind);
    store()->unshow(run.filePri);
    const auto mine = m_batches.find(run.farmPri);
    if (mine != m_batches.end())
        mine->held.remove(run.filePri);
}

void DriveHandler::dropAll(qlonglong farmPri, int kind)
{
    for (qlonglong filePri : runningOf(farmPri))
        drop(keyOf(farmPri, filePri), kind);
}

void DriveHandler::pauseFarm(qlonglong farmPri)
{
    qDebug().noquote() << "DriveHandler::pauseFarm" << farmPri;
    dropAll(farmPri, TransSet::Dropped);
    if (exists(farmPri))
        store()->setFarmState(farmPri, paused());
    store()->tellRefresh();
}

void DriveHandler::reFarm(qlonglong farmPri)
{
    qDebug().noquote() << "DriveHandler::reFarm" << farmPri;
    if (!exists(farmPri))
        return;
    Batch &mine = m_batches[farmPri];
    const QSet<qlonglong> busy = runningOf(farmPri);
    for (auto it = mine.delayed.cbegin(); it != mine.delayed.cend(); ++it)
        forgetRetries(keyOf(farmPri, it.key()));
    mine = {};
    mine.held = busy + unwritten(farmPri);
    store()->setNote(farmPri, {});
    m_resuming.insert(farmPri);
    tend();
}

// Only now the batch waits: a kill before leaves it paused, and resuming it does the rest.
void DriveHandler::resumed(qlonglong farmPri)
{
    m_resuming.remove(farmPri);
    if (exists(farmPri)) {
        m_batches[farmPri].behind = 0;
        store()->setFarmState(farmPri, waiting());
    }
    store()->tellRefresh();
}

void DriveHandler::reFile(qlonglong farmPri, qlonglong filePri)
{
    if (runningOf(farmPri).contains(filePri) || !exists(farmPri))
        return;
    forgetRetries(keyOf(farmPri, filePri));
    store()->setState(farmPri, filePri, waiting(), 0);
    m_batches[farmPri].delayed.insert(filePri, now());
    if (store()->farm(farmPri).state == paused()) {
        store()->setNote(farmPri, {}); // why it was paused
        store()->setFarmState(farmPri, waiting());
    }
    store()->tellRefresh();
}

void DriveHandler::pauseFile(qlonglong farmPri, qlonglong filePri)
{
    if (!exists(farmPri))
        return;
    drop(keyOf(farmPri, filePri), TransSet::Dropped);
    Batch &mine = m_batches[farmPri];
    mine.delayed.remove(filePri);
    mine.ready.erase(
        std::remove_if(mine.ready.begin(), mine.ready.end(), [=](const db_upfile &row) { return row.pri == filePri; }),
        mine.ready.end());
    store()->setState(farmPri, filePri, paused(), 0);
}

void DriveHandler::readFile() { store()->readFarms(); }

void DriveHandler::readFile(qlonglong farmPri, int page) { store()->readPage(farmPri, page); }

void DriveHandler::readNear(qlonglong farmPri, qlonglong filePri, bool before)
{
    store()->readNear(farmPri, filePri, before);
}

void DriveHandler::reportSpeed(qlonglong key, qlonglong subkey, qlonglong speed, qlonglong size)
{
    db_upfile file;
    file.pri = subkey;
    file.speed = speed;
    file.compressedSize = size;
    store()->tellSpeed(file);
    QPair<qlonglong, qlonglong> &sum = m_speeds[key];
    sum.first += speed;
    sum.second += size;
}

void DriveHandler::speedsReported()
{
    for (auto it = m_speeds.cbegin(); it != m_speeds.cend(); ++it)
        store()->tellFarmSpeed(it.key(), it->first, it->second);
    m_speeds.clear();
}
