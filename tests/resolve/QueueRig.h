#pragma once
// What a test of the queue needs around it: an account with its stores, a business server, scenes on disk, a program
// that stands for Maya and ends only when it is let go.
#include "common/CommonConfig.h"
#include "common/Session.h"
#include "common/ThreadPool.h"
#include "common/UserInfo.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "io/NetWork.h"
#include "resolve/ResolveHandler.h"
#include "support/BusinessPeer.h"
#include "support/RawFile.h"
#include <QDir>
#include <QTemporaryDir>

class QueueRig
{
public:
    explicit QueueRig(const QStringList &arguments = {}, const QJsonObject &config = {})
    {
        UserInfo::init(arguments);
        UserInfo::initUser({{"userId", 4000 + ++counter()}, {"username", "u"}});
        CommonConfig::fromJson(config);
        NetWork::create();
        NetTcp::create();
        QVERIFY(ResolveDAO::instance()->open(UserInfo::userDir()) && UploadDAO::instance()->open(UserInfo::userDir()));
        QVERIFY(peer.takeClient());
        peer.answer(10421, [this](const BusinessPeer::Request &request) {
            ++m_orders;
            return BusinessPeer::Reply{
                1042100, {{"id", 100 + m_orders}, {"num", QStringLiteral("N%1").arg(100 + m_orders)}, {"echo", request.body}}, false};
        });
        peer.answer(10400, [](const BusinessPeer::Request &request) {
            return BusinessPeer::Reply{
                1040000,
                {{"sourceFileType", 1}, {"orderNum", request.body["ordernum"]}, {"missionId", request.body["missionId"]}, {"farmId", 9}},
                false};
        });
        Session::setLive(true);
    }
    ~QueueRig()
    {
        handler.reset();
        Session::setLive(false);
        UserInfo::setAllValue("Server", "role", "");
        ResolveDAO::instance()->releaseResolve();
        UploadDAO::instance()->releaseUp();
        UserInfo::clearCache();
        CommonConfig::clear();
    }

    // Fast clocks, but those that a test wants to run out are set by it.
    void start(ResolveHandler::Times times = {10, 10, 100000, 100000})
    {
        handler.reset(new ResolveHandler);
        handler->setTimes(times);
        handler->startScan();
    }
    qlonglong drop(const QString &path, QJsonObject rset, int state = 100, const QString &order = {}, const QString &rdata = {},
                   const QString &rfile = {})
    {
        db_resolve res;
        res.rkey = res.pri = 1000;
        res.lpath = path;
        res.rset = QString::fromUtf8(QJsonDocument(rset).toJson(QJsonDocument::Compact));
        res.rdata = rdata;
        res.rfile = rfile;
        res.state = state;
        res.ordernum = order;
        res.missionid = order.mid(1).toInt();
        QList<db_resolve> list{res};
        return ResolveDAO::instance()->insertBatch(&list) ? list.first().rkey : 0;
    }
    QString file(const QString &name, const QByteArray &content = "x") const
    {
        QFile file(m_scenes.filePath(name));
        file.open(QFile::WriteOnly);
        file.write(content);
        return file.fileName();
    }
    // A Maya whose analysis ends once <scene>.go is there.
    void fakeMaya()
    {
        const QString program =
            file("mayabatch", "#!/bin/sh\nscene=$2\ntouch \"$scene.started\"\nwhile [ ! -e \"$scene.go\" ]; do sleep 0.02; done\n"
                              "printf 'Vandrel Info:{\"status\":0,\"content\":{\"files\":[]},\"details\":\"\"}Vandrel Debug:\\n'\n");
        QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        UserInfo::setAllValue("SoftwarePath", "maya2016", program);
    }
    void letGo(const QString &scene) const { file(QFileInfo(scene).fileName() + ".go"); }
    static QJsonObject maya() { return {{"softwareType", 1}, {"env", QJsonObject{{"software", "maya2016"}}}}; }
    // A row as an earlier run left it, whatever the acts allow.
    static void put(qlonglong rkey, int state, int error = 0)
    {
        QVERIFY(RawFile(UserInfo::userDir() + "/resolve.db")
                    .run({QStringLiteral("update resolve set state = %1, error = %2 where rkey = %3").arg(state).arg(error).arg(rkey)}));
    }
    static int state(qlonglong rkey) { return ResolveDAO::instance()->read(rkey).state; }
    static int error(qlonglong rkey) { return ResolveDAO::instance()->read(rkey).error; }

    BusinessPeer peer;
    QScopedPointer<ResolveHandler> handler;

private:
    static int &counter()
    {
        static int n = 0;
        return n;
    }
    QTemporaryDir m_scenes;
    int m_orders = 0;
};
