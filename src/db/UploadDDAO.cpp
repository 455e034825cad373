#include "db/UploadDDAO.h"
#include "common/facts/FileStates.h"
#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QRegularExpression>

namespace
{
QString dirTable(qlonglong farmPri) { return QStringLiteral("dir_%1").arg(farmPri); }
QString fileTable(qlonglong farmPri) { return QStringLiteral("file_%1").arg(farmPri); }

QString marks(int count)
{
    QString text = QStringLiteral("?");
    for (int i = 1; i < count; ++i)
        text += QStringLiteral(",?");
    return text;
}
} // namespace

UploadDDAO *UploadDDAO::instance(int which)
{
    static UploadDDAO *const all[] = {
        new UploadDDAO(Up, "qndb_uploadD", "qnfileUploadD.db"),
        new UploadDDAO(Down, "qndb_downloadD", "qnfileDownD.db"),
        new UploadDDAO(Ok, "qndb_transferOkD", "qnfileOkD.db"),
    };
    static const bool routine = [] {
        qAddPostRoutine([] {
            for (UploadDDAO *one : all)
                one->release();
        });
        return true;
    }();
    Q_UNUSED(routine)
    return all[qBound(int(Up), which, int(Ok)) - Up];
}

UploadDDAO::UploadDDAO(int which, const QString &connection, const QString &fileName)
    : Store(connection), m_which(which), m_fileName(fileName)
{
    qRegisterMetaType<SubFile>();
    qRegisterMetaType<QList<SubFile>>();
    qRegisterMetaType<db_upfarmD>();
    qRegisterMetaType<QList<db_upfarmD>>();
    qRegisterMetaType<QList<db_updirD>>();
}

int UploadDDAO::waiting() const { return m_which == Down ? FileStates::DownWait : FileStates::UpWait; }

int UploadDDAO::cancelled() const { return m_which == Down ? FileStates::DownCancel : FileStates::UpCancel; }

QVariantList UploadDDAO::failedStates() const
{
    return m_which == Down ? QVariantList{int(FileStates::DownError), int(FileStates::DownGaveUp)}
                           : QVariantList{int(FileStates::UpError), int(FileStates::UpGaveUp)};
}

bool UploadDDAO::open(const QString &userDir)
{
    Locker lock(m_mutex);
    m_lastPri = 0;
    m_shown.clear();
    m_blocks.clear();
    m_failed.clear();
    m_gone.clear();
    if (!openFile(userDir + '/' + m_fileName))
        return false;
    if (!makeStore()) {
        qWarning().noquote() << "UploadDDAO::open another program holds" << m_fileName;
        return true; // made with the first batch
    }
    m_gone = goneTables();
    if (m_which == Ok)
        return true; // TransokDHandler knows what is left over
    for (const QString &table : tables()) {
        if (table.contains('_') && table != QLatin1String("farm_sum"))
            m_lastPri = qMax(m_lastPri, number(QStringLiteral("select max(pri) from %1").arg(table), {}, 0));
    }
    mendFarms();
    QSet<qlonglong> known;
    for (const db_upfarmD &farm : farms()) {
        known.insert(farm.pri);
        m_blocks.insert(farm.pri, {});
        if (makeTables(farm.pri))
            mendRows(farm);
    }
    for (qlonglong stray : tableFarms() - known) {
        qWarning().noquote() << "UploadDDAO::open tables without a batch:" << m_fileName << stray;
        removeFarm(stray);
    }
    retotal();
    return true;
}

bool UploadDDAO::makeStore()
{
    exec("create table farm(id int,name varchar,storage int,filetype int,lpath varchar,dpath varchar,pri INTEGER,"
         "fok INTEGER,fsum INTEGER,fup INTEGER,fsize INTEGER,dirstate int,state int,primary key(pri))",
         {}, true);
    if (columns("farm").isEmpty())
        return false;
    addColumns("farm", {{"oktime", "INTEGER"},
                        {"ids", "varchar"},
                        {"conflict", "int"},
                        {"links", "int"},
                        {"note", "varchar"},
                        {"walknote", "varchar"}});
    exec("create table farm_sum(fok INTEGER,fsum INTEGER)", {}, true);
    return number("select count(fok) from farm_sum") != 0 ||
           exec("insert into farm_sum (fok,fsum) values (?,?)", {0, 0});
}

