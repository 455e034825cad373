#include "db/Store.h"
#include "common/platform/SafeFile.h"
#include "common/VFunc.h"
#include "db/Records.h"
#include "io/NetTcp.h"
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlRecord>
#include <QThread>

namespace
{
constexpr int RetryMs = 100;
constexpr int StatementBusyMs = 1000;
constexpr int MaxPrepared = 200;
// A whole check of a file of this size takes a few ms; a bigger one is checked only after an unclean end.
constexpr qint64 AlwaysCheckBytes = 4 * 1024 * 1024;

bool isCorrupt(const QSqlError &error)
{
    const int code = error.nativeErrorCode().toInt() & 0xff;
    return code == 11 || code == 26; // SQLITE_CORRUPT, SQLITE_NOTADB
}

std::mutex listMutex;
QList<Store *> stores; // those that live

bool isBusy(const QSqlError &error)
{
    const int code = error.nativeErrorCode().toInt() & 0xff;
    return code == 5 || code == 6; // SQLITE_BUSY, SQLITE_LOCKED
}
} // namespace

Row::Row(QSqlQuery *query) : m_query(query) {}

QVariant Row::value(const char *column) const
{
    const QByteArray name = QByteArray::fromRawData(column, int(qstrlen(column)));
    auto found = m_positions.constFind(name);
    if (found == m_positions.constEnd())
        found = m_positions.insert(QByteArray(column), m_query->record().indexOf(QLatin1String(column)));
    return *found < 0 ? QVariant() : m_query->value(*found);
}

QString Row::text(const char *column) const { return value(column).toString(); }

qlonglong Row::number(const char *column) const { return value(column).toLongLong(); }

Store::Store(const QString &connection) : m_connection(connection)
{
    // Rows travel through queued calls and signals from the first statement on.
    qRegisterMetaType<db_resolve>();
    qRegisterMetaType<QList<db_resolve>>();
    qRegisterMetaType<db_upfile>();
    qRegisterMetaType<QList<db_upfile>>();
    qRegisterMetaType<db_downfile>();
    qRegisterMetaType<QList<db_downfile>>();
    qRegisterMetaType<db_downmiss>();
    qRegisterMetaType<QList<db_downmiss>>();
    std::lock_guard lock(listMutex);
    stores << this;
    NetTcp::setBarrier(&Store::settleAll);
}

Store::~Store()
{
    {
        std::lock_guard list(listMutex);
        stores.removeAll(this);
    }
    Locker lock(m_mutex);
    closeFile();
}

bool Store::isOpen() const
{
    Locker lock(m_mutex);
    return m_db.isOpen();
}

QString Store::filePath() const
{
    Locker lock(m_mutex);
    return m_path;
}

void Store::setBusyMs(int ms)
{
    Locker lock(m_mutex);
    m_busyMs = ms;
}

QString Store::named(const char *function) const
{
    return QString::fromLatin1(metaObject()->className()) + QStringLiteral("::") + QLatin1String(function);
}

bool Store::openFile(const QString &path)
{
    closeFile();
    QDir().mkpath(QFileInfo(path).absolutePath());
    // A clean end removes the write-ahead log; the mark is left by a statement that met damage.
    const bool unclean = QFile::exists(path + "-wal") || QFile::exists(path + ".check");
    if (connectFile(path) && !sound(path, unclean)) {
        closeFile();
        if (!setAside(path))
            return false;
        connectFile(path);
    }
    if (!m_db.isOpen())
        return false;
    QFile::remove(path + ".check");
    exec("pragma journal_size_limit = 16777216");
    QString mode;
    each("pragma journal_mode", {}, [&](const Row &row) { mode = row.at(0).toString(); });
    const bool log = mode == QLatin1String("wal");
    // Without the log (a share that can't do it) the file's own locks forbid to sync it from here.
    exec(log ? "pragma synchronous = normal" : "pragma synchronous = extra");
    std::lock_guard lock(m_syncMutex);
    m_logPath = log ? path + QStringLiteral("-wal") : QString();
    return true;
}

