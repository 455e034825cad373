#include "resolve/ClearMax.h"
#include "common/facts/SceneState.h"
#include "common/UserInfo.h"
#include <algorithm>
#include <limits>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

namespace
{
const char *const Connection = "db_clearBatch";

// The smallest key still in use, but for what is over and kept for a seat's question; one above all keys when no row is
// left; -1 when the file can't be read.
qlonglong smallestKey(QSqlDatabase &db)
{
    QSqlQuery query(db);
    if (!query.exec(QStringLiteral("select rkey from resolve where state <> %1 order by rkey limit 1")
                        .arg(SceneState::DoneForSeat)))
        return -1;
    return query.next() ? query.value(0).toLongLong() : std::numeric_limits<qlonglong>::max();
}

void clearBatches(QSqlDatabase &db, qlonglong smallest)
{
    QList<qlonglong> ends;
    QSqlQuery query(db);
    query.exec("select endkey from batch");
    while (query.next())
        if (query.value(0).toLongLong() < smallest)
            ends << query.value(0).toLongLong();
    query.finish();
    query.prepare("delete from batch where endkey = ?");
    for (qlonglong end : qAsConst(ends)) {
        query.bindValue(0, end);
        query.exec();
    }
}
} // namespace

ClearMax::~ClearMax() { wait(); }

void ClearMax::run()
{
    clearAccounts(UserInfo::baseDir(), QDateTime::currentMSecsSinceEpoch());
#ifdef Q_OS_WIN
    clearTree("C:/backup", "*.vrscene");
#endif
}

void ClearMax::clearAccounts(const QString &dataRoot, qint64 nowMs)
{
    for (const QFileInfo &dir : QDir(dataRoot).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString file = dir.filePath() + "/resolve.db";
        if (!QFile::exists(file))
            continue;
        qlonglong smallest = -1;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase("QSQLITE", Connection);
            db.setDatabaseName(file);
            db.setConnectOptions("QSQLITE_BUSY_TIMEOUT=2000");
            if (db.open() && (smallest = smallestKey(db)) >= 0)
                clearBatches(db, smallest);
            else
                qWarning().noquote() << "ClearMax::clearAccounts" << file << db.lastError().text();
        }
        QSqlDatabase::removeDatabase(Connection);
        if (smallest >= 0)
            clearFiles(dir.filePath(), smallest, nowMs);
    }
}

void ClearMax::clearFiles(const QString &dir, qlonglong smallestKey, qint64 nowMs)
{
    const QStringList patterns{"resolve-*.txt", "resolve-*.ms", "resolve-*.bat", "resolve-*.sh"};
    for (const QFileInfo &info : QDir(dir).entryInfoList(patterns, QDir::Files)) {
        bool number = false;
        const qlonglong rkey = info.fileName().section('-', 1, 1).toLongLong(&number);
        if (number && rkey < smallestKey && nowMs - info.lastModified().toMSecsSinceEpoch() > KeepMs)
            QFile::remove(info.filePath());
    }
}

void ClearMax::clearTree(const QString &root, const QString &pattern)
{
    QStringList files, folders;
    QDirIterator walk(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        walk.next();
        if (walk.fileInfo().isDir())
            folders << walk.filePath();
        else if (QDir::match(pattern, walk.fileName()))
            files << walk.filePath();
    }
    for (const QString &file : qAsConst(files))
        QFile::remove(file);
    // Deepest first, so that a folder whose last one goes is empty when its turn comes; rmdir leaves what isn't.
    std::sort(folders.begin(), folders.end(),
              [](const QString &a, const QString &b) { return a.count('/') > b.count('/'); });
    for (const QString &folder : qAsConst(folders))
        if (QDir(folder).isEmpty())
            QDir().rmdir(folder);
}