// Batches as a damaged disk or another hand may leave them: each can be worked on, or at least be deleted, afterwards.
void UploadDDAO::mendFarms()
{
    const int none = change("delete from farm where pri <= 0"); // no table can be called after them
    const int odd = change("update farm set state = ? where state is null or state not in (?,?,?,?)",
                           {waiting() + 2, waiting(), waiting() + 1, waiting() + 2, cancelled()});
    if (none > 0 || odd > 0)
        qWarning().noquote() << "UploadDDAO::mendFarms" << m_fileName << "without a number:" << none
                             << "paused for their state:" << odd;
    exec("update farm set dirstate = ? where dirstate is null or dirstate <> ?", {int(DirWalking), int(DirWalked)});
    exec("update farm set note = null where state in (?,?)", {waiting(), waiting() + 1}); // what held it up then
    exec("update farm set fok = coalesce(fok,0), fsum = coalesce(fsum,0), fup = coalesce(fup,0), "
         "fsize = coalesce(fsize,0) where fok + fsum + fup + fsize is null");
    exec("update farm_sum set fok = coalesce(fok,0), fsum = coalesce(fsum,0) where fok + fsum is null");
}

// The same of the rows of a batch; what ran waits again, what a kill left of a folder goes (it's walked once more).
void UploadDDAO::mendRows(const db_upfarmD &farm)
{
    const QString dirs = dirTable(farm.pri), files = fileTable(farm.pri);
    Work work(this);
    const QString hides = QStringLiteral("delete from %1 where state < 0 or state = 90"); // 90: of an older version
    const int hidden = change(hides.arg(files));
    change(hides.arg(dirs));
    exec(QStringLiteral("update %1 set state = ? where state is null or state not in (?,?,?)").arg(dirs),
         {waiting(), waiting(), DirFailed, DirUnread});
    const QVariantList failed = failedStates();
    const QVariantList states{waiting(), waiting(), waiting() + 2, failed.first(), failed.last()};
    exec(QStringLiteral("update %1 set state = ? where state is null or state not in (?,?,?,?)").arg(files), states);
    const qlonglong rows = countFiles(farm.pri), lost = farm.fsum - farm.fok - rows - hidden;
    if (hidden > 0 || lost != 0)
        totalRows(farm.pri);
    if (lost != 0)
        qWarning().noquote() << "UploadDDAO::mendRows" << m_fileName << farm.pri << "rows:" << rows << "lost:" << lost;
    if (lost > 0)
        exec("update farm set walknote = ? where pri = ?",
             {tr("传输记录曾损坏，缺 %1 个文件，请核对").arg(lost), farm.pri});
    work.commit();
}

// Each row a number of its own: it's known by it.
void UploadDDAO::numberRows(const QString &table)
{
    QVariantList rows;
    each(QStringLiteral(
             "select rowid from %1 where pri is null or rowid not in (select min(rowid) from %1 group by pri)")
             .arg(table),
         {}, [&](const Row &row) { rows << row.at(0); });
    for (const QVariant &row : qAsConst(rows))
        exec(QStringLiteral("update %1 set pri = ? where rowid = ?").arg(table), {++m_lastPri, row});
    qWarning().noquote() << "UploadDDAO::numberRows" << m_fileName << table << rows.size();
}

QSet<qlonglong> UploadDDAO::tableFarms()
{
    QSet<qlonglong> set;
    Locker lock(m_mutex);
    for (const QString &table : tables()) {
        bool number = false;
        const qlonglong farmPri = table.section('_', 1).toLongLong(&number);
        if (number && (table.startsWith(QLatin1String("dir_")) || table.startsWith(QLatin1String("file_"))))
            set.insert(farmPri);
    }
    return set;
}

void UploadDDAO::release()
{
    Locker lock(m_mutex);
    closeFile();
}

QString UploadDDAO::keyColumn() const { return m_which == Down ? QStringLiteral("dpath") : QStringLiteral("lpath"); }

