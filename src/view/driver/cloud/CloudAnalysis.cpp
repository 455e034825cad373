#include "view/driver/cloud/CloudAnalysis.h"
#include "common/facts/SoftwareType.h"
#include "common/UserInfo.h"
#include "db/CloudCalls.h"
#include "resolve/cloud/CloudScenes.h"
#include <QCoreApplication>

namespace
{
QString words(const char *text) { return QCoreApplication::translate("CloudAnalysis", text); }
} // namespace

CloudAnalysis::Told CloudAnalysis::analyse(int farmId, const QList<Scene> &scenes)
{
    Told told;
    if (!UserInfo::canAnalyse()) {
        told.text = words(QT_TRANSLATE_NOOP("CloudAnalysis", "您还没有解析文件的权限，请联系您的母账号开通！"));
        return told;
    }
    QList<db_resolve> list;
    QStringList unknown;
    for (const Scene &scene : scenes) {
        const db_resolve one = CloudScenes::row(farmId, scene.path, scene.root);
        if (one.filetype != SoftwareType::Unknown)
            list << one;
        else
            unknown << scene.path.section(QLatin1Char('/'), -1);
    }
    if (!unknown.isEmpty())
        told.text = words(QT_TRANSLATE_NOOP("CloudAnalysis", "农场不支持解析此类文件，没有提交：\n%1"))
                        .arg(unknown.mid(0, 10).join(QLatin1Char('\n')));
    if (list.isEmpty())
        return told;
    if (Seam<CloudCalls>::post([list](CloudCalls &queue) { queue.addScenes(list); }))
        told.taken = list.size();
    else
        told.text = words(QT_TRANSLATE_NOOP("CloudAnalysis", "解析队列尚未就绪，请稍后重试"));
    return told;
}

QString CloudAnalysis::title(int softwareType)
{
    return words(QT_TRANSLATE_NOOP("CloudAnalysis", "%1参数设置")).arg(SoftwareType::name(softwareType).toLower());
}
