#include "db/ResolveDDAO.h"
#include <QCoreApplication>
#include <QDateTime>

namespace
{
using namespace SceneState;

qlonglong now() { return QDateTime::currentMSecsSinceEpoch(); }

db_resolve fromRow(const Row &row)
{
    db_resolve res;
    res.rkey = row.number("rkey");
    res.lpath = row.text("lpath");
    res.rtime = row.number("rtime");
    res.etime = row.number("etime");
    res.state = row.integer("state");
    res.error = row.integer("error");
    res.errstr = row.text("errstr");
    res.pri = row.number("pri");
    res.filetype = row.integer("filetype");
    res.farmid = row.integer("farmid");
    res.rdata = row.text("rdata");
    res.cloudstate = row.integer("cloudstate");
    res.rootpath = row.text("rootpath");
    res.rset = row.text("rset");
    res.ordernum = row.text("ordernum");
    res.missionid = row.integer("missionid");
    return res;
}

// While the order's own row lives, this one follows it.
constexpr Set Following = Set::range(Committed, OrderRefused);
} // namespace

ResolveDDAO *ResolveDDAO::instance()
{
    static ResolveDDAO *one = [] {
        qAddPostRoutine([] { ResolveDDAO::instance()->close(); });
        return new ResolveDDAO;
    }();
    return one;
}

ResolveDDAO::ResolveDDAO() : Store("db_resolveD")
{
    qRegisterMetaType<db_resolve>();
    qRegisterMetaType<QList<db_resolve>>();
}

bool ResolveDDAO::open(const QString &userDir)
{
    Locker lock(m_mutex);
    if (!openFile(userDir + "/resolveD.db"))
        return false;
    exec("create table resolve(rkey INTEGER,lpath varchar,rtime INTEGER,etime INTEGER,state int,error int,errstr "
         "varchar,pri INTEGER,filetype int,farmid int,rdata varchar,cloudstate int,rootpath varchar,primary key(rkey))",
         {}, true);
    addColumns("resolve", {{"rset", "varchar"}, {"ordernum", "varchar"}, {"missionid", "int"}});
    exec("create index resolve_state on resolve(state,pri)", {}, true);
    exec("update resolve set pri = rkey where pri is null");
    return exec(
        "update resolve set cloudstate = ? where state = ? and (cloudstate is null or cloudstate not in (?,?,?))",
        {ToResume, int(Analysing), NotPosted, ToRemove, ToStop});
}

void ResolveDDAO::close()
{
    Locker lock(m_mutex);
    closeFile();
}

bool ResolveDDAO::insert(QList<db_resolve> *list)
{
    {
        Locker lock(m_mutex);
        Work work(this);
        bool good = bool(work);
        for (db_resolve &res : *list) {
            while (good && number("select count(*) from resolve where rkey = ?", {res.rkey}, 1) > 0)
                ++res.rkey;
            res.pri = res.rkey;
            good =
                good && exec("insert into resolve (rkey,lpath,rtime,etime,state,error,errstr,pri,filetype,farmid,"
                             "rdata,cloudstate,rootpath,rset) values (?,?,?,0,?,0,'',?,?,?,'',0,?,'')",
                             {res.rkey, res.lpath, now(), res.state, res.pri, res.filetype, res.farmid, res.rootpath});
        }
        if (!good || !work.commit())
            return false;
    }
    emit refreshAll();
    return true;
}

QList<db_resolve> ResolveDDAO::list(const QString &rest, const QVariantList &values, bool whole)
{
    Locker lock(m_mutex);
    QList<db_resolve> found;
    const QString columns = whole ? QStringLiteral("*")
                                  : QStringLiteral("rkey,lpath,rtime,etime,state,error,errstr,pri,filetype,farmid,"
                                                   "cloudstate,rootpath,rset,ordernum,missionid");
    each("select " + columns + " from resolve " + rest, values, [&found](const Row &row) { found << fromRow(row); });
    return found;
}

db_resolve ResolveDDAO::read(qlonglong rkey) { return list("where rkey = ?", {rkey}, true).value(0); }

QList<db_resolve> ResolveDDAO::all() { return list("where cloudstate is not ? order by pri", {ToRemove}); }

QList<db_resolve> ResolveDDAO::readAll()
{
    const QList<db_resolve> found = all();
    emit allFile(found);
    return found;
}

QList<db_resolve> ResolveDDAO::in(Set states)
{
    return list(QStringLiteral("where state in (%1) and cloudstate is not ? order by pri").arg(states.sql()),
                {ToRemove});
}

QList<db_resolve> ResolveDDAO::toRemove() { return list("where cloudstate = ? order by pri", {ToRemove}); }

