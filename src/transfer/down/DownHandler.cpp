#include "transfer/down/DownHandler.h"
#include "common/facts/Command.h"
#include "common/ResultPath.h"
#include "common/ResultRoots.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "db/DoneDAO.h"
#include "db/DownloadDAO.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include "transfer/down/DownWork.h"
#include "transfer/down/ProjectOutput.h"
#include "transfer/TransSet.h"
#include <algorithm>
#include <QCryptographicHash>
#include <QDebug>
#include <QElapsedTimer>
#include <QFileInfo>
#include <utility>

namespace
{
// A server that fails without having sent a byte is left alone for a while, longer each time.
constexpr int FreeFailures = 3, FirstRestMs = 250, LongestRestMs = 5000;
constexpr int FetchedGood = Command::success(Command::FileFetched), FetchedUnknown = 1080202;

void removePartial(const db_downfile &file)
{
    const QString root = ResultRoots::of(file.lpath);
    if (!root.isEmpty() && ResultPath::isSafeTarget(file.lpath))
        PartialFile::removeBoth(file.lpath, root);
}
} // namespace

DownHandler::DownHandler(Clock clock) : m_clock(std::move(clock))
{
    qRegisterMetaType<db_downfile>();
    if (!m_clock) {
        QElapsedTimer since;
        since.start();
        m_clock = [since] { return since.elapsed(); };
    }
    m_pushTimer.setParent(this);
    m_pushTimer.setInterval(PushMs);
    connect(&m_pushTimer, &QTimer::timeout, this, &DownHandler::handPush);
    ProjectOutput::install();
    startRenewal();
    Seam<DownCalls>::attach(this, this);
}

DownHandler::~DownHandler()
{
    Seam<DownCalls>::detach(this);
    ProjectOutput::uninstall();
}

TransWork *DownHandler::makeWork(bool, int) { return new DownWork(share()); }

QString DownHandler::keyOf(const db_downfile &file)
{
    return QStringLiteral("%1_%2_%3_%4").arg(file.ordernum).arg(file.missid).arg(file.missPri).arg(file.pri);
}

void DownHandler::scan()
{
    if (!Session::live() || Session::closing())
        return;
    for (const db_downfile &file : std::exchange(m_ended, {}))
        keepEnded(file);
    if (!NetTcp::isLogin()) {
        m_linkWasOff = true;
        return;
    }
    tellFetched();
    if (running() >= UserInfo::downTh())
        return;
    DownloadDAO *store = DownloadDAO::instance();
    for (const db_downmiss &miss : store->missions({TransSet::DownWait, TransSet::DownRun})) {
        if (m_rests.value(miss.pri).until > now())
            continue;
        if (miss.state == TransSet::DownWait)
            store->setMissionState(miss.pri, TransSet::DownRun);
        if (startNext(miss) != Chosen::Nothing)
            return;
    }
}

DownHandler::Chosen DownHandler::startNext(const db_downmiss &miss)
{
    DownloadDAO *store = DownloadDAO::instance();
    QList<qlonglong> except = delayedOf(miss.pri);
    for (;;) {
        const db_downfile file = store->nextWaiting(miss.pri, except);
        if (file.pri == 0)
            return settleEmpty(miss) ? Chosen::Nothing : Chosen::Failed;
        if (stopFailed(miss, -1))
            return Chosen::Failed;
        if (worker(keyOf(file))) {
            store->setState(miss.pri, file.pri, TransSet::DownRun, 0); // a restart met a file that runs
            return Chosen::Started;
        }
        if (!mayStart(miss, file))
            return Chosen::Nothing;
        if (!targetTaken(file.lpath)) {
            start(file);
            return Chosen::Started;
        }
        except << file.pri;
    }
}

QList<qlonglong> DownHandler::delayedOf(qlonglong missPri)
{
    const auto found = m_delayed.find(missPri);
    if (found == m_delayed.end())
        return {};
    for (auto it = found->begin(); it != found->end();)
        it = *it <= now() ? found->erase(it) : it + 1;
    const QList<qlonglong> list = found->keys();
    if (list.isEmpty())
        m_delayed.erase(found);
    return list;
}

// Rows of an earlier version may name any place: what can't be written to is passed by, what nobody named is asked for.
bool DownHandler::mayStart(const db_downmiss &miss, const db_downfile &file)
{
    if (file.lpath.isEmpty())
        return true; // the answer of 10800 tells
    if (!ResultPath::isSafeTarget(file.lpath)) {
        if (DownloadDAO::instance()->passBy(miss.pri, file.pri))
            tellRefused(miss.missid, {file.lpath});
        return false;
    }
    if (!ResultRoots::of(file.lpath).isEmpty())
        return true;
    m_rests[miss.pri].until = now() + BlockedMs;
    const bool inside = file.lpath.startsWith(miss.lpath + '/');
    const QString root = inside ? miss.lpath : QFileInfo(file.lpath).path();
    if (!m_told.contains("root " + root))
        askRoot({{"missionName", miss.missname}}, root);
    return false;
}

