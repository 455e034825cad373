#include "tasks/Filled.h"
#include "Account.h"
#include "ContentStore.h"
#include "Core.h"
#include "tasks/FramePainter.h"
#include "tasks/Renderer.h"
#include "tasks/Tasks.h"
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace farm
{

namespace
{
constexpr int wide = 320, high = 180;

struct Invented {
    const char *name;
    int software;
    const char *project, *frames;
    int done, failed; // of its frames, the failed ones behind the done ones
    int stage, status, result, subtype;
    const char *keyFrames;
    int blocks, minutesAgo, frameSeconds;
    const char *remark;
    bool history, second; // second: of the sub-account
};

const Invented rows[] = {
    {"shot_010_layout.ma", 1, "海岸短片", "101-124", 9, 0, Render, Queued, 0, 0, "", 0, 46, 141, "导演要先看第 110 帧",
     false, false},
    {"villa_night_v07.max", 3, "别墅夜景", "0-20", 0, 0, Render, Queued, 0, 0, "", 0, 31, 210, "", false, false},
    {"ocean_fx_v12.hip", 4, "海岸短片", "1-48", 17, 2, Render, Paused, 0, 0, "", 0, 190, 322, "", false, false},
    {"coast_dawn.tgd", 8, "海岸短片", "1-30", 3, 0, Render, Paused, 0, WaitConfirm, "1,15,30", 4, 75, 95, "", false,
     false},
    {"shot_020_anim.mb", 1, "海岸短片", "201-260", 0, 0, Render, Queued, 0, 0, "", 0, 12, 150, "", false, false},
    {"logo_reveal.c4d", 5, "片头", "0-24", 25, 0, Render, Ended, 0, 0, "", 0, 420, 64, "已交付", false, false},
    {"city_flyover.project", 7, "城市", "1-12", 8, 4, Render, Ended, 0, 0, "", 0, 610, 480, "第 9 帧起缺贴图", false,
     false},
    {"kitchen_a.skp", 6, "样板间", "1", 1, 0, Render, Ended, 0, 0, "", 0, 700, 38, "", false, false},
    {"lobby_day_v03.max", 3, "别墅夜景", "0-4", 5, 0, Download, Ended, 0, 0, "", 0, 1500, 260, "", false, false},
    {"shot_030_fx.hip", 4, "海岸短片", "1-10", 0, 0, Prepare, Ended, Failed, 0, "", 0, 1600, 0, "", false, false},
    {"desert_test.tgd", 8, "默认项目", "1-6", 2, 0, Render, Ended, Cancelled, 0, "", 0, 1700, 80, "", false, false},
    {"shot_005_comp.mb", 1, "海岸短片", "1-8", 8, 0, Download, Ended, 0, 0, "", 0, 2900, 133, "一版", true, false},
    {"turntable.c4d", 5, "片头", "1-6", 6, 0, Render, Ended, 0, 0, "", 0, 4300, 55, "", true, false},
    {"hall_old.max", 3, "别墅夜景", "1-3", 0, 0, Upload, Ended, Failed, 0, "", 0, 5800, 0, "", true, false},
    {"river_v01.tgd", 8, "默认项目", "1", 0, 0, Analysis, Ended, Cancelled, 0, "", 0, 7200, 0, "", true, false},
    {"assistant_pass.mb", 1, "海岸短片", "1-6", 6, 0, Render, Ended, 0, 0, "", 0, 330, 90, "", false, true},
};

QJsonValue parameters(const Invented &row)
{
    const QString frames = QString::fromUtf8(row.frames);
    const QJsonObject size{{"width", wide}, {"height", high}, {"frames", frames}, {"selected", 1}};
    QJsonObject one = size;
    switch (row.software) {
    case 1:
        one.insert("layer", "masterLayer");
        one.insert("cameras_array", QJsonArray{"shotCam"});
        return QJsonArray{one};
    case 3:
        one.insert("cameras", QJsonArray{"Camera001"});
        one.insert("outputFile", "beauty.png");
        one.insert("vrMode", 4); // "Incremental add to current map": with a light cache of its own
        one.insert("giStep", 5);
        one.insert("giWidth", wide / 2);
        one.insert("giHeight", high / 2);
        one.insert("elements", QJsonArray{"VRayGlobalIllumination", "VRayZDepth"});
        return one;
    case 4:
        one.insert("rop", "/out/mantra1");
        return QJsonArray{one};
    case 7:
        one.insert("name", "beauty");
        return QJsonObject{
            {"images",
             QJsonArray{QJsonObject{
                 {"name", "image"}, {"selected", 1}, {"width", wide}, {"height", high}, {"layers", QJsonArray{one}}}}}};
    case 8:
        one.insert("name", "Render Camera 01");
        return QJsonObject{{"cameras", QJsonArray{one}}};
    default:
        one.insert("cameras", QJsonArray{"Camera"});
        return one;
    }
}

// A frame that was rendered: its picture, its log, and when.
void rendered(Core &core, Task &task, int index, bool good, qint64 startMs, int seconds)
{
    const TaskFrame one = task.frames.at(index);
    FramePicture picture{task.name,     task.name,     one.job.camera, task.num,      one.job.frame,
                         one.job.place, one.job.count, one.job.width,  one.job.height};
    if (one.kind == BlockOfFrame) {
        picture.block = one.block;
        picture.blocks = task.frames.at(one.parent).blocks;
    }
    const QString target = core.tasks->resultFile(task.id, one.job.path),
                  log = core.options.dir + '/' + core.tasks->logPath(task, index);
    QDir().mkpath(QFileInfo(target).path());
    QDir().mkpath(QFileInfo(log).path());
    QString error = QStringLiteral("Out of memory while loading texture");
    good = good && paintFrame(picture, target, &error);
    QFile file(log);
    if (file.open(QIODevice::WriteOnly)) {
        const auto line = [&](int second, const QString &text) {
            file.write(QStringLiteral("[%1.000] %2\n").arg(timeText(startMs + second * 1000LL), text).toUtf8());
        };
        line(0, QStringLiteral("Info: order %1, %2, frame %3 of %4")
                    .arg(task.num, task.name)
                    .arg(one.job.frame)
                    .arg(one.job.camera));
        line(0, QStringLiteral("Info: rendering %1x%2").arg(one.job.width).arg(one.job.height));
        for (int part = 1; part < 8; ++part)
            line(seconds * part / 8, QStringLiteral("Info: %1% done").arg(part * 100 / 8));
        if (index % 5 == 1)
            line(seconds / 2, QStringLiteral("WARNING: texture sand_02_bump.tif has no mip maps"));
        line(seconds, good ? QStringLiteral("Info: saved %1").arg(QFileInfo(target).fileName())
                           : QStringLiteral("ERROR: ") + error);
    }
    core.tasks->frameStarted(task, index, QStringLiteral("node-%1").arg(index % 6 + 1, 2, 10, QLatin1Char('0')));
    core.tasks->frameEnded(task, index, good ? FrameDone : FrameFailed, QFileInfo(target).size(),
                           good ? fileMd5(target) : QString());
    core.tasks->frameWas(task, index, startMs, startMs + seconds * 1000LL, 900 + index % 7 * 130);
}

void renderedAll(Core &core, Task &task, const Invented &row, int done, int failed)
{
    qint64 at = task.submitMs;
    for (int i = 0; i < task.frames.size() && i < task.planned; ++i) {
        if (i >= done + failed)
            break;
        const int seconds = row.frameSeconds * (80 + i * 37 % 41) / 100; // no two frames take the same time
        for (int block = task.frames.at(i).firstBlock;
             block >= 0 && block < task.frames.at(i).firstBlock + task.frames.at(i).blocks; ++block)
            rendered(core, task, block, true, at, seconds / 4);
        rendered(core, task, i, i < done, at, seconds);
        at += i % 2 ? seconds * 1000LL : 0; // two at a time
    }
}

void invent(Core &core, const Invented &row, int number)
{
    const QString name = QString::fromUtf8(row.name), project = QString::fromUtf8(row.project);
    int projectId = 1;
    if (core.account->addProject(project, &projectId) != 0) {
        for (const QJsonValue &one : core.account->projects()) {
            if (one.toObject().value("name").toString() == project)
                projectId = one.toObject().value("id").toInt();
        }
    }
    const qint64 base = QDateTime::currentMSecsSinceEpoch() - row.minutesAgo * 60000LL;
    Task &task = core.tasks->apply({{"name", name},
                                    {"clientFlag", 900000 + number},
                                    {"projectId", projectId},
                                    {"softwareType", row.software},
                                    {"machineModel", row.software % 2 ? "local-cpu" : "local-gpu"}},
                                   row.second ? SecondUserId : UserId);
    task.appliedMs = base - 180000;
    task.remark = QString::fromUtf8(row.remark);
    if (row.stage > Analysis) {
        core.tasks->order(task, {{"ordernum", task.num},
                                 {"scene", QStringLiteral("D:/projects/%1/scenes/%2").arg(project, name)},
                                 {"softwareType", row.software},
                                 {"clientResultRootPath", QStringLiteral("D:/projects/%1/images").arg(project)},
                                 {"keyFrames", row.keyFrames},
                                 {"blocksCount", row.blocks},
                                 {"modelParameters", parameters(row)}});
        task.confirmMs = base - 120000;
    }
    if (row.stage > Upload) {
        core.tasks->uploadComplete(task);
        task.submitMs = base;
        if (Task *cache = task.cache ? core.tasks->byId(task.cache) : nullptr) {
            cache->submitMs = base;
            cache->confirmMs = task.confirmMs;
            if (row.done > 0) {
                renderedAll(core, *cache, row, cache->planned, 0);
                core.tasks->setState(*cache, Render, Ended);
            }
        }
        renderedAll(core, task, row, row.done, row.failed);
        task.cost = 0.35 * (row.done + row.failed);
    }
    QList<qint64> ids; // they count as told, or a client would fetch them all at its login
    for (const FarmResult &one : core.tasks->results(task.id))
        ids += one.id;
    core.tasks->markConfirmed(ids);
    for (qint64 id : qAsConst(ids))
        if (row.stage == Download)
            core.tasks->markDownloaded(id);
    if (row.result == Cancelled && row.stage == Render)
        core.tasks->cancel(task);
    core.tasks->setState(task, row.stage, row.status, row.result, row.subtype);
    if (row.status == Ended)
        task.finishMs = base + qint64(row.done + row.failed + 1) / 2 * row.frameSeconds * 1000;
    task.history = row.history;
    core.tasks->save(task);
}
} // namespace

void fillTasks(Core &core)
{
    {
        Db::Batch batch(core.db);
        for (int i = 0; i < int(std::size(rows)); ++i)
            invent(core, rows[i], i);
    }
    core.renderer->wake();
}

} // namespace farm
