// Routes around the drive of a farm: what lies there, whole trees there and back.
#include "db/UploadDDAO.h"
#include "io/local/CmdHand.h"
#include "transfer/drive/DriveCheck.h"
#include "transfer/drive/DriveFolder.h"
#include "transfer/drive/DriveQueue.h"
#include "transfer/TransSet.h"
#include <memory>
#include <QDateTime>
#include <QDeadlineTimer>
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

constexpr int CheckPage = 1000, CheckSeconds = 10, MostCheckSeconds = 25, CheckLookMs = 20;

QJsonObject told(const DriveCheck::Status &status, qlonglong id, const QList<DriveCheck::Difference> &some)
{
    QJsonArray list, batches;
    for (const DriveCheck::Difference &one : some)
        list.append(QJsonObject{{"file", one.lpath}, {"path", one.dpath}, {"what", DriveCheck::word(one.what)}});
    for (qlonglong batch : status.batches)
        batches.append(batch);
    static const char *const mends[] = {"", "runs", "done", "failed"};
    return {{"id", id},
            {"over", status.over},
            {"whole", status.whole},
            {"files", status.files},
            {"folders", status.folders},
            {"different", status.different},
            {"sizeOnly", status.sizeOnly},
            {"toSend", status.toSend},
            {"toFetch", status.toFetch},
            {"list", list},
            {"mend", mends[int(status.mend)]},
            {"batches", batches}};
}
} // namespace

void CmdHand::withDrive(bool make, std::function<void(const SubFile &)> next)
{
    const DriveQueue::Place place = placeOf(m_line);
    DriveFolder::reach(place.farmId, place.fileType, {SubFile::Root, {}}, place.path.split('/', Qt::SkipEmptyParts),
                       make, m_waitMs, this, next, [this](const QString &why) { fail(why); });
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
                    const QDateTime changed =
                        QDateTime::fromMSecsSinceEpoch(entry.updatedAt ? entry.updatedAt : entry.createdAt);
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
    const QString mend = m_line.arg("mend");
    if (!mend.isEmpty() && mend != QLatin1String("put") && mend != QLatin1String("get"))
        return fail(tr("缺少参数"));
    if (const qlonglong id = m_line.arg("id").toLongLong()) {
        const std::shared_ptr<DriveCheck> check = DriveCheck::remembered(id);
        if (!check)
            return fail(tr("没有相关校验"));
        if (m_line.arg("stop").toInt() == 1)
            check->stop();
        return followCheck(check, id);
    }
    const QString with = QDir::cleanPath(m_line.arg("with"));
    const DriveQueue::Place place = placeOf(m_line);
    if (place.path.isEmpty() || !QDir::isAbsolutePath(with))
        return fail(tr("缺少参数"));
    if (!QFileInfo::exists(with))
        return fail(tr("文件不存在：%1").arg(with));
    withDrive(false, [this, place, with](const SubFile &entry) {
        const std::shared_ptr<DriveCheck> check = DriveCheck::start(place, {{with, place.path, entry}});
        const qlonglong id = DriveCheck::remember(check);
        id == 0 ? fail(tr("正在进行的校验过多，请稍后再试")) : followCheck(check, id);
    });
}

// Answers when it's over, or when the caller doesn't want to wait any longer; it goes on then.
void CmdHand::followCheck(const std::shared_ptr<DriveCheck> &check, qlonglong id)
{
    const QString mend = m_line.arg("mend");
    if (!mend.isEmpty())
        check->mend(mend == QLatin1String("put"));
    m_only = true;
    const int seconds = m_line.has("seconds") ? m_line.arg("seconds").toInt() : CheckSeconds;
    const QDeadlineTimer deadline(1000LL * qBound(0, seconds, MostCheckSeconds));
    auto *look = new QTimer(this);
    connect(look, &QTimer::timeout, this, [this, check, id, deadline] {
        const DriveCheck::Status status = check->status();
        if ((!status.over || status.mend == DriveCheck::Mend::Runs) && !deadline.hasExpired())
            return;
        const QList<DriveCheck::Difference> some = check->differences(m_line.arg("from").toInt(), CheckPage);
        const QJsonObject data = told(status, id, some);
        if (status.over && !status.whole)
            return fail(status.why.isEmpty() ? tr("校验没有完成") : status.why, data);
        status.mend == DriveCheck::Mend::Failed ? fail(tr("传输无法保存"), data) : good(QString(), data);
    });
    look->start(CheckLookMs);
}
