// Routes around the drive of a farm: what lies there, whole trees there and back.
#include "db/UploadDDAO.h"
#include "io/local/CmdHand.h"
#include "transfer/drive/DriveCheck.h"
#include "transfer/drive/DriveFolder.h"
#include "transfer/drive/DriveQueue.h"
#include "transfer/TransSet.h"
#include <memory>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace
{
DriveQueue::Place placeOf(const CmdLine &line)
{
    DriveQueue::Place place;
    place.farmId = qMax(1, line.arg("farm").toInt());
    place.fileType = line.arg("tree").toInt() == DriveRest::Result ? DriveRest::Result : DriveRest::Input;
    place.path = line.arg("path").split('/', Qt::SkipEmptyParts).join('/');
    return place;
}

QJsonObject told(const db_upfarmD &farm, int which)
{
    const bool up =
        farm.state >= TransSet::UpWait && farm.state < TransSet::DownDone && farm.state != TransSet::DownGaveUp;
    return {{"id", farm.pri},
            {"kind", up ? "put" : "get"},
            {"name", farm.name},
            {"folder", farm.lpath},
            {"path", farm.dpath},
            {"farm", farm.id},
            {"state", farm.state},
            {"status", TransSet::stateText(farm.state, 0)},
            {"over", which == UploadDDAO::Ok},
            {"files", farm.fsum},
            {"filesDone", farm.fok},
            {"bytes", farm.fsize},
            {"bytesDone", farm.fup},
            {"walked", farm.dirstate == UploadDDAO::DirWalked},
            {"failed", farm.failed},
            {"note", farm.note}};
}
} // namespace

void CmdHand::withDrive(bool make, std::function<void(const SubFile &)> next)
{
    const DriveQueue::Place place = placeOf(m_line);
    DriveFolder::reach(place.farmId, place.fileType, QLatin1String(SubFile::Root),
                       place.path.split('/', Qt::SkipEmptyParts), make, m_waitMs, this, next,
                       [this](const QString &why) { fail(why); });
}

// Who hears "good" may forget what he asked for: only then is the batch in the store, also for a kill.
void CmdHand::answerWhenWritten(int which, std::function<qlonglong()> begin)
{
    const auto mine = std::make_shared<qlonglong>(0);
    connect(UploadDDAO::instance(which), &UploadDDAO::farmAdded, this, [this, mine](qlonglong farmPri, bool written) {
        if (farmPri == *mine)
            written ? good(QString(), QJsonObject{{"id", farmPri}}) : fail(tr("传输无法保存"));
    });
    *mine = begin();
    if (*mine == 0)
        return fail(tr("客户端未登录"));
    QTimer::singleShot(m_waitMs, this, [this] { fail(tr("传输无法保存")); });
}

void CmdHand::driveList()
{
    withDrive(false, [this](const SubFile &folder) {
        const DriveQueue::Place place = placeOf(m_line);
        DriveRest::children(place.farmId, place.fileType, folder.id)
            .within(m_waitMs)
            .answered([this](const DriveRest::Reply &reply) {
                QJsonArray list;
                for (const SubFile &entry : reply.entries) {
                    const QDateTime changed = QDateTime::fromMSecsSinceEpoch(entry.updatedAt);
                    list.append(QJsonObject{{"id", entry.id},
                                            {"name", entry.name},
                                            {"folder", entry.isFolder()},
                                            {"bytes", entry.size},
                                            {"changed", changed.toString("yyyy-MM-dd HH:mm:ss")},
                                            {"hash", entry.hash}});
                }
                good(QString(), list);
            })
            .failed([this](const QString &why) { fail(why); })
            .send(this);
    });
}

void CmdHand::drivePut()
{
    QStringList from;
    if (const QString one = m_line.arg("from"); !one.isEmpty())
        from << one;
    for (const QJsonValue &value : sent().array())
        from << value.toString();
    for (const QString &path : qAsConst(from)) {
        if (!QDir::isAbsolutePath(path) || !QFileInfo::exists(path))
            return fail(tr("文件不存在：%1").arg(path));
    }
    DriveQueue::Place place = placeOf(m_line);
    if (from.isEmpty() || place.path.isEmpty())
        return fail(tr("缺少参数"));
    withDrive(true, [this, place, from](const SubFile &folder) mutable {
        place.id = folder.id;
        answerWhenWritten(UploadDDAO::Up,
                          [=] { return DriveQueue::put(place, from, m_line.arg("links").toInt() == 1); });
    });
}

void CmdHand::driveGet()
{
    static const QStringList modes{"ask", "same", "overwrite", "both"};
    const QString to = m_line.arg("to");
    const int mode = qMax(0, modes.indexOf(m_line.arg("existing")));
    DriveQueue::Place place = placeOf(m_line);
    if (place.path.isEmpty() || !QDir::isAbsolutePath(to))
        return fail(tr("缺少参数"));
    withDrive(false, [this, place, to, mode](const SubFile &entry) mutable {
        place.path = place.path.section('/', 0, -2);
        place.id = entry.parent;
        answerWhenWritten(UploadDDAO::Down, [=] { return DriveQueue::fetch(place, {entry}, to, mode); });
    });
}

void CmdHand::driveStatus()
{
    const qlonglong id = m_line.arg("id").toLongLong();
    const QString act = m_line.arg("act");
    QJsonArray list;
    for (int which : {UploadDDAO::Up, UploadDDAO::Down, UploadDDAO::Ok}) {
        for (const db_upfarmD &row : UploadDDAO::instance(which)->farms()) {
            if (id != 0 && row.pri != id)
                continue;
            if (id != 0 && act == QLatin1String("pause"))
                DriveQueue::pause(which, id);
            else if (id != 0 && act == QLatin1String("continue"))
                DriveQueue::resume(which, id);
            else if (id != 0 && act == QLatin1String("delete"))
                DriveQueue::remove(which, id);
            list.append(told(which == UploadDDAO::Ok ? row : UploadDDAO::instance(which)->farm(row.pri), which));
        }
    }
    if (id != 0 && list.isEmpty())
        return fail(tr("没有相关传输"));
    good(QString(), list);
}

void CmdHand::driveCheck()
{
    const QString with = QDir::cleanPath(m_line.arg("with")), mend = m_line.arg("mend");
    const DriveQueue::Place place = placeOf(m_line);
    if (place.path.isEmpty() || !QDir::isAbsolutePath(with))
        return fail(tr("缺少参数"));
    if (!QFileInfo::exists(with))
        return fail(tr("文件不存在：%1").arg(with));
    withDrive(false, [this, place, with, mend](const SubFile &entry) {
        auto *check = new DriveCheck(place, this);
        connect(check, &DriveCheck::finished, this, [this, check, mend](bool whole, const QString &why) {
            QJsonArray list;
            for (const DriveCheck::Difference &one : check->differences())
                list.append(
                    QJsonObject{{"file", one.lpath}, {"path", one.dpath}, {"what", DriveCheck::text(one.what)}});
            QJsonObject data{{"files", check->files()}, {"different", check->different()}, {"list", list}};
            if (mend == QLatin1String("put") || mend == QLatin1String("get"))
                data["mending"] = check->mend(mend == QLatin1String("put"));
            whole ? good(QString(), data) : fail(why, data);
        });
        check->start({{with, place.path, entry}});
    });
}
