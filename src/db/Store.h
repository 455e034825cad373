#pragma once
// What the stores share: one SQLite connection, one mutex, write-ahead log, statements prepared once and kept by their
// text, a failed statement logged with its text and the database's error. Opening a file that isn't a sound database
// keeps it aside under "<name>.broken-<time>", says so in the log, and starts a new one; it never deletes. May be
// called from any thread; all work happens under the mutex, and no code takes two stores' locks at once.
//
// The toolkit refuses a connection to other threads only when it is looked up by name. The kept handle and its queries
// may wander, as the driver opens SQLite in its multi-thread mode: one thread at a time, which the mutex sees to.
//
// A commit writes the log and doesn't wait for the medium: a kill loses nothing, a power cut the last moments. Whoever
// tells another machine something that ends its memory of a work calls settle() between the commit and the word.
#include <atomic>
#include <functional>
#include <mutex>
#include <QFile>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QSharedPointer>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QVariant>

// The current row of a running select, read by column name: a column that an old file lacks and a NULL both read as
// nothing. Positions are looked up once a statement.
class Row
{
public:
    explicit Row(QSqlQuery *query);
    QString text(const char *column) const;
    qlonglong number(const char *column) const;
    int integer(const char *column) const { return int(number(column)); }
    QVariant at(int index) const { return m_query->value(index); }

private:
    QVariant value(const char *column) const;
    QSqlQuery *m_query;
    mutable QHash<QByteArray, int> m_positions;
};

class Store : public QObject
{
    Q_OBJECT
public:
    bool isOpen() const;
    QString filePath() const;
    // How long a transaction waits for a file that another program holds; BusyMs at first.
    void setBusyMs(int ms);
    static constexpr int BusyMs = 10000;
    // What was committed before the call is on the medium when it returns true; false (logged): it may not be, and
    // nobody must be told of it. Callers at the same time share one sync, and where nothing was written since the last
    // one it costs nothing. Waits for the disk: not on the window's thread, and best without the mutex.
    bool settle();
    static bool settleAll(); // every store that is open

protected:
    using Locker = std::lock_guard<std::recursive_mutex>;
    Store(const QString &connection);
    ~Store() override;
    // The members below want the mutex held.
    bool openFile(const QString &path); // closes an open one first
    void closeFile();
    QSqlQuery *run(const QString &sql, const QVariantList &values = {}, bool quiet = false); // null on failure
    bool exec(const QString &sql, const QVariantList &values = {}, bool quiet = false);
    int change(const QString &sql, const QVariantList &values = {}); // rows changed, -1 on failure
    // Calls out once per row; the call must not use the store. False when the statement failed.
    bool each(const QString &sql, const QVariantList &values, const std::function<void(const Row &row)> &row);
    qlonglong number(const QString &sql, const QVariantList &values = {}, qlonglong failure = -1); // first value
    static QString likePattern(QString text); // for "like ? escape '\'": the text itself, wherever it stands
    QStringList columns(const QString &table);
    QStringList tables();
    // Adds the columns that an older file lacks.
    void addColumns(const QString &table, const QList<QPair<QString, QString>> &nameAndType);
    // step 0 begins, 1 rolls back, 2 commits; tries again each 100 ms, gives up after BusyMs with a logged reason.
    bool transaction(int step);

    // A transaction for the length of a scope: rolled back unless committed. False when it couldn't begin.
    class Work
    {
    public:
        explicit Work(Store *store) : m_store(store), m_open(store->transaction(0)) {}
        ~Work()
        {
            if (m_open)
                m_store->transaction(1);
        }
        Work(const Work &) = delete;
        Work &operator=(const Work &) = delete;
        explicit operator bool() const { return m_open; }
        bool commit() { return m_open && m_store->transaction(2) && !(m_open = false); }

    private:
        Store *m_store;
        bool m_open;
    };

    mutable std::recursive_mutex m_mutex;

private:
    bool connectFile(const QString &path);
    bool sound(const QString &path, bool unclean);
    bool openLog();
    bool setAside(const QString &path);
    void suspect(const QSqlError &error);
    QString named(const char *function) const;

    QString m_connection, m_path;
    QSqlDatabase m_db;
    QMap<QString, QSharedPointer<QSqlQuery>> m_prepared;
    int m_busyMs = BusyMs;

    std::atomic<quint64> m_written{0}; // counts what changed the file
    std::mutex m_syncMutex;            // of the members below; taken after m_mutex where both are
    QString m_logPath;                 // empty: closed, or a file whose every commit is synced
    QFile m_log;
    quint64 m_settled = 0; // m_written at the last sync
};
