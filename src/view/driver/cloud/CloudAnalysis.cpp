#include "view/driver/cloud/CloudAnalysis.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "db/CloudCalls.h"
#include "resolve/cloud/CloudModel.h"
#include "resolve/cloud/CloudQueue.h"
#include "view/AccountFacts.h"
#include "view/driver/cloud/MayaD.h"
#include "view/driver/cloud/SubmitMayaD.h"
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
        db_resolve one;
        one.lpath = scene.path;
        one.rootpath = scene.root.isEmpty() ? scene.path.section(QLatin1Char('/'), 0, -2) : scene.root;
        one.filetype = SoftwareType::ofPath(scene.path);
        one.farmid = farmId;
        if (CloudQueue::knows(one.filetype))
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

void CloudAnalysis::openParameters(qlonglong rkey, QWidget *over)
{
    if (!UserInfo::canSetParameters())
        MsgTool::msgOk(over, words(QT_TRANSLATE_NOOP("CloudAnalysis", "您还没有参数设置的权限！")));
    else
        Seam<CloudCalls>::post([rkey](CloudCalls &queue) { queue.paraSet(rkey); }); // the page opens it
}

void CloudAnalysis::submit(const db_resolve &res, QWidget *over)
{
    (new SubmitMayaD(CloudModel::opened(res), AccountFacts::balance(), over))->open();
}
