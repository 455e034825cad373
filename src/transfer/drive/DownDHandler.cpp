#include "transfer/drive/DownDHandler.h"
#include "common/FileNames.h"
#include "common/platform/Platform.h"
#include "common/Seam.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "transfer/down/PartialFile.h"
#include "transfer/drive/DownHttp.h"
#include "transfer/drive/DriveNames.h"
#include "transfer/drive/DriveRest.h"
#include "transfer/TransSet.h"
#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <set>

DownDHandler::DownDHandler() : DriveHandler(UploadDDAO::Down) { Seam<DownDCalls>::attach(this, this); }

DownDHandler::~DownDHandler()
{
    Seam<DownDCalls>::detach(this);
    writeAll();
}

int DownDHandler::limit() const { return UserInfo::downTh(); }

TransWork *DownDHandler::makeWork(bool, int) { return new DownHttp(share()); }

namespace
{
// The chosen folder, its name on the medium before anybody is told of the batch that relies on it.
void makeFolder(const QString &path)
{
    QStringList missing;
    for (QString at = path; !QFileInfo::exists(at) && QFileInfo(at).path() != at; at = QFileInfo(at).path())
        missing << QFileInfo(at).path();
    QDir().mkpath(path);
    for (const QString &folder : qAsConst(missing))
        VFunc::syncFolder(folder);
}
} // namespace

void DownDHandler::cfarm(db_upfarmD farm, QList<SubFile> sfL)
{
    farm.state = TransSet::DownWait;
    makeFolder(farm.lpath);
    LocalNames local(LocalNames::Rules::ofFolder(farm.lpath));
    QList<db_updirD> dirs;
    QList<db_upfile> files;
    QSet<QString> remotes;
    const bool below = DriveRest::usableId(farm.ids) && farm.ids != QLatin1String(SubFile::Root);
    const QString chain = below ? farm.ids + '/' : QString(); // a folder that leads back to it closes a ring
    for (const SubFile &one : qAsConst(sfL)) {
        if (!DriveRest::usableName(one.name) || !DriveRest::usableId(one.id))
            continue;
        const QString path = one.lpath.isEmpty() ? farm.lpath + '/' + local.take(one.name, one.isFolder()) : one.lpath;
        const QString folder = farm.dpath.isEmpty() ? QString() : farm.dpath + '/';
        QString remote = one.dpath.isEmpty() ? folder + one.name : one.dpath;
        for (int number = 2; remotes.contains(remote); ++number)
            remote = folder + LocalNames::numbered(one.name, number);
        remotes.insert(remote);
        if (one.isFolder()) {
            db_updirD dir;
            dir.ids = chain + one.id;
            dir.lpath = path;
            dir.dpath = remote;
            dirs.append(dir);
        } else {
            db_upfile file;
            file.idText = chain + one.id;
            file.lpath = path;
            file.remotePath = remote;
            file.size = one.size;
            file.hash = one.hash;
            file.modtime = one.updatedAt;
            files.append(file);
        }
    }
    if (!store()->addFarm(farm, dirs, files))
        qWarning().noquote() << "DownDHandler::cfarm not written:" << farm.name;
    look();
}

// The folder may be gone: who resumes wants it again. Nobody else makes it, it may lie on a disk that was taken out.
void DownDHandler::reFarm(qlonglong farmPri)
{
    if (const db_upfarmD farm = store()->farm(farmPri); farm.pri != 0)
        makeFolder(farm.lpath);
    DriveHandler::reFarm(farmPri);
}

void DownDHandler::setConflict(qlonglong farmPri, int conflict)
{
    m_questions.remove(farmPri);
    store()->setConflict(farmPri, conflict);
    Batch &mine = batch(farmPri);
    mine.asked = false;
    mine.ready.clear();
    mine.held = runningOf(farmPri) + unwritten(farmPri); // what waited for the answer is looked at again
    mine.behind = 0;
    look();
}

void DownDHandler::readFile()
{
    DriveHandler::readFile();
    for (auto it = m_questions.cbegin(); it != m_questions.cend(); ++it)
        store()->tellConflict(it.key(), it.value());
}

