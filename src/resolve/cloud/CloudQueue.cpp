#include "resolve/cloud/CloudQueue.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/Rset.h"
#include "common/facts/SoftwareType.h"
#include "common/Session.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include "db/ResolveDDAO.h"
#include "io/WebAsk.h"
#include <algorithm>
#include <QDateTime>
#include <QDebug>
#include <QJsonDocument>
#include <QTimerEvent>
#include <QUrl>

namespace
{
using SceneState::Act;

constexpr int StaleToken = 203, NoAccess = 401, NotThere = 404, MostStrange = 5;

ResolveDDAO &dao() { return *ResolveDDAO::instance(); }

qlonglong cloudKey(const db_resolve &order)
{
    return Rset(order.rset).object().value(QLatin1String("cloudKey")).toVariant().toLongLong();
}

// What the order's row means for the scene's: the wait for its number is a wait for the submission here.
int stateOf(int order) { return order < SceneState::Committed ? int(SceneState::Committed) : order; }
} // namespace

CloudQueue::CloudQueue(QObject *parent) : QObject(parent)
{
    connect(ResolveDAO::instance(), &ResolveDAO::stepped, this, &CloudQueue::follow);
    connect(ResolveDAO::instance(), &ResolveDAO::removed, this, &CloudQueue::gone);
    Seam<CloudCalls>::attach(this, this);
}

CloudQueue::~CloudQueue() { Seam<CloudCalls>::detach(this); }

void CloudQueue::start(int tickMs) { m_timer.start(tickMs, Qt::CoarseTimer, this); }

bool CloudQueue::knows(int softwareType)
{
    return SoftwareType::all().contains(softwareType) && softwareType != SoftwareType::SketchUp;
}

void CloudQueue::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == m_timer.timerId() && Session::live() && !Session::closing())
        look();
}

void CloudQueue::look()
{
    for (const QList<db_resolve> &list : std::exchange(m_unsaved, {}))
        addScenes(list);
    handOver();
    startWaiting();
    askNext();
}

void CloudQueue::startWaiting()
{
    int running = 0;
    QSet<int> asked; // farms
    const QList<db_resolve> rows = dao().toRemove() + dao().in({SceneState::Analysing});
    for (const db_resolve &row : rows) {
        asked.insert(row.farmid);
        running += isSilent(row.farmid) || m_told.contains(row.rkey) ? 0 : 1;
    }
    if (running >= MostRunning)
        return;
    for (const db_resolve &row : dao().in({SceneState::Waiting})) {
        const bool silent = isSilent(row.farmid);
        if (silent && asked.contains(row.farmid))
            continue; // one of its scenes is enough to find out when it answers again
        asked.insert(row.farmid);
        running += silent ? qMin(0, dao().begin(row.rkey)) : qMax(0, dao().begin(row.rkey));
        if (running >= MostRunning)
            return;
    }
}

void CloudQueue::askNext()
{
    QList<db_resolve> rows = dao().toRemove() + dao().in({SceneState::Analysing});
    QHash<qlonglong, qint64> turns; // of those that are still there
    for (const db_resolve &row : qAsConst(rows))
        turns.insert(row.rkey, m_turns.value(row.rkey));
    m_turns = turns;
    std::stable_sort(rows.begin(), rows.end(), [&turns](const db_resolve &a, const db_resolve &b) {
        return turns.value(a.rkey) < turns.value(b.rkey);
    });
    int asked = 0;
    for (const db_resolve &row : qAsConst(rows)) {
        if (m_asking.contains(row.rkey))
            continue;
        m_turns.insert(row.rkey, ++m_turn);
        ask(row);
        if (++asked == MostAsked)
            return;
    }
}

void CloudQueue::ask(const db_resolve &row)
{
    switch (row.cloudstate) {
    case ResolveDDAO::NotPosted:
        return post(row);
    case ResolveDDAO::ToResume:
        return resume(row);
    case ResolveDDAO::ToStop:
    case ResolveDDAO::ToRemove:
        return stop(row);
    default:
        return poll(row);
    }
}

