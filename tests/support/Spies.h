#pragma once
// Stand for the session's handlers; each call is kept as a line of words.
#include "db/Calls.h"
#include "db/DoneDAO.h"
#include <QJsonObject>

class ResolveSpy : public QObject, public ResolveCalls
{
public:
    ResolveSpy() { Seam<ResolveCalls>::attach(this, this); }
    ~ResolveSpy() override { Seam<ResolveCalls>::detach(this); }
    QStringList calls;
    QList<db_resolve> added;
    QStringList take() { return std::exchange(calls, {}); }
    void addFile(QList<db_resolve> list) override { added << list; }
    void reAddFile(qlonglong key) override { calls << QString("again %1").arg(key); }
    void readFile(int page, int size, QString search) override
    {
        calls << QString("read %1 %2 %3").arg(page).arg(size).arg(search).trimmed();
    }
    void showPage(ScenePage wanted) override
    {
        const QString sort = wanted.sort.isEmpty() ? QString() : wanted.sort + (wanted.down ? " down" : " up");
        const QString holding = wanted.holding ? QString("holding %1").arg(wanted.holding) : QString();
        calls << QString("read %1 %2 %3 %4 %5").arg(wanted.page).arg(wanted.size).arg(wanted.search, sort, holding).simplified();
    }
    void delResolve(qlonglong key) override { calls << QString("del %1").arg(key); }
    void delResolveByTask(int id) override { calls << QString("delTask %1").arg(id); }
    void paraSet(qlonglong key) override { calls << QString("para %1").arg(key); }
    void changeResolveState(qlonglong key, int type, QString order) override
    {
        calls << QString("change %1 %2 %3").arg(key).arg(type).arg(order).trimmed();
    }
    QList<db_resolve> saved;
    void saveDataSet(db_resolve res) override { calls << "save", saved << res; }
    void commitResolve(qlonglong key, bool batch, QString order) override
    {
        calls << QString("commit %1 %2 %3").arg(key).arg(batch).arg(order).trimmed();
    }
    void seeError(int type, qlonglong key) override { calls << QString("error %1 %2").arg(type).arg(key); }
    void reswait(int type) override { calls << QString("wait %1").arg(type); }
    void fileOk(QString, qlonglong size) override { calls << QString("ok %1").arg(size); }
    void readDone(int kind, QString search, int page, int size) override
    {
        calls << QString("done %1 %2 %3 %4").arg(kind).arg(search).arg(page).arg(size).simplified();
        DoneDAO::instance()->readPage(kind, search, page, size);
    }
    void removeDone(QList<qlonglong> ids) override { DoneDAO::instance()->remove(ids); }
    void paraSaved(qlonglong key) override { calls << QString("saved %1").arg(key); }
};

class DownSpy : public QObject, public DownCalls
{
public:
    DownSpy() { Seam<DownCalls>::attach(this, this); }
    ~DownSpy() override { Seam<DownCalls>::detach(this); }
    QStringList calls;
    QList<QJsonObject> pushes;
    void missionResult(int mid, bool autoRes, bool isBatch) override
    {
        calls << QString("result %1 %2 %3").arg(mid).arg(autoRes).arg(isBatch);
    }
    void subResult(int mid, QString subs, int cover) override { calls << QString("sub %1 %2 %3").arg(mid).arg(subs).arg(cover); }
    void coverResult(int mid, int cover) override { calls << QString("cover %1 %2").arg(mid).arg(cover); }
    void resultPush(QJsonObject obj) override { pushes << obj; }
    void rootConfirmed(QString root) override { calls << "root " + root; }
    void readFile(int page) override { calls << QString("read %1").arg(page); }
    void readMissionFile(qlonglong pri, int page) override { calls << QString("files %1 %2").arg(pri).arg(page); }
    void reDown(qlonglong pri) override { calls << QString("re %1").arg(pri); }
    void pauseDown(qlonglong pri) override { calls << QString("pause %1").arg(pri); }
    void delDown(qlonglong pri) override { calls << QString("del %1").arg(pri); }
    void priDown(qlonglong pri) override { calls << QString("pri %1").arg(pri); }
};

class UpSpy : public QObject, public UpCalls
{
public:
    UpSpy() { Seam<UpCalls>::attach(this, this); }
    ~UpSpy() override { Seam<UpCalls>::detach(this); }
    QStringList calls;
    void pauseUp(QString order, int, int, bool) override { calls << "pause " + order; }
    void delUp(QString order, int) override { calls << "del " + order; }
    void reUp(QString order) override { calls << "re " + order; }
    void readFile(QString order, int page) override { calls << QString("files %1 %2").arg(order).arg(page); }
};
