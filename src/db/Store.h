#pragma once
// What the stores share: one SQLite connection, one mutex, write-ahead log, statements prepared once and kept by their
// text, a failed statement logged with its text and the database's error. Opening a file that isn't a sound database
// keeps it aside under "<name>.broken-<time>", says so in the log, and starts a new one; it never deletes. May be
// called from any thread; all work happens under the mutex, and no code takes two stores' locks at once.
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QSharedPointer>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

class Store : public QObject
{
    Q_OBJECT
public:
    bool isOpen() const;
    QString filePath() const;

protected:
    Store(const QString &connection);
    ~Store() override;
    // The members below want the mutex held.
    bool openFile(const QString &path); // closes an open one first
    void closeFile();
    QSqlQuery *run(const QString &sql, const QVariantList &values = {}, bool quiet = false); // null on failure
    bool exec(const QString &sql, const QVariantList &values = {}, bool quiet = false);
    QStringList columns(const QString &table);
    // step 0 begins, 1 rolls back, 2 commits; tries again each 100 ms, gives up after BusyMs with a logged reason.
    bool transaction(int step);
    static constexpr int BusyMs = 10000;

    mutable QRecursiveMutex m_mutex;

private:
    QString m_connection, m_path;
    QSqlDatabase m_db;
    QMap<QString, QSharedPointer<QSqlQuery>> m_prepared;
};
