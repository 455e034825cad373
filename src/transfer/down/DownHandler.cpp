#include "transfer/down/DownHandler.h"
#include "common/ResultPath.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "db/DownloadDAO.h"
#include "io/NetTcp.h"
#include "transfer/down/DownWork.h"
#include "transfer/down/ProjectOutput.h"
#include "transfer/TransSet.h"
#include <algorithm>
#include <QCryptographicHash>
#include <QDebug>
#include <utility>

namespace
{
// A server that fails without having sent a byte is left alone for a while, longer each time.
constexpr int FreeFailures = 3, FirstRestMs = 250, LongestRestMs = 5000;
} // namespace

DownHandler::DownHandler()
{
    qRegisterMetaType<db_downfile>();
    m_clock.start();
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
    if (!Session::live() || Session::closing() || !NetTcp::isLogin())
        return;
    for (const qlonglong id : std::exchange(m_untold, {}))
        DownWork::tellFetched(id);
    if (running() >= UserInfo::downTh())
        return;
    DownloadDAO *store = DownloadDAO::instance();
    for (const db_downmiss &miss : store->missions({TransSet::DownWait, TransSet::DownRun})) {
        if (m_rests.value(miss.pri).until > now())
            continue;
        if (miss.state == TransSet::DownWait)
            store->setMissionState(miss.pri, TransSet::DownRun);
        const db_downfile file = store->nextWaiting(miss.pri);
        if (file.pri == 0) {
            if (!settleEmpty(miss))
                return;
            continue;
        }
        if (stopFailed(miss, -1))
            return;
        if (worker(keyOf(file))) {
            store->setState(miss.pri, file.pri, TransSet::DownRun, 0); // a restart met a file that runs
            return;
        }
        if (targetTaken(file.lpath))
            continue;
        start(file);
        return;
    }
}

void DownHandler::tellLater(qlonglong fileId) { m_untold.append(fileId); }

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
    if (DownloadDAO::instance()->removeMission(miss.pri)) {
        qDebug().noquote() << "DownHandler::scan mission over:" << miss.ordernum << miss.missid << miss.ok;
        m_rests.remove(miss.pri);
        DownloadDAO::instance()->tellRefresh();
        emit downWorkOver();
    }
    return true;
}

bool DownHandler::runs(qlonglong missPri) const
{
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
    qWarning().noquote() << "DownHandler::scan mission stopped:" << miss.ordernum << miss.missid
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
        store->fileDone(file.missPri, file.pri); // it stands on disk, whatever ends now
        forgetRetries(key);
    }
    if (!takeWork(key, isDel) || isDel == TransSet::Dropped)
        return;
    if (isDel != TransSet::Hard)
        rest(file.missPri, isDel == TransSet::Done || progress);
    if (isDel == TransSet::Done)
        return;
    store->setState(file.missPri, file.pri, file.state, file.error);
    if (isDel == TransSet::Transient || checkRetry(key)) {
        store->setState(file.missPri, file.pri, TransSet::DownWait, file.error);
        return;
    }
    store->setState(file.missPri, file.pri, TransSet::DownGaveUp, file.error);
    if (ResultPath::isSafeTarget(file.lpath))
        clearDownTmp(file);
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
    for (const db_downfile &file : files) { // those of running files go with their workers
        if (!running.contains(file.lpath) && ResultPath::isSafeTarget(file.lpath))
            clearDownTmp(file);
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
