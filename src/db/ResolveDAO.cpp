#include "db/ResolveDAO.h"
#include "common/facts/AnalysisError.h"
#include <algorithm>
#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QSet>

namespace
{
using namespace SceneState;

// Longer messages stand in a table of their own: a hundred thousand missing files are megabytes, and every look at the
// row would read them.
constexpr int ShortText = 2000;
constexpr qlonglong KeepMs = 7LL * 24 * 3600 * 1000;
constexpr int MaxDeaths = 2; // of the client while one row was analysed; then it isn't started by itself any more

db_resolve fromRow(const Row &row)
{
    db_resolve res;
    res.rkey = row.number("rkey");
    res.ordernum = row.text("ordernum");
    res.missionid = row.integer("missionid");
    ResolveDAO::splitProject(row.text("project"), &res.projectId, &res.project);
    res.lpath = row.text("lpath");
    res.rtime = row.number("rtime");
    res.state = row.integer("state");
    res.error = row.integer("error");
    res.errstr = row.text("errstr");
    res.rset = row.text("rset");
    res.pri = row.number("pri");
    res.fok = row.integer("fok");
    res.fsum = row.integer("fsum");
    res.filetype = row.integer("filetype");
    res.fsize = row.number("fsize");
    res.fup = row.number("fup");
    return res;
}

QVariant columnValue(const db_resolve &res, const QString &column)
{
    static const QHash<QString, QVariant (*)(const db_resolve &)> values{
        {"rkey", [](const db_resolve &r) { return QVariant(r.rkey); }},
        {"ordernum", [](const db_resolve &r) { return QVariant(r.ordernum); }},
        {"missionid", [](const db_resolve &r) { return QVariant(r.missionid); }},
        {"project", [](const db_resolve &r) { return QVariant(ResolveDAO::projectColumn(r.projectId, r.project)); }},
        {"lpath", [](const db_resolve &r) { return QVariant(r.lpath); }},
        {"rtime", [](const db_resolve &r) { return QVariant(r.rtime); }},
        {"state", [](const db_resolve &r) { return QVariant(r.state); }},
        {"error", [](const db_resolve &r) { return QVariant(r.error); }},
        {"errstr", [](const db_resolve &r) { return QVariant(r.errstr.left(ShortText)); }},
        {"died", [](const db_resolve &) { return QVariant(0); }},
        {"rset", [](const db_resolve &r) { return QVariant(r.rset); }},
        {"pri", [](const db_resolve &r) { return QVariant(r.pri); }},
        {"fok", [](const db_resolve &r) { return QVariant(r.fok); }},
        {"fsum", [](const db_resolve &r) { return QVariant(r.fsum); }},
        {"fsize", [](const db_resolve &) { return QVariant(0); }},
        {"fup", [](const db_resolve &) { return QVariant(0); }},
        {"filetype", [](const db_resolve &r) { return QVariant(r.filetype); }},
    };
    const auto value = values.value(column);
    return value ? value(res) : QVariant();
}

} // namespace

ResolveDAO *ResolveDAO::instance()
{
    static ResolveDAO *one = [] {
        qAddPostRoutine([] { ResolveDAO::instance()->releaseResolve(); });
        return new ResolveDAO;
    }();
    return one;
}

ResolveDAO::ResolveDAO() : Store("db_resolve") {}