// Also what an older file lacks: columns and indexes.
bool UploadDDAO::makeTables(qlonglong farmPri)
{
    const QString dirs = dirTable(farmPri), files = fileTable(farmPri);
    if (columns("farm").isEmpty() && !makeStore())
        return false; // another program held the file when it was opened
    exec(
        QStringLiteral("create table %1(ids varchar,lpath varchar,dpath varchar,pri INTEGER,state int,primary key(%2))")
            .arg(dirs, keyColumn()),
        {}, true);
    exec(QStringLiteral("create table %1(id int,ids varchar,lpath varchar,dpath varchar,modtime INTEGER,hash varchar,"
                        "size INTEGER,pri INTEGER,state int,error int,oktime INTEGER,primary key(%2))")
             .arg(files, keyColumn()),
         {}, true);
    if (m_which == Ok)
        return exec(QStringLiteral("create index if not exists %1_ok on %1(oktime)").arg(files));
    bool good = true;
    if (m_which == Down) {
        addColumns(files, {{"placed", "int"}});
        good = exec(QStringLiteral("create index if not exists %1_place on %1(lpath) where placed > 0").arg(files));
    }
    for (const QString &table : {dirs, files}) {
        good = exec(QStringLiteral("create index if not exists %1_state on %1(state,pri)").arg(table)) && good;
        exec(QStringLiteral("drop index if exists %1_pri").arg(table)); // of an older file, not unique
        const QString own = QStringLiteral("create unique index if not exists %1_own on %1(pri)").arg(table);
        if (number(QStringLiteral("select count(*) from %1 where pri is null").arg(table)) > 0 || !exec(own, {}, true))
            numberRows(table);
        good = exec(own) && good;
    }
    return good;
}

bool UploadDDAO::hasTables(qlonglong farmPri)
{
    return number("select count(*) from sqlite_master where type = 'table' and name = ?", {fileTable(farmPri)}) > 0;
}

// What is over plus what stands in the table.
bool UploadDDAO::totalRows(qlonglong farmPri)
{
    return exec(QStringLiteral("update farm set fsum = fok + (select count(*) from %1), "
                               "fsize = fup + (select coalesce(sum(size),0) from %1) where pri = ?")
                    .arg(fileTable(farmPri)),
                {farmPri});
}

bool UploadDDAO::retotal()
{
    if (number("select count(pri) from farm", {}, 1) == 0)
        return exec("update farm_sum set fok = 0, fsum = 0");
    return exec("update farm_sum set fsum = fok + (select coalesce(sum(fsum - fok),0) from farm)");
}

qlonglong UploadDDAO::newFarmPri(int which)
{
    static std::atomic<qlonglong> last{0};
    qlonglong before = last, next = 0;
    do
        next = qMax(before + 10, QDateTime::currentMSecsSinceEpoch() * 10 + which);
    while (!last.compare_exchange_weak(before, next));
    return next;
}

bool UploadDDAO::addFarm(const db_upfarmD &farm, const QList<db_updirD> &dirs, const QList<db_upfile> &files)
{
    const bool written = writeFarm(farm, dirs, files) && settle();
    qDebug().noquote() << "UploadDDAO::addFarm farm scan start:" << farm.pri << farm.name << dirs.size() << files.size()
                       << written;
    emit farmAdded(farm.pri, written);
    emit refreshAll();
    return written;
}

bool UploadDDAO::writeFarm(const db_upfarmD &farm, const QList<db_updirD> &dirs, const QList<db_upfile> &files)
{
    Locker lock(m_mutex);
    Work work(this);
    m_blocks[farm.pri] = {{}, 0, true};
    db_upfarmD row = farm;
    row.dirstate = dirs.isEmpty() ? DirWalked : DirWalking;
    row.fok = row.fup = row.fsum = row.fsize = 0;
    return work && makeTables(farm.pri) && writeRow(row) && insertDirs(farm.pri, dirs, waiting()) &&
           insertFiles(farm.pri, files, waiting(), &row.fsum, &row.fsize) && addSums(farm.pri, row.fsum, row.fsize) &&
           work.commit();
}

bool UploadDDAO::putFarm(const db_upfarmD &farm)
{
    Locker lock(m_mutex);
    Work work(this);
    return work && makeTables(farm.pri) && writeRow(farm) && work.commit();
}

bool UploadDDAO::writeRow(const db_upfarmD &farm)
{
    const QVariantList values{farm.id,    farm.name,   farm.storage, farm.filetype, farm.lpath,      farm.dpath,
                              farm.pri,   farm.fok,    farm.fsum,    farm.fup,      farm.fsize,      farm.dirstate,
                              farm.state, farm.oktime, farm.ids,     farm.conflict, int(farm.links), farm.note};
    return exec(QStringLiteral("replace into farm (%1) values (%2)")
                    .arg("id,name,storage,filetype,lpath,dpath,pri,fok,fsum,fup,fsize,dirstate,state,oktime,ids,"
                         "conflict,links,note",
                         marks(values.size())),
                values);
}

