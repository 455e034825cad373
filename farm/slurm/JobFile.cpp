#include "slurm/JobFile.h"
#include <cstdio>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSysInfo>

namespace farm
{

static QString endFile(const QString &frames, int place)
{
    const QFileInfo info(frames);
    return QStringLiteral("%1/%2-%3.end").arg(info.path(), info.completeBaseName()).arg(place);
}

QJsonObject workObject(const RenderWork &work)
{
    const FramePicture &picture = work.picture;
    return {{"seed", picture.seed},
            {"scene", picture.scene},
            {"camera", picture.camera},
            {"num", picture.num},
            {"frame", picture.frame},
            {"index", picture.index},
            {"count", picture.count},
            {"width", picture.width},
            {"height", picture.height},
            {"block", picture.block},
            {"blocks", picture.blocks},
            {"file", work.sceneFile},
            {"command", work.command},
            {"target", work.target},
            {"log", work.log},
            {"seconds", work.seconds},
            {"logBytes", work.logBytes},
            {"fail", work.fail},
            {"head", QJsonArray::fromStringList(work.head)}};
}

std::unique_ptr<RenderWork> workOf(const QJsonObject &object)
{
    auto work = std::make_unique<RenderWork>();
    FramePicture &picture = work->picture;
    picture.seed = object.value("seed").toString();
    picture.scene = object.value("scene").toString();
    picture.camera = object.value("camera").toString();
    picture.num = object.value("num").toString();
    picture.frame = object.value("frame").toInt();
    picture.index = object.value("index").toInt();
    picture.count = object.value("count").toInt(1);
    picture.width = qBound(1, object.value("width").toInt(), 32768);
    picture.height = qBound(1, object.value("height").toInt(), 32768);
    picture.block = object.value("block").toInt(-1);
    picture.blocks = object.value("blocks").toInt(1);
    work->sceneFile = object.value("file").toString();
    work->command = object.value("command").toString();
    work->target = object.value("target").toString();
    work->log = object.value("log").toString();
    work->seconds = object.value("seconds").toDouble();
    work->logBytes = object.value("logBytes").toVariant().toLongLong();
    work->fail = object.value("fail").toBool();
    for (const QJsonValue &line : object.value("head").toArray())
        work->head += line.toString();
    if (!work->command.isEmpty())
        work->how = RenderWork::Command;
    return work;
}

bool writeJobFile(const QString &name, const QList<std::shared_ptr<RenderWork>> &works)
{
    QDir().mkpath(QFileInfo(name).path());
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    for (const auto &work : works)
        file.write(QJsonDocument(workObject(*work)).toJson(QJsonDocument::Compact) + '\n');
    return file.commit();
}

int renderFromJobFile(const QString &name, int place)
{
    QFile file(name);
    QByteArray line;
    if (place >= 0 && file.open(QIODevice::ReadOnly)) {
        for (int i = 0; i <= place; ++i)
            line = file.readLine();
    }
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    if (object.value("target").toString().isEmpty()) {
        std::fprintf(stderr, "%s has no frame %d\n", qPrintable(name), place);
        return 2;
    }
    const std::unique_ptr<RenderWork> work = workOf(object);
    const QString node = QSysInfo::machineHostName();
    work->head.prepend(QStringLiteral("Info: node %1").arg(node));
    QFile::remove(endFile(name, place)); // of a node that was lost with the frame
    const qint64 startMs = QDateTime::currentMSecsSinceEpoch();
    work->run();
    if (!work->good)
        std::fprintf(stderr, "%s\n", qPrintable(work->error));
    QSaveFile told(endFile(name, place));
    const QJsonObject end{
        {"good", work->good}, {"node", node}, {"start", startMs}, {"end", QDateTime::currentMSecsSinceEpoch()}};
    if (!told.open(QIODevice::WriteOnly) || told.write(QJsonDocument(end).toJson()) < 0 || !told.commit())
        std::fprintf(stderr, "%s can't be written\n", qPrintable(told.fileName()));
    return work->good ? 0 : 1;
}

bool readEndFile(const QString &name, int place, EndLine *end)
{
    QFile file(endFile(name, place));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QJsonObject told = QJsonDocument::fromJson(file.read(4096)).object();
    end->place = place;
    end->exitCode = told.value("good").toBool() ? 0 : 1;
    end->state = end->exitCode == 0 ? QStringLiteral("COMPLETED") : QStringLiteral("FAILED");
    end->node = told.value("node").toString();
    end->startMs = told.value("start").toVariant().toLongLong();
    end->endMs = told.value("end").toVariant().toLongLong();
    return told.value("good").isBool();
}

void removeEndFiles(const QString &name)
{
    const QFileInfo info(name);
    for (const QString &one : info.dir().entryList({info.completeBaseName() + QStringLiteral("-*.end")}, QDir::Files))
        info.dir().remove(one);
}

} // namespace farm
