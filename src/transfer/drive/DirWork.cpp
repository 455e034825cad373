#include "transfer/drive/DirWork.h"
#include "common/platform/SafeFile.h"
#include "common/Session.h"
#include "common/VFunc.h"
#include "io/NetTcp.h"
#include "transfer/drive/DirScan.h"
#include "transfer/drive/DriveFolder.h"
#include <QDateTime>
#include <QDebug>
#include <QDirIterator>
#include <QFileInfo>
#include <QTimer>

namespace
{
constexpr int SliceMs = 50; // of walking, before the thread's other events
constexpr int DirsAtATime = 50;

// The folders that a path passes through, as they really lie on the disk.
QStringList realPrefixes(const QString &path)
{
    QStringList list;
    for (int at = path.indexOf('/', 1); at > 0; at = path.indexOf('/', at + 1))
        list << QFileInfo(path.left(at)).canonicalFilePath();
    list << QFileInfo(path).canonicalFilePath();
    return list;
}

bool isWithin(const QString &path, const QString &folder)
{
    return path == folder || path.startsWith(folder.endsWith('/') ? folder : folder + '/');
}
} // namespace

DirWork::DirWork(int type, const std::atomic_bool &stop) : m_type(type), m_stop(stop) { m_clock.start(); }

UploadDDAO *DirWork::store() const
{
    return UploadDDAO::instance(m_type == DirScan::Local ? UploadDDAO::Up : UploadDDAO::Down);
}

void DirWork::startScan() { again(m_type == DirScan::Local ? 50 : 100); }

void DirWork::again(int ms)
{
    QTimer::singleShot(ms, this, m_type == DirScan::Local ? &DirWork::dirOut : &DirWork::getFileOut);
}

bool DirWork::mayWalk() const { return !m_stop && Session::live() && !Session::closing(); }

void DirWork::tell(qlonglong farmPri, const QString &text)
{
    qWarning().noquote() << "DirWork::tell" << farmPri << text;
    store()->setNote(farmPri, text);
}

void DirWork::dirOut()
{
    QElapsedTimer slice;
    slice.start();
    QList<qlonglong> passed; // batches whose folders all wait
    while (mayWalk() && slice.elapsed() < SliceMs) {
        const db_upfarmD farm = store()->nextWalk(passed);
        if (farm.pri == 0)
            break;
        m_walking = true;
        bool worked = false;
        for (const db_updirD &dir : store()->nextDirs(farm.pri, DirsAtATime + m_inHand.size() + m_troubles.size())) {
            if (!mayWalk() || slice.elapsed() >= SliceMs)
                break;
            if (m_inHand.contains(dir.pri) || m_troubles.value(dir.pri).until > m_clock.elapsed())
                continue;
            worked = true;
            walkLocal(farm, dir);
        }
        if (!worked)
            passed << farm.pri;
    }
    const bool idle = slice.elapsed() < SliceMs;
    if (idle && m_walking && passed.isEmpty()) {
        m_walking = false;
        m_made.clear();
        qDebug().noquote() << "DirWork::dirOut farm scan stop: ";
    }
    again(idle ? LookMs : 0);
}

// Whether a link to a folder is walked like one.
bool DirWork::followed(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &link)
{
    const QString real = link.canonicalFilePath();
    if (real.isEmpty() || realPrefixes(dir.lpath).contains(real)) {
        qDebug().noquote() << "DirWork::followed a ring ends at" << link.filePath();
        return false;
    }
    const QString chosen = farm.lpath + '/' + dir.lpath.mid(farm.lpath.size()).section('/', 1, 1);
    if (farm.links || isWithin(real, QFileInfo(chosen).canonicalFilePath()))
        return true;
    tell(farm.pri, tr("链接指向所选文件夹之外，未跟随：%1").arg(link.filePath()));
    return false;
}

// Hands over what was read so far. False: the store didn't take it, and the folder is walked again later.
bool DirWork::goesOn(const db_upfarmD &farm, const db_updirD &dir, bool last, QList<db_upfile> *files,
                     QList<db_updirD> *dirs)
{
    const bool good = store()->walked(farm.pri, dir, *dirs, *files, last);
    files->clear();
    dirs->clear();
    if (!good)
        m_troubles[dir.pri].until = m_clock.elapsed() + m_timing.firstRestMs;
    return good;
}