db_upfarmD UploadDDAO::farmFrom(const Row &row)
{
    db_upfarmD farm;
    farm.id = row.integer("id");
    farm.name = row.text("name");
    farm.storage = row.integer("storage");
    farm.filetype = row.integer("filetype");
    farm.lpath = row.text("lpath");
    farm.dpath = row.text("dpath");
    farm.ids = row.text("ids");
    farm.pri = row.number("pri");
    farm.fok = row.number("fok");
    farm.fsum = row.number("fsum");
    farm.fup = row.number("fup");
    farm.fsize = row.number("fsize");
    farm.dirstate = row.integer("dirstate");
    farm.state = row.integer("state");
    farm.oktime = row.number("oktime");
    farm.conflict = row.integer("conflict");
    farm.links = row.integer("links") != 0;
    const QString walk = row.text("walknote");
    farm.note = row.text("note");
    farm.note += farm.note.isEmpty() || walk.isEmpty() ? walk : QStringLiteral("；") + walk;
    return farm;
}

db_upfile UploadDDAO::fileFrom(const Row &row)
{
    db_upfile file;
    file.id = row.integer("id");
    file.idText = row.text("ids");
    file.lpath = row.text("lpath");
    file.remotePath = row.text("dpath");
    file.modtime = row.number("modtime");
    file.hash = row.text("hash");
    file.size = row.number("size");
    file.pri = row.number("pri");
    file.state = row.number("state") < 0 ? waiting() : row.integer("state"); // its folder is still being walked
    file.error = row.integer("error");
    file.oktime = row.number("oktime");
    file.placed = row.integer("placed");
    return file;
}

db_upfarmD UploadDDAO::farm(qlonglong farmPri)
{
    db_upfarmD found;
    Locker lock(m_mutex);
    each("select * from farm where pri = ?", {farmPri}, [&](const Row &row) { found = farmFrom(row); });
    if (found.pri != 0 && m_which != Ok)
        found.failed = countFailed(farmPri) + countDirs(farmPri, true);
    return found;
}

QList<db_upfarmD> UploadDDAO::farms()
{
    QList<db_upfarmD> list;
    Locker lock(m_mutex);
    each(m_which == Ok ? "select * from farm order by oktime desc" : "select * from farm order by pri", {},
         [&](const Row &row) { list << farmFrom(row); });
    return list;
}

QList<db_upfarmD> UploadDDAO::active(int limit)
{
    QList<db_upfarmD> list;
    Locker lock(m_mutex);
    each(QStringLiteral("select * from farm where state = ? or state = ? order by pri limit %1").arg(qMax(0, limit)),
         {waiting(), waiting() + 1}, [&](const Row &row) { list << farmFrom(row); });
    return list;
}

db_upfarmD UploadDDAO::nextWalk(const QList<qlonglong> &except)
{
    db_upfarmD found;
    Locker lock(m_mutex);
    each("select * from farm where dirstate = 1 and (state = ? or state = ?) order by pri", {waiting(), waiting() + 1},
         [&](const Row &row) {
             if (found.pri == 0 && !except.contains(row.number("pri")))
                 found = farmFrom(row);
         });
    return found;
}

bool UploadDDAO::setFarmState(qlonglong farmPri, int state)
{
    {
        Locker lock(m_mutex);
        if (!exec("update farm set state = ? where pri = ?", {state, farmPri}))
            return false;
    }
    emit farmStateChanged(farmPri, state);
    return true;
}

bool UploadDDAO::setConflict(qlonglong farmPri, int conflict)
{
    Locker lock(m_mutex);
    return exec("update farm set conflict = ? where pri = ?", {conflict, farmPri});
}

bool UploadDDAO::setNote(qlonglong farmPri, const QString &text, Note kind)
{
    int good = 0;
    QString whole = text;
    {
        Locker lock(m_mutex);
        const QString column = kind == OfWalk ? QStringLiteral("walknote") : QStringLiteral("note");
        good = change(QStringLiteral("update farm set %1 = ? where pri = ?").arg(column), {text, farmPri});
        if (good > 0)
            each("select * from farm where pri = ?", {farmPri}, [&](const Row &row) { whole = farmFrom(row).note; });
    }
    if (good != 0) // also where the store is what the note is about
        emit note(farmPri, whole);
    return good > 0;
}

