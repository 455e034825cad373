#include "Db.h"
#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QSqlError>
#include <QUuid>

namespace farm
{

namespace
{
const char *const tables[] = {
    "create table if not exists meta(k text primary key, v text)",
    "create table if not exists session(token text primary key, auth text, made integer)",
    "create table if not exists task(mid integer primary key, num text unique, head text, body text, files text)",
    "create table if not exists here(mid integer, key text, primary key(mid, key)) without rowid",
    "create table if not exists sub(mid integer, idx integer, state integer, started integer, ended integer, flag "
    "integer, "
    "replaced integer, late integer, tries integer, memory integer, node text, primary key(mid, idx)) without rowid",
    "create table if not exists extra(mid integer, idx integer, head text, primary key(mid, idx)) without rowid",
    "create table if not exists oper(id integer primary key autoincrement, mid integer, ms integer, user integer, what "
    "text)",
    "create index if not exists oper_mid on oper(mid)",
    "create table if not exists slurm(name text primary key, mid integer, job integer, places text, gone text)",
    "create table if not exists result(id integer primary key autoincrement, mid integer, idx integer, path text, "
    "frame integer, "
    "size integer, hash text, keyframe integer, pushed integer, confirmed integer, downloaded integer)",
    "create index if not exists result_mid on result(mid)",
    "create table if not exists ident(key text, size integer, mtime integer, hash text, file text, part text, primary "
    "key(key, size, mtime)) without rowid",
    "create index if not exists ident_hash on ident(hash)",
};
}

Db::~Db() { close(); }

bool Db::open(const QString &path, QString *error)
{
    if (openOnce(path, error))
        return true;
    close();
    const QString aside =
        path + QStringLiteral(".bad-") + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss"));
    if (!QFile::exists(path) || !QFile::rename(path, aside))
        return false;
    QFile::remove(path + QStringLiteral("-wal"));
    QFile::remove(path + QStringLiteral("-shm"));
    qWarning().noquote() << "farm::Db::open" << *error << "kept aside as" << aside;
    return openOnce(path, error);
}

bool Db::openOnce(const QString &path, QString *error)
{
    m_name = QUuid::createUuid().toString();
    m_db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    m_db.setDatabaseName(path);
    bool good = m_db.open();
    QSqlQuery query(m_db);
    good = good && query.exec(QStringLiteral("pragma journal_mode = wal")) &&
           query.exec(QStringLiteral("pragma synchronous = normal"));
    for (const char *table : tables)
        good = good && query.exec(QLatin1String(table));
    good = good && upgrade();
    if (!good)
        *error = QStringLiteral("%1: %2 %3").arg(path, m_db.lastError().text(), query.lastError().text());
    return good;
}

// A folder of an earlier version keeps what it has.
bool Db::upgrade()
{
    QSqlQuery query(m_db);
    const auto has = [&query](const QString &table, const QString &column) {
        if (!query.exec(QStringLiteral("select count(*) from pragma_table_info('%1') where name like '%2'")
                            .arg(table, column)) ||
            !query.next())
            return false;
        const bool there = query.value(0).toInt() > 0;
        query.finish();
        return there;
    };
    bool good = true;
    if (!has(QStringLiteral("result"), QStringLiteral("block")))
        good = query.exec(QStringLiteral("alter table result add column block integer default 0"));
    if (!has(QStringLiteral("session"), QStringLiteral("user")))
        good = query.exec(QStringLiteral("alter table session add column user integer default 0")) && good;
    if (has(QStringLiteral("frame"), QStringLiteral("idx")))
        good = query.exec(
                   QStringLiteral("insert or ignore into sub(mid, idx, state) select mid, idx, state from frame")) &&
               query.exec(QStringLiteral("drop table frame")) && good;
    return good;
}

void Db::close()
{
    if (m_name.isEmpty())
        return;
    m_prepared.clear();
    m_db.close();
    m_db = QSqlDatabase();
    QSqlDatabase::removeDatabase(m_name);
    m_name.clear();
}

QSqlQuery *Db::prepared(const QString &sql, const QVariantList &binds)
{
    auto it = m_prepared.find(sql);
    if (it == m_prepared.end()) {
        QSqlQuery query(m_db);
        query.setForwardOnly(true);
        if (!query.prepare(sql)) {
            qWarning().noquote() << "farm::Db::prepared" << sql << query.lastError().text();
            return nullptr;
        }
        it = m_prepared.insert(sql, query);
    }
    for (int i = 0; i < binds.size(); ++i)
        it->bindValue(i, binds.at(i));
    if (!it->exec()) {
        qWarning().noquote() << "farm::Db::prepared" << sql << it->lastError().text();
        return nullptr;
    }
    return &it.value();
}

bool Db::run(const QString &sql, const QVariantList &binds)
{
    QSqlQuery *query = prepared(sql, binds);
    if (query)
        query->finish();
    return query != nullptr;
}

void Db::each(const QString &sql, const QVariantList &binds, const std::function<void(const QSqlQuery &)> &row)
{
    QSqlQuery *query = prepared(sql, binds);
    while (query && query->next())
        row(*query);
    if (query)
        query->finish();
}

QVariant Db::value(const QString &sql, const QVariantList &binds)
{
    QVariant found;
    QSqlQuery *query = prepared(sql, binds);
    if (query && query->next())
        found = query->value(0);
    if (query)
        query->finish();
    return found;
}

qint64 Db::insert(const QString &sql, const QVariantList &binds)
{
    QSqlQuery *query = prepared(sql, binds);
    const qint64 id = query ? query->lastInsertId().toLongLong() : -1;
    if (query)
        query->finish();
    return id;
}

QString Db::meta(const QString &key)
{
    return value(QStringLiteral("select v from meta where k = ?"), {key}).toString();
}

bool Db::setMeta(const QString &key, const QString &value)
{
    return run(QStringLiteral("replace into meta(k, v) values(?, ?)"), {key, value});
}

} // namespace farm