void CloudQueue::endpoint(int farmId, std::function<void(const QString &)> then)
{
    NetWork::skydriveUrl(farmId, this, [this, farmId, then](const QString &base) {
        if (base.isEmpty() || m_endpoints.contains(base))
            return then(base.isEmpty() ? base : m_endpoints.value(base));
        const QUrl url(base);
        Request request;
        request.url = QStringLiteral("%1/masterInfo?host=%2&port=%3")
                          .arg(base, url.host())
                          .arg(url.port(url.scheme() == QLatin1String("https") ? 443 : 80));
        WebAsk::get(request)
            .within(EndpointMs)
            .answered([this, farmId, base, then](const FuncBody &rep) {
                if (rep.code == StaleToken) {
                    NetWork::instance()->clearFarm(farmId);
                    return then({});
                }
                const QString told = CloudReply::endpoint(rep, base);
                m_endpoints.insert(base, told.isEmpty() || m_wrong.contains(told) ? base : told);
                then(m_endpoints.value(base));
            })
            .failed([this, base, then] {
                m_endpoints.insert(base, base);
                then(base);
            })
            .send(this);
    });
}

bool CloudQueue::over(qlonglong rkey)
{
    m_asking.remove(rkey);
    return !m_unwanted.remove(rkey);
}

// The address may have moved with the service, so it's asked for anew.
void CloudQueue::silent(const db_resolve &row, const QString &why)
{
    m_endpoints.clear();
    const int times = ++m_silent[row.farmid];
    if (times <= FreeFailures)
        qWarning().noquote() << "CloudQueue::silent" << row.rkey << row.farmid << why;
    if (times >= FreeFailures && row.state == SceneState::Analysing && row.errstr.isEmpty())
        dao().tell(row.rkey, 0, tr("农场的解析服务没有应答，恢复后自动继续"));
}

void CloudQueue::ask(const db_resolve &row, NetWork::Verb verb, const QString &path, const QByteArray &body,
                     const Then &then, const std::function<void()> &lost)
{
    const qlonglong rkey = row.rkey;
    m_asking.insert(rkey);
    const auto none = [=](const QString &why) {
        const bool wanted = over(rkey);
        silent(row, why);
        if (wanted && lost)
            lost();
    };
    const auto answered = [=](const FuncBody &rep) {
        if (rep.code == StaleToken || rep.httpStatus == NoAccess) {
            NetWork::instance()->clearFarm(row.farmid);
            return none(QStringLiteral("stale token"));
        }
        if (rep.object.isEmpty() && (verb == NetWork::Get || !rep.raw.isEmpty()))
            return none(QStringLiteral("no JSON"));
        const bool wanted = over(rkey);
        m_silent.remove(row.farmid);
        if (wanted)
            then(rep);
    };
    endpoint(row.farmid, [=](const QString &base) {
        if (base.isEmpty())
            none(QStringLiteral("no address"));
        else
            send(row, verb, base, path, body, answered, none);
    });
}

void CloudQueue::send(const db_resolve &row, NetWork::Verb verb, const QString &base, const QString &path,
                      const QByteArray &body, const Then &answered, const std::function<void(const QString &)> &lost)
{
    Request request;
    request.url = base + path;
    request.byte = body;
    const bool elsewhere = !base.startsWith(NetWork::instance()->skydriveUrl(row.farmid));
    if (elsewhere) // another place of the same farm
        request.headers = {{"X-BRONTEL-ACCESS-TOKEN", NetWork::instance()->accessToken(row.farmid).toUtf8()},
                           {"X-BRONTEL-ROLE", "user"}};
    WebAsk question = verb == NetWork::Get    ? WebAsk::get(request)
                      : verb == NetWork::Post ? WebAsk::post(request)
                                              : WebAsk::put(request);
    const auto none = [this, elsewhere, base, lost](const QString &why) {
        if (elsewhere)
            m_wrong.insert(base);
        else
            m_wrong.clear();
        lost(why);
    };
    question.answered(answered)
        .refused([=](const FuncBody &rep) {
            if (rep.httpStatus == NoAccess)
                return answered(rep);
            if (rep.httpStatus != NotThere || (elsewhere && verb == NetWork::Post))
                return none(path + QLatin1Char(' ') + rep.error);
            FuncBody none; // it is there, and knows nothing of the task
            none.code = NotThere;
            none.msg = rep.error;
            none.object = {{QStringLiteral("result"), 0}};
            answered(none);
        })
        .lost(none)
        .send(this);
}

