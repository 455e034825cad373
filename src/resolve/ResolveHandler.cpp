#include "resolve/ResolveHandler.h"
#include "common/CommonConfig.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/Rset.h"
#include "common/facts/SoftwareType.h"
#include "common/Session.h"
#include "common/ThreadPool.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "common/WindowCalls.h"
#include "db/ResolveDAO.h"
#include "io/NetTcp.h"
#include "resolve/BaseResolve.h"
#include "resolve/ParameterModel.h"
#include <algorithm>
#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QTimer>

namespace
{
using SceneState::Act;

constexpr int ForgetMs = 600000;
constexpr int MostLooks = 16; // at scenes whose disks don't answer

const SceneState::Set CanCommit = SceneState::from(Act::Commit) | SceneState::from(Act::Recommit);

qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }

ResolveDAO &dao() { return *ResolveDAO::instance(); }

} // namespace

ResolveHandler::ResolveHandler(QObject *parent)
    : QObject(parent), m_reports(this), m_order(this), m_giveUps(this), m_submission(this), m_seat(this)
{
    Seam<ResolveCalls>::attach(this, this);
}

ResolveHandler::~ResolveHandler()
{
    Seam<ResolveCalls>::detach(this);
    insistAgain();
    for (qlonglong rkey : m_running.keys()) {
        removeAnalyser(rkey);
        dao().step(rkey, Act::Abandon, SceneState::Waiting); // an orderly end: the scene isn't to blame
    }
}

void ResolveHandler::setTimes(const Times &times)
{
    m_times = times;
    m_order.setTimes(times.gate, times.askAgain);
    m_submission.setReplyMs(times.reply);
}

void ResolveHandler::startScan()
{
    if (!m_started)
        QTimer::singleShot(m_times.scan, this, &ResolveHandler::scan);
    m_started = true;
}

void ResolveHandler::scan()
{
    if (Session::live() && !Session::closing()) {
        const bool slave = UserInfo::isSlave();
        insistAgain();
        findLeftBehind();
        for (const QList<db_resolve> &list : std::exchange(m_unsaved, {}))
            addFile(list);
        if (!slave)
            m_order.tick();
        m_giveUps.tick();
        if (m_running.size() < UserInfo::resolveThread() && m_looking.size() < MostLooks)
            startAnalysis();
        if (UserInfo::canUpload())
            automatic();
        if (slave) {
            m_seat.step();
            m_seat.poll();
        } else {
            m_submission.step();
        }
    }
    QTimer::singleShot(m_times.scan, this, &ResolveHandler::scan);
}

void ResolveHandler::insist(qlonglong rkey, std::function<int()> write)
{
    if (write() >= 0)
        return;
    qWarning().noquote() << "ResolveHandler::insist" << rkey << "isn't written, tried again at the next scan";
    m_unwritten.append({rkey, std::move(write)});
}

// A store that is held by another program costs each write its patience: one that fails ends the round.
void ResolveHandler::insistAgain()
{
    while (!m_unwritten.isEmpty()) {
        const auto first = m_unwritten.takeFirst();
        if (first.second() >= 0)
            continue;
        m_unwritten.prepend(first);
        return;
    }
}

void ResolveHandler::findLeftBehind()
{
    for (qlonglong rkey : dao().keysIn({SceneState::Analysing})) {
        const auto mine = [rkey](const auto &one) { return one.first == rkey; };
        if (m_running.contains(rkey) || std::any_of(m_unwritten.cbegin(), m_unwritten.cend(), mine))
            continue;
        qWarning().noquote() << "ResolveHandler::findLeftBehind" << rkey << "is analysed by nobody";
        dao().step(rkey, Act::Abandon, SceneState::Waiting);
    }
    if (m_forgot.isValid() && !m_forgot.hasExpired(ForgetMs))
        return;
    m_forgot.start();
    dao().forgetOld(now());
}

