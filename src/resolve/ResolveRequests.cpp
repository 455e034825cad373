// What pages, the local API and the upload queue ask of ResolveHandler.
#include "common/Session.h"
#include "common/UserInfo.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "io/NetTcp.h"
#include "resolve/ResolveHandler.h"
#include <QDateTime>
#include <QDebug>

namespace
{
ResolveDAO &dao() { return *ResolveDAO::instance(); }

// The state that follows a request; 0 none.
int followingState(int type, int state)
{
    switch (type) {
    case 0:
        return state == 100 || state == 101 ? 102 : 0;
    case 1:
        return state == 102 ? 100 : 0;
    case 2:
        return state == 110 || state == 111 ? 112 : 0;
    case 3:
        return state == 112 || state == 113 ? 110 : 0;
    default:
        return 0;
    }
}
} // namespace

void ResolveHandler::addFile(QList<db_resolve> list)
{
    if (!dao().insertBatch(&list)) {
        qWarning().noquote() << "ResolveHandler::addFile" << list.size()
                             << "scenes not stored, tried again at the next scan";
        m_unsaved << list;
    }
}

void ResolveHandler::reAddFile(qlonglong srcKey)
{
    const db_resolve row = dao().read(srcKey);
    if (row.rkey == 0 || row.state >= 107)
        return;
    if (row.missionid == 0)
        return replaceRow(srcKey); // there is no task to give up
    if (!NetTcp::isLogin())
        qWarning().noquote() << "ResolveHandler::reAddFile" << srcKey << "waits for the link, ask again then";
    NetTcp::instance()->nvds(
        104, 10417, QJsonObject{{"missionId", row.missionid}},
        [this, srcKey](int val, const QJsonDocument &) {
            qDebug().noquote() << "ResolveHandler::reAddFile" << srcKey << val;
            replaceRow(srcKey);
        },
        this);
}

void ResolveHandler::replaceRow(qlonglong srcKey)
{
    db_resolve copy = dao().read(srcKey);
    if (copy.rkey == 0 || copy.state >= 107)
        return;
    removeAnalyser(srcKey);
    copy.rkey = copy.pri = QDateTime::currentSecsSinceEpoch();
    copy.state = 100;
    copy.ordernum.clear();
    copy.missionid = copy.error = copy.fok = copy.fsum = copy.filetype = 0;
    copy.errstr.clear();
    QList<db_resolve> list{copy};
    // The new row first: between the two a crash leaves one row too many, never one too few.
    if (dao().insertBatch(&list))
        dao().remove(srcKey);
}

void ResolveHandler::readFile(int page, int pageSize, QString search) { dao().readPage(search, page, pageSize); }

void ResolveHandler::delResolve(qlonglong rkey)
{
    const db_resolve row = dao().read(rkey);
    removeAnalyser(rkey);
    m_submission.forget(rkey);
    m_unknown.removeAll(rkey);
    m_held.remove(rkey);
    if (row.rkey == 0 || !dao().remove(rkey) || row.ordernum.isEmpty())
        return;
    if (!Seam<UpCalls>::post([row](UpCalls &up) { up.delUp(row.ordernum, row.missionid); }))
        UploadDAO::instance()->removeOrder(row.ordernum);
}

void ResolveHandler::delResolveByTask(int missionId)
{
    const db_resolve row = dao().readByMission(missionId);
    if (row.rkey != 0)
        delResolve(row.rkey);
}

void ResolveHandler::paraSet(qlonglong rkey)
{
    qDebug().noquote() << "ResolveHandler::paraSet" << rkey;
    if (dao().read(rkey).state < 107)
        dao().showPara(rkey);
}

void ResolveHandler::changeResolveState(qlonglong rkey, int type, QString order)
{
    if (type < 2 ? !UserInfo::canAnalyse() : !UserInfo::canUpload())
        return;
    const db_resolve row = order.isEmpty() ? dao().read(rkey) : dao().readByOrder(order);
    if (row.rkey == 0)
        return;
    const int state = followingState(type, row.state);
    qDebug().noquote() << "准备修改" << row.rkey << row.state << type;
    if (type == 0 && state != 0)
        removeAnalyser(row.rkey);
    if (type == 3) {
        // Before the state: a scan that finds the order with nothing but failed rows would end it again at once.
        UploadDAO::instance()->reUp(row.ordernum);
        Seam<UpCalls>::post([row](UpCalls &up) { up.reUp(row.ordernum); });
    }
    if (state != 0 && dao().setState(row.rkey, state, 0, QDateTime::currentMSecsSinceEpoch()))
        qDebug().noquote() << "修改解析状态" << row.rkey << row.state << state;
    if (type == 2 && state != 0)
        Seam<UpCalls>::post([row](UpCalls &up) { up.pauseUp(row.ordernum, row.missionid, 0, false); });
}

void ResolveHandler::saveDataSet(db_resolve res)
{
    const bool fresh = res.rkey == 0;
    if (fresh) {
        if (!OrderMessage::object(res.rset).contains("hasClone"))
            return;
        res.rkey = res.pri = QDateTime::currentSecsSinceEpoch();
        res.state = 106;
        QList<db_resolve> list{res};
        if (!dao().insertBatch(&list)) {
            m_unsaved << list;
            return;
        }
        res = list.first();
    }
    const db_resolve row = dao().read(res.rkey);
    if (row.rkey == 0 || row.state >= 107)
        return;
    if (dao().savePara(res))
        dao().setState(res.rkey, 107, 0, QDateTime::currentMSecsSinceEpoch());
}

void ResolveHandler::seeError(int type, qlonglong rkey)
{
    const db_resolve row = dao().read(rkey);
    if (row.rkey == 0)
        return;
    if (type == 1) {
        emit seeWarn(row);
        return;
    }
    QString text = ResolveDAO::errorText(row.error);
    if (text.isEmpty() && row.error != 0)
        text = Session::errorText(row.error);
    tell(text.isEmpty() || !row.errstr.isEmpty() ? (text + '\n' + row.errstr).trimmed() : text);
}

void ResolveHandler::reswait(int type) { dao().readWaiting(type); }

void ResolveHandler::fileOk(QString order, qlonglong size) { fileOk(dao().readByOrder(order).rkey, size); }

void ResolveHandler::fileOk(qlonglong rkey, qlonglong size)
{
    if (rkey != 0)
        dao().fileDone(rkey, size);
}
