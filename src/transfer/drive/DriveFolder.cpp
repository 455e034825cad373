#include "transfer/drive/DriveFolder.h"
#include <memory>
#include <QCoreApplication>

namespace
{
struct Way {
    int farm, type, limitMs, done = 0;
    QStringList names;
    QString disk;
    bool make;
    QObject *guard;
    DriveFolder::Found found;
    DriveFolder::Failed failed;
    DriveFolder::Step step;
};
using WayPtr = std::shared_ptr<Way>;

void goOn(const WayPtr &way, const SubFile &at);

// False: the listing doesn't have the next name.
bool takeFrom(const WayPtr &way, const QList<SubFile> &entries)
{
    const bool last = way->done + 1 == way->names.size();
    for (const SubFile &entry : entries) {
        if (entry.name == way->names.at(way->done) && (entry.isFolder() || (last && !way->make))) {
            goOn(way, entry);
            return true;
        }
    }
    return false;
}

void look(const WayPtr &way, const QString &folder, bool mayMake)
{
    DriveRest::children(way->farm, way->type, folder)
        .within(way->limitMs)
        .answered([way, folder, mayMake](const DriveRest::Reply &reply) {
            if (takeFrom(way, reply.entries))
                return;
            const QString name = way->names.at(way->done);
            if (!mayMake)
                return way->failed(QCoreApplication::translate("DriveFolder", "云盘上没有：%1").arg(name));
            DriveRest::create(way->farm, way->type, name, way->disk, folder)
                .within(way->limitMs)
                .answered([way, folder](const DriveRest::Reply &made) {
                    if (made.entry.id.isEmpty())
                        return look(way, folder, false); // what was made isn't told
                    goOn(way, made.entry);
                })
                .failed(way->failed)
                .send(way->guard);
        })
        .failed(way->failed)
        .send(way->guard);
}

void goOn(const WayPtr &way, const SubFile &at)
{
    ++way->done;
    if (way->disk.isEmpty())
        way->disk = at.diskName.isEmpty() ? at.name : at.diskName;
    if (way->step && at.isFolder())
        way->step(way->done, at.id);
    if (way->done == way->names.size())
        return way->found(at);
    look(way, at.id, way->make);
}
} // namespace

void DriveFolder::reach(int farmId, int fileType, const From &from, const QStringList &names, bool make, int limitMs,
                        QObject *guard, const Found &found, const Failed &failed, const Step &step)
{
    const auto way = std::make_shared<Way>();
    *way = {farmId, fileType, limitMs, 0, names, from.disk, make, guard, found, failed, step};
    if (!names.isEmpty())
        return look(way, from.id, make && from.id != QLatin1String(SubFile::Root)); // disks are made by people
    SubFile self;
    self.id = from.id;
    self.type = SubFile::Folder;
    found(self);
}
