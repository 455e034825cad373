#include "transfer/drive/DirWork.h"
#include "common/FileNames.h"
#include "common/platform/SafeFile.h"
#include "common/Session.h"
#include "io/NetTcp.h"
#include "transfer/drive/DirScan.h"
#include "transfer/drive/DriveFolder.h"
#include "transfer/TransSet.h"
#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QTimer>

namespace
{
constexpr int SliceMs = 50; // of walking, before the thread's other events
constexpr int DirsAtATime = 50;
constexpr int MostMade = 20000; // folders that are known by their ids

// The folders that a path passes through, as they really lie on the disk.
QStringList realPrefixes(const QString &path)
{
    QStringList list;
    for (int at = path.indexOf('/', 1); at > 0; at = path.indexOf('/', at + 1))
        list << QFileInfo(path.left(at)).canonicalFilePath();
    list << QFileInfo(path).canonicalFilePath();
    return list;
}

int linksAmong(const QStringList &prefixes)
{
    int links = 0;
    for (int i = 1; i < prefixes.size(); ++i) {
        if (prefixes.at(i).section('/', 0, -2) != prefixes.at(i - 1))
            ++links;
    }
    return links;
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

void DirWork::startScan()
{
    connect(store(), &UploadDDAO::farmStateChanged, this, [this](qlonglong farmPri, int state) {
        if (state == (m_type == DirScan::Local ? TransSet::UpWait : TransSet::DownWait))
            resumed(farmPri);
    });
    again(m_type == DirScan::Local ? 50 : 100);
}

// Whoever resumes a batch has done something about what held it up: nothing waits for its next turn.
void DirWork::resumed(qlonglong farmPri)
{
    m_held.remove(farmPri);
    m_unsaved.remove(farmPri);
    for (auto it = m_troubles.begin(); it != m_troubles.end();)
        it = it->farmPri == farmPri ? m_troubles.erase(it) : std::next(it);
}

void DirWork::again(int ms)
{
    QTimer::singleShot(ms, this, m_type == DirScan::Local ? &DirWork::dirOut : &DirWork::getFileOut);
}

bool DirWork::mayWalk() const { return !m_stop && Session::live() && !Session::closing(); }

int DirWork::limitOf(int tries) const
{
    return int(qMin<qint64>(qint64(m_timing.firstLimitMs) << qBound(0, tries, 16), m_timing.lastLimitMs));
}

int DirWork::restOf(int tries) const
{
    return int(qMin<qint64>(qint64(m_timing.firstRestMs) << qBound(0, tries - 1, 16), m_timing.lastRestMs));
}

// All in the log; the last one, and that there are more, at the batch.
void DirWork::tell(qlonglong farmPri, const QString &text)
{
    Notes &notes = m_notes[farmPri];
    notes.last = FileNames::shown(text);
    notes.told = false;
    ++notes.count;
    qWarning().noquote() << "DirWork::tell" << farmPri << notes.last;
}

void DirWork::writeNotes(qlonglong farmPri)
{
    const auto found = m_notes.find(farmPri);
    if (found == m_notes.end() || found->told)
        return;
    found->told = true;
    const QString more = found->count > 1 ? tr("（另有 %1 条提示，详见日志）").arg(found->count - 1) : QString();
    store()->setNote(farmPri, found->last + more, UploadDDAO::OfWalk);
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
        m_notes.clear();
        qDebug().noquote() << "DirWork::dirOut farm scan stop: ";
    }
    again(idle ? m_timing.lookMs : 0);
}

// Whether a link to a folder is walked like one.
bool DirWork::followed(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &link)
{
    const QString real = link.canonicalFilePath();
    const QStringList way = realPrefixes(dir.lpath);
    if (real.isEmpty() || way.contains(real)) {
        qDebug().noquote() << "DirWork::followed a ring ends at" << link.filePath();
        return false;
    }
    if (linksAmong(way) - linksAmong(realPrefixes(farm.lpath)) >= MostLinks) {
        tell(farm.pri, tr("链接层数过多，未跟随：%1").arg(link.filePath()));
        return false;
    }
    const QString chosen = farm.lpath + '/' + dir.lpath.mid(farm.lpath.size()).section('/', 1, 1);
    if (farm.links || isWithin(real, QFileInfo(chosen).canonicalFilePath()))
        return true;
    tell(farm.pri, tr("链接指向所选文件夹之外，未跟随：%1").arg(link.filePath()));
    return false;
}

// Hands over what has come so far; it's shown with the folder's last piece. A store that can't take it gets the folder
// again later.
bool DirWork::piece(const db_upfarmD &farm, const db_updirD &dir, Coming *coming)
{
    coming->begun = true;
    const bool good = store()->walked(farm.pri, dir, coming->dirs, coming->files, false);
    coming->files.clear();
    coming->dirs.clear();
    if (!good)
        coming->bad = tr("传输无法保存");
    return good;
}

bool DirWork::whole(const db_upfarmD &farm, const db_updirD &dir, Coming *coming)
{
    writeNotes(farm.pri);
    const bool good = coming->bad.isEmpty() && store()->walked(farm.pri, dir, coming->dirs, coming->files);
    settled(dir.pri);
    if (good) {
        if (m_unsaved.remove(farm.pri))
            store()->setNote(farm.pri, {});
        return true;
    }
    if (coming->begun)
        store()->unwalk(farm.pri, dir);
    if (!m_unsaved.contains(farm.pri)) {
        m_unsaved.insert(farm.pri);
        store()->setNote(farm.pri, tr("传输记录无法保存，磁盘可能已满"));
    }
    m_troubles[dir.pri] = {farm.pri, 0, m_clock.elapsed() + m_timing.firstRestMs};
    return false;
}

// Whether an entry of a local folder goes at all; what doesn't is told, unless it's excluded.
bool DirWork::travels(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &entry)
{
    const bool folder = entry.isDir();
    if (folder && entry.isSymLink() && !followed(farm, dir, entry))
        return false;
    if (folder && dir.dpath.count('/') > MostDepth) {
        tell(farm.pri, tr("文件夹层数过多，已跳过：%1").arg(entry.filePath()));
        return false;
    }
    if (folder || entry.isFile())
        return true;
    if (entry.exists()) { // a pipe would be waited for, a device may act on being read
        tell(farm.pri, tr("不是普通文件，已跳过：%1").arg(entry.filePath()));
        return false;
    }
    if (!entry.isSymLink()) {
        tell(farm.pri, tr("文件已消失或无法访问，已跳过：%1").arg(entry.filePath()));
        return false;
    }
    return true; // a link to nothing fails where it's seen
}

// The name there; one that the drive wouldn't take gives way to another, unlike all others of the folder.
QString DirWork::remoteName(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &entry, Coming *coming)
{
    const QString own = entry.fileName(), wanted = driveName(own);
    if (wanted == own)
        return own;
    const auto taken = [&](const QString &name) {
        const QFileInfo other(dir.lpath + '/' + name);
        return coming->remote.contains(name) || other.exists() || other.isSymLink();
    };
    QString name = wanted;
    for (int number = 2; taken(name); ++number)
        name = LocalNames::numbered(wanted, number);
    coming->remote.insert(name);
    if (name != FileNames::plain(own, QChar::Null))
        tell(farm.pri, tr("%1 在云盘上的名称为 %2").arg(entry.filePath(), name));
    return name;
}

void DirWork::takeLocal(const db_upfarmD &farm, const db_updirD &dir, const QFileInfo &entry, Coming *coming)
{
    coming->any = true;
    const QString name = remoteName(farm, dir, entry, coming);
    const QString remote = dir.dpath.isEmpty() ? name : dir.dpath + '/' + name;
    if (entry.isDir()) {
        db_updirD below;
        below.lpath = entry.filePath();
        below.dpath = remote;
        coming->dirs.append(below);
        return;
    }
    db_upfile file;
    file.lpath = entry.filePath();
    file.remotePath = remote;
    file.size = entry.size();
    file.modtime = entry.exists() ? entry.lastModified().toMSecsSinceEpoch() : 0;
    coming->files.append(file);
}

void DirWork::walkLocal(const db_upfarmD &farm, const db_updirD &dir)
{
    Coming coming{LocalNames()};
    bool stopped = false;
    std::string why;
    const bool read = platform::readFolder(
        FileNames::native(dir.lpath),
        [&](const std::string &stored) {
            const QString name = FileNames::text(stored);
            const QFileInfo entry(dir.lpath + '/' + name);
            stopped = m_stop;
            if (stopped || coming.exclude.leavesOut(name, entry.isDir()) || !travels(farm, dir, entry))
                return !stopped;
            takeLocal(farm, dir, entry, &coming);
            return coming.files.size() + coming.dirs.size() < PieceRows || piece(farm, dir, &coming);
        },
        &why);
    if (stopped)
        return;
    if (!read)
        tell(farm.pri, tr("文件夹无法读取，已跳过：%1（%2）").arg(dir.lpath, QString::fromStdString(why)));
    if (coming.any)
        return void(whole(farm, dir, &coming));
    if (read && QFileInfo(dir.lpath).isExecutable()) // else its names may be read, and nothing more
        return makeRemote(farm, dir);
    writeNotes(farm.pri);
    if (!store()->dirFailed(farm.pri, dir, UploadDDAO::DirUnread))
        m_troubles[dir.pri] = {farm.pri, 0, m_clock.elapsed() + m_timing.firstRestMs};
}

// An empty folder has no file that would bring it along.
void DirWork::makeRemote(const db_upfarmD &farm, const db_updirD &dir)
{
    Made &made = m_made[farm.pri];
    if (made.asking) {
        m_troubles[dir.pri].until = m_clock.elapsed() + m_timing.lookMs;
        m_troubles[dir.pri].farmPri = farm.pri;
        return; // one at a time: two would make the same folder twice
    }
    made.asking = true;
    m_inHand.insert(dir.pri);
    if (made.ids.size() > MostMade)
        made.ids.clear(); // they can be asked for again
    made.ids.insert({}, QString::fromLatin1(SubFile::Root));
    if (!farm.ids.isEmpty())
        made.ids.insert(farm.dpath, farm.ids);
    QString known = dir.dpath;
    while (!made.ids.contains(known))
        known = known.section('/', 0, -2);
    const QStringList left = dir.dpath.mid(known.size()).split('/', Qt::SkipEmptyParts);
    DriveFolder::reach(
        farm.id, farm.filetype, {made.ids.value(known), known.section('/', 0, 0)}, left, true,
        limitOf(m_troubles.value(dir.pri).tries), this, [=](const SubFile &) { remoteMade(farm, dir); },
        [=](const QString &why) { failed(farm, dir, why); },
        [=](int names, const QString &id) {
            const QString below = left.mid(0, names).join('/');
            m_made[farm.pri].ids.insert(known.isEmpty() ? below : known + '/' + below, id);
        });
}

void DirWork::remoteMade(const db_upfarmD &farm, const db_updirD &dir)
{
    m_made[farm.pri].asking = false;
    m_inHand.remove(dir.pri);
    Coming none{LocalNames()};
    whole(farm, dir, &none);
    again(0);
}

void DirWork::failed(const db_upfarmD &farm, const db_updirD &dir, const QString &why)
{
    if (m_made.contains(farm.pri))
        m_made[farm.pri].asking = false;
    m_inHand.remove(dir.pri);
    Trouble &trouble = m_troubles[dir.pri];
    trouble.farmPri = farm.pri;
    if (NetTcp::isLogin())
        ++trouble.tries; // without a link nothing is known of the folder
    trouble.until = m_clock.elapsed() + restOf(trouble.tries);
    qWarning().noquote() << "DirWork::failed" << dir.dpath << why << trouble.tries;
    if (trouble.tries < MostTries) {
        if (trouble.tries >= ToldTries) {
            m_held.insert(farm.pri);
            store()->setNote(farm.pri,
                             FileNames::shown(tr("文件夹暂时无法处理，稍后重试：%1（%2）").arg(dir.dpath, why)));
        }
        return;
    }
    settled(dir.pri);
    store()->dirFailed(farm.pri, dir);
    tell(farm.pri, tr("文件夹多次读取失败：%1（%2）").arg(dir.dpath, why));
    writeNotes(farm.pri);
}

void DirWork::settled(qlonglong dirPri)
{
    const qlonglong farmPri = m_troubles.take(dirPri).farmPri;
    const auto other = [&](const Trouble &trouble) { return trouble.farmPri == farmPri && trouble.tries >= ToldTries; };
    if (m_held.contains(farmPri) && std::none_of(m_troubles.cbegin(), m_troubles.cend(), other)) {
        m_held.remove(farmPri);
        store()->setNote(farmPri, {});
    }
}
