// Routes around scenes that lie on a drive: their analysis by the farm, their parameters, their order.
#include "common/CommonConfig.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/UserInfo.h"
#include "db/CloudCalls.h"
#include "db/ResolveDDAO.h"
#include "io/local/CmdHand.h"
#include "io/local/ModelAnalysis.h"
#include "resolve/cloud/CloudModel.h"
#include "resolve/cloud/CloudScenes.h"
#include "resolve/ParameterModel.h"
#include "transfer/drive/DriveFolder.h"
#include <QDateTime>

namespace
{
constexpr int MostScenes = 1000; // of one request

ResolveDDAO &dao() { return *ResolveDDAO::instance(); }

QString timeText(qlonglong ms)
{
    return ms > 0 ? QDateTime::fromMSecsSinceEpoch(ms).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")) : QString();
}

QJsonObject told(const db_resolve &row)
{
    return {{"rkey", row.rkey},
            {"scene", row.lpath},
            {"root", row.rootpath},
            {"farm", row.farmid},
            {"softwareType", row.filetype},
            {"state", row.state},
            {"status", SceneState::text(row.state)},
            {"error", row.error},
            {"text", row.errstr},
            {"begun", timeText(row.rtime)},
            {"ended", timeText(row.etime)},
            {"num", row.ordernum},
            {"mid", row.missionid}};
}

QString pathOf(const QString &text) { return text.split('/', Qt::SkipEmptyParts).join('/'); }
} // namespace

// Each scene is looked for before any of them is taken.
void CmdHand::driveResolve()
{
    QStringList paths;
    if (const QString one = pathOf(m_line.arg("path")); !one.isEmpty())
        paths << one;
    for (const QJsonValue &value : sent().array())
        if (const QString one = pathOf(value.toString()); !one.isEmpty())
            paths << one;
    paths.removeDuplicates();
    if (!UserInfo::canAnalyse())
        return fail(tr("您还没有解析文件的权限，请联系您的母账号开通！"));
    if (paths.isEmpty() || paths.size() > MostScenes)
        return fail(tr("缺少参数"));
    const int farm = qMax(1, m_line.arg("farm").toInt());
    const auto rows = std::make_shared<QList<db_resolve>>();
    for (const QString &path : qAsConst(paths)) {
        rows->append(CloudScenes::row(farm, path, pathOf(m_line.arg("root"))));
        if (rows->last().filetype == SoftwareType::Unknown)
            return fail(tr("农场不支持解析此类文件：%1").arg(path));
    }
    if (!dao().isOpen())
        return fail(tr("客户端未登录"));
    findScenes(farm, paths, [this, rows] {
        const qlonglong first = QDateTime::currentSecsSinceEpoch();
        for (int i = 0; i < rows->size(); ++i) {
            (*rows)[i].rkey = first + i;
            (*rows)[i].state = SceneState::Waiting;
        }
        if (!dao().insert(rows.get()) || !dao().settle())
            return fail(tr("解析记录无法保存"));
        QJsonArray list;
        for (const db_resolve &row : qAsConst(*rows))
            list.append(told(row));
        good(QString(), list);
    });
}

void CmdHand::findScenes(int farm, QStringList paths, const std::function<void()> &next)
{
    if (paths.isEmpty())
        return next();
    const QString path = paths.takeFirst();
    DriveFolder::reach(
        farm, DriveRest::Input, {SubFile::Root, {}}, path.split('/'), false, m_waitMs, this,
        [this, farm, paths, path, next](const SubFile &entry) {
            if (m_over)
                return;
            if (entry.isFolder())
                return fail(tr("不是场景文件：%1").arg(path));
            findScenes(farm, paths, next);
        },
        [this](const QString &why) { fail(why); });
}

QList<qlonglong> CmdHand::cloudKeys()
{
    bool tooLong = false;
    return m_line.numbers("rkey", "rkeys", &tooLong);
}

void CmdHand::driveResolveList()
{
    const QList<qlonglong> keys = cloudKeys();
    QJsonArray list;
    for (const db_resolve &row : dao().all())
        if (keys.isEmpty() || keys.contains(row.rkey))
            list.append(told(row));
    good(tr("获取解析列表"), list);
}

void CmdHand::driveResolveParameter()
{
    db_resolve row = dao().read(m_line.arg("rkey").toLongLong());
    if (row.rkey == 0 || !CloudScenes::canSubmit(row))
        return fail(row.rkey == 0 ? tr("没有相关解析记录")
                                  : tr("当前状态不能提交：%1").arg(SceneState::text(row.state)));
    row = CloudModel::opened(row);
    const QJsonObject given = sent().object();
    if (!given.isEmpty()) {
        const QString why = ParameterModel::take(&row, given, CommonConfig::get());
        if (!why.isEmpty())
            return fail(why);
        if (dao().saveData(row, false) <= 0 || !dao().settle())
            return fail(tr("解析记录无法保存"));
    }
    good(QString(), QJsonDocument::fromJson(row.rdata.toUtf8()).object());
}

// All of them, or the first that can't be tells why.
void CmdHand::driveResolveSubmit()
{
    if (!UserInfo::canUpload())
        return fail(tr("您还没有提交渲染的权限，请联系您的母账号开通！"));
    const QJsonObject body = sent().object();
    const QJsonObject parameter =
        body.contains("parameter") ? body.value("parameter").toObject() : body; // as /model/analysis has it, or alone
    QList<db_resolve> ready;
    QJsonArray keys;
    for (qlonglong key : cloudKeys()) {
        db_resolve row = dao().read(key);
        if (row.rkey == 0 || !CloudScenes::canSubmit(row))
            return fail(row.rkey == 0 ? tr("没有相关解析记录")
                                      : tr("当前状态不能提交：%1").arg(SceneState::text(row.state)));
        row = CloudModel::opened(row);
        QString text;
        const QString rset = ModelAnalysis::chosen(parameter, row.filetype, row.lpath, &text);
        if (!text.isEmpty())
            return fail(text);
        const CommonConfig config = CommonConfig::get();
        const ParameterSheet sheet = ParameterSheet::read(row, config);
        text = sheet.check();
        if (!text.isEmpty() || !CloudScenes::prepare(&row, sheet, rset, config, &text))
            return fail(row.lpath + QStringLiteral(": ") + text);
        ready.append(row);
        keys.append(key);
    }
    if (ready.isEmpty())
        return fail(tr("没有相关解析记录"));
    for (const db_resolve &row : qAsConst(ready))
        if (dao().saveData(row, true) <= 0)
            return fail(tr("解析记录无法保存"));
    dao().settle() ? good(QString(), keys) : fail(tr("解析记录无法保存"));
}

// Both first in the store: a kill takes nothing back. The queue hears of it, too, since it knows what is on its way.
void CmdHand::driveResolveAgain()
{
    int rows = 0;
    for (qlonglong key : cloudKeys()) {
        rows += qMax(0, dao().again(key));
        Seam<CloudCalls>::post([key](CloudCalls &queue) { queue.changed(key); });
    }
    rows > 0 && dao().settle() ? good(QString()) : fail(tr("没有相关解析记录"));
}

void CmdHand::driveResolveStop()
{
    int rows = 0;
    for (qlonglong key : cloudKeys()) {
        if (dao().read(key).rkey == 0)
            continue;
        ++rows;
        if (dao().forget(key) == 0)
            dao().remove(key);
        Seam<CloudCalls>::post([key](CloudCalls &queue) { queue.changed(key); });
    }
    rows > 0 && dao().settle() ? good(QString()) : fail(tr("没有相关解析记录"));
}
