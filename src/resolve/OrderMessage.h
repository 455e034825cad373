#pragma once
// The order of one scene, the body of (104, 10400), and what a subordinate seat hands to its master: pure functions of
// the row. Asks neither disk nor settings; what depends on them comes in by Options.
#include "db/Records.h"
#include <functional>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

struct OrderMessage {
    struct File {
        qlonglong id = 0;
        QString path; // as the order names it
    };
    struct Options {
        bool noFiles = false;                             // started with "nofile"
        qint64 nowMs = 0;                                 // ms since the epoch; gives the ids
        std::function<QString(const QString &)> pathCase; // UserInfo::pathCase; none keeps paths
    };

    bool valid = false; // false: rset, rdata or rfile of the row can't be read, nothing may be sent
    QJsonObject body;
    QList<File> files; // kept for the reply, in the order of body["files"]

    static OrderMessage build(const db_resolve &res, const Options &options);
    static QJsonObject handOver(const db_resolve &res, const QJsonValue &feeUserId, bool needMasterCheck);

    static QJsonArray withScene(QJsonArray files, const QString &scene); // the scene first, where it isn't among them

    // The id of the first file: 8 decimal digits that move on every 10 seconds.
    static qlonglong firstId(qint64 nowMs);
    // Forward slashes; a network path keeps its two leading backslashes.
    static QString filePath(const QString &path);
    // The local path of an upload row: one without a drive or a network head becomes a network path, but on POSIX a
    // path that starts with "/" is left alone.
    static QString uploadPath(const QString &path);
    static QJsonObject object(const QString &json, bool *good = nullptr); // empty text: empty object, good
};
