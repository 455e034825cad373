// The half of DirWork that walks folders of drives.
#include "common/FileNames.h"
#include "common/platform/SafeFile.h"
#include "io/NetTcp.h"
#include "transfer/drive/DirWork.h"
#include "transfer/drive/DriveHandler.h"
#include "transfer/drive/DriveQueue.h"
#include "transfer/drive/DriveRest.h"
#include <QDebug>
#include <QTimer>

void DirWork::getFileOut()
{
    QList<qlonglong> passed;
    while (mayWalk() && NetTcp::isLogin() && m_inHand.size() < AsksInHand) {
        const db_upfarmD farm = store()->nextWalk(passed);
        if (farm.pri == 0)
            break;
        m_walking = true;
        for (const db_updirD &dir : store()->nextDirs(farm.pri, AsksInHand + m_inHand.size() + m_troubles.size())) {
            if (m_inHand.size() < AsksInHand && !m_inHand.contains(dir.pri) &&
                m_troubles.value(dir.pri).until <= m_clock.elapsed())
                ask(farm, dir);
        }
        passed << farm.pri;
    }
    if (m_inHand.isEmpty() && m_walking && passed.isEmpty()) {
        m_walking = false;
        qDebug().noquote() << "DirWork::getFileOut farm scan stop: ";
    }
    if (!m_waiting) {
        m_waiting = true;
        QTimer::singleShot(m_timing.lookMs, this, [this] {
            m_waiting = false;
            getFileOut();
        });
    }
}

void DirWork::ask(const db_upfarmD &farm, const db_updirD &dir)
{
    m_inHand.insert(dir.pri);
    const auto coming = std::make_shared<Coming>(LocalNames(LocalNames::Rules::ofFolder(farm.lpath)));
    const auto end = [=](const QString &why, int unusable) {
        m_inHand.remove(dir.pri);
        listed(farm, dir, coming.get(), why, unusable);
        getFileOut();
    };
    DriveRest::children(farm.id, farm.filetype, DriveRest::lastId(dir.ids))
        .pieces([=](const QVector<SubFile> &entries) {
            for (const SubFile &entry : entries) {
                if (!takeRemote(farm, dir, entry, coming.get())) {
                    QTimer::singleShot(0, this, [end] { end({}, 0); });
                    return false;
                }
            }
            return true;
        })
        .within(limitOf(m_troubles.value(dir.pri).tries))
        .answered([end](const DriveRest::Reply &reply) { end({}, reply.unusable); })
        .failed([end](const QString &why) { end(why.isEmpty() ? QStringLiteral("?") : why, 0); })
        .send(this);
}

// empty: nothing will come into the folder that would have its name on the medium.
bool DirWork::reach(const db_upfarmD &farm, const db_updirD &dir, bool empty, Coming *coming)
{
    platform::Folder::Reason reason;
    const auto folder = platform::Folder::reach(FileNames::native(farm.lpath),
                                                FileNames::native(dir.lpath.mid(farm.lpath.size())), true, &reason);
    coming->bad = folder ? QString() : FileNames::text(reason.text);
    coming->noRoom = reason.noRoom;
    if (folder && empty)
        folder->sync();
    return folder != nullptr;
}

// False: no more of them is wanted.
bool DirWork::takeRemote(const db_upfarmD &farm, const db_updirD &dir, const SubFile &entry, Coming *coming)
{
    if (!mayWalk())
        return false;
    const QStringList chain = dir.ids.split('/');
    if (coming->exclude.leavesOut(entry.name, entry.isFolder()))
        return true;
    if (entry.isFolder() && (chain.contains(entry.id) || chain.size() > MostDepth)) {
        tell(farm.pri, tr("云盘文件夹互相包含，已跳过：%1").arg(dir.dpath + '/' + entry.name));
        return true;
    }
    const QString name = coming->local.take(entry.name, entry.isFolder());
    if (name != FileNames::text(entry.name.toStdString()))
        tell(farm.pri, tr("%1 在本地的名称为 %2").arg(dir.dpath + '/' + entry.name, name));
    QString there = entry.name;
    for (int number = 2; !coming->remote.insert(there); ++number)
        there = LocalNames::numbered(entry.name, number);
    if (entry.isFolder()) {
        db_updirD below;
        below.ids = dir.ids + '/' + entry.id;
        below.lpath = dir.lpath + '/' + name;
        below.dpath = dir.dpath + '/' + there;
        coming->dirs.append(below);
    } else {
        db_upfile file;
        file.idText = dir.ids + '/' + entry.id;
        file.lpath = dir.lpath + '/' + name;
        file.remotePath = dir.dpath + '/' + there;
        file.size = entry.size;
        file.hash = entry.hash;
        file.modtime = entry.updatedAt;
        coming->files.append(file);
    }
    if (coming->files.size() + coming->dirs.size() < PieceRows)
        return true;
    return (coming->begun || reach(farm, dir, false, coming)) && piece(farm, dir, coming);
}

void DirWork::listed(const db_upfarmD &farm, const db_updirD &dir, Coming *coming, const QString &why, int unusable)
{
    if (coming->bad.isEmpty())
        coming->bad = why;
    if (mayWalk() && coming->bad.isEmpty())
        reach(farm, dir, coming->files.isEmpty() && coming->dirs.isEmpty(), coming);
    if (!mayWalk() || !coming->bad.isEmpty()) {
        if (coming->begun)
            store()->unwalk(farm.pri, dir);
        writeNotes(farm.pri);
        if (!mayWalk())
            return; // the row stays
        return coming->noRoom ? pauseFull(farm, dir) : failed(farm, dir, coming->bad);
    }
    if (unusable > 0)
        tell(farm.pri, tr("%1 中有 %2 项无法使用，已跳过").arg(dir.dpath).arg(unusable));
    whole(farm, dir, coming);
}

// The disk is to blame and not the folder, which is walked again when the batch goes on.
void DirWork::pauseFull(const db_upfarmD &farm, const db_updirD &dir)
{
    qWarning().noquote() << "DirWork::pauseFull" << dir.lpath;
    Trouble &trouble = m_troubles[dir.pri];
    trouble.farmPri = farm.pri;
    trouble.until = m_clock.elapsed() + restOf(1); // the queue takes a moment
    DriveQueue::pause(UploadDDAO::Down, farm.pri);
    store()->setNote(farm.pri, DriveHandler::tr("磁盘空间不足，已暂停"));
}
