#pragma once
// What the upload tests stand on: stores in a folder of their own, the calls that the queue makes to the analysis queue
// and the queue itself (UpRoom); with the living farm, which takes orders of these files (UpRig).
#include "common/Session.h"
#include "db/DoneDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "support/FarmRig.h"
#include "support/Spies.h"
#include "transfer/TransSet.h"
#include "transfer/up/UpHandler.h"
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QJsonArray>

struct UpRoom {
    QTemporaryDir own;
    const QString at;
    QString order = QStringLiteral("ORDER-1");
    int task = 4711, farmId = 3;
    qlonglong rkey = 0;
    ResolveSpy resolve;
    QList<QPair<int, int>> states; // (state, error) as told to the page
    QScopedPointer<UpHandler> queue;

    explicit UpRoom(const QString &folder = {}) : at(folder.isEmpty() ? own.path() : folder)
    {
        UserInfo::init();
        UserInfo::initUser(QJsonObject{{"userId", 7}});
        ResolveDAO::instance()->open(at);
        UploadDAO::instance()->open(at);
        DoneDAO::instance()->open(at);
        QObject::connect(UploadDAO::instance(), &UploadDAO::fileStateChanged, &resolve,
                         [this](qlonglong, int state, int error) { states << qMakePair(state, error); });
        Session::setLive(true);
    }
    ~UpRoom()
    {
        Session::setLive(false);
        queue.reset();
        NetWork::instance()->forgetDrives();
        ResolveDAO::instance()->releaseResolve();
        UploadDAO::instance()->releaseUp();
        DoneDAO::instance()->close();
        NetTcp::instance()->setLogin(false);
    }
    QString write(const QString &name, const QByteArray &content)
    {
        const QString path = at + "/scene/" + name;
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
        file.lpath = path;
        file.modtime = QFileInfo(path).lastModified().toMSecsSinceEpoch();
        file.size = QFileInfo(path).size();
        file.state = TransSet::UpWait;
        return file;
    }
    // Into the stores as rows of the order, with its record.
    qlonglong store(QList<db_upfile> rows, int filetype = 1, const QString &rdata = {})
    {
        for (db_upfile &row : rows) {
            row.ordernum = order;
            row.missid = task;
            row.farmid = row.farmid == 0 ? farmId : row.farmid;
        }
        UploadDAO::instance()->addOrder(rows);
        db_resolve record;
        record.rkey = task;
        record.ordernum = order;
        record.missionid = task;
        record.state = 110;
        record.filetype = filetype;
        record.rdata = rdata;
        record.fsum = rows.size();
        QList<db_resolve> list{record};
        ResolveDAO::instance()->insertBatch(&list);
        return rkey = list.first().rkey;
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

class UpRig : public FarmRig, public UpRoom
{
public:
    UpRig() : UpRoom(folder.path())
    {
        good = login();
        UserInfo::initUser(account);
        farmId = 1;
        fault("hold-render", "1");
        apply();
    }
    void apply()
    {
        const QJsonObject number =
            ask(10421, {{"name", "a.tgd"}, {"clientFlag", ++m_flag}, {"projectId", 1}, {"softwareType", 8}, {"machineModel", "m"}});
        task = number["id"].toInt();
        order = number["num"].toString();
    }
    // An order at the farm, then in the stores; the first one under the number that is here already.
    qlonglong add(const QList<db_upfile> &rows, int filetype = 1, const QString &rdata = {})
    {
        if (rkey != 0)
            apply();
        QJsonArray files;
        for (const db_upfile &row : rows)
            files.append(QJsonObject{{"id", row.id}, {"path", row.lpath}});
        ask(10400, {{"scene", "a.tgd"},
                    {"analysisTime", 1},
                    {"clientFlag", m_flag},
                    {"missionId", task},
                    {"ordernum", order},
                    {"files", files},
                    {"fileCount", files.size()}});
        return store(rows, filetype, rdata);
    }
    void fault(const QString &name, const QString &value) { QVERIFY(farm.faults().set(name, value)); }
    int happened(const char *fault) { return farm.faults().happened(fault); }
    // Hash of what the farm holds of that file, and of what it should be.
    QString stored(const QString &path) const { return farm.storedFiles().value(path.mid(1)); }
    static QString md5(const QByteArray &content) { return QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex(); }
    bool good = false;

private:
    int m_flag = 0;
};