bool Store::connectFile(const QString &path)
{
    m_path = path;
    // Before the first byte, and for what an earlier version left: the log takes the file's own rights.
    for (const char *part : {"", "-wal", "-shm"}) {
        if (*part == 0 || QFile::exists(path + part))
            platform::makePrivate((path + part).toStdString(), false);
    }
    m_db = QSqlDatabase::addDatabase("QSQLITE", m_connection);
    m_db.setDatabaseName(path);
    m_db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(qMin(StatementBusyMs, m_busyMs)));
    if (m_db.open())
        return true;
    qWarning().noquote() << named("connectFile") << path << m_db.lastError().text();
    closeFile();
    return false;
}

bool Store::sound(const QString &path, bool unclean)
{
    QSqlQuery query(m_db);
    if (!query.exec("pragma journal_mode = wal") || !query.exec("select count(*) from sqlite_master"))
        return !isCorrupt(query.lastError());
    query.finish();
    if (!unclean && QFileInfo(path).size() > AlwaysCheckBytes)
        return true;
    if (!query.exec("pragma quick_check(1)"))
        return !isCorrupt(query.lastError());
    return !query.next() || query.value(0).toString() == "ok";
}

bool Store::setAside(const QString &path)
{
    const QString stem = path + ".broken-" + QDateTime::currentDateTime().toString("yyyyMMddHHmmss");
    QString aside = stem;
    for (int n = 2; QFile::exists(aside); ++n)
        aside = stem + QStringLiteral("-%1").arg(n);
    if (!QFile::rename(path, aside)) {
        qWarning().noquote() << named("setAside") << path << "is damaged and can't be kept aside as" << aside;
        return false;
    }
    // The log belongs to the damaged file; beside the new one it would be taken for its own.
    if (QFile::exists(path + "-wal"))
        QFile::rename(path + "-wal", aside + "-wal");
    QFile::remove(path + "-shm");
    qWarning().noquote() << named("setAside") << path << "is damaged, kept aside as" << aside
                         << ", a new one is started";
    return true;
}

void Store::closeFile()
{
    m_prepared.clear();
    {
        std::lock_guard lock(m_syncMutex);
        m_logPath.clear();
        m_log.close();
        m_settled = m_written; // what closes is checkpointed, and that syncs
    }
    if (m_db.isValid()) {
        m_db.close();
        m_db = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_connection);
    }
    m_path.clear();
}

void Store::suspect(const QSqlError &error)
{
    if (!isCorrupt(error))
        return;
    QFile mark(m_path + ".check");
    if (!mark.exists() && mark.open(QIODevice::WriteOnly))
        qWarning().noquote() << named("suspect") << m_path << "seems damaged and is checked at the next start";
}

QSqlQuery *Store::run(const QString &sql, const QVariantList &values, bool quiet)
{
    if (!m_db.isOpen())
        return nullptr;
    QSharedPointer<QSqlQuery> query = m_prepared.value(sql);
    if (!query) {
        query.reset(new QSqlQuery(m_db));
        query->setForwardOnly(true);
        if (!query->prepare(sql)) {
            if (!quiet)
                qWarning().noquote() << named("run") << sql << query->lastError().text();
            suspect(query->lastError());
            return nullptr;
        }
        if (m_prepared.size() >= MaxPrepared)
            m_prepared.clear();
        m_prepared.insert(sql, query);
    }
    for (int i = 0; i < values.size(); ++i) {
        // A null text would be stored as NULL, which no "= ''" finds again.
        const QVariant &value = values.at(i);
        query->bindValue(i, value.type() == QVariant::String && value.isNull() ? QVariant(QString("")) : value);
    }
    if (query->exec()) {
        if (!query->isSelect())
            ++m_written;
        return query.data();
    }
    if (!quiet)
        qWarning().noquote() << named("run") << sql << query->lastError().text();
    suspect(query->lastError());
    query->finish();
    return nullptr;
}

