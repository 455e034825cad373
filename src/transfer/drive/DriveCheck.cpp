#include "transfer/drive/DriveCheck.h"
#include "transfer/drive/DriveCheckWork.h"
#include "transfer/drive/DriveNames.h"
#include "transfer/drive/DriveRest.h"
#include "transfer/TransSet.h"
#include <QDirIterator>
#include <QFileInfo>
#include <QTimer>

namespace
{
constexpr int MostTries = 3, RestMs = 500;
}

DriveCheckWork::DriveCheckWork(const DriveQueue::Place &place, std::shared_ptr<std::atomic_bool> stop)
    : m_place(place), m_stop(std::move(stop))
{
}

void DriveCheckWork::begin(const QList<DriveCheck::Pair> &tops)
{
    for (const DriveCheck::Pair &top : tops)
        compare(top);
    next();
}

void DriveCheckWork::note(DriveCheck::Difference::What what, const DriveCheck::Pair &pair)
{
    m_found.append({what, pair.lpath, pair.dpath, pair.entry});
}

// What both sides have of one name; a folder waits for its turn.
void DriveCheckWork::compare(const DriveCheck::Pair &pair)
{
    using D = DriveCheck::Difference;
    const QFileInfo info(pair.lpath);
    if (!info.exists())
        return note(D::OnlyThere, pair);
    if (pair.entry.isFolder() || info.isDir()) {
        if (!pair.entry.isFolder() || !info.isDir())
            return note(D::Size, pair); // a file on one side, a folder on the other
        m_folders.append(pair);
        return;
    }
    ++m_files;
    if (info.size() != pair.entry.size)
        return note(D::Size, pair);
    if (pair.entry.hash.isEmpty())
        return;
    const QString hash = TransSet::fileHash(pair.lpath, *m_stop);
    if (hash.isEmpty() && !*m_stop)
        note(D::Unreadable, pair);
    else if (hash != pair.entry.hash)
        note(D::Hash, pair);
}

void DriveCheckWork::next()
{
    emit found(m_files, m_found);
    m_found.clear();
    if (*m_stop || m_folders.isEmpty()) {
        emit over(!*m_stop && m_trouble.isEmpty(), m_trouble);
        return;
    }
    m_tries = 0;
    m_at = m_folders.takeLast();
    ask();
}

void DriveCheckWork::ask()
{
    DriveRest::children(m_place.farmId, m_place.fileType, m_at.entry.id)
        .answered([this](const DriveRest::Reply &reply) {
            folder(reply.entries);
            next();
        })
        .failed([this](const QString &why) {
            if (++m_tries < MostTries && !*m_stop) {
                QTimer::singleShot(RestMs, this, [this] { ask(); });
                return;
            }
            m_trouble = m_at.dpath + ": " + why;
            next();
        })
        .send(this);
}

// Names meet as a transfer makes them: those of the drive as they come to this disk, those of this disk as they go.
void DriveCheckWork::folder(const QList<SubFile> &entries)
{
    QStringList names;
    for (const SubFile &entry : entries)
        names << entry.name;
    LocalNames local(names);
    QSet<QString> there;
    for (const SubFile &entry : entries) {
        if (*m_stop)
            return;
        QString name = entry.name;
        const QString own = local.take(name);
        if (!QFileInfo::exists(m_at.lpath + '/' + name))
            name = own;
        there.insert(name);
        if (m_at.chain.contains(entry.id))
            continue; // a ring
        DriveCheck::Pair pair{m_at.lpath + '/' + name, m_at.dpath + '/' + entry.name, entry, m_at.chain};
        pair.chain.append(m_at.entry.id);
        compare(pair);
    }
    const DriveExclude exclude = DriveExclude::ofSettings();
    QDirIterator here(m_at.lpath, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (here.hasNext() && !*m_stop) {
        here.next();
        const QFileInfo info = here.fileInfo();
        if (there.contains(info.fileName()) || there.contains(driveName(info.fileName())) ||
            exclude.leavesOut(info.fileName(), info.isDir()) || (info.isDir() && info.isSymLink()))
            continue;
        note(DriveCheck::Difference::OnlyHere,
             {info.filePath(), m_at.dpath + '/' + driveName(info.fileName()), {}, {}});
    }
}

DriveCheck::DriveCheck(const DriveQueue::Place &place, QObject *parent)
    : QObject(parent), m_place(place), m_stop(std::make_shared<std::atomic_bool>(false))
{
    qRegisterMetaType<QList<DriveCheck::Difference>>();
    m_thread.setObjectName(QStringLiteral("DriveCheck"));
}

DriveCheck::~DriveCheck()
{
    stop();
    m_thread.quit();
    m_thread.wait();
}

void DriveCheck::stop() { *m_stop = true; }

void DriveCheck::start(const QList<Pair> &tops)
{
    auto *work = new DriveCheckWork(m_place, m_stop);
    work->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, work, &QObject::deleteLater);
    connect(work, &DriveCheckWork::found, this, [this](qlonglong files, const QList<Difference> &list) {
        m_files = files;
        m_different += list.size();
        m_list += list.mid(0, MostKept - m_list.size());
        emit progress(m_files, m_different);
    });
    connect(work, &DriveCheckWork::over, this, &DriveCheck::finished);
    m_thread.start();
    QMetaObject::invokeMethod(
        work, [work, tops] { work->begin(tops); }, Qt::QueuedConnection);
}

QString DriveCheck::text(Difference::What what)
{
    switch (what) {
    case Difference::OnlyHere:
        return tr("仅在本地");
    case Difference::OnlyThere:
        return tr("仅在云盘");
    case Difference::Size:
        return tr("大小不同");
    case Difference::Hash:
        return tr("内容不同");
    case Difference::Unreadable:
        return tr("本地文件无法读取");
    }
    return {};
}

qlonglong DriveCheck::mend(bool toDrive) const
{
    QList<SubFile> entries;
    for (const Difference &one : m_list) {
        if (one.what == (toDrive ? Difference::OnlyThere : Difference::OnlyHere))
            continue; // nothing there to be sent, or to be fetched
        SubFile entry = one.entry;
        entry.lpath = one.lpath;
        entry.dpath = one.dpath;
        if (entry.name.isEmpty())
            entry.name = one.lpath.mid(one.lpath.lastIndexOf('/') + 1);
        entries.append(entry);
    }
    return DriveQueue::transfer(m_place, entries, toDrive);
}
