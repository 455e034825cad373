#include "transfer/drive/DriveQueue.h"
#include "common/Seam.h"
#include "common/UserInfo.h"
#include "transfer/drive/DriveCalls.h"
#include <QDir>

namespace
{
// Posts to the queue of that store; those of what is over have their own.
template <class Call> void toQueue(int which, Call call)
{
    if (which == UploadDDAO::Up)
        Seam<UpDCalls>::post([call](UpDCalls &queue) { call(queue); });
    else if (which == UploadDDAO::Down)
        Seam<DownDCalls>::post([call](DownDCalls &queue) { call(queue); });
}

db_upfarmD batchOf(const DriveQueue::Place &place, const QString &firstName, int count)
{
    db_upfarmD farm;
    farm.id = place.farmId;
    farm.filetype = place.fileType;
    farm.dpath = place.path;
    farm.ids = place.id;
    farm.name = count > 1 ? QStringLiteral("%1 (+%2)").arg(firstName).arg(count - 1) : firstName;
    return farm;
}
} // namespace

qlonglong DriveQueue::put(const Place &target, const QStringList &localPaths, bool links)
{
    QList<SubFile> chosen;
    for (const QString &path : localPaths) {
        SubFile one;
        one.lpath = QDir::cleanPath(QDir::fromNativeSeparators(path));
        one.name = one.lpath.mid(one.lpath.lastIndexOf('/') + 1);
        one.parent = target.id;
        one.fileType = target.fileType;
        one.diskName = target.diskName;
        chosen.append(one);
    }
    if (chosen.isEmpty())
        return 0;
    db_upfarmD farm = batchOf(target, chosen.first().name, chosen.size());
    farm.lpath = chosen.first().lpath;
    farm.links = links;
    farm.pri = UploadDDAO::newFarmPri(UploadDDAO::Up);
    return Seam<UpDCalls>::post([farm, chosen](UpDCalls &queue) { queue.cfarm(farm, chosen); }) ? farm.pri : 0;
}

qlonglong DriveQueue::fetch(const Place &source, const QList<SubFile> &entries, const QString &localFolder,
                            int conflict)
{
    if (entries.isEmpty())
        return 0;
    db_upfarmD farm = batchOf(source, entries.first().name, entries.size());
    farm.lpath = QDir::cleanPath(QDir::fromNativeSeparators(localFolder));
    farm.conflict = conflict;
    farm.pri = UploadDDAO::newFarmPri(UploadDDAO::Down);
    return Seam<DownDCalls>::post([farm, entries](DownDCalls &queue) { queue.cfarm(farm, entries); }) ? farm.pri : 0;
}

qlonglong DriveQueue::transfer(const Place &place, const QList<SubFile> &entries, bool toDrive)
{
    if (entries.isEmpty())
        return 0;
    db_upfarmD farm = batchOf(place, entries.first().name, entries.size());
    const auto common = [&](QString SubFile::*path) {
        QString folder = (entries.first().*path).section('/', 0, -2);
        for (const SubFile &one : entries) {
            while (!folder.isEmpty() && !(one.*path).startsWith(folder + '/'))
                folder = folder.section('/', 0, -2);
        }
        return folder;
    };
    farm.lpath = common(&SubFile::lpath);
    farm.dpath = common(&SubFile::dpath);
    farm.ids.clear(); // found by its path, where it's needed
    farm.conflict = db_upfarmD::Overwrite;
    farm.pri = UploadDDAO::newFarmPri(toDrive ? UploadDDAO::Up : UploadDDAO::Down);
    const bool there = toDrive ? Seam<UpDCalls>::post([=](UpDCalls &queue) { queue.cfarm(farm, entries); })
                               : Seam<DownDCalls>::post([=](DownDCalls &queue) { queue.cfarm(farm, entries); });
    return there ? farm.pri : 0;
}

void DriveQueue::setConflict(qlonglong farmPri, int conflict)
{
    Seam<DownDCalls>::post([=](DownDCalls &queue) { queue.setConflict(farmPri, conflict); });
}

void DriveQueue::pause(int which, qlonglong farmPri)
{
    toQueue(which, [=](DriveCalls &queue) { queue.pauseFarm(farmPri); });
}

void DriveQueue::resume(int which, qlonglong farmPri)
{
    toQueue(which, [=](DriveCalls &queue) { queue.reFarm(farmPri); });
}

void DriveQueue::remove(int which, qlonglong farmPri)
{
    if (which == UploadDDAO::Ok)
        Seam<TransokDCalls>::post([=](TransokDCalls &queue) { queue.delFarm(farmPri); });
    else
        toQueue(which, [=](DriveCalls &queue) { queue.delFarm(farmPri); });
}

void DriveQueue::pauseFile(int which, qlonglong farmPri, qlonglong filePri)
{
    toQueue(which, [=](DriveCalls &queue) { queue.pauseFile(farmPri, filePri); });
}

void DriveQueue::resumeFile(int which, qlonglong farmPri, qlonglong filePri)
{
    toQueue(which, [=](DriveCalls &queue) { queue.reFile(farmPri, filePri); });
}

void DriveQueue::removeFile(int which, qlonglong farmPri, qlonglong filePri)
{
    toQueue(which, [=](DriveCalls &queue) { queue.delFile(farmPri, filePri); });
}

void DriveQueue::readFarms(int which)
{
    if (which == UploadDDAO::Ok)
        Seam<TransokDCalls>::post([](TransokDCalls &queue) { queue.readFarm(); });
    else
        toQueue(which, [](DriveCalls &queue) { queue.readFile(); });
}

void DriveQueue::readFiles(int which, qlonglong farmPri, int page)
{
    if (which == UploadDDAO::Ok)
        Seam<TransokDCalls>::post([=](TransokDCalls &queue) { queue.readFile(farmPri, page); });
    else
        toQueue(which, [=](DriveCalls &queue) { queue.readFile(farmPri, page); });
}

void DriveQueue::readFilesNear(int which, qlonglong farmPri, qlonglong filePri, bool before)
{
    toQueue(which, [=](DriveCalls &queue) { queue.readNear(farmPri, filePri, before); });
}

void DriveQueue::setUpLimit(int kib) { UserInfo::setSetting(Settings::UpDSpeed, kib); }
