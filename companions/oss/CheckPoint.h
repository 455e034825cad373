#pragma once
// How far an upload in parts has come, in a file that outlives this program: JSON, replaced as a whole by a rename, so
// that it is the old or the new one after a crash. It is believed only for the same object, file, size, time and part
// size, and only as far as its own parts add up; anything else reads as "from the start".
#include <QByteArray>
#include <QMap>
#include <QString>

struct CheckPoint {
    static constexpr int Version = 1;
    QString object; // endpoint/bucket/name
    QString file;
    qint64 size = 0, modified = 0; // bytes; ms since the epoch
    qint64 partSize = 0;
    QString uploadId;
    QMap<int, QByteArray> parts; // number from 1 -> ETag, of those the store has acknowledged

    bool begun() const { return !uploadId.isEmpty(); }
    // Takes upload id and parts from the file when it speaks of the same upload; nothing otherwise.
    void load(const QString &path);
    bool save(const QString &path) const; // synced before it takes its name
    static void remove(const QString &path);
};
