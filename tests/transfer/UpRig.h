#pragma once
// What the upload tests stand on: stores in a folder of their own, a business server, a storage service and a file
// server on loopback, the calls that the queue makes to the analysis queue, and the queue itself.
#include "common/Session.h"
#include "common/UserInfo.h"
#include "db/DoneDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "io/NetWork.h"
#include "support/BusinessPeer.h"
#include "support/FileServerPeer.h"
#include "support/HttpPeer.h"
#include "support/Spies.h"
#include "transfer/TransSet.h"
#include "transfer/up/UpHandler.h"
#include <QDateTime>
#include <QDir>
#include <QUrlQuery>

struct UpRig {
    static constexpr int Task = 4711;
    const QString order = QStringLiteral("ORDER-1");
    QTemporaryDir folder;
    BusinessPeer business;
    HttpPeer storage;
    FileServerPeer files;
    ResolveSpy resolve;
    QString host = QStringLiteral("127.0.0.1"); // of the file server, as the storage service tells it
    bool placed = true;                         // whether it tells it
    int known = 101402;                         // what /sourceFiles answers
    std::function<int(const QUrlQuery &)> judge;
    QList<QUrlQuery> asked;
    QList<QPair<int, int>> states; // (state, error) as told to the page
    QScopedPointer<UpHandler> queue;
    QMetaObject::Connection listening;
    qlonglong rkey = 0;

    UpRig()
    {
        UserInfo::init();
        UserInfo::initUser(QJsonObject{{"userId", 7}});
        ResolveDAO::instance()->open(folder.path());
        UploadDAO::instance()->open(folder.path());
        DoneDAO::instance()->open(folder.path());
        business.takeClient();
        business.answer(11100, 1110000, QJsonObject{{"addr", storage.url()}, {"addr-internal", storage.url()}, {"accessToken", "access"}});
        business.answer(10704, 1070400);
        storage.answer = [this](const HttpPeer::Request &request) { return answer(request); };
        listening = QObject::connect(UploadDAO::instance(), &UploadDAO::fileStateChanged, &resolve,
                                     [this](qlonglong, int state, int error) { states << qMakePair(state, error); });
        Session::setLive(true);
    }
    ~UpRig()
    {
        Session::setLive(false);
        queue.reset();
        NetWork::instance()->forgetDrives();
        ResolveDAO::instance()->releaseResolve();
        UploadDAO::instance()->releaseUp();
        DoneDAO::instance()->close();
        NetTcp::instance()->setLogin(false);
    }
    QByteArray answer(const HttpPeer::Request &request)
    {
        if (request.path.startsWith("/storage-secret-token/role"))
            return HttpPeer::response(R"({"result":1,"data":{"token":"00112233-4455-6677-8899-aabbccddeeff"}})");
        if (request.path == "/bs/farm/3")
            return HttpPeer::response(
                QStringLiteral(R"({"status":11040000,"domain":"localhost","port":%1})").arg(files.serverPort()).toUtf8());
        const QUrlQuery query(QUrl::fromEncoded(request.path).query(QUrl::FullyEncoded));
        asked << query;
        const QJsonObject data =
            placed ? QJsonObject{{"hostWan", host}, {"portWan", files.serverPort()}, {"hostLan", host}, {"portLan", 1}} : QJsonObject();
        return HttpPeer::response(QJsonDocument(QJsonObject{{"code", judge ? judge(query) : known}, {"data", data}}).toJson());
    }
    QString write(const QString &name, const QByteArray &content)
    {
        const QString path = folder.filePath(QStringLiteral("scene/") + name);
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        file.open(QIODevice::WriteOnly);
        file.write(content);
        return path;
    }
    static db_upfile row(const QString &path, int id)
    {
        db_upfile file;
        file.id = id;
        file.ordernum = QStringLiteral("ORDER-1");
        file.missid = Task;
        file.farmid = 3;
        file.lpath = path;
        file.modtime = QFileInfo(path).lastModified().toMSecsSinceEpoch();
        file.size = QFileInfo(path).size();
        file.state = TransSet::UpWait;
        return file;
    }
    void add(const QList<db_upfile> &rows, int filetype = 1, const QString &rdata = {})
    {
        rkey = addOrder(order, 100, rows, filetype, rdata);
    }
    static qlonglong addOrder(const QString &number, qlonglong key, QList<db_upfile> rows, int filetype = 1, const QString &rdata = {})
    {
        for (db_upfile &row : rows)
            row.ordernum = number;
        UploadDAO::instance()->addOrder(rows);
        db_resolve record;
        record.rkey = key;
        record.ordernum = number;
        record.missionid = Task;
        record.state = 110;
        record.filetype = filetype;
        record.rdata = rdata;
        record.fsum = rows.size();
        QList<db_resolve> list{record};
        ResolveDAO::instance()->insertBatch(&list);
        return list.first().rkey;
    }
    void start(UpHandler::Timing timing = {20, 200, 10000, 20})
    {
        queue.reset(new UpHandler);
        queue->setTiming(timing);
        queue->startScan();
    }
    int rows() const { return UploadDAO::instance()->count(order); }
    int state() const { return ResolveDAO::instance()->read(rkey).state; } // 0: the record is gone
    QList<db_upfile> left() const { return UploadDAO::instance()->readPage(order, 0); }
    bool saw(int state, int error) const { return states.contains(qMakePair(state, error)); }
};