bool Store::exec(const QString &sql, const QVariantList &values, bool quiet)
{
    QSqlQuery *query = run(sql, values, quiet);
    if (query)
        query->finish();
    return query != nullptr;
}

int Store::change(const QString &sql, const QVariantList &values)
{
    QSqlQuery *query = run(sql, values);
    if (!query)
        return -1;
    const int rows = query->numRowsAffected();
    query->finish();
    return rows;
}

bool Store::each(const QString &sql, const QVariantList &values, const std::function<void(const Row &)> &row)
{
    QSqlQuery *query = run(sql, values);
    if (!query)
        return false;
    const Row current(query);
    while (query->next())
        row(current);
    const QSqlError error = query->lastError();
    query->finish();
    if (!error.isValid())
        return true;
    qWarning().noquote() << named("each") << sql << error.text();
    suspect(error);
    return false;
}

qlonglong Store::number(const QString &sql, const QVariantList &values, qlonglong failure)
{
    qlonglong result = failure;
    each(sql, values, [&](const Row &row) { result = row.at(0).toLongLong(); });
    return result;
}

QString Store::likePattern(QString text)
{
    text.replace('\\', "\\\\").replace('%', "\\%").replace('_', "\\_");
    return '%' + text + '%';
}

QStringList Store::columns(const QString &table)
{
    QStringList list;
    each(QStringLiteral("pragma table_info(%1)").arg(table), {},
         [&](const Row &row) { list << row.text("name").toLower(); });
    return list;
}

QStringList Store::tables()
{
    QStringList list;
    each("select name from sqlite_master where type = ? order by name", {"table"},
         [&](const Row &row) { list << row.at(0).toString(); });
    return list;
}

void Store::addColumns(const QString &table, const QList<QPair<QString, QString>> &nameAndType)
{
    const QStringList present = columns(table);
    for (const auto &column : nameAndType)
        if (!present.contains(column.first))
            exec(QStringLiteral("alter table %1 add column %2 %3").arg(table, column.first, column.second));
}

bool Store::transaction(int step)
{
    if (!m_db.isOpen())
        return false;
    static const char *const words[] = {"begin immediate", "rollback", "commit"};
    QElapsedTimer waited;
    waited.start();
    QSqlQuery query(m_db);
    while (!query.exec(words[step])) {
        const QSqlError error = query.lastError();
        if (!isBusy(error) || waited.elapsed() >= m_busyMs) {
            qWarning().noquote() << named("transaction") << words[step] << "given up after" << waited.elapsed()
                                 << "ms:" << error.text();
            suspect(error);
            return false;
        }
        QThread::msleep(RetryMs);
    }
    ++m_written;
    return true;
}

// The log has one inode from the first write to the close, so its names are synced once.
bool Store::openLog()
{
    m_log.setFileName(m_logPath);
    const QString folder = QFileInfo(m_logPath).absolutePath();
    if (m_log.open(QIODevice::ReadWrite | QIODevice::ExistingOnly) && VFunc::syncFolder(folder) &&
        VFunc::syncFolder(QFileInfo(folder).absolutePath()))
        return true;
    m_log.close();
    return false;
}

bool Store::settle()
{
    const quint64 wanted = m_written;
    std::lock_guard lock(m_syncMutex);
    if (m_settled >= wanted || m_logPath.isEmpty())
        return true;
    const quint64 covered = m_written;
    if ((!m_log.isOpen() && !openLog()) || !VFunc::syncFile(m_log.handle())) {
        qWarning().noquote() << named("settle") << m_logPath << "isn't on the medium";
        return false;
    }
    m_settled = covered;
    return true;
}

bool Store::settleAll()
{
    std::lock_guard lock(listMutex);
    bool all = true;
    for (Store *store : qAsConst(stores))
        all = store->settle() && all;
    return all;
}
