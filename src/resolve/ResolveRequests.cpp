// What pages, the local API and the upload queue ask of ResolveHandler.
#include "common/facts/AnalysisError.h"
#include "common/facts/Command.h"
#include "common/facts/Rset.h"
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
using SceneState::Act;

ResolveDAO &dao() { return *ResolveDAO::instance(); }
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
    if (row.rkey == 0 || !SceneState::possible(Act::Again, row.state))
        return;
    if (row.missionid == 0)
        return replaceRow(srcKey); // there is no task to give up
    if (!NetTcp::isLogin())
        qWarning().noquote() << "ResolveHandler::reAddFile" << srcKey << "waits for the link, ask again then";
    NetTcp::instance()->nvds(
        Command::module(Command::GiveUpOrder), Command::GiveUpOrder, QJsonObject{{"missionId", row.missionid}},
        [this, srcKey](int val, const QJsonDocument &) {
            qDebug().noquote() << "ResolveHandler::reAddFile" << srcKey << val;
            replaceRow(srcKey);
        },
        this);
}

void ResolveHandler::replaceRow(qlonglong srcKey)
{
    db_resolve copy = dao().read(srcKey);
    if (copy.rkey == 0 || !SceneState::possible(Act::Again, copy.state))
        return;
    removeAnalyser(srcKey);
    copy.rkey = copy.pri = QDateTime::currentSecsSinceEpoch();
    copy.state = SceneState::Waiting;
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
    if (row.rkey == 0 || dao().remove(rkey) <= 0 || row.ordernum.isEmpty())
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
    if (SceneState::possible(Act::EditParameters, dao().read(rkey).state))
        dao().showPara(rkey);
}

void ResolveHandler::changeResolveState(qlonglong rkey, int type, QString order)
{
    if (type < 2 ? !UserInfo::canAnalyse() : !UserInfo::canUpload())
        return;
    const db_resolve row = order.isEmpty() ? dao().read(rkey) : dao().readByOrder(order);
    if (row.rkey == 0)
        return;
    const Act act = SceneState::ofChangeType(type);
    qDebug().noquote() << "准备修改" << row.rkey << row.state << type;
    if (act == Act::ResumeUpload) {
        // Before the state: a scan that finds the order with nothing but failed rows would end it again at once.
        UploadDAO::instance()->reUp(row.ordernum);
        Seam<UpCalls>::post([row](UpCalls &up) { up.reUp(row.ordernum); });
    }
    if (!SceneState::possible(act, row.state) || dao().step(row.rkey, act) <= 0)
        return;
    qDebug().noquote() << "修改解析状态" << row.rkey << row.state << SceneState::to(act).only();
    if (act == Act::PauseAnalysis)
        removeAnalyser(row.rkey);
    if (act == Act::PauseUpload)
        Seam<UpCalls>::post([row](UpCalls &up) { up.pauseUp(row.ordernum, row.missionid, 0, false); });
}

void ResolveHandler::saveDataSet(db_resolve res)
{
    const bool fresh = res.rkey == 0;
    if (fresh) {
        if (!Rset(res.rset).isClone())
            return;
        res.rkey = res.pri = QDateTime::currentSecsSinceEpoch();
        res.state = SceneState::Clean;
        QList<db_resolve> list{res};
        if (!dao().insertBatch(&list)) {
            m_unsaved << list;
            return;
        }
        res = list.first();
    }
    const db_resolve row = dao().read(res.rkey);
    if (row.rkey == 0 || !SceneState::possible(Act::EditParameters, row.state))
        return;
    if (dao().savePara(res))
        dao().step(res.rkey, Act::EditParameters);
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
    QString text = AnalysisError::text(row.error);
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
