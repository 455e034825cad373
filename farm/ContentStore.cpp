#include "ContentStore.h"
#include "Core.h"
#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTimer>

namespace farm
{

namespace
{
enum Code {
    Arrived = 7000404,
    Hashing = 7000430,
    Unpacking = 7000420,
    UnpackFailed = 7000421,
    WrongHash = 13010203,
    MoveFailed = 13010205,
    Unknown = 13010201
};
constexpr int patienceMs = 3000; // a commit that takes longer is answered with the stage
} // namespace

QString fileMd5(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Md5);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        return {};
    return QString::fromLatin1(hash.result().toHex());
}

QString Identity::id() const
{
    const QString whole = QStringLiteral("%1\n%2\n%3\n%4\n%5\n%6")
                              .arg(size)
                              .arg(mtime)
                              .arg(task)
                              .arg(compressed ? 1 : 0)
                              .arg(wireSize)
                              .arg(key);
    return QString::fromLatin1(QCryptographicHash::hash(whole.toUtf8(), QCryptographicHash::Md5).toHex());
}

ContentStore::ContentStore(Core &core) : m_core(core)
{
    m_core.folder(QStringLiteral("incoming"));
    m_core.folder(QStringLiteral("store"));
    recover();
}

// A killed farm may have left a file on its way into the store, or without its hash.
void ContentStore::recover()
{
    struct Row {
        QString key;
        qint64 size, mtime;
        QString hash, part;
    };
    QList<Row> rows;
    m_core.db.each(QStringLiteral("select key, size, mtime, hash, part from ident where part <> ''"), {},
                   [&](const QSqlQuery &row) {
                       rows += Row{row.value(0).toString(), row.value(1).toLongLong(), row.value(2).toLongLong(),
                                   row.value(3).toString(), row.value(4).toString()};
                   });
    for (const Row &row : rows) {
        const QString path = m_core.options.dir + QLatin1Char('/') + row.part;
        if (!QFile::exists(path))
            continue;
        if (row.hash.isEmpty())
            hashLater(row.key, row.size, row.mtime, path);
        else
            move(path, row.hash);
    }
}

QString ContentStore::place(const QString &hash) const { return QStringLiteral("store/%1/%2").arg(hash.left(2), hash); }

bool ContentStore::move(const QString &from, const QString &hash)
{
    if (!m_made.contains(hash.left(2))) {
        m_core.folder(QStringLiteral("store/") + hash.left(2));
        m_made.insert(hash.left(2));
    }
    const QString target = m_core.options.dir + QLatin1Char('/') + place(hash);
    if (QFile::exists(target))
        return QFile::remove(from);
    return QFile::rename(from, target);
}

bool ContentStore::known(const QString &key, qint64 size, qint64 mtime)
{
    const QString file = m_core.db
                             .value(QStringLiteral("select file from ident where key = ? and size = ? and mtime = ?"),
                                    {key, size, mtime})
                             .toString();
    return !file.isEmpty() && QFile::exists(m_core.options.dir + QLatin1Char('/') + file);
}

bool ContentStore::adopt(const QString &key, qint64 size, qint64 mtime, const QString &etag)
{
    static const QRegularExpression hash(QStringLiteral("\\A[0-9a-f]{32}\\z"));
    if (!hash.match(etag).hasMatch() || QFileInfo(m_core.options.dir + QLatin1Char('/') + place(etag)).size() != size ||
        !QFile::exists(m_core.options.dir + QLatin1Char('/') + place(etag)))
        return false;
    return m_core.db.run(
        QStringLiteral("replace into ident(key, size, mtime, hash, file, part) values(?, ?, ?, ?, ?, '')"),
        {key, size, mtime, etag, place(etag)});
}

QString ContentStore::partPath(const Identity &file) const
{
    return QStringLiteral("%1/incoming/%2.part").arg(m_core.options.dir, file.id());
}

qint64 ContentStore::received(const Identity &file) const { return QFileInfo(partPath(file)).size(); }

void ContentStore::forgetPart(const Identity &file) { QFile::remove(partPath(file)); }

ContentStore::Outcome ContentStore::check(const Identity &file, const QString &part)
{
    Outcome outcome{Arrived, {}, part};
    if (file.compressed) {
        outcome.ready = part + QStringLiteral(".out");
        if (!unzipOne(part, outcome.ready, file.size, file.key.section(QLatin1Char('/'), -1)))
            return {UnpackFailed, {}, {}};
    }
    outcome.hash = fileMd5(outcome.ready);
    if (outcome.hash.isEmpty())
        return {Unknown, {}, {}};
    if (!file.etag.isEmpty() && outcome.hash != file.etag)
        outcome.code = WrongHash;
    return outcome;
}