// Each is told until the server answers. What it doesn't know any more ends as well; another answer is tried again.
void DownHandler::tellFetched()
{
    if (!std::exchange(m_untoldRead, true)) {
        for (const qlonglong id : DownloadDAO::instance()->untold())
            m_untold.insert(id, {});
    }
    const bool back = std::exchange(m_linkWasOff, false);
    for (auto it = m_untold.begin(); it != m_untold.end(); ++it) {
        if (!back && it->next > now())
            continue;
        it->next = now() + RetellMs;
        Ask(Command::FileFetched, {{"fileId", it.key()}})
            .any([this, id = it.key()](int val, QJsonDocument) { answeredTelling(id, val); })
            .send(this);
    }
}

void DownHandler::answeredTelling(qlonglong fileId, int val)
{
    const auto found = m_untold.find(fileId);
    if (found == m_untold.end())
        return;
    if (val == FetchedGood || val == FetchedUnknown) {
        DownloadDAO::instance()->told(fileId);
        m_untold.erase(found);
    } else if (++found->tries >= MostTellings) {
        qWarning().noquote() << "DownHandler::answeredTelling refused:" << fileId << val;
        m_untold.erase(found); // again in the next session
    }
}

namespace
{
void noteDone(const db_downmiss &miss)
{
    if (miss.sum <= 0)
        return; // there was nothing in it
    db_done done;
    done.kind = db_done::Mission;
    done.ordernum = miss.ordernum;
    done.missid = miss.missid;
    done.name = miss.missname.isEmpty() ? miss.ordernum : miss.missname;
    done.folder = miss.lpath;
    done.ok = miss.ok;
    done.sum = miss.sum;
    DoneDAO::instance()->add(done);
}
} // namespace

bool DownHandler::settleEmpty(const db_downmiss &miss)
{
    const int rows = DownloadDAO::instance()->count(miss.pri);
    if (rows < 0)
        return true;
    if (rows > 0) {
        if (!runs(miss.pri))
            freeOrphans(miss.pri);
        return !stopFailed(miss, rows);
    }
    noteDone(miss);
    if (DownloadDAO::instance()->removeMission(miss.pri)) {
        qDebug().noquote() << "DownHandler::settleEmpty mission over:" << miss.ordernum << miss.missid << miss.ok;
        m_rests.remove(miss.pri);
        m_delayed.remove(miss.pri);
        DownloadDAO::instance()->tellRefresh();
        emit downWorkOver();
    }
    return true;
}

bool DownHandler::runs(qlonglong missPri) const
{
    for (const db_downfile &file : m_ended) {
        if (file.missPri == missPri)
            return true;
    }
    return std::any_of(m_runs.cbegin(), m_runs.cend(), [missPri](const Run &run) { return run.missPri == missPri; });
}

// A store that was busy or full when a worker ended leaves such a row behind.
void DownHandler::freeOrphans(qlonglong missPri)
{
    if (DownloadDAO::instance()->countOpen(missPri) <= 0)
        return;
    for (const db_downfile &file : DownloadDAO::instance()->files(missPri)) {
        if (file.state == TransSet::DownRun)
            DownloadDAO::instance()->setState(missPri, file.pri, TransSet::DownWait, 0);
    }
}

bool DownHandler::stopFailed(const db_downmiss &miss, int rows)
{
    const int failed = DownloadDAO::instance()->countFailed(miss.pri);
    if (failed < FailedLimit && failed != rows)
        return false;
    qWarning().noquote() << "DownHandler::stopFailed mission stopped:" << miss.ordernum << miss.missid
                         << "failed files:" << failed;
    DownloadDAO::instance()->setMissionState(miss.pri, TransSet::DownError);
    return true;
}