void ResolveHandler::startAnalysis()
{
    const db_resolve row = dao().nextToAnalyse(UserInfo::isSlave(), m_unknown + m_looking + m_ending);
    if (row.rkey == 0)
        return;
    m_looking << row.rkey;
    const bool skip = CommonConfig::get().submitUpload != 0 || UserInfo::hasArgument("noresolve");
    m_disk.start([this, row, skip, logs = UserInfo::userDir()](const StopToken &) -> DiskWork::Result {
        const QString scene = VFunc::followLinks(row.lpath);
        const int type = SoftwareType::ofRow(Rset(row.rset).object(), row.lpath);
        const QString log = skip && type == SoftwareType::Maya ? BaseResolve::oldLog(logs, scene) : QString();
        const bool regular = QFileInfo(scene).isFile(); // no pipe, device or folder
        return [=] { lookedAt(row.rkey, type, regular, log); };
    });
}

// A disk that doesn't answer holds up its own scene only.
void ResolveHandler::lookedAt(qlonglong rkey, int type, bool regular, const QString &log)
{
    m_looking.removeAll(rkey);
    const db_resolve row = dao().read(rkey);
    const bool wanted = Session::live() && !Session::closing() && m_running.size() < UserInfo::resolveThread();
    if (!wanted || !SceneState::possible(Act::Start, row.state)) // paused or deleted since, or others came first
        return;
    if (!log.isEmpty() && takeOldLog(row, type, log))
        return;
    if (!regular) {
        dao().step(row.rkey, Act::CannotStart, 0, AnalysisError::NoScene);
        return;
    }
    BaseResolve *work = BaseResolve::create(type);
    if (!work) {
        qWarning().noquote() << "ResolveHandler::lookedAt" << row.rkey << row.lpath << "no analyser for software type"
                             << type;
        m_unknown << row.rkey;
        dao().mark(row.rkey, AnalysisError::NoAnalyser);
        return;
    }
    run(row, work, type);
}

void ResolveHandler::run(const db_resolve &row, BaseResolve *work, int softwareType)
{
    db_resolve started = row;
    started.state = SceneState::Analysing;
    started.error = 0;
    started.rtime = now();
    if (dao().step(row.rkey, Act::Start) <= 0) { // paused since it was read, or the store is busy
        delete work;
        return;
    }
    const quint64 number = ++m_runs;
    connect(work, &BaseResolve::resolveFinished, this, [this, number](const db_resolve &res) {
        if (m_running.value(res.rkey).number == number)
            resolveFinished(res);
    });
    connect(work, &BaseResolve::resolveTimeOut, this, [this, number, rkey = row.rkey] {
        if (m_running.value(rkey).number == number)
            resolveTimeOut(rkey);
    });
    const Rset rset(row.rset);
    QString order = row.ordernum;
    order.replace('/', '_').replace('\\', '_');
    work->setUp(started, rset.software(), softwareType, rset.startGpu(),
                QStringLiteral("%1/resolve-%2-%3").arg(UserInfo::userDir()).arg(row.rkey).arg(order));
    work->startTimer(CommonConfig::get().parseTime);
    m_running.insert(row.rkey, {work, number});
    ThreadPool::instance()->addWork(work);
    QMetaObject::invokeMethod(work, "resolve", Qt::QueuedConnection);
}

// The log of an earlier analysis of the same scene stands in for a new one.
bool ResolveHandler::takeOldLog(const db_resolve &row, int softwareType, const QString &log)
{
    qDebug().noquote() << "maya不解析 找到日志:" << log;
    if (dao().step(row.rkey, Act::Start) <= 0)
        return true; // not this queue's any more, or looked at again
    db_resolve started = row;
    started.state = SceneState::Analysing;
    BaseResolve work;
    work.logOnly = true;
    connect(&work, &BaseResolve::resolveFinished, this, [this](const db_resolve &res) { resolveFinished(res); });
    work.setUp(started, Rset(row.rset).software(), softwareType, 0, log);
    work.finishResolve();
    return true;
}