// It stands in the row that the service may know the task before it is told: what comes of it is asked, never posted
// twice.
void CloudQueue::post(const db_resolve &row)
{
    if (dao().setCloud(row.rkey, ResolveDDAO::ToResume) <= 0)
        return;
    const QJsonObject body{{"key", row.rkey}, {"root_path", row.rootpath}, {"scene", row.lpath}};
    ask(row, NetWork::Post, QStringLiteral("/task"), QJsonDocument(body).toJson(QJsonDocument::Compact),
        [row](const FuncBody &rep) {
            if (!CloudReply::refuses(rep)) {
                dao().setCloud(row.rkey, ResolveDDAO::Posted);
                return;
            }
            qWarning().noquote() << "CloudQueue::post" << row.rkey << rep.code << rep.msg;
            db_resolve failed = row;
            failed.state = SceneState::Failed;
            failed.error = rep.code;
            failed.errstr = rep.msg;
            dao().finish(failed);
        });
}

void CloudQueue::resume(const db_resolve &row)
{
    ask(row, NetWork::Put, QStringLiteral("/task/%1/resume").arg(row.rkey), "{}", [this, row](const FuncBody &rep) {
        dao().setCloud(row.rkey, CloudReply::refuses(rep) ? ResolveDDAO::NotPosted : ResolveDDAO::Posted);
        if (CloudReply::refuses(rep))
            strange(row); // it may forget each task that it's given
    });
}

// Whatever the service says of it: it was told. One that never answers isn't waited for for ever.
void CloudQueue::stop(const db_resolve &row)
{
    ask(
        row, NetWork::Put, QStringLiteral("/task/%1/stop").arg(row.rkey), "{}",
        [this, row](const FuncBody &) { stopped(row); },
        [this, row] {
            if (++m_stopTries[row.rkey] >= MostStopTries)
                stopped(row);
        });
}

void CloudQueue::stopped(const db_resolve &row)
{
    m_stopTries.remove(row.rkey);
    if (row.cloudstate == ResolveDDAO::ToRemove)
        dao().remove(row.rkey);
    else
        dao().setCloud(row.rkey, ResolveDDAO::NotPosted);
}

void CloudQueue::poll(const db_resolve &row)
{
    ask(row, NetWork::Get, QStringLiteral("/task/%1").arg(row.rkey), {}, [this, row](const FuncBody &rep) {
        if (CloudReply::refuses(rep))
            dao().setCloud(row.rkey, ResolveDDAO::ToResume);
        else
            polled(row, CloudReply::state(rep));
    });
}

void CloudQueue::polled(const db_resolve &row, const CloudReply::State &state)
{
    dao().setTimes(row.rkey, state.start, state.end);
    switch (state.status) {
    case CloudReply::Status::Idle:
        return askResult(row);
    case CloudReply::Status::Unknown:
        if (m_told.value(row.rkey) != state.word)
            askError(row, state.word);
        return;
    case CloudReply::Status::Working:
        m_strange.remove(row.rkey);
        m_told.remove(row.rkey);
        if (!row.errstr.isEmpty()) // it goes on
            dao().tell(row.rkey, 0, {});
        return;
    case CloudReply::Status::Missing:
        return strange(row);
    }
}

void CloudQueue::strange(const db_resolve &row)
{
    if (++m_strange[row.rkey] < MostStrange)
        return;
    m_strange.remove(row.rkey);
    db_resolve failed = row;
    failed.state = SceneState::Failed;
    failed.error = AnalysisError::BadResult;
    failed.errstr = tr("农场的解析服务的回复无法读取");
    dao().finish(failed);
}

// The row stays as it is: it may be a word of a newer service. What it says of it is shown.
void CloudQueue::askError(const db_resolve &row, const QString &word)
{
    ask(row, NetWork::Get, QStringLiteral("/task/%1/error").arg(row.rkey), {}, [this, row, word](const FuncBody &rep) {
        m_told.insert(row.rkey, word);
        const QString text = CloudReply::error(rep);
        qWarning().noquote() << "CloudQueue::askError" << row.rkey << word << rep.code << text;
        dao().tell(row.rkey, rep.code, text.isEmpty() ? word : text);
    });
}

void CloudQueue::askResult(const db_resolve &row)
{
    ask(row, NetWork::Get, QStringLiteral("/task/%1/result").arg(row.rkey), {}, [this, row](const FuncBody &rep) {
        db_resolve ended = row;
        if (!CloudReply::result(rep, &ended)) {
            qWarning().noquote() << "CloudQueue::askResult" << row.rkey << "can't be read" << rep.raw.left(200);
            return strange(row);
        }
        m_told.remove(row.rkey);
        m_strange.remove(row.rkey);
        dao().finish(ended);
    });
}