bool ResolveDAO::open(const QString &userDir)
{
    Locker lock(m_mutex);
    m_priority[0].clear();
    m_priority[1].clear();
    if (!openFile(userDir + "/resolve.db"))
        return false;
    exec("create table resolve(rkey INTEGER,ordernum varchar,missionid int,project varchar,lpath varchar,rtime INTEGER,"
         "state int,error int,errstr varchar,rset varchar,pri INTEGER,fok int,fsum int,primary key(rkey))",
         {}, true);
    exec("alter table resolve add column fsize INTEGER", {}, true);
    exec("alter table resolve add column fup INTEGER", {}, true);
    exec("alter table resolve add column filetype INTEGER", {}, true);
    exec("alter table resolve add column died int", {}, true);
    exec("create table message(rkey INTEGER,errstr varchar,primary key(rkey))", {}, true);
    exec("create table giveup(missionid INTEGER,since INTEGER,primary key(missionid))", {}, true);
    exec("create table para(rkey INTEGER,rdata varchar,rfile varchar,primary key(rkey))", {}, true);
    exec("create table batch(startkey INTEGER,endkey INTEGER,flag int)", {}, true);
    addColumns("resolve", {{"ordernum", "varchar"},
                           {"missionid", "int"},
                           {"project", "varchar"},
                           {"rtime", "INTEGER"},
                           {"state", "int"},
                           {"error", "int"},
                           {"errstr", "varchar"},
                           {"rset", "varchar"},
                           {"pri", "INTEGER"},
                           {"fok", "int"},
                           {"fsum", "int"}});
    exec("create index resolve_state on resolve(state,pri)", {}, true);
    exec("create index resolve_order on resolve(ordernum,pri)", {}, true);
    // Rows of files that had no such column: NULL is neither "= ?" nor "<> ?" anything and would be passed over.
    exec("update resolve set ordernum = ? where ordernum is null", {""});
    exec("update resolve set pri = rkey where pri is null");
    exec("update resolve set fok = coalesce(fok,0), fsum = coalesce(fsum,0), fsize = coalesce(fsize,0), fup = "
         "coalesce(fup,0),"
         " filetype = coalesce(filetype,0) where fok is null or fsum is null or fsize is null or fup is null or "
         "filetype is null");
    exec("update resolve set died = 0 where died is null");
    if (!shortenMessages())
        qWarning().noquote() << "ResolveDAO::open long messages stay where they are";
    recover();
    forgetOld(QDateTime::currentMSecsSinceEpoch());
    return true;
}

bool ResolveDAO::shortenMessages()
{
    Work work(this);
    return work &&
           exec("insert or replace into message (rkey,errstr) select rkey,errstr from resolve where length(errstr) > ?",
                {ShortText}) &&
           exec("update resolve set errstr = substr(errstr,1,?) where length(errstr) > ?", {ShortText, ShortText}) &&
           work.commit();
}

// What was under way when the client ended. A scene that ended it twice would do so at every start.
void ResolveDAO::recover()
{
    exec("update resolve set died = died + 1 where state = ?", {int(Analysing)});
    exec("update resolve set state = ?, error = ? where state = ? and died >= ?",
         {int(Failed), int(AnalysisError::DiedTwice), int(Analysing), MaxDeaths});
    exec("update resolve set state = ? where state = ?", {int(Waiting), int(Analysing)});
    for (Act act : {Act::SubmitAgain, Act::Interrupt})
        exec("update resolve set state = ? where state = ?", {to(act).only(), from(act).only()});
}

void ResolveDAO::releaseResolve()
{
    Locker lock(m_mutex);
    closeFile();
    m_told.clear();
}

QList<db_resolve> ResolveDAO::list(const QString &sql, const QVariantList &values)
{
    Locker lock(m_mutex);
    QList<db_resolve> rows;
    each(sql, values, [&](const Row &row) { rows << fromRow(row); });
    return rows;
}

db_resolve ResolveDAO::one(const QString &sql, const QVariantList &values) { return list(sql, values).value(0); }

db_resolve ResolveDAO::read(qlonglong rkey) { return one("select * from resolve where rkey = ?", {rkey}); }

db_resolve ResolveDAO::readByOrder(const QString &order)
{
    return order.isEmpty() ? db_resolve() : one("select * from resolve where ordernum = ?", {order});
}

db_resolve ResolveDAO::readByMission(int missionId)
{
    return missionId == 0 ? db_resolve() : one("select * from resolve where missionid = ?", {missionId});
}

db_resolve ResolveDAO::readWithPara(qlonglong rkey, const QString &order)
{
    Locker lock(m_mutex);
    db_resolve res = order.isEmpty() ? read(rkey) : readByOrder(order);
    if (res.rkey != 0)
        readPara(&res);
    return res;
}

void ResolveDAO::showPara(qlonglong rkey)
{
    const db_resolve res = readWithPara(rkey);
    if (res.rkey != 0)
        emit paraSet(res);
}

bool ResolveDAO::readPara(db_resolve *res)
{
    Locker lock(m_mutex);
    return each("select * from para where rkey = ?", {res->rkey},
                [&](const Row &row) {
                    res->rdata = row.text("rdata");
                    res->rfile = row.text("rfile");
                }) &&
           readMessage(res);
}

bool ResolveDAO::readMessage(db_resolve *res)
{
    Locker lock(m_mutex);
    return each("select errstr from message where rkey = ?", {res->rkey},
                [&](const Row &row) { res->errstr = row.text("errstr"); });
}

