#include "db/DownloadDAO.h"
#include "common/facts/FileStates.h"
#include "common/facts/PageSize.h"
#include <algorithm>
#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QSet>

namespace
{
constexpr int PageRows = PageSize::Files;
constexpr qlonglong FilesPerMission = 10000; // factor between the handles of missions and files

db_downfile fileOf(const Row &row, qlonglong missPri)
{
    db_downfile file;
    file.id = row.number("id");
    file.ordernum = row.text("ordernum");
    file.missid = row.integer("missid");
    file.farmid = row.integer("farmid");
    file.lpath = row.text("lpath");
    file.hash = row.text("hash");
    file.size = row.number("size");
    file.pri = row.number("pri");
    file.state = row.integer("state");
    file.error = row.integer("error");
    file.missPri = missPri;
    return file;
}

db_downmiss missionOf(const Row &row)
{
    db_downmiss miss;
    miss.ordernum = row.text("ordernum");
    miss.missid = row.integer("missid");
    miss.missname = row.text("missname");
    miss.lpath = row.text("lpath");
    miss.ok = row.integer("ok");
    miss.sum = row.integer("sum");
    miss.pri = row.number("pri");
    miss.state = row.integer("state");
    miss.vip = row.text("vip");
    miss.com = row.text("com");
    return miss;
}

QString table(qlonglong missPri) { return QStringLiteral("down_%1").arg(missPri); }

const QString missions_from = QStringLiteral("select miss2.*, miss_vip.vip, miss_vip.com from miss2 "
                                             "left join miss_vip on miss_vip.id = miss2.missid ");
} // namespace

DownloadDAO *DownloadDAO::instance()
{
    static DownloadDAO *one = [] {
        qAddPostRoutine([] { DownloadDAO::instance()->releaseDown(); });
        return new DownloadDAO;
    }();
    return one;
}

DownloadDAO::DownloadDAO() : Store("qndb_download") {}

bool DownloadDAO::open(const QString &userDir)
{
    Locker lock(m_mutex);
    m_first.clear();
    m_lastMission = 0;
    if (!openFile(userDir + "/qnfileDown.db"))
        return false;
    exec("create table miss2(ordernum varchar,missid int,missname varchar,lpath varchar,ok int,sum int,pri "
         "INTEGER,state int,"
         "primary key(pri))",
         {}, true);
    exec("create table miss_vip(id int,vip varchar,com varchar,primary key(id))", {}, true);
    exec("create table if not exists fetched(id INTEGER,lpath varchar,hash varchar,size INTEGER,time INTEGER,"
         "primary key(id))");
    exec("create table if not exists untold(id INTEGER,primary key(id))");
    exec("delete from fetched where time < ?",
         {QDateTime::currentDateTime().addDays(-FetchedDays).toMSecsSinceEpoch()});
    addColumns("miss2",
               {{"missname", "varchar"}, {"lpath", "varchar"}, {"ok", "int"}, {"sum", "int"}, {"state", "int"}});
    migrate();
    // Rows of files that had no such column would be passed over, or never count up.
    exec("update miss2 set state = coalesce(state,0), ok = coalesce(ok,0), sum = coalesce(sum,0) "
         "where state is null or ok is null or sum is null");
    for (const QString &name : fileTables()) {
        addColumns(name,
                   {{"farmid", "int"}, {"hash", "varchar"}, {"size", "INTEGER"}, {"state", "int"}, {"error", "int"}});
        exec(QStringLiteral("create index %1_state on %1(state)").arg(name), {}, true);
        exec(QStringLiteral("update %1 set state = ? where state = ?").arg(name),
             {int(FileStates::DownWait), int(FileStates::DownRun)});
        exec(QStringLiteral("update %1 set state = ? where state is null").arg(name), {int(FileStates::DownWait)});
    }
    return true;
}

void DownloadDAO::releaseDown()
{
    Locker lock(m_mutex);
    closeFile();
}

QStringList DownloadDAO::fileTables()
{
    QStringList list;
    for (const QString &name : tables()) {
        bool number = false;
        name.mid(5).toLongLong(&number);
        if (name.startsWith("down_") && number)
            list << name;
    }
    return list;
}

