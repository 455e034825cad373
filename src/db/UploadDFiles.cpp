// The file rows of the drive's stores.
#include "common/facts/FileStates.h"
#include "db/UploadDDAO.h"
#include <algorithm>
#include <QDebug>

namespace
{
const char *const FileColumns = "id,ids,lpath,dpath,modtime,hash,size,pri,state,error,oktime";

QString dirTable(qlonglong farmPri) { return QStringLiteral("dir_%1").arg(farmPri); }
QString fileTable(qlonglong farmPri) { return QStringLiteral("file_%1").arg(farmPri); }
} // namespace

bool UploadDDAO::insertFiles(qlonglong farmPri, const QList<db_upfile> &files, qlonglong state, qlonglong *rows,
                             qlonglong *bytes)
{
    const QString sql = QStringLiteral("insert or ignore into %1 (%2) values (?,?,?,?,?,?,?,?,?,?,?)")
                            .arg(fileTable(farmPri), FileColumns);
    for (const db_upfile &file : files) {
        const int done = change(sql, {file.id, file.idText, file.lpath, file.remotePath, file.modtime, file.hash,
                                      file.size, ++m_lastPri, state, 0, 0});
        if (done < 0)
            return false;
        if (done == 0)
            continue; // it stands there already
        ++*rows;
        *bytes += file.size;
        count(farmPri, m_lastPri, 1);
    }
    return true;
}

bool UploadDDAO::addSums(qlonglong farmPri, qlonglong rows, qlonglong bytes)
{
    return exec(
               QStringLiteral("update farm set fsum = fsum + %1,fsize = fsize + %2 where pri = ?").arg(rows).arg(bytes),
               {farmPri}) &&
           exec(QStringLiteral("update farm_sum set fsum = fsum + %1").arg(rows));
}

QList<db_upfile> UploadDDAO::nextFiles(qlonglong farmPri, qlonglong behindPri, int limit)
{
    QList<db_upfile> list;
    Locker lock(m_mutex);
    each(QStringLiteral("select * from %1 where state = ? and pri > ? order by pri limit ?").arg(fileTable(farmPri)),
         {waiting(), behindPri, limit}, [&](const Row &row) { list << fileFrom(row); });
    return list;
}

db_upfile UploadDDAO::file(qlonglong farmPri, qlonglong filePri)
{
    db_upfile found;
    Locker lock(m_mutex);
    each(QStringLiteral("select * from %1 where pri = ?").arg(fileTable(farmPri)), {filePri},
         [&](const Row &row) { found = fileFrom(row); });
    return found;
}

bool UploadDDAO::setState(qlonglong farmPri, qlonglong filePri, int state, int error)
{
    bool good;
    {
        Locker lock(m_mutex);
        const QString sql = QStringLiteral("update %1 set state = ? %2 where pri = ?").arg(fileTable(farmPri));
        const Stands before = stands(farmPri, filePri);
        good = error != 0 ? exec(sql.arg(QStringLiteral(",error = ?")), {state, error, filePri})
                          : exec(sql.arg(QString()), {state, filePri});
        if (good && before.size >= 0)
            countFailed(farmPri, failedStates().contains(state) - before.failed);
        m_shown.remove(filePri);
    }
    if (good)
        emit fileStateChanged(filePri, state, error);
    return good;
}

bool UploadDDAO::setMeasure(qlonglong farmPri, const db_upfile &file)
{
    Locker lock(m_mutex);
    Work work(this);
    const QString table = fileTable(farmPri);
    const qlonglong before = stands(farmPri, file.pri).size;
    return work && before >= 0 &&
           exec(QStringLiteral("update %1 set hash = ?, size = ?, modtime = ? where pri = ?").arg(table),
                {file.hash, file.size, file.modtime, file.pri}) &&
           addSums(farmPri, 0, file.size - before) && work.commit();
}

bool UploadDDAO::place(qlonglong farmPri, const QList<db_upfile> &files)
{
    Locker lock(m_mutex);
    const QString sql = QStringLiteral("update %1 set lpath = ?, placed = ? where pri = ?").arg(fileTable(farmPri));
    Work work(this);
    bool good = bool(work);
    for (const db_upfile &file : files)
        good = good && exec(sql, {file.lpath, file.placed, file.pri});
    return good && work.commit();
}