void ContentStore::finish(const Identity &file, std::function<void(int)> answer)
{
    const QString id = file.id(), part = partPath(file);
    if (m_busy.contains(id)) {
        answer(m_stages.value(id, Hashing));
        return;
    }
    if (file.wireSize == 0 && !QFile::exists(part)) {
        QFile empty(part);
        if (!empty.open(QIODevice::WriteOnly)) {
            answer(Unknown);
            return;
        }
    }
    if (m_core.faults.happens(QStringLiteral("hash-fail"))) {
        forgetPart(file);
        answer(WrongHash);
        return;
    }
    const QString stages = m_core.faults.take(QStringLiteral("stage"));
    if (!stages.isEmpty()) {
        const QStringList codes = stages.section(QLatin1Char(':'), 0, 0).split(QLatin1Char(','), Qt::SkipEmptyParts);
        m_busy.insert(id);
        runStages(file, codes, qMax(1, stages.section(QLatin1Char(':'), 1).toInt()));
        answer(m_stages.value(id, Hashing));
        return;
    }
    if (!file.compressed && file.etag.isEmpty() && file.size <= SmallFile) {
        const QString hash = fileMd5(part);
        if (hash.isEmpty()) {
            answer(Unknown);
            return;
        }
        Db::Batch batch(m_core.db); // with what the answer writes of it
        complete(file, {Arrived, hash, part});
        answer(Arrived);
        return;
    }
    if (!file.compressed && file.etag.isEmpty()) {
        // Nothing can fail any more: the file is known from now on, its hash follows.
        const QString relative = QStringLiteral("incoming/%1.part").arg(id);
        const bool good = m_core.db.run(
            QStringLiteral("replace into ident(key, size, mtime, hash, file, part) values(?, ?, ?, '', ?, ?)"),
            {file.key, file.size, file.mtime, relative, relative});
        if (good)
            hashLater(file.key, file.size, file.mtime, part);
        answer(good ? Arrived : Unknown);
        return;
    }
    m_busy.insert(id);
    m_stages.insert(id, file.compressed ? Unpacking : Hashing);
    auto outcome = std::make_shared<Outcome>();
    auto answered = std::make_shared<bool>(false);
    auto once = [answer, answered](int code) {
        if (!*answered)
            answer(code);
        *answered = true;
    };
    QTimer::singleShot(patienceMs, this, [this, id, once] {
        if (m_busy.contains(id))
            once(m_stages.value(id, Hashing));
    });
    m_core.background([file, part, outcome] { *outcome = check(file, part); },
                      [this, file, outcome, once] {
                          complete(file, *outcome);
                          once(outcome->code);
                      });
}

// The last piece of the road into the store; a file that failed its check is gone, its bytes are sent again.
void ContentStore::complete(const Identity &file, const Outcome &outcome)
{
    const QString id = file.id();
    m_busy.remove(id);
    m_stages.remove(id);
    if (outcome.code != Arrived) {
        forgetPart(file);
        QFile::remove(partPath(file) + QStringLiteral(".out"));
        return;
    }
    const QString ready = QDir(m_core.options.dir).relativeFilePath(outcome.ready);
    m_core.db.run(QStringLiteral("replace into ident(key, size, mtime, hash, file, part) values(?, ?, ?, ?, ?, ?)"),
                  {file.key, file.size, file.mtime, outcome.hash, place(outcome.hash), ready});
    if (!move(outcome.ready, outcome.hash))
        qWarning().noquote() << "farm::ContentStore::complete" << outcome.ready << "couldn't be moved";
    if (file.compressed)
        forgetPart(file);
    emit stored(file.key);
}

void ContentStore::runStages(const Identity &file, QStringList codes, int each)
{
    const QString id = file.id();
    if (!codes.isEmpty()) {
        m_stages.insert(id, codes.takeFirst().toInt());
        QTimer::singleShot(each, this, [this, file, codes, each] { runStages(file, codes, each); });
        return;
    }
    auto outcome = std::make_shared<Outcome>();
    const QString part = partPath(file);
    m_core.background([file, part, outcome] { *outcome = check(file, part); },
                      [this, file, outcome] { complete(file, *outcome); });
}

void ContentStore::hashLater(const QString &key, qint64 size, qint64 mtime, const QString &path)
{
    ++m_hashing;
    auto hash = std::make_shared<QString>();
    m_core.background(
        [path, hash] { *hash = fileMd5(path); },
        [=] {
            --m_hashing;
            if (hash->isEmpty())
                return;
            m_core.db.run(
                QStringLiteral("update ident set hash = ?, file = ? where key = ? and size = ? and mtime = ?"),
                {*hash, place(*hash), key, size, mtime});
            if (!move(path, *hash))
                qWarning().noquote() << "farm::ContentStore::hashLater" << path << "couldn't be moved";
            emit stored(key);
        });
}

void ContentStore::take(const QString &key, const QString &part)
{
    const QFileInfo info(part);
    const QString relative = QDir(m_core.options.dir).relativeFilePath(part);
    const qint64 mtime = info.lastModified().toMSecsSinceEpoch();
    if (m_core.db.run(
            QStringLiteral("replace into ident(key, size, mtime, hash, file, part) values(?, ?, ?, '', ?, ?)"),
            {key, info.size(), mtime, relative, relative}))
        hashLater(key, info.size(), mtime, part);
}

void ContentStore::forget(const QString &key)
{
    m_core.db.run(QStringLiteral("delete from ident where key = ?"), {key});
}

QMap<QString, QString> ContentStore::contents()
{
    QMap<QString, QString> all;
    m_core.db.each(QStringLiteral("select key, hash, file from ident order by mtime"), {}, [&](const QSqlQuery &row) {
        const QString hash = row.value(1).toString();
        all.insert(row.value(0).toString(),
                   hash.isEmpty() ? fileMd5(m_core.options.dir + QLatin1Char('/') + row.value(2).toString()) : hash);
    });
    return all;
}

QString ContentStore::fileOf(const QString &key, QString *hash)
{
    QString file;
    m_core.db.each(QStringLiteral("select file, hash from ident where key = ? order by mtime desc limit 1"), {key},
                   [&](const QSqlQuery &row) {
                       file = m_core.options.dir + QLatin1Char('/') + row.value(0).toString();
                       *hash = row.value(1).toString();
                   });
    return file;
}

} // namespace farm