QList<db_resolve> ResolveDAO::readAll() { return list("select * from resolve order by pri", {}); }

// The first key from which on as many keys are free as the batch has rows.
qlonglong ResolveDAO::freeKeys(qlonglong from, int count)
{
    forever
    {
        const qlonglong taken =
            number("select coalesce(max(rkey),0) from resolve where rkey >= ? and rkey < ?", {from, from + count}, 0);
        if (taken < from)
            return from;
        from = taken + 1;
    }
}

bool ResolveDAO::insertBatch(QList<db_resolve> *list)
{
    if (list->isEmpty())
        return true;
    {
        Locker lock(m_mutex);
        Work work(this);
        if (!work)
            return false;
        QList<db_resolve> rows = *list;
        const qlonglong first = freeKeys(qMax<qlonglong>(1, rows.first().rkey), rows.size());
        const QStringList names = columns("resolve");
        const QString sql =
            QStringLiteral("insert into resolve (%1) values (%2)")
                .arg(names.join(','), QStringList(QVector<QString>(names.size(), "?").toList()).join(','));
        for (int i = 0; i < rows.size(); ++i) {
            db_resolve &res = rows[i];
            if (res.pri == res.rkey || res.pri == 0)
                res.pri = first + i;
            res.rkey = first + i;
            QVariantList values;
            for (const QString &name : names)
                values << columnValue(res, name);
            if (!exec(sql, values) ||
                !exec("insert or replace into para (rkey,rdata,rfile) values (?,?,?)",
                      {res.rkey, res.rdata, res.rfile}) ||
                !saveText(res.rkey, res.errstr))
                return false;
        }
        if (!exec("insert into batch (startkey,endkey,flag) values (?,?,?)", {first, rows.last().rkey, 0}) ||
            !work.commit())
            return false;
        settle();
        *list = rows;
    }
    QList<qlonglong> keys;
    for (const db_resolve &res : qAsConst(*list))
        keys << res.rkey;
    emit inserted(keys);
    emit refreshAll();
    return true;
}

db_resolve ResolveDAO::nextWithoutOrder(const QList<qlonglong> &without)
{
    const Set states = BeforeCommit | Set{Committed, SubmitFailed, OrderRefused};
    const QString sql =
        QStringLiteral("select * from resolve where ordernum = ? and state in (%1) order by pri limit ?");
    for (const db_resolve &res : list(sql.arg(states.sql()), {"", without.size() + 1}))
        if (!without.contains(res.rkey))
            return res;
    return {};
}

QList<qlonglong> ResolveDAO::keysIn(Set states)
{
    Locker lock(m_mutex);
    QList<qlonglong> keys;
    each(QStringLiteral("select rkey from resolve where state in (%1) order by pri").arg(states.sql()), {},
         [&](const Row &row) { keys << row.number("rkey"); });
    return keys;
}

bool ResolveDAO::setOrder(qlonglong rkey, int missionId, const QString &order)
{
    db_resolve res;
    {
        Locker lock(m_mutex);
        if (change("update resolve set missionid = ?, ordernum = ? where rkey = ?", {missionId, order, rkey}) <= 0)
            return false;
        settle();
        res = read(rkey);
    }
    emit orderChanged(res);
    return true;
}

db_resolve ResolveDAO::nextToAnalyse(bool slave, const QList<qlonglong> &without)
{
    Locker lock(m_mutex);
    const QString from = slave ? "select * from resolve where " : "select * from resolve where ordernum <> ? and ";
    QVariantList values;
    if (!slave)
        values << "";
    values << int(Waiting);
    while (!m_priority[0].isEmpty()) {
        const db_resolve res = one(from + "state = ? and rkey = ?", values + QVariantList{m_priority[0].first()});
        if (res.rkey != 0 && !without.contains(res.rkey))
            return res;
        m_priority[0].removeFirst();
    }
    for (const db_resolve &res :
         list(from + "state = ? order by pri limit ?", values + QVariantList{without.size() + 1}))
        if (!without.contains(res.rkey))
            return res;
    return {};
}