bool UploadDDAO::isPlaced(qlonglong farmPri, const QString &lpath)
{
    Locker lock(m_mutex);
    return number(QStringLiteral("select count(*) from %1 where placed > 0 and lpath = ?").arg(fileTable(farmPri)),
                  {lpath}) > 0;
}

QList<db_upfile> UploadDDAO::placedFiles(qlonglong farmPri, const QString &behindPath, int limit)
{
    QList<db_upfile> list;
    Locker lock(m_mutex);
    each(QStringLiteral("select * from %1 where placed > 0 and lpath > ? order by lpath limit ?")
             .arg(fileTable(farmPri)),
         {behindPath, limit}, [&](const Row &row) { list << fileFrom(row); });
    return list;
}

// A damaged row may tell a size of less than nothing.
UploadDDAO::Stands UploadDDAO::stands(qlonglong farmPri, qlonglong filePri)
{
    Stands found;
    each(QStringLiteral("select size, state from %1 where pri = ?").arg(fileTable(farmPri)), {filePri},
         [&](const Row &row) {
             found.size = qMax(0LL, row.at(0).toLongLong());
             found.failed = failedStates().contains(row.at(1).toInt());
         });
    return found;
}

// Where a drive refuses everything there is a million of them: they are counted once.
void UploadDDAO::countFailed(qlonglong farmPri, int change)
{
    const auto known = m_failed.find(farmPri);
    if (known != m_failed.end())
        *known += change;
}

bool UploadDDAO::finish(qlonglong farmPri, const QList<db_upfile> &files)
{
    if (files.isEmpty())
        return true;
    {
        Locker lock(m_mutex);
        if (!hasTables(farmPri))
            return true; // deleted meanwhile
        const QString table = fileTable(farmPri);
        Work work(this);
        qlonglong rows = 0, bytes = 0;
        bool good = bool(work);
        for (const db_upfile &file : files) {
            const Stands row = good ? stands(farmPri, file.pri) : Stands();
            if (row.size < 0)
                continue;
            good = exec(QStringLiteral("delete from %1 where pri = ?").arg(table), {file.pri});
            ++rows;
            bytes += row.size;
            count(farmPri, file.pri, -1);
            countFailed(farmPri, -row.failed);
        }
        if (!good ||
            !exec(QStringLiteral("update farm set fok = fok + ?, fup = fup + ? where pri = ?"),
                  {rows, bytes, farmPri}) ||
            !exec(QStringLiteral("update farm_sum set fok = fok + ?"), {rows}) || !work.commit()) {
            m_blocks[farmPri] = {};
            m_failed.remove(farmPri);
            return false;
        }
        for (const db_upfile &file : files)
            m_shown.remove(file.pri);
    }
    for (const db_upfile &file : files)
        emit fileDeleted(file.pri);
    tellCount(farmPri);
    return true;
}

bool UploadDDAO::addDone(qlonglong farmPri, const QList<db_upfile> &files)
{
    Locker lock(m_mutex);
    Work work(this);
    const QString sql =
        QStringLiteral("replace into %1 (%2) values (?,?,?,?,?,?,?,?,?,?,?)").arg(fileTable(farmPri), FileColumns);
    bool good = work && (hasTables(farmPri) || makeTables(farmPri));
    for (const db_upfile &file : files) {
        good = good && exec(sql, {file.id, file.idText, file.lpath, file.remotePath, file.modtime, file.hash, file.size,
                                  file.pri, file.state, file.error, file.oktime});
    }
    return good && work.commit();
}

bool UploadDDAO::removeFile(qlonglong farmPri, qlonglong filePri)
{
    {
        Locker lock(m_mutex);
        const QString table = fileTable(farmPri);
        Work work(this);
        const Stands row = stands(farmPri, filePri);
        if (!work || row.size < 0 || !exec(QStringLiteral("delete from %1 where pri = ?").arg(table), {filePri}) ||
            !addSums(farmPri, -1, -row.size) || !work.commit())
            return false;
        count(farmPri, filePri, -1);
        countFailed(farmPri, -row.failed);
        m_shown.remove(filePri);
    }
    emit fileDeleted(filePri);
    tellCount(farmPri);
    return true;
}

