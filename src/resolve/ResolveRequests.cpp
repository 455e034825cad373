// What pages, the local API and the upload queue ask of ResolveHandler.
#include "common/facts/AnalysisError.h"
#include "common/facts/Command.h"
#include "common/facts/Rset.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "db/DoneDAO.h"
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
    insist(srcKey, [this, srcKey] { return replaceRow(srcKey); });
    m_giveUps.tick();
}

int ResolveHandler::replaceRow(qlonglong srcKey)
{
    db_resolve copy = dao().read(srcKey);
    if (copy.rkey == 0 || !SceneState::possible(Act::Again, copy.state))
        return 0;
    removeAnalyser(srcKey);
    copy.rkey = copy.pri = QDateTime::currentSecsSinceEpoch();
    copy.state = SceneState::Waiting;
    copy.ordernum.clear();
    copy.missionid = copy.error = copy.fok = copy.fsum = copy.filetype = 0;
    copy.errstr.clear();
    QList<db_resolve> list{copy};
    // The new row first: between the two a crash leaves one row too many, never one too few.
    if (!dao().insertBatch(&list))
        return -1;
    insist(srcKey, [srcKey] { return dao().remove(srcKey, true); });
    return 1;
}

void ResolveHandler::showPage(ScenePage wanted) { dao().readPage(wanted); }
void ResolveHandler::readFile(int page, int pageSize, QString search) { dao().readPage(search, page, pageSize); }

void ResolveHandler::delResolve(qlonglong rkey) { removeRow(dao().read(rkey), true); }

void ResolveHandler::delResolveByTask(int missionId) { removeRow(dao().readByMission(missionId), false); }

// The row goes first, and with it stands on the disk that the order is given up: the server hears of it when it can.
void ResolveHandler::removeRow(const db_resolve &row, bool giveUp)
{
    if (row.rkey == 0)
        return;
    removeAnalyser(row.rkey);
    m_submission.forget(row.rkey);
    m_unknown.removeAll(row.rkey);
    m_held.remove(row.rkey);
    insist(row.rkey, [row, giveUp] {
        const int gone = dao().remove(row.rkey, giveUp);
        if (gone > 0 && !row.ordernum.isEmpty() &&
            !Seam<UpCalls>::post([row](UpCalls &up) { up.delUp(row.ordernum, row.missionid); }))
            UploadDAO::instance()->removeOrder(row.ordernum);
        return gone;
    });
    m_giveUps.tick();
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
    if (!SceneState::possible(act, row.state))
        return;
    insist(row.rkey, [this, row, act] {
        const int changed = dao().step(row.rkey, act);
        if (changed <= 0)
            return changed;
        qDebug().noquote() << "修改解析状态" << row.rkey << row.state << SceneState::to(act).only();
        if (act == Act::PauseAnalysis)
            removeAnalyser(row.rkey);
        if (act == Act::PauseUpload)
            Seam<UpCalls>::post([row](UpCalls &up) { up.pauseUp(row.ordernum, row.missionid, 0, false); });
        return changed;
    });
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
    insist(res.rkey, [res] {
        const db_resolve row = dao().read(res.rkey);
        if (row.rkey == 0 || !SceneState::possible(Act::EditParameters, row.state))
            return 0;
        return dao().savePara(res) ? dao().step(res.rkey, Act::EditParameters) : -1;
    });
}

void ResolveHandler::seeError(int type, qlonglong rkey)
{
    db_resolve row = dao().read(rkey);
    if (row.rkey == 0 || !dao().readMessage(&row))
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

void ResolveHandler::askBatch(QList<qlonglong> keys) { emit dao().batchCounted(keys, dao().countAlong(keys)); }

void ResolveHandler::readDone(int kind, QString search, int page, int pageSize)
{
    DoneDAO::instance()->readPage(kind, search, page, pageSize);
}

void ResolveHandler::removeDone(QList<qlonglong> ids) { DoneDAO::instance()->remove(ids); }
