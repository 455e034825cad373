#pragma once
// The farm's SQLite file, used by the farm's thread alone. Write-ahead log: what run() has answered true for survives a
// killed process. A statement that fails is logged with its text and the database's error.
#include <functional>
#include <QHash>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>

namespace farm
{

class Db
{
public:
    ~Db();
    // Opens or makes the file and its tables. A file that isn't a database is kept aside under another name.
    bool open(const QString &path, QString *error);
    void close();
    bool run(const QString &sql, const QVariantList &binds = {});
    void each(const QString &sql, const QVariantList &binds, const std::function<void(const QSqlQuery &)> &row);
    QVariant value(const QString &sql, const QVariantList &binds = {}); // first column of the first row
    qint64 insert(const QString &sql, const QVariantList &binds);       // the new row's id, -1 on failure

    QString meta(const QString &key);
    bool setMeta(const QString &key, const QString &value);

    // Begins at construction, commits at destruction; one within another belongs to the outer one.
    class Batch
    {
    public:
        explicit Batch(Db &db) : m_db(db)
        {
            if (m_db.m_batches++ == 0)
                m_db.m_db.transaction();
        }
        ~Batch()
        {
            if (--m_db.m_batches == 0)
                m_db.m_db.commit();
        }

    private:
        Db &m_db;
    };

private:
    QSqlQuery *prepared(const QString &sql, const QVariantList &binds);
    bool upgrade();
    bool openOnce(const QString &path, QString *error);
    QSqlDatabase m_db;
    QString m_name;
    int m_batches = 0;
    QHash<QString, QSqlQuery> m_prepared;
};

} // namespace farm