bool UploadDDAO::removeDone(qlonglong farmPri, const QString &lpath)
{
    Locker lock(m_mutex);
    return !hasTables(farmPri) ||
           exec(QStringLiteral("delete from %1 where lpath = ?").arg(fileTable(farmPri)), {lpath});
}

bool UploadDDAO::keepRows(qlonglong most)
{
    QList<QPair<qlonglong, qlonglong>> big; // what no page shows, by batch, the newest first
    {
        Locker lock(m_mutex);
        most -= number("select coalesce(sum(min(fok,?)),0) from farm", {DoneRows}, 0);
        each("select pri, fok from farm where fok > ? order by pri desc", {DoneRows},
             [&](const Row &row) { big << qMakePair(row.at(0).toLongLong(), row.at(1).toLongLong() - DoneRows); });
    }
    bool good = true, trimmed = false;
    for (const auto &[farmPri, more] : qAsConst(big)) {
        Locker lock(m_mutex);
        const QString beyond = QStringLiteral("select count(*) from (select 1 from %1 limit 1 offset %2)");
        if (!hasTables(farmPri) || number(beyond.arg(fileTable(farmPri)).arg(DoneRows)) <= 0)
            continue; // was trimmed, or removed meanwhile
        if (more <= most) {
            most -= more;
            continue;
        }
        good = trim(farmPri) && good;
        trimmed = true;
    }
    if (trimmed)
        emit refreshAll();
    return good;
}

// The rows that a page shows move into a table of their own; the old one is for tend(), with its index by time.
bool UploadDDAO::trim(qlonglong farmPri)
{
    const QString table = fileTable(farmPri), old = QStringLiteral("gone_%1_rows").arg(table);
    Work work(this);
    const bool good = work && exec(QStringLiteral("alter table %1 rename to %2").arg(table, old)) &&
                      makeTables(farmPri) &&
                      exec(QStringLiteral("insert into %1 (%2) select %2 from %3 order by oktime desc limit %4")
                               .arg(table, FileColumns, old)
                               .arg(DoneRows)) &&
                      work.commit();
    m_gone = goneTables();
    qDebug().noquote() << "UploadDDAO::trim" << farmPri << good;
    return good;
}

qlonglong UploadDDAO::countFiles(qlonglong farmPri)
{
    Locker lock(m_mutex);
    return number(QStringLiteral("select count(state) from %1").arg(fileTable(farmPri)));
}

qlonglong UploadDDAO::countError(qlonglong farmPri, int error)
{
    Locker lock(m_mutex);
    return hasTables(farmPri)
               ? number(QStringLiteral("select count(state) from %1 where error = ?").arg(fileTable(farmPri)), {error},
                        0)
               : 0;
}

qlonglong UploadDDAO::countFailed(qlonglong farmPri)
{
    Locker lock(m_mutex);
    const auto known = m_failed.constFind(farmPri);
    if (known != m_failed.constEnd())
        return *known;
    const qlonglong rows =
        number(QStringLiteral("select count(state) from %1 where state = ? or state = ?").arg(fileTable(farmPri)),
               failedStates());
    if (rows >= 0)
        m_failed.insert(farmPri, rows);
    return qMax(0LL, rows);
}

qlonglong UploadDDAO::countDirs(qlonglong farmPri, bool failed)
{
    Locker lock(m_mutex);
    return number(QStringLiteral("select count(state) from %1 where state = ?").arg(dirTable(farmPri)),
                  {failed ? DirFailed : waiting()}, 0);
}

int UploadDDAO::resumeSome(qlonglong farmPri)
{
    int files = 0;
    {
        Locker lock(m_mutex);
        const QVariantList failed = failedStates();
        const int paused = m_which == Down ? FileStates::DownPause : FileStates::UpPause;
        m_failed.remove(farmPri);
        Work work(this);
        const int folders =
            change(QStringLiteral("update %1 set state = ? where state in (?,?)").arg(dirTable(farmPri)),
                   {waiting(), DirFailed, DirUnread});
        files = change(QStringLiteral("update %1 set state = ?, error = 0 where rowid in (select rowid from %1 where "
                                      "state in (?,?,?) limit %2)")
                           .arg(fileTable(farmPri))
                           .arg(PieceRows),
                       {waiting(), paused, failed.first(), failed.last()});
        if (!work || folders < 0 || files < 0 ||
            (folders > 0 && !exec("update farm set dirstate = 1, walknote = null where pri = ?", {farmPri})) ||
            !work.commit())
            return -1;
    }
    if (files == PieceRows)
        return 1;
    tellCount(farmPri);
    return 0;
}