void DownDHandler::prepare(const db_upfarmD &farm, Batch *batch, QList<db_upfile> *rows)
{
    const int conflict = store()->farm(farm.pri).conflict; // may have been answered since
    QList<db_upfile> placed, started;
    for (db_upfile &row : *rows) {
        if (row.placed) {
            started.append(row);
            continue;
        }
        const QFileInfo there(row.lpath);
        if (there.exists() || there.isSymLink()) {
            const bool maybeSame = there.isFile() && there.size() == row.size;
            if (conflict == db_upfarmD::NotAsked && !maybeSame) {
                ask(farm.pri, batch, row);
                continue;
            }
        }
        if (conflict == db_upfarmD::KeepBoth) {
            const QString folder = there.path(), name = there.fileName();
            const auto taken = [&](const QString &path) {
                const auto is = [&path](const db_upfile &other) { return other.lpath == path; };
                return QFileInfo::exists(path) || std::any_of(placed.cbegin(), placed.cend(), is) ||
                       store()->isPlaced(farm.pri, path);
            };
            for (int number = 2; taken(row.lpath); ++number)
                row.lpath = folder + '/' + LocalNames::numbered(name, number);
        }
        const bool theirs = there.exists() && conflict == db_upfarmD::NotAsked;
        row.placed = theirs ? db_upfile::Theirs : db_upfile::Mine;
        placed.append(row);
        started.append(row);
    }
    if (!placed.isEmpty() && !store()->place(farm.pri, placed)) {
        rows->clear();
        batch->behind = 0;
        batch->until = now() + m_timing.restMs;
        return;
    }
    // Before the first of them is made: a power cut that left the file and not the note would make it somebody else's.
    if (!placed.isEmpty())
        store()->settle();
    *rows = started;
}

// The row waits for the user's word, the others go on; one question a batch.
void DownDHandler::ask(qlonglong farmPri, Batch *batch, const db_upfile &row)
{
    batch->held.insert(row.pri);
    if (std::exchange(batch->asked, true))
        return;
    m_questions.insert(farmPri, row.lpath);
    store()->tellConflict(farmPri, row.lpath);
}

// A worker has found a file of the same size with another content.
void DownDHandler::met(const db_upfarmD &farm, db_upfile file)
{
    file.placed = db_upfile::NotPlaced;
    ended(farm, file, TransSet::Dropped, true, false);
    if (file.pri == 0 || !exists(farm.pri) || !store()->place(farm.pri, {file}))
        return;
    store()->unshow(file.pri);
    if (store()->farm(farm.pri).conflict == db_upfarmD::NotAsked)
        ask(farm.pri, &batch(farm.pri), file);
    else // answered meanwhile
        wait(farm.pri, file, 0);
}

bool DownDHandler::launch(const db_upfarmD &farm, const db_upfile &row, const QString &key)
{
    auto *work = static_cast<DownHttp *>(createWork(2, farm.id, takeGaveUp(key), row.error, 0));
    if (!work)
        return false;
    db_downfile file;
    file.lpath = row.lpath;
    file.hash = row.hash;
    file.size = row.size;
    file.pri = row.pri;
    file.missPri = farm.pri;
    file.farmid = farm.id;
    file.path = row.idText;
    file.state = TransSet::DownRun;
    const quint64 serial = nextSerial();
    work->setKey(key, serial);
    work->setSignMd5(key, QString::fromLatin1(QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Md5).toHex()),
                     3);
    const bool same = farm.conflict != db_upfarmD::Overwrite || !row.hash.isEmpty();
    const bool ask = farm.conflict == db_upfarmD::NotAsked && row.placed == db_upfile::Theirs;
    work->setSource(farm.filetype, farm.lpath, same, ask);
    connect(work, &TransWork::DownWorkFinished, this, [this, key, serial](const db_downfile &done, int kind) {
        if (isCurrent(key, serial))
            workFinished(done, kind);
    });
    addWork(key, work);
    QMetaObject::invokeMethod(
        work, [work, file] { work->downReq(file); }, Qt::QueuedConnection);
    return true;
}

void DownDHandler::workFinished(db_downfile done, int isDel)
{
    const auto *work = static_cast<const DownHttp *>(worker(keyOf(done.missPri, done.pri)));
    if (!work)
        return;
    db_upfarmD farm;
    farm.pri = done.missPri;
    farm.id = done.farmid;
    db_upfile file = store()->file(done.missPri, done.pri);
    if (file.pri == 0) { // its row was deleted
        file.pri = done.pri;
        isDel = TransSet::Dropped;
    }
    if (work->conflict)
        return met(farm, file);
    file.error = done.error;
    if (file.size != done.size || file.hash != done.hash) { // the drive's word
        file.size = done.size;
        file.hash = done.hash;
        store()->setMeasure(done.missPri, file);
    }
    if (work->astray && exists(farm.pri)) // as where a network wants a login first: not each file is burnt on it
        rest(farm.pri, &batch(farm.pri), false, TransSet::sentence(done.error));
    ended(farm, file, isDel, work->received > 0, work->stale);
}

void DownDHandler::dropped(const db_upfarmD &farm, const QList<db_upfile> &files)
{
    for (const db_upfile &file : files)
        PartialFile::removeBoth(file.lpath, farm.lpath);
}

// One word to the volume instead of two to each small file. On the workers' side of the threads: it may take seconds.
bool DownDHandler::settled(const QList<db_upfile> &files)
{
    std::set<std::string> folders;
    for (const db_upfile &file : files)
        folders.insert(FileNames::native(QFileInfo(file.lpath).path()));
    return platform::isWindows() || platform::syncVolumes({folders.begin(), folders.end()});
}
