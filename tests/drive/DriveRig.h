#pragma once
// The living farm in this process, the client logged in at it, and the drive's queues and walks over stores in a folder of
// their own.
#include "support/DriveQueues.h"
#include "support/FarmRig.h"
#include "transfer/drive/DriveQueue.h"
#include "transfer/drive/DriveRest.h"
#include "transfer/TransSet.h"
#include <QDir>
#include <QDirIterator>

using Tree = QMap<QString, QByteArray>; // path below a folder -> bytes; folders end with a slash

class DriveRig : public FarmRig
{
public:
    DriveRig()
    {
        UserInfo::init();
        good = login();
        UserInfo::initUser(account);
        good = good && startQueues();
        place.farmId = 1;
        place.path = "T";
        if (good)
            place.id = make("-1", "T");
    }
    ~DriveRig()
    {
        stopQueues();
        NetWork::instance()->forgetDrives();
    }

    bool startQueues() { return queues.start(folder.path()); }
    void stopQueues() { queues.stop(); }

    // On the drive.
    QString make(const QString &parent, const QString &name)
    {
        DriveRest::Reply reply;
        return ask(DriveRest::create(1, 1, name, parent == SubFile::Root ? QString() : "T", parent), &reply) ? reply.entry.id : QString();
    }
    bool ask(DriveRest question, DriveRest::Reply *reply)
    {
        QObject guard;
        int end = 0;
        question.answered([&](const DriveRest::Reply &rep) { *reply = rep, end = 1; }).failed([&](const QString &) { end = 2; });
        question.send(&guard);
        return comes([&] { return end != 0; }) && end == 1;
    }
    QList<SubFile> children(const QString &id)
    {
        DriveRest::Reply reply;
        ask(DriveRest::children(1, 1, id), &reply);
        return reply.entries;
    }
    QStringList onDrive() const { return farm.driveFiles().keys(); }

    // On this machine.
    QString local(const QString &name) const { return folder.path() + '/' + name; }
    void write(const QString &base, const Tree &tree)
    {
        for (auto it = tree.begin(); it != tree.end(); ++it) {
            const QString path = local(base) + '/' + it.key();
            QDir().mkpath(it.key().endsWith('/') ? path : QFileInfo(path).path());
            QFile file(path);
            if (!it.key().endsWith('/') && file.open(QIODevice::WriteOnly))
                file.write(it.value());
        }
    }
    Tree read(const QString &base) const
    {
        Tree tree;
        QDirIterator it(local(base), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            it.next();
            const QString path = it.filePath().mid(local(base).size() + 1);
            QFile file(it.filePath());
            if (it.fileInfo().isDir())
                tree.insert(path + '/', {});
            else if (file.open(QIODevice::ReadOnly))
                tree.insert(path, file.readAll());
        }
        return tree;
    }
    static QByteArray bytes(int size, quint32 seed = 1)
    {
        QByteArray out(size, '\0');
        for (int i = 0; i < size; ++i)
            out[i] = char((quint32(i) * 2654435761u + seed * 40503u) >> 13);
        return out;
    }

    // Batches.
    static QList<db_upfarmD> over() { return UploadDDAO::instance(UploadDDAO::Ok)->farms(); }
    static bool waitOver(int batches, int ms = 40000)
    {
        // A batch comes into the history first and then goes from where it was.
        const auto gone = [] {
            for (const db_upfarmD &farm : over())
                if (UploadDDAO::instance(UploadDDAO::Up)->farm(farm.pri).pri != 0 ||
                    UploadDDAO::instance(UploadDDAO::Down)->farm(farm.pri).pri != 0)
                    return false;
            return true;
        };
        return QTest::qWaitFor([&] { return over().size() == batches && gone(); }, ms);
    }
    void put(const QStringList &names, bool links = false)
    {
        QStringList paths;
        for (const QString &name : names)
            paths << local(name);
        DriveQueue::put(place, paths, links);
    }
    // Everything of the disk into a folder.
    void fetch(const QString &target, int conflict = db_upfarmD::NotAsked)
    {
        DriveQueue::fetch(place, children(place.id), local(target), conflict);
    }
    // Empty where every sum is that of the rows.
    static QString sumsDiffer()
    {
        for (const db_upfarmD &farm : over()) {
            const qlonglong rows = UploadDDAO::instance(UploadDDAO::Ok)->countFiles(farm.pri);
            if (farm.fok != farm.fsum || farm.fup != farm.fsize || rows != farm.fok)
                return QString("batch %1: %2 of %3 files, %4 of %5 bytes, %6 rows")
                    .arg(farm.name)
                    .arg(farm.fok)
                    .arg(farm.fsum)
                    .arg(farm.fup)
                    .arg(farm.fsize)
                    .arg(rows);
        }
        return {};
    }

    DriveQueue::Place place;
    bool good = false;
    DriveQueues queues;
};
