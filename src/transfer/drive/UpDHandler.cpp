#include "transfer/drive/UpDHandler.h"
#include "common/Seam.h"
#include "common/UserInfo.h"
#include "transfer/drive/DriveNames.h"
#include "transfer/TransSet.h"
#include "transfer/up/UpWork.h"
#include <QCryptographicHash>
#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QSet>

UpDHandler::UpDHandler() : DriveHandler(UploadDDAO::Up) { Seam<UpDCalls>::attach(this, this); }

UpDHandler::~UpDHandler()
{
    Seam<UpDCalls>::detach(this);
    writeAll();
}

int UpDHandler::limit() const { return UserInfo::upTh(); }

TransWork *UpDHandler::makeWork(bool retry, int) { return new UpWork(share(), retry, UserInfo::upProxyPort()); }

namespace
{
// The folder that all of them lie below.
QString commonFolder(const QList<SubFile> &chosen)
{
    QString common;
    for (const SubFile &one : chosen) {
        QString folder = one.lpath.left(one.lpath.lastIndexOf('/'));
        if (&one == &chosen.first())
            common = folder;
        while (!common.isEmpty() && folder != common && !folder.startsWith(common + '/'))
            common = common.left(common.lastIndexOf('/'));
    }
    return common;
}

bool liesBelow(const QSet<QString> &folders, const QString &path)
{
    for (int at = path.lastIndexOf('/'); at > 0; at = path.lastIndexOf('/', at - 1))
        if (folders.contains(path.left(at)))
            return true;
    return false;
}
} // namespace

void UpDHandler::cfarm(db_upfarmD farm, QList<SubFile> sfL)
{
    farm.state = TransSet::UpWait;
    farm.lpath = commonFolder(sfL);
    QList<db_updirD> dirs;
    QList<db_upfile> files;
    LocalNames names; // two that are called alike come from two places
    QSet<QString> chosen;
    for (const SubFile &one : qAsConst(sfL))
        chosen.insert(one.lpath);
    for (const SubFile &one : qAsConst(sfL)) {
        if (liesBelow(chosen, one.lpath))
            continue; // it goes with the folder
        const QFileInfo info(one.lpath);
        QString remote = one.dpath;
        if (remote.isEmpty()) {
            const QString name = names.take(driveName(info.fileName().isEmpty() ? one.name : info.fileName()));
            remote = farm.dpath.isEmpty() ? name : farm.dpath + '/' + name;
        }
        if (info.isDir()) {
            db_updirD dir;
            dir.lpath = one.lpath;
            dir.dpath = remote;
            dirs.append(dir);
        } else {
            db_upfile file; // one that isn't there fails where it's seen
            file.lpath = one.lpath;
            file.remotePath = remote;
            file.size = info.size();
            file.hash = one.hash; // there are other bytes there, and size and time may be the same
            file.modtime = info.exists() ? info.lastModified().toMSecsSinceEpoch() : 0;
            files.append(file);
        }
    }
    if (!store()->addFarm(farm, dirs, files))
        qWarning().noquote() << "UpDHandler::cfarm not written:" << farm.name;
    look();
}

bool UpDHandler::launch(const db_upfarmD &farm, const db_upfile &row, const QString &key)
{
    TransWork *work = createWork(2, farm.id, takeGaveUp(key), row.error, 0);
    if (!work)
        return false;
    db_upfile file = row;
    file.ordernum = QString::number(farm.pri);
    file.missid = 0;
    file.farmid = farm.id;
    file.state = TransSet::UpRun;
    file.error = 0;
    const quint64 serial = nextSerial();
    work->setKey(key, serial);
    work->setSignMd5(key, QString::fromLatin1(QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Md5).toHex()),
                     2);
    // What a worker said before it was taken may arrive when another one runs under its key.
    connect(work, &TransWork::UpWorkFinished, this, [this, key, serial](const db_upfile &done, int kind) {
        if (isCurrent(key, serial))
            UpWorkFinished(done, kind);
    });
    connect(work, &TransWork::updateFile, this, [this, key, serial, pri = farm.pri](int, const db_upfile &changed) {
        if (isCurrent(key, serial))
            store()->setMeasure(pri, changed);
    });
    addWork(key, work);
    UpWork *up = static_cast<UpWork *>(work);
    QMetaObject::invokeMethod(
        up, [up, file] { up->upReq(file); }, Qt::QueuedConnection);
    return true;
}

void UpDHandler::UpWorkFinished(db_upfile file, int isDel)
{
    db_upfarmD farm;
    farm.pri = file.ordernum.toLongLong();
    farm.id = file.farmid;
    if (UpWork::isStage(file.error) && isDel == TransSet::Transient) {
        ended(farm, file, isDel, true, false);
        store()->show(file.pri, TransSet::UpServer, file.error); // the server still works on it
        return;
    }
    ended(farm, file, isDel, file.speed > 0, file.error == TransSet::StaleToken);
}