int ResolveDAO::step(qlonglong rkey, Act act, int state, int error)
{
    const Set from = SceneState::from(act), to = SceneState::to(act);
    if (state == 0)
        state = to.only();
    if (!to.contains(state)) {
        qCritical() << "ResolveDAO::step" << int(act) << "doesn't lead to" << state;
        return 0;
    }
    const qlonglong now = QDateTime::currentMSecsSinceEpoch();
    db_resolve before;
    {
        Locker lock(m_mutex);
        if (!each("select * from resolve where rkey = ?", {rkey}, [&](const Row &row) { before = fromRow(row); }))
            return -1;
        if (before.rkey == 0 || !from.contains(before.state))
            return 0;
        if (before.state == state && before.error == error)
            return 1;
        // A start keeps the count of deaths, whatever else happens to the row ends it.
        const bool counts = act == Act::Start || act == Act::Abandon;
        const int rows = change(QStringLiteral("update resolve set rtime = ?,state = ?,error = ?,died = died * ? "
                                               "where rkey = ? and state in (%1)")
                                    .arg(from.sql()),
                                {now, state, error, counts ? 1 : 0, rkey});
        if (rows <= 0)
            return rows;
    }
    db_resolve res = before;
    res.rtime = now;
    res.state = state;
    res.error = error;
    if (state != DoneForSeat) // shown nowhere
        emit stateChanged(res);
    emit stepped(before, state);
    return 1;
}

int ResolveDAO::mark(qlonglong rkey, int error)
{
    db_resolve res;
    {
        Locker lock(m_mutex);
        if (!each("select * from resolve where rkey = ?", {rkey}, [&](const Row &row) { res = fromRow(row); }))
            return -1;
        if (res.rkey == 0 || res.error == error)
            return res.rkey == 0 ? 0 : 1;
        const int rows = change("update resolve set error = ? where rkey = ?", {error, rkey});
        if (rows <= 0)
            return rows;
        res.error = error;
    }
    emit stateChanged(res);
    return 1;
}

int ResolveDAO::remove(qlonglong rkey, bool giveUp)
{
    db_resolve res;
    {
        Locker lock(m_mutex);
        if (!each("select * from resolve where rkey = ?", {rkey}, [&](const Row &row) { res = fromRow(row); }))
            return -1;
        if (res.rkey == 0)
            return 0;
        Work work(this);
        if (!work || !exec("delete from resolve where rkey = ?", {rkey}) ||
            !exec("delete from para where rkey = ?", {rkey}) || !exec("delete from message where rkey = ?", {rkey}))
            return -1;
        if (giveUp && res.missionid != 0 &&
            !exec("insert or replace into giveup (missionid,since) values (?,?)",
                  {res.missionid, QDateTime::currentMSecsSinceEpoch()}))
            return -1;
        if (!work.commit())
            return -1;
    }
    emit resolveDeleted(rkey);
    emit removed(res);
    return 1;
}

bool ResolveDAO::savePara(const db_resolve &res)
{
    Locker lock(m_mutex);
    Work work(this);
    if (!work)
        return false;
    const int rows = change("update para set rdata = ? where rkey = ?", {res.rdata, res.rkey});
    if (rows < 0)
        return false;
    const bool good = rows == 0
                          ? exec("insert into para (rkey,rdata,rfile) values (?,?,?)", {res.rkey, res.rdata, res.rfile})
                          : exec("update para set rfile = ? where rkey = ?", {res.rfile, res.rkey});
    return good && exec("update resolve set rset = ? where rkey = ?", {res.rset, res.rkey}) && work.commit();
}

int ResolveDAO::replaceFiles(const db_resolve &before, const db_resolve &after)
{
    Locker lock(m_mutex);
    const QString open = (SceneState::BeforeCommit | SceneState::Set{SceneState::SubmitFailed}).sql();
    return change(
        "update para set rfile = ?, rdata = ? where rkey = ? and ifnull(rfile,'') = ifnull(?,'') and "
        "ifnull(rdata,'') = ifnull(?,'') and exists (select 1 from resolve where resolve.rkey = para.rkey and "
        "state in (" +
            open + "))",
        {after.rfile, after.rdata, before.rkey, before.rfile, before.rdata});
}

bool ResolveDAO::saveText(qlonglong rkey, const QString &errstr)
{
    return errstr.size() > ShortText ? exec("insert or replace into message (rkey,errstr) values (?,?)", {rkey, errstr})
                                     : exec("delete from message where rkey = ?", {rkey});
}

bool ResolveDAO::saveMessage(qlonglong rkey, const QString &errstr)
{
    Locker lock(m_mutex);
    Work work(this);
    return work && exec("update resolve set errstr = ? where rkey = ?", {errstr.left(ShortText), rkey}) &&
           saveText(rkey, errstr) && work.commit();
}

