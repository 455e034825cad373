#pragma once
// The drives of the farms over HTTP, beside the file server that takes their uploads.
//
// Several farms: farm 1 is reached at the web server's address, farm N at <address>/fN, as 11100 tells for each, with
// an access token and a transfer token of its own. 10309 and the push 11201 (val 1120198) tell {"status": 1,
// "defaultFarmId", "skydriveFarms": [{"farmId", "name", "storageType", "platform", "status": 1 usable, 0 off, 2 grey,
// "selected": 1 or 0}]}; with three farms or more the last is off. 11202 with {"farmId"} answers {"usedSize", "size"}
// in G (1024^3), fractions too.
//
// Below <address>/skydrive, with the headers token, lang, X-BRONTEL-ACCESS-TOKEN and X-BRONTEL-ROLE. An answer is
// {"code": 0, "result": 1, "msg", "data"}; what can't be done has result 0, a code and a text in msg, with HTTP status
// 200; code 203: the access token is an old one. TREE is "files" (fileType 1) or "resultFiles" (fileType 2); ids are
// decimal texts, "-1" the root above the disks; where a path takes an id it takes a chain of them too ("3/17/20": the
// last counts).
//
//   GET  /TREE/ID?fileType=T             data: an entry, with containFile and containFolder: what lies below it.
//                                        Of "-1": {"usedSize", "size"} of the whole drive, in G
//   GET  /TREE/ID/family?fileType=T      data: {"list": [entry, its parent, ... its disk]}
//   GET  /TREE/ID/sub-files?fileType=T   data: {"files" or "resultFiles": [entries], "total"}, folders first, each by
//   name;
//                                        with page=N (from 1) and pageSize=N (to 100000) a piece of it
//   GET  /TREE/alike-files?fileType=T&searchName=TEXT&ids=ID,ID   data: {"list": [entries], "total"}: names that hold
//   the
//                                        text, below these folders ("-1" or none: everywhere); 1,000 at most
//   GET  /files/ID/data?fileType=T       the bytes, also below /resultFiles. With Range "bytes=A-B" (B inclusive) or
//                                        "bytes=A-": 206 and X-Content-Range (and Content-Range) "bytes A-B/SIZE"; past
//                                        the end 416. ETag: "MD5" where it is known. Without a range at most 64 MiB.
//   GET  /TREE/ID/thumbnail?fileType=T&size=N   a PNG of at most N (128) pixels a side; 404 where it's no picture
//   POST /files                          {"fileType", "name", "diskName", "parent"} -> data: the new entry. With parent
//   "-1"
//                                        a disk; diskName then is the machine's name, or empty
//   PUT  /files/rename-files             {"fileType", "name", "diskName", "id"} -> data: the entry
//   PUT  /files/move-files?fileType=T&targetParent=ID&ids=ID,ID   all of them or none
//   DELETE /files?fileType=T&ids=ID,ID   with what lies below; what is gone already counts as deleted
//   entry: {"id", "name", "parent", "type": 1 file, 2 folder, "size", "createdAt", "updatedAt" ("yyyy-MM-dd HH:mm:ss"),
//          "diskName", "fileType", "hash" (MD5, where known)}; of results also "resultId" (the row's id of a file) and
//          "orderNum"
//
// Upload, as for orders but with taskId 0 and the place as key: "D/folder/name" (disk, folders, name; a colon counts
// for nothing). GET /sourceFiles: 101401 it's there, 101402 with the file server's address, 1060001 there is no such
// disk, 1060003 a name that can't be, 1060004 the drive is full. The same codes answer the file server's ask. Folders
// on the way are made. The farm is told by the transfer token of the frames.
//
// For who tests, on the web port: /farm/drive?farm=N&tree=T lists {"entries": {path: {"type", "size", "hash"}}};
// /farm/drive?farm=N&fill=D/big&folders=10&files=1000&size=4096 makes files of made-up bytes.
#include "DriveTree.h"
#include <memory>
#include <QJsonArray>
#include <QJsonObject>

namespace farm
{

struct HttpRequest;
struct HttpAnswer;
class DriveAnalysis;

class Drive : public QObject
{
    Q_OBJECT
public:
    explicit Drive(Core &core);
    ~Drive() override;

    HttpAnswer answer(const HttpRequest &request); // below /skydrive, its headers checked
    HttpAnswer source(const HttpRequest &request); // /sourceFiles without a task
    HttpAnswer control(const HttpRequest &request);

    // Of the account's answer and of the push.
    QJsonObject entry() const;
    QJsonObject room(int farm) const; // answer of 11202
    bool knows(int farm) const { return farm >= 1 && farm <= m_farms; }
    static int takeFarm(QString *path); // "/f2/skydrive/x" becomes "/skydrive/x", 2
    static QString prefix(int farm);    // "/f2", empty for the first

    // The bytes of a scene that an order (its body) names by its place on its farm's drive; empty: it isn't there.
    QString sceneFile(const QJsonObject &order, QString *hash);
    bool put(int farm, const QString &path, const QByteArray &bytes); // a file with its folders and disk
    // For the file server: 0, or the code that refuses the file; and a file that has come whole.
    int refuses(int farm, const QString &key, qint64 size);
    bool holds(int farm, const QString &key, qint64 size, qint64 mtime, const QString &etag);
    bool arrived(int farm, const QString &key, qint64 size, qint64 mtime);

    DriveTree &tree() { return m_tree; }
    DriveAnalysis &analysis() { return *m_analysis; }

private:
    HttpAnswer get(const HttpRequest &request, int tree, const QStringList &pieces);
    HttpAnswer listing(const HttpRequest &request, int tree, qint64 parent);
    HttpAnswer search(const HttpRequest &request, int tree);
    HttpAnswer data(const HttpRequest &request, const DriveNode &node);
    HttpAnswer thumbnail(const HttpRequest &request, const DriveNode &node);
    HttpAnswer create(const HttpRequest &request);
    HttpAnswer rename(const HttpRequest &request);
    HttpAnswer change(const HttpRequest &request);
    QJsonObject entryOf(const DriveNode &node) const;
    static void write(const DriveNode &node, QByteArray *out);
    HttpAnswer told(DriveTree::Outcome outcome, const QJsonValue &data = {}) const;

    Core &m_core;
    const int m_farms;
    int m_puts = 0;
    DriveTree m_tree;
    std::unique_ptr<DriveAnalysis> m_analysis;
};

} // namespace farm