void DirWork::walkLocal(const db_upfarmD &farm, const db_updirD &dir)
{
    QList<db_upfile> files;
    QList<db_updirD> dirs;
    const QFileInfo self(dir.lpath);
    if (!self.isDir() || !self.isReadable()) {
        tell(farm.pri, tr("文件夹无法读取，已跳过：%1").arg(dir.lpath));
        goesOn(farm, dir, true, &files, &dirs);
        return;
    }
    const DriveExclude exclude = DriveExclude::ofSettings();
    QDirIterator entries(dir.lpath, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    QSet<QString> renamed; // names that aren't the same on the drive
    bool any = false, deep = dir.dpath.count('/') > MostDepth;
    while (entries.hasNext()) {
        entries.next();
        const QFileInfo info = entries.fileInfo();
        const bool folder = info.isDir();
        if (m_stop)
            return;
        if (exclude.leavesOut(info.fileName(), folder) || (folder && info.isSymLink() && !followed(farm, dir, info)))
            continue;
        if (folder && deep) {
            tell(farm.pri, tr("文件夹层数过多，已跳过：%1").arg(info.filePath()));
            continue;
        }
        if (!folder && info.exists() && !info.isFile()) {
            qDebug().noquote() << "DirWork::walkLocal neither file nor folder:" << info.filePath();
            continue;
        }
        any = true;
        QString name = driveName(info.fileName());
        if (name != info.fileName()) {
            for (int number = 2; renamed.contains(name) || QFileInfo::exists(dir.lpath + '/' + name); ++number)
                name = LocalNames::numbered(driveName(info.fileName()), number);
            renamed.insert(name);
            tell(farm.pri, tr("%1 在云盘上的名称为 %2").arg(info.filePath(), name));
        }
        const QString remote = dir.dpath.isEmpty() ? name : dir.dpath + '/' + name;
        // A name that isn't valid text on this disk can't be opened by its text: as a file it fails where it's seen.
        if (folder && info.exists()) {
            db_updirD below;
            below.lpath = info.filePath();
            below.dpath = remote;
            dirs.append(below);
        } else {
            db_upfile file;
            file.lpath = info.filePath();
            file.remotePath = remote;
            file.size = info.size();
            file.modtime = info.lastModified().toMSecsSinceEpoch();
            files.append(file);
        }
        if (files.size() >= PieceRows) {
            QList<db_updirD> none; // folders come in with the last piece, so that none is walked twice
            if (!goesOn(farm, dir, false, &files, &none))
                return;
        }
    }
    if (!any)
        return makeRemote(farm, dir);
    m_troubles.remove(dir.pri);
    goesOn(farm, dir, true, &files, &dirs);
}

// An empty folder has no file that would bring it along.
void DirWork::makeRemote(const db_upfarmD &farm, const db_updirD &dir)
{
    Made &made = m_made[farm.pri];
    if (made.asking) {
        m_troubles[dir.pri].until = m_clock.elapsed() + LookMs;
        return; // one at a time: two would make the same folder twice
    }
    made.asking = true;
    m_inHand.insert(dir.pri);
    made.ids.insert({}, QString::fromLatin1(SubFile::Root));
    if (!farm.ids.isEmpty())
        made.ids.insert(farm.dpath, farm.ids);
    QString known = dir.dpath;
    while (!made.ids.contains(known))
        known = known.section('/', 0, -2);
    const QStringList left = dir.dpath.mid(known.size()).split('/', Qt::SkipEmptyParts);
    DriveFolder::reach(
        farm.id, farm.filetype, {made.ids.value(known), known.section('/', 0, 0)}, left, true, m_timing.firstLimitMs,
        this, [=](const SubFile &) { remoteMade(farm, dir); }, [=](const QString &why) { failed(farm, dir, why); },
        [=](int names, const QString &id) {
            const QString below = left.mid(0, names).join('/');
            m_made[farm.pri].ids.insert(known.isEmpty() ? below : known + '/' + below, id);
        });
}

void DirWork::remoteMade(const db_upfarmD &farm, const db_updirD &dir)
{
    m_made[farm.pri].asking = false;
    m_inHand.remove(dir.pri);
    m_troubles.remove(dir.pri);
    QList<db_upfile> files;
    QList<db_updirD> dirs;
    goesOn(farm, dir, true, &files, &dirs);
    again(0);
}

void DirWork::failed(const db_upfarmD &farm, const db_updirD &dir, const QString &why)
{
    if (m_made.contains(farm.pri))
        m_made[farm.pri].asking = false;
    m_inHand.remove(dir.pri);
    Trouble &trouble = m_troubles[dir.pri];
    if (NetTcp::isLogin())
        ++trouble.tries; // without a link nothing is known of the folder
    const int doubled = qMin(trouble.tries, 16);
    trouble.until = m_clock.elapsed() + qMin(m_timing.firstRestMs << qMax(0, doubled - 1), m_timing.lastRestMs);
    qWarning().noquote() << "DirWork::failed" << dir.dpath << why << trouble.tries;
    if (trouble.tries < MostTries)
        return;
    m_troubles.remove(dir.pri);
    store()->dirFailed(farm.pri, dir);
    tell(farm.pri, tr("文件夹多次读取失败：%1（%2）").arg(dir.dpath, why));
}

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
        QTimer::singleShot(LookMs, this, [this] {
            m_waiting = false;
            getFileOut();
        });
    }
}