bool UploadDDAO::resumeAll(qlonglong farmPri)
{
    int left = 1;
    while (left == 1)
        left = resumeSome(farmPri);
    return left == 0;
}

bool UploadDDAO::countBlocks(qlonglong farmPri, int most)
{
    Blocks &blocks = m_blocks[farmPri];
    const QString table = fileTable(farmPri);
    for (; most > 0 && !blocks.all; --most) {
        const qlonglong next = number(QStringLiteral("select coalesce(min(pri),-1) from %1 where pri >= ?").arg(table),
                                      {blocks.known * Block});
        if (next < 0) {
            blocks.all = true;
            break;
        }
        const qlonglong at = next / Block;
        blocks.rows[at] = int(number(QStringLiteral("select count(*) from %1 where pri >= ? and pri < ?").arg(table),
                                     {at * Block, (at + 1) * Block}, 0));
        blocks.known = at + 1;
    }
    return !blocks.all;
}

void UploadDDAO::count(qlonglong farmPri, qlonglong filePri, int change)
{
    const auto found = m_blocks.find(farmPri);
    if (found != m_blocks.end() && (found->all || filePri / Block < found->known))
        found->rows[filePri / Block] += change;
}

db_upfile UploadDDAO::shownFrom(const Row &row)
{
    db_upfile file = fileFrom(row);
    const auto shown = m_shown.constFind(file.pri);
    if (shown != m_shown.constEnd()) {
        file.state = shown->first;
        file.error = shown->second;
    }
    return file;
}

void UploadDDAO::readNear(qlonglong farmPri, qlonglong filePri, bool before)
{
    QList<db_upfile> list;
    {
        Locker lock(m_mutex);
        each(QStringLiteral("select * from %1 where pri %2 order by pri %3 limit ?")
                 .arg(fileTable(farmPri), before ? "< ?" : "> ?", before ? "desc" : "asc"),
             {filePri, PageRows}, [&](const Row &row) { list << shownFrom(row); });
    }
    if (before && list.size() < PageRows) {
        readPage(farmPri, 0);
        return;
    }
    if (before)
        std::reverse(list.begin(), list.end());
    emit allFile(farmPri, list, false);
}

QList<db_upfile> UploadDDAO::readPage(qlonglong farmPri, int page)
{
    QList<db_upfile> list;
    {
        Locker lock(m_mutex);
        const auto take = [&](const Row &row) { list << shownFrom(row); };
        if (m_which == Ok) {
            each(QStringLiteral("select * from %1 order by oktime desc limit %2").arg(fileTable(farmPri)).arg(DoneRows),
                 {}, take);
        } else {
            qlonglong skip = qlonglong(qMax(0, page)) * PageRows, from = 0;
            while (skip > 0 && countBlocks(farmPri, 1)) {
            }
            const QMap<qlonglong, int> counts = m_blocks.value(farmPri).rows;
            for (auto it = counts.cbegin(); it != counts.cend() && skip >= it.value(); ++it) {
                skip -= it.value();
                from = (it.key() + 1) * Block;
            }
            each(QStringLiteral("select * from %1 where pri >= ? order by pri limit ?,?").arg(fileTable(farmPri)),
                 {from, skip, PageRows}, take);
        }
    }
    emit allFile(farmPri, list, page <= 0);
    return list;
}

void UploadDDAO::show(qlonglong filePri, int state, int error)
{
    {
        Locker lock(m_mutex);
        m_shown.insert(filePri, {state, error});
    }
    emit fileStateChanged(filePri, state, error);
}

void UploadDDAO::unshow(qlonglong filePri)
{
    Locker lock(m_mutex);
    m_shown.remove(filePri);
}

void UploadDDAO::tellSpeed(const db_upfile &file) { emit fileSpeedChanged(file.pri, file); }