QList<int> ResolveDAO::givenUp()
{
    Locker lock(m_mutex);
    QList<int> missions;
    each("select missionid from giveup order by since", {},
         [&](const Row &row) { missions << row.integer("missionid"); });
    return missions;
}

bool ResolveDAO::forgetGivenUp(int missionId)
{
    Locker lock(m_mutex);
    return exec("delete from giveup where missionid = ?", {missionId});
}

void ResolveDAO::told(qlonglong rkey, qlonglong nowMs)
{
    Locker lock(m_mutex);
    m_told.insert(rkey, nowMs);
}

bool ResolveDAO::forgetOld(qlonglong nowMs)
{
    Locker lock(m_mutex);
    QList<qlonglong> heard{0}; // none has this key
    for (auto it = m_told.cbegin(); it != m_told.cend(); ++it)
        if (nowMs - it.value() >= ToldMs)
            heard << it.key();
    const QString old = "state = ? and (rtime < ? or rkey = ?)";
    const QString keys = "(select rkey from resolve where " + old + ")";
    Work work(this);
    bool good = work && exec("delete from giveup where since < ?", {nowMs - KeepMs});
    for (qlonglong rkey : qAsConst(heard)) {
        const QVariantList values{int(DoneForSeat), nowMs - KeepMs, rkey};
        good = good && exec("delete from para where rkey in " + keys, values) &&
               exec("delete from message where rkey in " + keys, values) &&
               exec("delete from resolve where " + old, values);
    }
    if (!good || !work.commit())
        return false;
    for (qlonglong rkey : qAsConst(heard))
        m_told.remove(rkey);
    return true;
}

db_resolve ResolveDAO::nextToCommit(bool slave)
{
    Locker lock(m_mutex);
    db_resolve res = slave ? one("select * from resolve where state = ? order by pri limit 1", {int(Committed)})
                           : one("select * from resolve where ordernum <> ? and state = ? order by pri limit 1",
                                 {"", int(Committed)});
    if (res.rkey != 0)
        readPara(&res);
    return res;
}

QList<db_resolve> ResolveDAO::finished()
{
    return list("select * from resolve where state = ? or state = ? order by pri", {int(Clean), int(Warned)});
}

QList<db_resolve> ResolveDAO::waitingApproval()
{
    return list("select * from resolve where state = ? or state = ?", {int(ApprovalWaiting), int(Approved)});
}

bool ResolveDAO::markBatch(qlonglong rkey)
{
    Locker lock(m_mutex);
    // Keys of deleted rows come back into use: of several batches that span a key only the latest can hold the row.
    return exec(
        "update batch set flag = 1 where rowid = (select max(rowid) from batch where ? >= startkey and ? <= endkey)",
        {rkey, rkey});
}

bool ResolveDAO::batchMarked(qlonglong rkey)
{
    Locker lock(m_mutex);
    return number("select flag from batch where ? >= startkey and ? <= endkey order by rowid desc limit 1",
                  {rkey, rkey}, 0) == 1;
}

bool ResolveDAO::anyBatchMarked()
{
    Locker lock(m_mutex);
    return number("select count(*) from batch where flag = 1", {}, 0) > 0;
}

int ResolveDAO::countAlong(const QList<qlonglong> &keys)
{
    Locker lock(m_mutex);
    QSet<qlonglong> others;
    for (qlonglong key : keys)
        each("select r.rkey as rkey from resolve r, batch b where b.rowid = (select max(rowid) from batch where ? >= "
             "startkey and ? <= endkey) and r.rkey >= b.startkey and r.rkey <= b.endkey and r.state in (" +
                 Set{Waiting, Analysing, AnalysisPaused, Warned}.sql() + ")",
             {key, key}, [&](const Row &row) { others.insert(row.number("rkey")); });
    for (qlonglong key : keys)
        others.remove(key);
    return others.size();
}

