#include "transfer/down/ProjectOutput.h"
#include "common/facts/Command.h"
#include "common/VFunc.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include <QDebug>
#include <QEventLoop>
#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QMutex>

namespace
{
QMutex cacheMutex;
QHash<QString, QString> cache;

QJsonObject askServer(int cmd, const QJsonObject &body)
{
    if (!NetTcp::isLogin())
        return {};
    QEventLoop loop;
    QJsonObject reply;
    Ask(cmd, body)
        .within(ProjectOutput::WaitMs)
        .any([&](int, const QJsonDocument &doc) {
            reply = doc.object();
            loop.quit();
        })
        .lost([&](Ask::Loss) {
            qWarning().noquote() << "ProjectOutput::askServer" << cmd << "no answer within" << ProjectOutput::WaitMs
                                 << "ms";
            loop.quit();
        })
        .send(&loop);
    loop.exec();
    return reply;
}

QJsonObject objectOf(const QJsonValue &value)
{
    return value.isString() ? QJsonDocument::fromJson(value.toString().toUtf8()).object() : value.toObject();
}
} // namespace

void ProjectOutput::install() { VFunc::setProjectOutput(&ProjectOutput::ask); }

void ProjectOutput::uninstall()
{
    VFunc::setProjectOutput({});
    QMutexLocker lock(&cacheMutex);
    cache.clear();
}

QString ProjectOutput::ask(int projectId, const QString &projectName, int softwareType)
{
    if (projectId <= 0 && !projectName.isEmpty())
        projectId = projectIn(askServer(Command::Projects, {}), projectName);
    if (projectId <= 0)
        return {};
    const QString key = QStringLiteral("%1_%2").arg(projectId).arg(softwareType);
    {
        QMutexLocker lock(&cacheMutex);
        if (const QString known = cache.value(key); !known.isEmpty())
            return known;
    }
    const QString path =
        pathIn(askServer(Command::Environments, {{"projectId", projectId}, {"software_type", softwareType}}));
    if (!path.isEmpty() && QFileInfo(path).isDir()) { // a missing one is asked for again once the user has set it
        QMutexLocker lock(&cacheMutex);
        cache.insert(key, path);
    }
    return path;
}

QString ProjectOutput::pathIn(const QJsonObject &reply)
{
    const QJsonObject inner = objectOf(reply.value("projectSoftwareConfig"));
    for (const QJsonObject &config :
         {objectOf(reply.value("extraConfig")), objectOf(inner.value("extraConfig")), inner, reply}) {
        const QString path = config.value("outputPath").toString();
        if (!path.isEmpty())
            return path;
    }
    return {};
}

int ProjectOutput::projectIn(const QJsonObject &reply, const QString &name)
{
    for (const QJsonValue &value : reply.value("projects").toArray()) {
        const QJsonObject project = value.toObject();
        if (project.value("name").toString() == name)
            return project.value("id").toVariant().toInt();
    }
    return 0;
}