bool DownloadDAO::makeTable(qlonglong missPri)
{
    return exec(QStringLiteral(
                    "create table if not exists down_%1(id int,ordernum varchar,missid int,farmid int,lpath varchar,"
                    "hash varchar,size INTEGER,pri INTEGER,state int,error int,primary key(pri))")
                    .arg(missPri)) &&
           exec(QStringLiteral("create index if not exists down_%1_state on down_%1(state)").arg(missPri));
}

QList<db_downfile> DownloadDAO::readPage(qlonglong missPri, int page)
{
    QList<db_downfile> list;
    {
        Locker lock(m_mutex);
        if (hasTable(missPri))
            each(QStringLiteral("select * from down_%1 limit ?,?").arg(missPri), {qMax(0, page) * PageRows, PageRows},
                 [&](const Row &row) { list << fileOf(row, missPri); });
    }
    emit allFile(list, page <= 0);
    return list;
}

QList<db_downfile> DownloadDAO::files(qlonglong missPri)
{
    QList<db_downfile> list;
    Locker lock(m_mutex);
    if (hasTable(missPri))
        each(QStringLiteral("select * from down_%1 order by pri").arg(missPri), {},
             [&](const Row &row) { list << fileOf(row, missPri); });
    return list;
}

void DownloadDAO::readMissions(int page)
{
    QList<db_downmiss> list;
    int pages = 0;
    {
        Locker lock(m_mutex);
        pages = int((number("select count(*) from miss2", {}, 0) + PageRows - 1) / PageRows);
        each(missions_from + "order by miss2.pri limit ?,?", {qMax(0, page) * PageRows, PageRows},
             [&](const Row &row) { list << missionOf(row); });
    }
    emit miss(list, pages);
}

QList<db_downmiss> DownloadDAO::missionList(const QString &where, const QVariantList &values)
{
    QList<db_downmiss> list;
    each(missions_from + where, values, [&](const Row &row) { list << missionOf(row); });
    return list;
}

QList<db_downmiss> DownloadDAO::missions(const QList<int> &states)
{
    if (states.isEmpty())
        return {};
    Locker lock(m_mutex);
    QVariantList values;
    for (int state : states)
        values << state;
    const QString marks = QStringList(QVector<QString>(states.size(), "?").toList()).join(',');
    QList<db_downmiss> list =
        missionList(QStringLiteral("where miss2.state in (%1) order by miss2.pri").arg(marks), values);
    const auto place = [this](const db_downmiss &miss) {
        const int at = m_first.indexOf(miss.pri);
        return at < 0 ? m_first.size() : at;
    };
    if (!m_first.isEmpty())
        std::stable_sort(list.begin(), list.end(), [&](const auto &a, const auto &b) { return place(a) < place(b); });
    return list;
}

db_downmiss DownloadDAO::mission(qlonglong missPri)
{
    Locker lock(m_mutex);
    return missionList("where miss2.pri = ?", {missPri}).value(0);
}

db_downmiss DownloadDAO::missionByOrder(const QString &order) { return missionsOfOrder(order).value(0); }

QList<db_downmiss> DownloadDAO::missionsOfOrder(const QString &order)
{
    Locker lock(m_mutex);
    return missionList("where miss2.ordernum = ? order by miss2.pri", {order});
}

void DownloadDAO::setVip(int missionId, const QString &vip, const QString &com)
{
    Locker lock(m_mutex);
    exec("replace into miss_vip (id,vip,com) values (?,?,?)", {missionId, vip, com});
}

qlonglong DownloadDAO::newMissionPri()
{
    Locker lock(m_mutex);
    const qlonglong taken = number("select coalesce(max(pri),0) from miss2", {}, 0);
    m_lastMission = qMax(qMax(QDateTime::currentSecsSinceEpoch(), taken + 1), m_lastMission + 1);
    while (hasTable(m_lastMission))
        ++m_lastMission;
    return m_lastMission;
}

bool DownloadDAO::hasTable(qlonglong missPri)
{
    return number("select count(*) from sqlite_master where type = 'table' and name = ?", {table(missPri)}, 0) > 0;
}