int ResolveDDAO::changed(qlonglong rkey, int rows, int state)
{
    if (rows > 0)
        emit stateChanged(rkey, state);
    return rows;
}

int ResolveDDAO::begin(qlonglong rkey)
{
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows =
            change("update resolve set state = ?, cloudstate = case when cloudstate = ? then ? else ? end, rtime = ?, "
                   "etime = 0 where rkey = ? and state = ? and cloudstate is not ?",
                   {int(Analysing), ToStop, ToStop, NotPosted, now(), rkey, int(Waiting), ToRemove});
    }
    return changed(rkey, rows, Analysing);
}

int ResolveDDAO::setCloud(qlonglong rkey, int cloudstate)
{
    Locker lock(m_mutex);
    return change("update resolve set cloudstate = ? where rkey = ? and state = ? and cloudstate is not ?",
                  {cloudstate, rkey, int(Analysing), ToRemove});
}

int ResolveDDAO::setTimes(qlonglong rkey, qlonglong rtime, qlonglong etime)
{
    const db_resolve before = list("where rkey = ?", {rkey}).value(0);
    if (rtime <= 0)
        rtime = before.rtime;
    if (etime <= 0)
        etime = before.etime;
    if (before.state != Analysing || (before.rtime == rtime && before.etime == etime))
        return 0;
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows = change("update resolve set rtime = ?, etime = ? where rkey = ? and state = ?",
                      {rtime, etime, rkey, int(Analysing)});
    }
    if (rows > 0)
        emit rtimeChanged(rkey, rtime, etime);
    return rows;
}

int ResolveDDAO::finish(const db_resolve &res)
{
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows =
            change("update resolve set state = ?, error = ?, errstr = ?, rdata = ?, cloudstate = ?, etime = case when "
                   "etime > 0 then etime else ? end where rkey = ? and state = ? and cloudstate is not ?",
                   {res.state, res.error, res.errstr, res.rdata, Posted, now(), res.rkey, int(Analysing), ToRemove});
    }
    return changed(res.rkey, rows, res.state);
}

int ResolveDDAO::tell(qlonglong rkey, int error, const QString &errstr)
{
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows = change("update resolve set error = ?, errstr = ? where rkey = ? and state = ?",
                      {error, errstr, rkey, int(Analysing)});
    }
    return changed(rkey, rows, Analysing);
}

int ResolveDDAO::again(qlonglong rkey)
{
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows = change(
            QStringLiteral("update resolve set cloudstate = case when cloudstate = ? or (state = ? and cloudstate "
                           "is not ?) then ? else ? end, state = ?, error = 0, errstr = '', rdata = '', etime = 0 "
                           "where rkey = ? and state in (%1) and cloudstate is not ?")
                .arg(BeforeCommit.sql()),
            {ToStop, int(Analysing), NotPosted, ToStop, NotPosted, int(Waiting), rkey, ToRemove});
    }
    return changed(rkey, rows, Waiting);
}

int ResolveDDAO::saveData(const db_resolve &res, bool commit)
{
    const int state = commit ? int(Committed) : res.state;
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows =
            commit
                ? change(
                      QStringLiteral("update resolve set rdata = ?, rset = ?, state = ?, error = 0 where rkey = ? and "
                                     "state in (%1)")
                          .arg(Ended.sql()),
                      {res.rdata, res.rset, state, res.rkey})
                : change(
                      QStringLiteral("update resolve set rdata = ? where rkey = ? and state in (%1)").arg(Ended.sql()),
                      {res.rdata, res.rkey});
    }
    return changed(res.rkey, rows, state);
}

int ResolveDDAO::follow(qlonglong rkey, int state, int error, const QString &ordernum, int missionid)
{
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows =
            change(QStringLiteral("update resolve set state = ?, error = ?, ordernum = ?, missionid = ? where rkey = ? "
                                  "and state in (%1) and (state <> ? or error <> ? or missionid is not ?)")
                       .arg(Following.sql()),
                   {state, error, ordernum, missionid, rkey, state, error, missionid});
    }
    return changed(rkey, rows, state);
}

int ResolveDDAO::forget(qlonglong rkey)
{
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows = change("update resolve set cloudstate = ? where rkey = ? and (cloudstate in (?,?) or (state = ? and "
                      "cloudstate is not ?))",
                      {ToRemove, rkey, ToStop, ToRemove, int(Analysing), NotPosted});
    }
    if (rows > 0)
        emit resolveDeleted(rkey);
    return rows;
}

int ResolveDDAO::remove(qlonglong rkey)
{
    int rows = 0;
    {
        Locker lock(m_mutex);
        rows = change("delete from resolve where rkey = ?", {rkey});
    }
    if (rows > 0)
        emit resolveDeleted(rkey);
    return rows;
}
