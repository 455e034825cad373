#include "common/facts/SceneState.h"
#include "common/ui/Palette.h"
#include "transfer/TransSet.h"
#include "view/TransferModel.h"
#include <QCoreApplication>
#include <QFileInfo>

QString TransferRules::sizeText(qlonglong bytes)
{
    static const char *const units[] = {"B", "KB", "MB", "GB", "TB"};
    double value = double(qMax<qlonglong>(0, bytes));
    int unit = 0;
    while (value >= 1024 && unit < 4) {
        value /= 1024;
        ++unit;
    }
    return QString::number(value, 'f', unit == 0 ? 0 : value < 10 ? 2 : 1) + QLatin1String(units[unit]);
}

QString TransferRules::speedText(qlonglong bytes) { return sizeText(bytes) + QStringLiteral("/S"); }

QColor TransferRules::colour(bool orders, int state)
{
    if (orders)
        return state == SceneState::UploadFailed ? Palette::failed
               : state == SceneState::Uploading  ? Palette::accent
                                                 : Palette::text;
    switch (state) {
    case TransSet::DownRun:
    case TransSet::UpRun:
    case TransSet::UpServer:
        return Palette::accent;
    case TransSet::DownError:
    case TransSet::UpError:
    case TransSet::UpGaveUp:
    case TransSet::DownGaveUp:
        return Palette::failed;
    default:
        return Palette::text;
    }
}

QStringList TransferRules::buttons(bool uploads, int state)
{
    QStringList out;
    for (int i = 0; i < ButtonCount; ++i)
        out << QString();
    const bool paused = uploads ? state == SceneState::UploadPaused : state == TransSet::DownPause;
    const bool failed =
        uploads ? state == SceneState::UploadFailed : state == TransSet::DownError || state == TransSet::DownGaveUp;
    if (paused)
        out[Start] = QCoreApplication::translate("TransferHand", "继续");
    else if (failed)
        out[Again] = uploads ? QCoreApplication::translate("TransferHand", "重新上传")
                             : QCoreApplication::translate("TransferHand", "重新下载");
    else
        out[Pause] = QCoreApplication::translate("TransferHand", "暂停");
    if (!uploads && state == TransSet::DownWait)
        out[Priority] = QCoreApplication::translate("TransferHand", "优先");
    out[Delete] = QCoreApplication::translate("TransferHand", "删除");
    out[Folder] = QCoreApplication::translate("TransferHand", "目录");
    return out;
}

TransferGroup TransferRules::upload(const db_resolve &res)
{
    TransferGroup group;
    group.key = group.order = res.ordernum;
    group.mission = res.missionid;
    group.rkey = res.rkey;
    group.name = res.lpath.mid(res.lpath.lastIndexOf(QLatin1Char('/')) + 1);
    group.folder = res.lpath.left(qMax(0, res.lpath.lastIndexOf(QLatin1Char('/'))));
    group.ok = res.fok;
    group.sum = res.fsum;
    group.size = res.fsize;
    group.done = res.fup;
    group.state = res.state;
    group.more = true;
    return group;
}

TransferGroup TransferRules::mission(const db_downmiss &miss)
{
    TransferGroup group;
    group.key = QString::number(miss.pri);
    group.order = miss.ordernum;
    group.mission = miss.missid;
    group.pri = miss.pri;
    group.name = miss.missname.isEmpty() ? miss.ordernum : miss.missname;
    group.folder = miss.lpath;
    group.ok = miss.ok;
    group.sum = miss.sum;
    group.state = miss.state;
    group.more = true;
    return group;
}