bool DownloadDAO::addMission(const db_downmiss &miss, const QList<db_downfile> &files)
{
    Locker lock(m_mutex);
    Work work(this);
    if (!work || miss.pri <= 0 || !makeTable(miss.pri))
        return false;
    // A file is known again by the server's id, else by its target.
    QHash<QString, db_downfile> standing;
    QSet<qlonglong> handles;
    const auto identity = [](const db_downfile &file) {
        return file.id != 0 ? QString::number(file.id) : '/' + file.lpath;
    };
    each(QStringLiteral("select * from down_%1").arg(miss.pri), {}, [&](const Row &row) {
        const db_downfile file = fileOf(row, miss.pri);
        standing.insert(identity(file), file);
        handles.insert(file.pri);
    });
    const QString write =
        QStringLiteral("replace into down_%1 (id,ordernum,missid,farmid,lpath,hash,size,pri,state,error) "
                       "values (?,?,?,?,?,?,?,?,?,?)")
            .arg(miss.pri);
    qlonglong next = miss.pri * FilesPerMission;
    for (const db_downfile &file : files) {
        const auto stands = standing.constFind(identity(file));
        if (stands != standing.constEnd() &&
            (stands->state == FileStates::DownWait || stands->state == FileStates::DownRun) &&
            sameVersion(*stands, file))
            continue;
        qlonglong pri = stands != standing.constEnd() ? stands->pri : 0;
        if (pri == 0) {
            while (handles.contains(next))
                ++next;
            pri = next;
            handles.insert(pri);
        }
        db_downfile written = file;
        written.pri = pri;
        written.state = FileStates::DownWait;
        standing.insert(identity(file), written);
        if (!exec(write, {file.id, file.ordernum, file.missid, file.farmid, file.lpath, file.hash, file.size, pri,
                          file.state, file.error}))
            return false;
    }
    // Rows of an earlier request that still wait count as well, so that ok reaches sum when the last one is done.
    return exec("replace into miss2 (ordernum,missid,missname,lpath,ok,sum,pri,state) values (?,?,?,?,?,?,?,?)",
                {miss.ordernum, miss.missid, miss.missname, miss.lpath, miss.ok, miss.ok + handles.size(), miss.pri,
                 miss.state}) &&
           work.commit();
}

db_downfile DownloadDAO::nextWaiting(qlonglong missPri, const QList<qlonglong> &except)
{
    db_downfile file;
    QStringList list;
    for (const qlonglong pri : except)
        list << QString::number(pri);
    const QString others = list.isEmpty() ? QString() : QStringLiteral("and pri not in (%1) ").arg(list.join(','));
    Locker lock(m_mutex);
    if (hasTable(missPri))
        each(QStringLiteral("select * from down_%1 where state = ? %2limit 1").arg(missPri).arg(others),
             {int(FileStates::DownWait)}, [&](const Row &row) { file = fileOf(row, missPri); });
    return file;
}

bool DownloadDAO::setState(qlonglong missPri, qlonglong pri, int state, int error)
{
    bool good;
    {
        Locker lock(m_mutex);
        good = state == FileStates::DownError || state == FileStates::DownGaveUp
                   ? exec(QStringLiteral("update down_%1 set state = ? ,error = ? where pri = ?").arg(missPri),
                          {state, error, pri})
                   : exec(QStringLiteral("update down_%1 set state = ?  where pri = ?").arg(missPri), {state, pri});
    }
    if (good)
        emit fileStateChanged(pri, state, error);
    return good;
}

bool DownloadDAO::setHashSize(qlonglong missPri, qlonglong pri, const QString &hash, qlonglong size)
{
    Locker lock(m_mutex);
    return exec(QStringLiteral("update down_%1 set hash = ?, size = ? where pri = ?").arg(missPri), {hash, size, pri});
}

bool DownloadDAO::setPath(qlonglong missPri, qlonglong pri, const QString &lpath)
{
    Locker lock(m_mutex);
    return exec(QStringLiteral("update down_%1 set lpath = ? where pri = ?").arg(missPri), {lpath, pri});
}

bool DownloadDAO::remove(qlonglong missPri, qlonglong pri)
{
    Locker lock(m_mutex);
    return exec(QStringLiteral("delete from down_%1 where pri = ?").arg(missPri), {pri});
}

