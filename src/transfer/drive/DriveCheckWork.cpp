#include "transfer/drive/DriveCheckWork.h"
#include "common/Session.h"
#include "transfer/drive/DriveRest.h"
#include "transfer/TransSet.h"
#include <QDateTime>
#include <QDebug>
#include <QDirIterator>
#include <QTimer>

namespace
{
constexpr int MostTries = 3, RestMs = 500, StopMs = 50;

bool isOwnFile(const QString &name, const QSet<QString> &there) // of a fetch that isn't over
{
    for (const char *ending : {".xtemp", ".vd"})
        if (name.endsWith(QLatin1String(ending)) && there.contains(name.left(name.size() - int(qstrlen(ending)))))
            return true;
    return false;
}
} // namespace

DriveCheckWork::DriveCheckWork(std::weak_ptr<DriveCheck> check, const DriveQueue::Place &place,
                               std::shared_ptr<std::atomic_bool> stop)
    : m_check(std::move(check)), m_place(place), m_stop(std::move(stop)), m_exclude(DriveExclude::ofSettings())
{
    auto *watch = new QTimer(this); // while an answer is waited for
    connect(watch, &QTimer::timeout, this, [this] {
        if (*m_stop)
            end();
    });
    watch->start(StopMs);
}

void DriveCheckWork::begin(const QList<DriveCheck::Pair> &tops)
{
    for (const DriveCheck::Pair &top : tops) {
        if (QFileInfo::exists(top.lpath))
            compare(top);
        else
            note(What::OnlyThere, top);
    }
    next();
}

void DriveCheckWork::note(What what, const DriveCheck::Pair &pair)
{
    const std::shared_ptr<DriveCheck> check = m_check.lock();
    if (check && !check->note({what, pair.lpath, pair.dpath, pair.entry}))
        trouble(DriveCheck::tr("差异清单无法保存，请检查磁盘空间"));
}

void DriveCheckWork::trouble(const QString &why)
{
    qWarning().noquote() << "DriveCheckWork::trouble" << why;
    if (m_trouble.isEmpty())
        m_trouble = why;
}

// Both sides have the name; a folder waits for its turn.
void DriveCheckWork::compare(const DriveCheck::Pair &pair)
{
    const QFileInfo info(pair.lpath);
    if (pair.entry.isFolder() != info.isDir())
        return note(What::Kind, pair);
    if (info.isDir()) {
        if (info.isReadable())
            m_folders.append(pair);
        else
            note(What::Unreadable, pair);
        return;
    }
    const bool known = !pair.entry.hash.isEmpty();
    if (const std::shared_ptr<DriveCheck> check = m_check.lock())
        check->compared(!known);
    if (info.size() != pair.entry.size)
        note(What::Size, pair);
    else if (known)
        hash(pair);
}

void DriveCheckWork::hash(const DriveCheck::Pair &pair)
{
    for (int tries = 0; tries < 2; ++tries) {
        const QDateTime before = QFileInfo(pair.lpath).lastModified();
        const QString hash = TransSet::fileHash(pair.lpath, *m_stop);
        if (*m_stop || hash == pair.entry.hash)
            return;
        const QFileInfo after(pair.lpath);
        if (!after.exists())
            return note(What::OnlyThere, pair);
        if (after.lastModified() == before || tries > 0) // else it was written meanwhile, and is read once more
            return note(hash.isEmpty()                    ? What::Unreadable
                        : after.size() != pair.entry.size ? What::Size
                                                          : What::Hash,
                        pair);
    }
}

void DriveCheckWork::next()
{
    if (!Session::live() || Session::closing())
        trouble(DriveCheck::tr("客户端未登录"));
    if (*m_stop || !Session::live() || (m_folders.isEmpty() && m_inHand == 0))
        return end();
    while (m_inHand < AsksInHand && !m_folders.isEmpty()) {
        ++m_inHand;
        ask(m_folders.takeLast(), 1);
    }
}

void DriveCheckWork::end()
{
    if (std::exchange(m_over, true))
        return;
    if (const std::shared_ptr<DriveCheck> check = m_check.lock())
        check->end(!*m_stop && m_trouble.isEmpty(), m_trouble);
    emit over();
}

void DriveCheckWork::ask(const DriveCheck::Pair &at, int tries)
{
    DriveRest::children(m_place.farmId, m_place.fileType, at.entry.id)
        .answered([this, at](const DriveRest::Reply &reply) {
            if (reply.unusable > 0)
                trouble(DriveCheck::tr("%1 中有 %2 项无法使用，已跳过").arg(at.dpath).arg(reply.unusable));
            folder(at, reply.entries);
            --m_inHand;
            next();
        })
        .failed([this, at, tries](const QString &why) {
            if (tries < MostTries && !*m_stop) {
                QTimer::singleShot(RestMs, this, [this, at, tries] { ask(at, tries + 1); });
                return;
            }
            trouble(at.dpath + QStringLiteral(": ") + why);
            --m_inHand;
            next();
        })
        .send(this);
}

// The names of this folder of the machine that are others on the drive: name there -> name here. As DirWork gives them.
QHash<QString, QString> DriveCheckWork::here(const DriveCheck::Pair &at, QStringList *all) const
{
    QHash<QString, QString> renamed;
    QDirIterator entries(at.lpath, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext() && !*m_stop) {
        entries.next();
        const QString own = entries.fileName();
        all->append(own);
        QString name = driveName(own);
        if (name == own)
            continue;
        for (int number = 2; renamed.contains(name) || QFileInfo::exists(at.lpath + '/' + name); ++number)
            name = LocalNames::numbered(driveName(own), number);
        renamed.insert(name, own);
    }
    return renamed;
}

// What no transfer carries to the drive.
bool DriveCheckWork::leaves(const DriveCheck::Pair &at, const QString &name, const QSet<QString> &there) const
{
    const QFileInfo info(at.lpath + '/' + name);
    return m_exclude.leavesOut(name, info.isDir()) || (info.isDir() && info.isSymLink()) ||
           (info.exists() && !info.isDir() && !info.isFile()) || isOwnFile(name, there);
}

// Names meet as a transfer makes them: those of the drive as they come to this disk, those of this disk as they go.
void DriveCheckWork::folder(const DriveCheck::Pair &at, const QList<SubFile> &entries)
{
    QStringList all;
    const QHash<QString, QString> renamed = here(at, &all);
    LocalNames local(LocalNames::Rules::ofFolder(at.lpath));
    QSet<QString> met;
    for (const SubFile &entry : entries) {
        if (*m_stop)
            return;
        const QString own = local.take(entry.name, entry.isFolder()), name = renamed.value(entry.name, own);
        met.insert(name);
        DriveCheck::Pair pair{at.lpath + '/' + name, at.dpath + '/' + entry.name, entry, at.chain};
        pair.chain.append(at.entry.id);
        if (m_exclude.leavesOut(entry.name, entry.isFolder()) || pair.chain.contains(entry.id))
            continue; // not transferred, or a ring
        if (QFileInfo::exists(pair.lpath))
            compare(pair);
        else
            note(What::OnlyThere, pair);
    }
    for (const QString &name : qAsConst(all)) {
        if (*m_stop)
            return;
        if (!met.contains(name) && !leaves(at, name, met))
            note(What::OnlyHere,
                 {at.lpath + '/' + name, at.dpath + '/' + renamed.key(name, driveName(name)), SubFile(), {}});
    }
    if (const std::shared_ptr<DriveCheck> check = m_check.lock())
        check->listed();
}
