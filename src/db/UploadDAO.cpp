#include "db/UploadDAO.h"
#include "common/facts/FileStates.h"
#include "common/facts/PageSize.h"
#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>

namespace
{
constexpr int PageRows = PageSize::Files;
constexpr int DeletesPerWork = 500;

db_upfile fromRow(const Row &row)
{
    db_upfile file;
    file.id = row.integer("id");
    file.ordernum = row.text("ordernum");
    file.missid = row.integer("missid");
    file.farmid = row.integer("farmid");
    file.lpath = row.text("lpath");
    file.hash = row.text("hash");
    file.modtime = row.number("modtime");
    file.size = row.number("size");
    file.pri = row.number("pri");
    file.state = row.integer("state");
    file.error = row.integer("error");
    return file;
}

QString marks(int count) { return QStringList(QVector<QString>(count, "?").toList()).join(','); }
} // namespace

UploadDAO *UploadDAO::instance()
{
    static UploadDAO *one = [] {
        qAddPostRoutine([] { UploadDAO::instance()->releaseUp(); });
        return new UploadDAO;
    }();
    return one;
}

UploadDAO::UploadDAO() : Store("qndb_upload") {}

bool UploadDAO::open(const QString &userDir)
{
    Locker lock(m_mutex);
    m_lastPri = 0;
    if (!openFile(userDir + "/qnfileUpload.db"))
        return false;
    exec("create table up(id int,ordernum varchar,missid int,farmid int,lpath varchar,hash varchar,modtime INTEGER,"
         "size INTEGER,pri INTEGER,state int,error int,primary key(ordernum,missid,lpath))",
         {}, true);
    addColumns("up", {{"id", "int"},
                      {"farmid", "int"},
                      {"hash", "varchar"},
                      {"modtime", "INTEGER"},
                      {"size", "INTEGER"},
                      {"pri", "INTEGER"},
                      {"state", "int"},
                      {"error", "int"}});
    // Orders whose rows stand or stood here. A file of an older client is believed for the orders that have rows.
    if (exec("create table taken(ordernum varchar primary key)", {}, true))
        exec("insert into taken select distinct ordernum from up where ordernum is not null");
    exec("create index up_tick on up(ordernum,state,pri)", {}, true);
    exec("create index up_pri on up(pri)", {}, true);
    mendPri();
    exec("update up set state = ? where state<>? and state<>?",
         {int(FileStates::UpWait), int(FileStates::UpGaveUp), int(FileStates::UpWait)});
    exec("update up set state = ? where state is null", {int(FileStates::UpWait)});
    return true;
}

// The handle must be unique: two rows of an old file that share one would be deleted together.
void UploadDAO::mendPri()
{
    m_lastPri = qMax<qlonglong>(0, number("select max(pri) from up", {}, 0));
    QList<qlonglong> rows;
    each("select rowid from up where pri is null or pri = 0", {},
         [&](const Row &row) { rows << row.at(0).toLongLong(); });
    QList<qlonglong> shared;
    each("select pri from up where pri > 0 group by pri having count(*) > 1", {},
         [&](const Row &row) { shared << row.at(0).toLongLong(); });
    for (qlonglong pri : qAsConst(shared)) {
        bool first = true;
        each("select rowid from up where pri = ?", {pri}, [&](const Row &row) {
            if (!first)
                rows << row.at(0).toLongLong();
            first = false;
        });
    }
    if (rows.isEmpty())
        return;
    Work work(this);
    for (qlonglong row : qAsConst(rows))
        exec("update up set pri = ? where rowid = ?", {++m_lastPri, row});
    work.commit();
}

void UploadDAO::releaseUp()
{
    Locker lock(m_mutex);
    closeFile();
}

QList<db_upfile> UploadDAO::readPage(const QString &order, int page)
{
    QList<db_upfile> list;
    {
        Locker lock(m_mutex);
        each(QStringLiteral("select * from up where ordernum = ? order by pri limit %1,%2")
                 .arg(qMax(0, page) * PageRows)
                 .arg(PageRows),
             {order}, [&](const Row &row) { list << fromRow(row); });
    }
    emit allFile(list, page <= 0);
    return list;
}

int UploadDAO::addOrder(const QList<db_upfile> &files)
{
    if (files.isEmpty())
        return 0;
    const int rows = addRows(files);
    return rows < 0 || settle() ? rows : -1;
}

int UploadDAO::addRows(const QList<db_upfile> &files)
{
    Locker lock(m_mutex);
    Work work(this);
    if (!work)
        return -1;
    const qlonglong before = m_lastPri;
    m_lastPri = qMax(m_lastPri, QDateTime::currentMSecsSinceEpoch());
    for (const db_upfile &file : files) {
        const qlonglong pri = file.pri > 0 ? file.pri : ++m_lastPri;
        m_lastPri = qMax(m_lastPri, pri);
        if (!exec("insert or ignore into up (id,ordernum,missid,farmid,lpath,hash,modtime,size,pri,state,error) "
                  "values (?,?,?,?,?,?,?,?,?,?,?)",
                  {file.id, file.ordernum, file.missid, file.farmid, file.lpath, file.hash, file.modtime, file.size,
                   pri, file.state, file.error})) {
            m_lastPri = before;
            return -1;
        }
    }
    const int rows = count(files.first().ordernum);
    return rows >= 0 && exec("insert or ignore into taken values(?)", {files.first().ordernum}) && work.commit() ? rows
                                                                                                                 : -1;
}