void ResolveHandler::removeAnalyser(qlonglong rkey)
{
    const Run run = m_running.take(rkey);
    if (!run.work)
        return;
    disconnect(run.work, nullptr, this, nullptr);
    m_ending << rkey;
    connect(run.work, &QObject::destroyed, this, [this, rkey] { m_ending.removeOne(rkey); });
    run.work->deleteLater();
}

void ResolveHandler::resolveFinished(const db_resolve &res)
{
    removeAnalyser(res.rkey);
    insist(res.rkey, [rkey = res.rkey, state = res.state, err = res.error] {
        // An analysis that ran past its time and was let go on keeps the mark.
        const int error =
            err == 0 && dao().read(rkey).error == AnalysisError::Overdue ? int(AnalysisError::Overdue) : err;
        qDebug().noquote() << "ResolveHandler::resolveFinished" << rkey << state << AnalysisError::text(error);
        return dao().step(rkey, Act::Finish, state, error);
    });
}

void ResolveHandler::resolveTimeOut(qlonglong rkey)
{
    const db_resolve res = m_running.value(rkey).work->record();
    qWarning().noquote() << "ResolveHandler::resolveTimeOut" << rkey << res.lpath;
    if (CommonConfig::get().killParseTime != 1) {
        dao().mark(rkey, AnalysisError::Overdue);
        return;
    }
    removeAnalyser(rkey);
    insist(rkey, [rkey] { return dao().step(rkey, Act::Overrun, 0, AnalysisError::Overdue); });
}

void ResolveHandler::automatic()
{
    const CommonConfig config = CommonConfig::get();
    const bool clean = config.autoSubmit == 1, warned = clean && config.ignoreWarn == 1;
    if (!clean && !dao().anyBatchMarked())
        return; // nothing may go by itself
    for (const db_resolve &row : dao().finished()) {
        const bool goes = row.state == SceneState::Clean ? clean : warned || dao().batchMarked(row.rkey);
        if (!goes || m_held.value(row.rkey, -1) == row.rtime)
            continue;
        // What a seat handed over for the master's user to look at waits for that user.
        const bool checked = Rset(row.rset).needMasterCheck();
        if (checked || commit(row, false) == 0)
            m_held.insert(row.rkey, row.rtime); // looked at again when its state has changed
    }
}

void ResolveHandler::commitResolve(qlonglong rkey, bool batch, QString order)
{
    insist(rkey, [this, rkey, batch, order] {
        const db_resolve res = order.isEmpty() ? dao().read(rkey) : dao().readByOrder(order);
        if (res.rkey == 0 || !CanCommit.contains(res.state))
            return 0;
        const int done = commit(res, true);
        if (done > 0 && batch)
            dao().markBatch(res.rkey);
        return done;
    });
}

int ResolveHandler::commit(db_resolve res, bool byUser)
{
    if (!dao().readPara(&res))
        return -1;
    if (!byUser && ParameterModel::emptyResult(res))
        return 0;
    QString text = ParameterModel::blockingText(res);
    const bool blocked = !text.isEmpty();
    if (blocked || !ParameterModel::prepare(&res, CommonConfig::get(), &text)) {
        qWarning().noquote() << "ResolveHandler::commit" << res.rkey << text;
        if (byUser && !text.isEmpty())
            tell(text);
        if (byUser && blocked)
            dao().step(res.rkey, Act::BlockCommit, 0, res.error);
        return 0;
    }
    const Act act = res.state == SceneState::SubmitFailed ? Act::Recommit : Act::Commit;
    return dao().savePara(res) ? dao().step(res.rkey, act) : -1;
}

void ResolveHandler::tell(const QString &text)
{
    Seam<WindowCalls>::post([text](WindowCalls &window) { window.msgOk(text); });
}