bool UploadDDAO::removeFarm(qlonglong farmPri)
{
    {
        Locker lock(m_mutex);
        Work work(this);
        if (!work || !exec("delete from farm where pri = ?", {farmPri}) || !leaveTable(dirTable(farmPri)) ||
            !leaveTable(fileTable(farmPri)) || !retotal() || !work.commit()) {
            m_gone = goneTables();
            return false;
        }
        m_blocks.remove(farmPri);
        m_failed.remove(farmPri);
    }
    emit farmDeleted(farmPri);
    qlonglong fok = 0, fsum = 0;
    sums(&fok, &fsum);
    emit farmSumCount(fok, fsum);
    return true;
}

QStringList UploadDDAO::goneTables() { return tables().filter(QRegularExpression(QStringLiteral("^gone_"))); }

// A small one goes at once.
bool UploadDDAO::leaveTable(const QString &table)
{
    if (number("select count(*) from sqlite_master where type = 'table' and name = ?", {table}) <= 0)
        return true;
    const QString few = QStringLiteral("select count(*) from (select 1 from %1 limit %2)");
    if (number(few.arg(table).arg(PieceRows)) < PieceRows)
        return exec(QStringLiteral("drop table %1").arg(table));
    QString name = QStringLiteral("gone_") + table;
    while (m_gone.contains(name))
        name += '_';
    m_gone << name;
    return exec(QStringLiteral("alter table %1 rename to %2").arg(table, name));
}

bool UploadDDAO::sweep()
{
    const QString table = m_gone.first();
    const int rows = change(
        QStringLiteral("delete from %1 where rowid in (select rowid from %1 limit %2)").arg(table).arg(PieceRows));
    if (rows == PieceRows)
        return true;
    if (rows < 0 || !exec(QStringLiteral("drop table %1").arg(table)))
        return false; // a disk that is full; the next opening finds it
    m_gone.removeFirst();
    return true;
}

bool UploadDDAO::tend()
{
    constexpr int MostBlocks = 16;
    Locker lock(m_mutex);
    if (!isOpen())
        return false;
    if (!m_gone.isEmpty())
        return sweep();
    for (auto it = m_blocks.begin(); it != m_blocks.end(); ++it) {
        if (!it->all)
            return countBlocks(it.key(), MostBlocks);
    }
    return false;
}

bool UploadDDAO::keepFarms(int most)
{
    QList<qlonglong> old;
    {
        Locker lock(m_mutex);
        const qlonglong first =
            number(QStringLiteral("select pri from farm order by pri desc limit 1 offset %1").arg(most - 1), {}, 0);
        each("select pri from farm where pri < ?", {first}, [&](const Row &row) { old << row.at(0).toLongLong(); });
    }
    for (qlonglong pri : qAsConst(old)) {
        if (!removeFarm(pri))
            return false;
    }
    return true;
}

void UploadDDAO::sums(qlonglong *fok, qlonglong *fsum)
{
    Locker lock(m_mutex);
    each("select * from farm_sum", {}, [&](const Row &row) {
        *fok = row.number("fok");
        *fsum = row.number("fsum");
    });
}

void UploadDDAO::tellCount(qlonglong farmPri)
{
    const db_upfarmD now = farm(farmPri);
    if (now.pri != 0)
        emit farmCount(farmPri, now);
    qlonglong fok = 0, fsum = 0;
    sums(&fok, &fsum);
    emit farmSumCount(fok, fsum);
}

QList<db_updirD> UploadDDAO::nextDirs(qlonglong farmPri, int limit)
{
    QList<db_updirD> list;
    Locker lock(m_mutex);
    each(QStringLiteral("select * from %1 where state = ? order by pri limit %2").arg(dirTable(farmPri)).arg(limit),
         {waiting()}, [&](const Row &row) {
             db_updirD dir;
             dir.ids = row.text("ids");
             dir.lpath = row.text("lpath");
             dir.dpath = row.text("dpath");
             dir.pri = row.number("pri");
             dir.state = row.integer("state");
             list << dir;
         });
    return list;
}