bool UploadDAO::setId(const QString &order, const QString &lpath, int id)
{
    Locker lock(m_mutex);
    return exec("update up set id = ? where ordernum = ? and lpath = ?", {id, order, lpath});
}

QList<db_upfile> UploadDAO::nextWaiting(const QString &order, const QList<qlonglong> &running, int limit)
{
    QList<db_upfile> list;
    if (limit <= 0)
        return list;
    Locker lock(m_mutex);
    QVariantList values{order};
    QString without;
    if (!running.isEmpty()) {
        without = QStringLiteral(" and pri not in (%1)").arg(marks(running.size()));
        for (qlonglong pri : running)
            values << pri;
    }
    values << int(FileStates::UpWait) << limit;
    // The running rows still read as waiting: the index is walked past them, at most as many as there are workers.
    each("select * from up where ordernum = ?" + without + " and state = ? order by pri limit ?", values,
         [&](const Row &row) { list << fromRow(row); });
    return list;
}

bool UploadDAO::setState(qlonglong pri, int state, int error)
{
    bool good;
    {
        Locker lock(m_mutex);
        good = state == FileStates::UpError || state == FileStates::UpGaveUp
                   ? exec("update up set state = ? ,error = ? where pri = ?", {state, error, pri})
                   : exec("update up set state = ?  where pri = ?", {state, pri});
    }
    if (good)
        emit fileStateChanged(pri, state, error);
    return good;
}

bool UploadDAO::remove(qlonglong pri)
{
    {
        Locker lock(m_mutex);
        if (!exec("delete from up where pri = ?", {pri}))
            return false;
    }
    emit fileDeleted(QString::number(pri));
    return true;
}

bool UploadDAO::remove(const QList<qlonglong> &pris)
{
    // In pieces, so that the store isn't held for long.
    for (int from = 0; from < pris.size(); from += DeletesPerWork) {
        const QList<qlonglong> piece = pris.mid(from, DeletesPerWork);
        {
            Locker lock(m_mutex);
            Work work(this);
            if (!work)
                return false;
            for (qlonglong pri : piece)
                if (!exec("delete from up where pri = ?", {pri}))
                    return false;
            if (!work.commit())
                return false;
        }
        for (qlonglong pri : piece)
            emit fileDeleted(QString::number(pri));
    }
    return true;
}

bool UploadDAO::removeOrder(const QString &order)
{
    {
        Locker lock(m_mutex);
        Work work(this);
        if (!work || !exec("delete from up where ordernum = ?", {order}) ||
            !exec("delete from taken where ordernum = ?", {order}) || !work.commit())
            return false;
    }
    emit fileDeletedByOrder(order);
    return true;
}

bool UploadDAO::setMeasure(const db_upfile &file)
{
    Locker lock(m_mutex);
    return exec("update up set hash = ?, modtime = ?, size = ? where ordernum = ? and lpath = ?",
                {file.hash, file.modtime, file.size, file.ordernum, file.lpath});
}

bool UploadDAO::setHash(const db_upfile &file)
{
    Locker lock(m_mutex);
    return exec("update up set hash = ? where ordernum = ? and lpath = ?", {file.hash, file.ordernum, file.lpath});
}

int UploadDAO::count(const QString &order)
{
    Locker lock(m_mutex);
    return int(number("select count(*) from up where ordernum = ?", {order}));
}

bool UploadDAO::wants(const QString &lpath)
{
    Locker lock(m_mutex);
    return number("select count(*) from (select 1 from up where lpath = ? limit 1)", {lpath}) != 0;
}

int UploadDAO::knows(const QString &order)
{
    Locker lock(m_mutex);
    return int(number("select count(*) from taken where ordernum = ?", {order}));
}

int UploadDAO::countFailed(const QString &order)
{
    Locker lock(m_mutex);
    return int(number("select count(*) from up where ordernum = ? and (state = ? or state = ?)",
                      {order, int(FileStates::UpError), int(FileStates::UpGaveUp)}));
}

qlonglong UploadDAO::sumSize(const QString &order)
{
    Locker lock(m_mutex);
    return number("select coalesce(sum(size), 0) from up where ordernum = ?", {order});
}

bool UploadDAO::reUp(const QString &order)
{
    Locker lock(m_mutex);
    return exec(
        "update up set state = ? where ordernum = ? and (state = ? or state = ? or state = ?)",
        {int(FileStates::UpWait), order, int(FileStates::UpRun), int(FileStates::UpError), int(FileStates::UpGaveUp)});
}

bool UploadDAO::resetLeftBehind(const QString &order, const QList<qlonglong> &running)
{
    Locker lock(m_mutex);
    QVariantList values{int(FileStates::UpWait), order, int(FileStates::UpRun), int(FileStates::UpServer)};
    for (qlonglong pri : running)
        values << pri;
    const QString without =
        running.isEmpty() ? QString() : QStringLiteral(" and pri not in (%1)").arg(marks(running.size()));
    return exec("update up set state = ? where ordernum = ? and (state = ? or state = ?)" + without, values);
}

QStringList UploadDAO::orders()
{
    QStringList list;
    Locker lock(m_mutex);
    each("select distinct ordernum from up order by ordernum", {},
         [&](const Row &row) { list << row.text("ordernum"); });
    return list;
}
