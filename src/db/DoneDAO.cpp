#include "db/DoneDAO.h"
#include <QCoreApplication>
#include <QDateTime>

DoneDAO *DoneDAO::instance()
{
    static DoneDAO *one = [] {
        qAddPostRoutine([] { DoneDAO::instance()->close(); });
        return new DoneDAO;
    }();
    return one;
}

DoneDAO::DoneDAO() : Store("db_done")
{
    qRegisterMetaType<db_done>();
    qRegisterMetaType<QList<db_done>>();
}

bool DoneDAO::open(const QString &userDir)
{
    Locker lock(m_mutex);
    if (!openFile(userDir + "/finished.db"))
        return false;
    exec("create table done(id INTEGER primary key autoincrement,kind int,ordernum varchar,missid int,name varchar,"
         "folder varchar,ended INTEGER,ok int,sum int,size INTEGER)",
         {}, true);
    exec("create index done_ended on done(ended)", {}, true);
    return true;
}

void DoneDAO::close()
{
    Locker lock(m_mutex);
    closeFile();
}

bool DoneDAO::add(const db_done &done)
{
    {
        Locker lock(m_mutex);
        Work work(this);
        const qlonglong ended = done.ended != 0 ? done.ended : QDateTime::currentMSecsSinceEpoch();
        if (!work ||
            !exec("delete from done where kind = ? and ordernum = ? and missid = ?",
                  {done.kind, done.ordernum, done.missid}) ||
            !exec(
                "insert into done (kind,ordernum,missid,name,folder,ended,ok,sum,size) values (?,?,?,?,?,?,?,?,?)",
                {done.kind, done.ordernum, done.missid, done.name, done.folder, ended, done.ok, done.sum, done.size}) ||
            !exec("delete from done where id not in (select id from done order by ended desc, id desc limit ?)",
                  {Keep}) ||
            !work.commit())
            return false;
    }
    emit changed();
    return true;
}

QList<db_done> DoneDAO::readPage(int kind, const QString &search, int at, int pageSize)
{
    QList<db_done> rows;
    int pages = 0;
    pageSize = qMax(1, pageSize);
    {
        Locker lock(m_mutex);
        const QString from =
            " from done where (kind = ? or ? < 0) and (name like ? escape '\\' or ordernum like ? escape '\\')";
        const QString pattern = likePattern(search);
        const QVariantList values{kind, kind, pattern, pattern};
        pages = int((number("select count(*)" + from, values, 0) + pageSize - 1) / pageSize);
        each("select *" + from + " order by ended desc, id desc limit ?,?",
             values + QVariantList{qlonglong(qMax(0, at)) * pageSize, pageSize}, [&](const Row &row) {
                 db_done done;
                 done.id = row.number("id");
                 done.kind = row.integer("kind");
                 done.ordernum = row.text("ordernum");
                 done.missid = row.integer("missid");
                 done.name = row.text("name");
                 done.folder = row.text("folder");
                 done.ended = row.number("ended");
                 done.ok = row.integer("ok");
                 done.sum = row.integer("sum");
                 done.size = row.number("size");
                 rows << done;
             });
    }
    emit page(rows, pages);
    return rows;
}

bool DoneDAO::remove(const QList<qlonglong> &ids)
{
    {
        Locker lock(m_mutex);
        Work work(this);
        bool good = bool(work);
        for (qlonglong id : ids)
            good = good && exec("delete from done where id = ?", {id});
        if (!good || !work.commit())
            return false;
    }
    emit changed();
    return true;
}
