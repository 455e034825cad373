#pragma once
// An account with open stores, a business server that answers what an upload asks of it, and an order in the stores.
#include "common/Session.h"
#include "common/ThreadPool.h"
#include "common/UserInfo.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "io/NetWork.h"
#include "support/BusinessPeer.h"
#include <QFileInfo>

struct BenchRig {
    static constexpr int Task = 4711;
    BusinessPeer business;
    QTemporaryDir folder;

    explicit BenchRig(const QString &storage)
    {
        UserInfo::init();
        UserInfo::initUser(QJsonObject{{"userId", 7}});
        ResolveDAO::instance()->open(folder.path());
        UploadDAO::instance()->open(folder.path());
        NetWork::create();
        business.takeClient();
        business.answer(11100, 1110000,
                        QJsonObject{{"addr", storage}, {"addr-internal", storage}, {"accessToken", "access"}});
        business.answer(10704, 1070400);
        Session::setLive(true);
    }
    ~BenchRig()
    {
        Session::setLive(false);
        NetWork::instance()->forgetDrives();
        ResolveDAO::instance()->releaseResolve();
        UploadDAO::instance()->releaseUp();
        NetTcp::instance()->setLogin(false);
    }
    static QString number() { return QStringLiteral("BENCH"); }
    void add(const QStringList &paths)
    {
        QList<db_upfile> rows;
        for (const QString &path : paths) {
            const QFileInfo info(path);
            db_upfile row;
            row.id = rows.size() + 1;
            row.ordernum = number();
            row.missid = Task;
            row.farmid = 3;
            row.lpath = path;
            row.modtime = info.lastModified().toMSecsSinceEpoch();
            row.size = info.size();
            row.state = 10;
            rows << row;
        }
        UploadDAO::instance()->addOrder(rows);
        db_resolve record;
        record.rkey = 100;
        record.ordernum = number();
        record.missionid = Task;
        record.state = 110;
        record.filetype = 1;
        QList<db_resolve> list{record};
        ResolveDAO::instance()->insertBatch(&list);
    }
    int left() const { return UploadDAO::instance()->count(number()); }
};