bool DownloadDAO::fileDone(qlonglong missPri, qlonglong pri)
{
    db_downmiss now;
    {
        Locker lock(m_mutex);
        Work work(this);
        const QString row = QStringLiteral("from down_%1 where pri = ? and id > 0").arg(missPri);
        if (!work ||
            !exec("replace into fetched (id,lpath,hash,size,time) select id,lpath,hash,size,? " + row,
                  {QDateTime::currentMSecsSinceEpoch(), pri}) ||
            !exec("replace into untold (id) select id " + row, {pri}) ||
            change(QStringLiteral("delete from down_%1 where pri = ?").arg(missPri), {pri}) <= 0 ||
            !exec("update miss2 set ok = ok + 1 where pri = ?", {missPri}))
            return false;
        each("select ok,sum from miss2 where pri = ?", {missPri}, [&](const Row &row) {
            now.ok = row.integer("ok");
            now.sum = row.integer("sum");
        });
        if (!work.commit())
            return false;
    }
    emit fileEnded(pri);
    emit downProgress(missPri, now.ok, now.sum);
    return true;
}

bool DownloadDAO::passBy(qlonglong missPri, qlonglong pri)
{
    {
        Locker lock(m_mutex);
        Work work(this);
        if (!work || change(QStringLiteral("delete from down_%1 where pri = ?").arg(missPri), {pri}) <= 0 ||
            !exec("update miss2 set sum = sum - 1 where pri = ? and sum > 0", {missPri}) || !work.commit())
            return false;
    }
    emit refreshAll();
    return true;
}

db_downfile DownloadDAO::fetched(qlonglong id)
{
    db_downfile file;
    Locker lock(m_mutex);
    each("select id,lpath,hash,size from fetched where id = ?", {id}, [&](const Row &row) { file = fileOf(row, 0); });
    return file;
}

QList<qlonglong> DownloadDAO::untold()
{
    QList<qlonglong> list;
    Locker lock(m_mutex);
    each("select id from untold order by id", {}, [&](const Row &row) { list << row.number("id"); });
    return list;
}

bool DownloadDAO::told(qlonglong id)
{
    Locker lock(m_mutex);
    return exec("delete from untold where id = ?", {id});
}

bool DownloadDAO::sameVersion(const db_downfile &a, const db_downfile &b)
{
    return a.id == b.id && (a.size == b.size || a.size == 0 || b.size == 0) &&
           (a.hash.isEmpty() || b.hash.isEmpty() || a.hash.compare(b.hash, Qt::CaseInsensitive) == 0);
}

bool DownloadDAO::setMissionState(qlonglong missPri, int state)
{
    {
        Locker lock(m_mutex);
        if (change("update miss2 set state = ? where pri = ?", {state, missPri}) <= 0)
            return false;
    }
    emit missionStateChanged(missPri, state);
    return true;
}

int DownloadDAO::countFiles(qlonglong missPri, const QString &where, const QVariantList &values)
{
    Locker lock(m_mutex);
    return hasTable(missPri)
               ? int(number(QStringLiteral("select count(pri) from down_%1 ").arg(missPri) + where, values))
               : 0;
}

int DownloadDAO::count(qlonglong missPri) { return countFiles(missPri, {}, {}); }

int DownloadDAO::countFailed(qlonglong missPri)
{
    return countFiles(missPri, "where state = ? or state = ?",
                      {int(FileStates::DownError), int(FileStates::DownGaveUp)});
}

int DownloadDAO::countOpen(qlonglong missPri)
{
    return countFiles(missPri, "where state = ? or state = ?", {int(FileStates::DownWait), int(FileStates::DownRun)});
}

bool DownloadDAO::removeMission(qlonglong missPri)
{
    {
        Locker lock(m_mutex);
        Work work(this);
        if (!work || !exec("delete from miss2 where pri = ?", {missPri}) ||
            !exec(QStringLiteral("drop table if exists down_%1").arg(missPri)) || !work.commit())
            return false;
        m_first.removeAll(missPri);
    }
    emit missionDeleted(missPri);
    return true;
}

bool DownloadDAO::restart(qlonglong missPri)
{
    Locker lock(m_mutex);
    return hasTable(missPri) && exec(QStringLiteral("update down_%1 set state = ? where state <> ?").arg(missPri),
                                     {int(FileStates::DownWait), int(FileStates::DownWait)});
}

bool DownloadDAO::pause(qlonglong missPri)
{
    Locker lock(m_mutex);
    return hasTable(missPri) &&
           exec(QStringLiteral("update down_%1 set state = ?").arg(missPri), {int(FileStates::DownPause)});
}

bool DownloadDAO::moveFirst(qlonglong missPri)
{
    Locker lock(m_mutex);
    m_first.removeAll(missPri);
    m_first.prepend(missPri);
    return true;
}