void CloudQueue::addScenes(QList<db_resolve> list)
{
    const qlonglong first = QDateTime::currentSecsSinceEpoch();
    for (int i = 0; i < list.size(); ++i) {
        list[i].rkey = first + i;
        list[i].state = SceneState::Waiting;
    }
    if (!dao().insert(&list)) {
        qWarning().noquote() << "CloudQueue::addScenes" << list.size()
                             << "scenes not stored, tried again at the next look";
        m_unsaved << list;
    }
}

// What is on its way about the row is of the past.
void CloudQueue::forget(qlonglong rkey)
{
    m_told.remove(rkey);
    m_strange.remove(rkey);
    m_stopTries.remove(rkey);
    if (m_asking.contains(rkey))
        m_unwanted.insert(rkey);
}

void CloudQueue::reAdd(qlonglong rkey)
{
    forget(rkey);
    dao().again(rkey);
}

void CloudQueue::removeScene(qlonglong rkey)
{
    forget(rkey);
    m_handed.remove(rkey);
    if (dao().forget(rkey) == 0)
        dao().remove(rkey);
}

void CloudQueue::readScenes() { dao().readAll(); }

void CloudQueue::paraSet(qlonglong rkey)
{
    const db_resolve row = dao().read(rkey);
    if (row.rkey != 0)
        emit dao().paraSet(row);
}

void CloudQueue::saveData(db_resolve res) { dao().saveData(res, false); }

void CloudQueue::submit(db_resolve res)
{
    if (dao().saveData(res, true) > 0)
        handOver();
}

void CloudQueue::submitAgain(qlonglong rkey)
{
    for (const db_resolve &order : ResolveDAO::instance()->readAll())
        if (cloudKey(order) == rkey)
            Seam<ResolveCalls>::post([key = order.rkey](ResolveCalls &queue) { queue.commitResolve(key, false, {}); });
}

// The order's row first: between the two writes a crash leaves a row that is found by its cloudKey.
void CloudQueue::handOver()
{
    if (!std::exchange(m_scanned, true)) {
        for (const db_resolve &order : ResolveDAO::instance()->readAll())
            if (const qlonglong key = cloudKey(order)) {
                m_handed.insert(key);
                follow(order, order.state);
            }
        using namespace SceneState;
        for (const db_resolve &row : dao().in(Set::range(Submitting, OrderRefused)))
            if (!m_handed.contains(row.rkey)) // it was sent, and has left since
                dao().follow(row.rkey, Submitted, 0, row.ordernum, row.missionid);
    }
    for (const db_resolve &row : dao().in({SceneState::Committed})) {
        if (m_handed.contains(row.rkey))
            continue;
        const QString rdata = dao().read(row.rkey).rdata;
        Rset rset(row.rset);
        rset.set("hasClone", 1); // nothing is left to analyse
        rset.set("cloudKey", double(row.rkey));
        const QJsonObject project = rset.object().value(QLatin1String("project")).toObject();
        db_resolve order;
        order.rkey = order.pri = QDateTime::currentSecsSinceEpoch();
        order.lpath = row.lpath;
        order.project = project.value(QLatin1String("name")).toString();
        order.projectId = project.value(QLatin1String("id")).toVariant().toInt();
        order.state = SceneState::Waiting;
        order.rset = rset.text();
        order.rdata = rdata;
        order.rfile = QStringLiteral("\"files\":[]"); // they lie there
        QList<db_resolve> list{order};
        if (ResolveDAO::instance()->insertBatch(&list))
            m_handed.insert(row.rkey);
    }
}

void CloudQueue::follow(const db_resolve &order, int state)
{
    if (const qlonglong key = cloudKey(order)) {
        const db_resolve row = ResolveDAO::instance()->read(order.rkey);
        const db_resolve &known = row.missionid != 0 ? row : order;
        dao().follow(key, stateOf(state), row.error, known.ordernum, known.missionid);
    }
}

// An order that was on its way up is the server's now; any other one was given up by the user.
void CloudQueue::gone(const db_resolve &order)
{
    const qlonglong key = cloudKey(order);
    if (key == 0)
        return;
    m_handed.remove(key);
    const bool sent = order.state >= SceneState::UploadWaiting && order.state != SceneState::OrderRefused;
    if (sent)
        dao().follow(key, SceneState::Submitted, 0, order.ordernum, order.missionid);
    else
        dao().follow(key, SceneState::Clean, 0, {}, 0);
}