QList<db_resolve> ResolveDAO::nextUploads(int limit)
{
    QList<db_resolve> rows;
    if (limit <= 0)
        return rows;
    Locker lock(m_mutex);
    QList<qlonglong> first;
    for (qlonglong rkey : qAsConst(m_priority[1])) {
        const db_resolve res = one("select * from resolve where rkey = ? and (state = ? or state = ?)",
                                   {rkey, int(UploadWaiting), int(Uploading)});
        if (res.rkey == 0)
            continue;
        first << rkey;
        if (rows.size() < limit)
            rows << res;
    }
    m_priority[1] = first;
    if (rows.size() >= limit)
        return rows;
    // Asked at every tick: an index walk a state, merged here, instead of sorting every row that waits.
    const QString each = "select * from resolve where state = ? order by pri limit ?";
    QList<db_resolve> others =
        list(each, {int(UploadWaiting), limit + first.size()}) + list(each, {int(Uploading), limit + first.size()});
    std::stable_sort(others.begin(), others.end(),
                     [](const db_resolve &a, const db_resolve &b) { return a.pri < b.pri; });
    for (const db_resolve &res : qAsConst(others))
        if (rows.size() < limit && !first.contains(res.rkey))
            rows << res;
    return rows;
}

void ResolveDAO::setPriority(int type, const QList<qlonglong> &keys)
{
    if (type != 0 && type != 1)
        return;
    Locker lock(m_mutex);
    m_priority[type] = keys;
}

bool ResolveDAO::setSum(qlonglong rkey, int fsum)
{
    Locker lock(m_mutex);
    return exec("update resolve set fsum = ? where rkey = ?", {fsum, rkey});
}

bool ResolveDAO::fileDone(qlonglong rkey, qlonglong size)
{
    int ok = -1, sum = 0;
    {
        Locker lock(m_mutex);
        Work work(this);
        if (!work || change("update resolve set fok = fok + 1 where rkey = ?", {rkey}) <= 0 ||
            !exec("update resolve set fup = fup + ? where rkey = ?", {size, rkey}))
            return false;
        each("select fok,fsum from resolve where rkey = ?", {rkey}, [&](const Row &row) {
            ok = row.integer("fok");
            sum = row.integer("fsum");
        });
        if (!work.commit())
            return false;
    }
    emit upProgress(rkey, ok, sum);
    return true;
}

bool ResolveDAO::addSize(qlonglong rkey, qlonglong size)
{
    Locker lock(m_mutex);
    return exec("update resolve set fsize = fsize + ? where rkey = ?", {size, rkey});
}

bool ResolveDAO::setSizes(qlonglong rkey, qlonglong fsize, qlonglong fup)
{
    Locker lock(m_mutex);
    return exec("update resolve set fsize = ?, fup = ? where rkey = ?", {fsize, fup, rkey});
}

QPair<qlonglong, qlonglong> ResolveDAO::sizesOfMission(int missionId)
{
    Locker lock(m_mutex);
    QPair<qlonglong, qlonglong> sizes{0, 0};
    each("select fsize, fup from resolve where missionid = ?", {missionId}, [&](const Row &row) {
        sizes.first += row.number("fsize");
        sizes.second += row.number("fup");
    });
    return sizes;
}

bool ResolveDAO::setCounts(qlonglong rkey, int fok, int fsum)
{
    {
        Locker lock(m_mutex);
        if (!exec("update resolve set fok = ?, fsum = ? where rkey = ?", {fok, fsum, rkey}))
            return false;
    }
    emit upProgress(rkey, fok, fsum);
    return true;
}

QPair<int, int> ResolveDAO::underWay()
{
    Locker lock(m_mutex);
    if (!isOpen())
        return {};
    return {int(number("select count(*) from resolve where state = ?", {101}, 0)),
            int(number("select count(*) from resolve where state = ? or state = ?", {110, 111}, 0))};
}

void ResolveDAO::readWaiting(int type)
{
    QList<db_resolve> rows;
    {
        Locker lock(m_mutex);
        const QString from = "select rkey,ordernum,project,lpath,state,pri from resolve where state = ?";
        rows =
            type == 0 ? list(from, {int(Waiting)}) : list(from + " or state = ?", {int(UploadWaiting), int(Uploading)});
        const QList<qlonglong> first = m_priority[type == 0 ? 0 : 1];
        const auto place = [&](const db_resolve &res) {
            const int at = first.indexOf(res.rkey);
            return at < 0 ? first.size() : at;
        };
        std::stable_sort(rows.begin(), rows.end(), [&](const db_resolve &a, const db_resolve &b) {
            return place(a) != place(b) ? place(a) < place(b) : a.pri < b.pri;
        });
    }
    emit allReswait(rows);
}

bool ResolveDAO::setFileType(qlonglong rkey, int filetype)
{
    Locker lock(m_mutex);
    return exec("update resolve set filetype = ? where rkey = ? and filetype = 0", {filetype, rkey});
}