bool DownHandler::targetTaken(const QString &target) const
{
    for (const Run &run : m_runs) {
        if (!target.isEmpty() && run.target.compare(target, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void DownHandler::start(db_downfile file)
{
    const QString key = keyOf(file);
    auto *work = static_cast<DownWork *>(makeWork(takeGaveUp(key), file.error));
    DownloadDAO::instance()->setState(file.missPri, file.pri, TransSet::DownRun, 0);
    file.state = TransSet::DownRun;
    file.error = 0;
    const quint64 serial = nextSerial();
    work->setKey(key, serial);
    work->setSignMd5(key, QString::fromLatin1(QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Md5).toHex()),
                     1);
    // By key and number: what an earlier worker of the same file still says is not for this one.
    connect(work, &TransWork::DownWorkFinished, this, [this, key, serial](const db_downfile &ended, int kind) {
        if (isCurrent(key, serial))
            workFinished(ended, kind);
    });
    m_runs.insert(key, {file.missPri, file.lpath});
    addWork(key, work);
    QMetaObject::invokeMethod(
        work, [work, file] { work->downReq(file); }, Qt::QueuedConnection);
}

void DownHandler::workFinished(db_downfile file, int isDel)
{
    const QString key = keyOf(file);
    const auto *work = static_cast<const DownWork *>(worker(key));
    const bool progress = work && work->received > 0;
    m_runs.remove(key);
    DownloadDAO *store = DownloadDAO::instance();
    if (work && isDel == TransSet::Done) {
        keepEnded(file); // it stands on disk, whatever ends now
        forgetRetries(key);
    }
    if (!takeWork(key, isDel) || isDel == TransSet::Dropped)
        return;
    if (isDel != TransSet::Hard)
        rest(file.missPri, isDel == TransSet::Done || progress);
    if (isDel == TransSet::Done)
        return;
    store->setState(file.missPri, file.pri, file.state, file.error);
    const int tries = retries(key);
    if (isDel == TransSet::Transient || checkRetry(key)) {
        if (isDel == TransSet::Hard)
            m_delayed[file.missPri][file.pri] = now() + (PassingMs << tries);
        store->setState(file.missPri, file.pri, TransSet::DownWait, file.error);
        return;
    }
    store->setState(file.missPri, file.pri, TransSet::DownGaveUp, file.error);
    removePartial(file);
}

// A store that is busy or full gets it at the next tick: until then it isn't told, and not fetched again either.
void DownHandler::keepEnded(const db_downfile &file)
{
    if (!DownloadDAO::instance()->fileDone(file.missPri, file.pri)) {
        const QList<db_downfile> rows = DownloadDAO::instance()->files(file.missPri);
        if (std::any_of(rows.begin(), rows.end(), [&](const db_downfile &row) { return row.pri == file.pri; }))
            m_ended.append(file); // else the user has deleted it meanwhile
    } else if (file.id > 0) {
        m_untold.insert(file.id, {});
    }
}

void DownHandler::rest(qlonglong missPri, bool progress)
{
    if (progress) {
        m_rests.remove(missPri);
        return;
    }
    Rest &rest = m_rests[missPri];
    const int extra = ++rest.failures - FreeFailures;
    if (extra > 0)
        rest.until = now() + qMin(FirstRestMs << qMin(extra - 1, 10), LongestRestMs);
}

void DownHandler::dropWorkers(qlonglong missPri, int kind)
{
    for (auto it = m_runs.begin(); it != m_runs.end();) {
        if (it->missPri != missPri) {
            ++it;
            continue;
        }
        takeWork(it.key(), kind);
        it = m_runs.erase(it);
    }
}

void DownHandler::pauseDown(qlonglong missPri)
{
    qDebug().noquote() << "DownHandler::pauseDown" << missPri;
    DownloadDAO::instance()->setMissionState(missPri, TransSet::DownPause);
    dropWorkers(missPri, TransSet::Dropped);
    DownloadDAO::instance()->pause(missPri);
    DownloadDAO::instance()->tellRefresh();
}

void DownHandler::reDown(qlonglong missPri)
{
    qDebug().noquote() << "DownHandler::reDown" << missPri;
    m_rests.remove(missPri);
    m_delayed.remove(missPri);
    DownloadDAO::instance()->restart(missPri);
    DownloadDAO::instance()->setMissionState(missPri, TransSet::DownWait);
    DownloadDAO::instance()->tellRefresh();
}

void DownHandler::delDown(qlonglong missPri)
{
    qDebug().noquote() << "DownHandler::delDown" << missPri;
    DownloadDAO::instance()->setMissionState(missPri, TransSet::DownPause);
    const QList<db_downfile> files = DownloadDAO::instance()->files(missPri);
    QSet<QString> running;
    for (const Run &run : qAsConst(m_runs))
        running.insert(run.target);
    dropWorkers(missPri, 4);
    DownloadDAO::instance()->removeMission(missPri);
    m_rests.remove(missPri);
    m_delayed.remove(missPri);
    for (const db_downfile &file : files) { // those of running files go with their workers
        if (!running.contains(file.lpath))
            removePartial(file);
    }
    DownloadDAO::instance()->tellRefresh();
}

void DownHandler::priDown(qlonglong missPri)
{
    DownloadDAO::instance()->moveFirst(missPri);
    DownloadDAO::instance()->tellRefresh();
}

void DownHandler::readFile(int page) { DownloadDAO::instance()->readMissions(page); }

void DownHandler::readMissionFile(qlonglong missPri, int page) { DownloadDAO::instance()->readPage(missPri, page); }
