#pragma once
// The bytes that were uploaded: whole files by the MD5 of their content, an index from a file's identity (key, size,
// modification time) to its content, and the parts of files that are still coming. A part's length is what has been
// received; nothing else records it, so what was acknowledged is there after a killed farm, to the byte.
#include <functional>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>

namespace farm
{

class Core;

struct Identity {
    QString key;
    qint64 size = 0, mtime = 0;
    int task = 0;            // 0: it goes onto the drive of the farm
    QString place;           // on the drive
    bool compressed = false; // the part holds a ZIP with the file in it
    qint64 wireSize = 0;     // bytes that travel: size, or that of the ZIP
    QString etag;            // the client's MD5, empty where it didn't tell one
    QString id() const;      // names the part: another compressed size is another part
};

class ContentStore : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 SmallFile = 64 << 10; // is hashed while the other side waits
    explicit ContentStore(Core &core);

    bool known(const QString &key, qint64 size, qint64 mtime); // the whole file is here
    // The same content came under another name: the index learns this identity too.
    bool adopt(const QString &key, qint64 size, qint64 mtime, const QString &etag);
    QString partPath(const Identity &file) const;
    qint64 received(const Identity &file) const;
    void forgetPart(const Identity &file);

    // What the file is going through behind its last byte: 0 nothing, else a stage code of the file server.
    int stage(const Identity &file) const { return m_stages.value(file.id()); }
    // Unpacks, checks, hashes and moves the part. answer(code) comes once, on this thread: 7000404 when the file is
    // here, a stage code when it takes long (stage() tells on), or what went wrong.
    void finish(const Identity &file, std::function<void(int code)> answer);

    // What was fetched from elsewhere is the content of that key from now on; its hash follows (stored).
    void take(const QString &key, const QString &part);
    void forget(const QString &key); // another content has come under it

    QMap<QString, QString> contents(); // key -> MD5
    // Path of the newest content under the key, and its MD5 (empty while that is worked out).
    QString fileOf(const QString &key, QString *hash);
    bool hashing() const { return m_hashing > 0; }

signals:
    void stored(QString key); // hash and place are known

private:
    struct Outcome {
        int code = 0;
        QString hash, ready;
    };
    void recover();
    void hashLater(const QString &key, qint64 size, qint64 mtime, const QString &path);
    QString place(const QString &hash) const; // relative path in the store
    bool move(const QString &from, const QString &hash);
    static Outcome check(const Identity &file, const QString &part);
    void runStages(const Identity &file, QStringList codes, int each);
    void complete(const Identity &file, const Outcome &outcome);

    Core &m_core;
    QHash<QString, int> m_stages;
    QSet<QString> m_busy, m_made; // m_made: folders of the store
    int m_hashing = 0;
};

// MD5 of a file in lower-case hex; empty where it can't be read.
QString fileMd5(const QString &path);
// Takes the one file out of a ZIP. False: not a ZIP, more than one entry, damaged, of another size or name.
bool unzipOne(const QString &zip, const QString &target, qint64 size, const QString &name);

} // namespace farm