bool UploadDDAO::insertDirs(qlonglong farmPri, const QList<db_updirD> &dirs, qlonglong state)
{
    const QString sql = QStringLiteral("insert or ignore into %1 (ids,lpath,dpath,pri,state) values (?,?,?,?,?)")
                            .arg(dirTable(farmPri));
    for (const db_updirD &dir : dirs) {
        if (!exec(sql, {dir.ids, dir.lpath, dir.dpath, ++m_lastPri, state}))
            return false;
    }
    return true;
}

bool UploadDDAO::walked(qlonglong farmPri, const db_updirD &dir, const QList<db_updirD> &dirs,
                        const QList<db_upfile> &files, bool last)
{
    {
        Locker lock(m_mutex);
        if (!hasTables(farmPri))
            return false; // deleted meanwhile
        const QString dirRows = dirTable(farmPri);
        Work work(this);
        qlonglong rows = 0, bytes = 0;
        const qlonglong state = last ? waiting() : -dir.pri;
        bool good = bool(work) && insertDirs(farmPri, dirs, state) &&
                    insertFiles(farmPri, files, state, &rows, &bytes) && addSums(farmPri, rows, bytes);
        if (good && last) {
            const QString show = QStringLiteral("update %1 set state = ? where state = ?");
            good = exec(show.arg(fileTable(farmPri)), {waiting(), -dir.pri}) &&
                   exec(show.arg(dirRows), {waiting(), -dir.pri}) &&
                   exec(QStringLiteral("delete from %1 where %2 = ? or pri = ?").arg(dirRows, keyColumn()),
                        {m_which == Down ? dir.dpath : dir.lpath, dir.pri}) &&
                   endWalk(farmPri);
        }
        if (!good || !work.commit()) {
            m_blocks[farmPri] = {};
            return false;
        }
    }
    if (last)
        tellCount(farmPri);
    return true;
}

bool UploadDDAO::unwalk(qlonglong farmPri, const db_updirD &dir)
{
    const QString pieces =
        QStringLiteral("select rowid from %1 where state = ? limit %2").arg(fileTable(farmPri)).arg(PieceRows);
    for (qlonglong rows = PieceRows; rows == PieceRows;) {
        Locker lock(m_mutex);
        if (!hasTables(farmPri))
            return true; // deleted meanwhile
        Work work(this);
        qlonglong bytes = 0;
        const bool good =
            work &&
            each(QStringLiteral("select count(*), coalesce(sum(size),0) from %1 where rowid in (%2)")
                     .arg(fileTable(farmPri), pieces),
                 {-dir.pri},
                 [&](const Row &row) {
                     rows = row.at(0).toLongLong();
                     bytes = row.at(1).toLongLong();
                 }) &&
            exec(QStringLiteral("delete from %1 where rowid in (%2)").arg(fileTable(farmPri), pieces), {-dir.pri}) &&
            exec(QStringLiteral("delete from %1 where state = ?").arg(dirTable(farmPri)), {-dir.pri}) &&
            addSums(farmPri, -rows, -bytes) && work.commit();
        m_blocks[farmPri] = {};
        if (!good)
            return false; // the next opening finds them
    }
    return true;
}

// The walk is over with its last folder, but for those that were given up.
bool UploadDDAO::endWalk(qlonglong farmPri)
{
    const qlonglong left =
        number(QStringLiteral("select count(*) from (select 1 from %1 where state = ? limit 1)").arg(dirTable(farmPri)),
               {waiting()});
    if (left != 0)
        return left > 0;
    return exec("update farm set dirstate = 2 where pri = ?", {farmPri}) && totalRows(farmPri) && retotal();
}

bool UploadDDAO::dirFailed(qlonglong farmPri, const db_updirD &dir, int state)
{
    {
        Locker lock(m_mutex);
        Work work(this);
        if (!work ||
            !exec(QStringLiteral("update %1 set state = ? where pri = ?").arg(dirTable(farmPri)), {state, dir.pri}) ||
            !endWalk(farmPri) || !work.commit())
            return false;
    }
    tellCount(farmPri);
    return true;
}

void UploadDDAO::readFarms()
{
    QList<db_upfarmD> list = farms();
    if (m_which != Ok) {
        for (db_upfarmD &one : list)
            one.failed = countFailed(one.pri) + countDirs(one.pri, true);
    }
    emit allFarm(list);
    qlonglong fok = 0, fsum = 0;
    sums(&fok, &fsum);
    emit farmSumCount(fok, fsum);
}