void DirWork::ask(const db_upfarmD &farm, const db_updirD &dir)
{
    m_inHand.insert(dir.pri);
    const int tries = qMin(m_troubles.value(dir.pri).tries, 16);
    DriveRest::children(farm.id, farm.filetype, DriveRest::lastId(dir.ids))
        .within(qMin<qint64>(qint64(m_timing.firstLimitMs) << tries, m_timing.lastLimitMs))
        .answered([=](const DriveRest::Reply &reply) {
            m_inHand.remove(dir.pri);
            listed(farm, dir, reply);
            getFileOut();
        })
        .failed([=](const QString &why) {
            failed(farm, dir, why);
            getFileOut();
        })
        .send(this);
}

void DirWork::listed(const db_upfarmD &farm, const db_updirD &dir, const DriveRest::Reply &reply)
{
    if (!mayWalk())
        return; // the row stays
    std::string reason;
    const auto folder = platform::Folder::reach(farm.lpath.toStdString(),
                                                dir.lpath.mid(farm.lpath.size()).toStdString(), true, &reason);
    if (!folder)
        return failed(farm, dir, QString::fromStdString(reason));
    QStringList names;
    for (const SubFile &entry : reply.entries)
        names << entry.name;
    LocalNames local(names);
    QSet<QString> remote;
    QList<db_upfile> files;
    QList<db_updirD> dirs;
    const QStringList chain = dir.ids.split('/');
    const DriveExclude exclude = DriveExclude::ofSettings();
    for (const SubFile &entry : reply.entries) {
        if (exclude.leavesOut(entry.name, entry.isFolder()))
            continue;
        if (entry.isFolder() && (chain.contains(entry.id) || chain.size() > MostDepth)) {
            tell(farm.pri, tr("云盘文件夹互相包含，已跳过：%1").arg(dir.dpath + '/' + entry.name));
            continue;
        }
        const QString name = local.take(entry.name);
        if (name != entry.name)
            tell(farm.pri, tr("%1 在本地的名称为 %2").arg(dir.dpath + '/' + entry.name, name));
        QString path = dir.dpath + '/' + entry.name;
        for (int number = 2; remote.contains(path); ++number)
            path = dir.dpath + '/' + LocalNames::numbered(entry.name, number);
        remote.insert(path);
        if (entry.isFolder()) {
            db_updirD below;
            below.ids = dir.ids + '/' + entry.id;
            below.lpath = dir.lpath + '/' + name;
            below.dpath = path;
            dirs.append(below);
        } else {
            db_upfile file;
            file.idText = dir.ids + '/' + entry.id;
            file.lpath = dir.lpath + '/' + name;
            file.remotePath = path;
            file.size = entry.size;
            file.hash = entry.hash;
            file.modtime = entry.updatedAt;
            files.append(file);
        }
    }
    if (reply.unusable > 0)
        tell(farm.pri, tr("%1 中有 %2 项无法使用，已跳过").arg(dir.dpath).arg(reply.unusable));
    if (files.isEmpty() && dirs.isEmpty())
        folder->sync(); // nothing that comes into it will
    m_troubles.remove(dir.pri);
    goesOn(farm, dir, true, &files, &dirs);
}
