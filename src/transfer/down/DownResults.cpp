// DownHandler's other half: from result lists and pushes to missions in the store.
#include "common/facts/Command.h"
#include "common/ResultPath.h"
#include "common/ResultRoots.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "common/WindowCalls.h"
#include "db/DownloadDAO.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include "transfer/down/DownHandler.h"
#include "transfer/TransSet.h"
#include <algorithm>
#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>

namespace
{
enum Cover { All = 0, OnlyMissing = 1, Cancelled = 2 };

void inform(const QString &text)
{
    Seam<WindowCalls>::post([text](WindowCalls &window) { window.showInfoMsg({}, text); });
}
} // namespace

void DownHandler::missionResult(int mid, bool autoRes, bool isBatch)
{
    qDebug().noquote() << "DownHandler::missionResult" << mid << autoRes << isBatch;
    m_asks.addUser(mid, autoRes, isBatch, now());
    askLists();
}

void DownHandler::resultPush(QJsonObject obj)
{
    if (UserInfo::isSlave() || UserInfo::autoSendResult() == 0) {
        qDebug().noquote() << "DownHandler::resultPush automatic download is off:"
                           << obj.value("prefixPath").toString();
        return;
    }
    MissionBuilder::Pushed pushed = MissionBuilder::prefix(obj.value("prefixPath").toString());
    if (pushed.mid == 0)
        pushed.mid = obj.value("missionId").toVariant().toString().toInt(); // 0 for one that an int doesn't hold
    if (pushed.mid <= 0) {
        qWarning().noquote() << "DownHandler::resultPush no task in" << obj.value("prefixPath").toString();
        return;
    }
    obj.insert("mid", pushed.mid);
    if (!pushed.name.isEmpty())
        obj.insert("missionName", pushed.name);
    for (const Push &push : qAsConst(m_pushes)) {
        if (push.obj == obj)
            return wake();
    }
    m_pushes.append({obj, 0});
    wake();
}

void DownHandler::wake()
{
    if (!m_pushTimer.isActive() && (!m_pushes.isEmpty() || !m_asks.isEmpty()))
        m_pushTimer.start();
}

void DownHandler::handPush()
{
    if (m_inHand || Session::closing())
        return;
    m_inHand = true;
    int inHand = 0;
    for (int i = 0; i < m_pushes.size() && inHand <= PushesInHand;) {
        if (m_pushes.at(i).from > now()) {
            ++i;
            continue;
        }
        ++inHand;
        handOne(m_pushes.takeAt(i).obj);
    }
    askLists();
    m_inHand = false;
    if (m_pushes.isEmpty() && m_asks.isEmpty())
        m_pushTimer.stop();
}

void DownHandler::handOne(const QJsonObject &push)
{
    if (!MissionBuilder::isComplete(push)) {
        m_asks.addPush(push.value("mid").toInt(), push, now());
        return;
    }
    if (!build(push, All, true))
        m_pushes.append({push, now() + BlockedMs});
}

void DownHandler::askLists()
{
    for (const int mid : m_asks.expired(now())) {
        qWarning().noquote() << "DownHandler::askLists no answer for task" << mid;
        inform(tr("任务 %1 的结果列表获取失败，请检查网络后重新下载").arg(mid));
    }
    if (NetTcp::isLogin()) {
        for (const int mid : m_asks.due(now())) {
            Ask(Command::ResultList, {{"missionId", mid}})
                .any([this, mid](int val, QJsonDocument doc) { listAnswered(mid, val, doc.object()); })
                .send(this);
        }
    }
    wake();
}

void DownHandler::listAnswered(int mid, int val, const QJsonObject &obj)
{
    if (!m_asks.waits(mid))
        return; // answered already
    if (val == Command::success(Command::ResultList))
        return missionDown(mid, obj);
    const QString why = refusal(mid, val);
    qWarning().noquote() << "DownHandler::listAnswered" << why;
    const ResultAsks::Ask ask = m_asks.take(mid);
    if (ask.user && !ask.autoRes)
        inform(why);
    for (const QJsonObject &push : ask.pushes)
        m_pushes.append({push, now() + BlockedMs});
    wake();
}

QString DownHandler::refusal(int mid, int val)
{
    const QString known = Session::errorText(val);
    const QString why = known.isEmpty() || known == QString::number(val)
                            ? QCoreApplication::translate("ServerCall", "服务器拒绝了请求")
                            : known;
    return tr("任务 %1 的结果列表获取失败：%2").arg(QString::number(mid), QStringLiteral("%1 (%2)").arg(why).arg(val));
}

void DownHandler::subResult(int mid, QString subs, int cover)
{
    qDebug().noquote() << "DownHandler::subResult" << mid << subs.left(200) << cover;
    Ask(Command::SubTaskResults, {{"missionId", mid}, {"subjobIds", subs}})
        .answered([=](int, const QJsonDocument &doc) { subAnswered(mid, doc.object(), cover); })
        .refused([=](int val, const QJsonDocument &) { inform(refusal(mid, val)); })
        .lost([=](Ask::Loss) { inform(tr("任务 %1 的结果列表获取失败，请检查网络后重新下载").arg(mid)); })
        .send(this);
}

// Who chose a frame wants it, though a former version of it may be here.
void DownHandler::subAnswered(int mid, const QJsonObject &obj, int cover)
{
    QJsonObject whole = obj;
    whole.insert("mid", mid);
    QString unknown;
    const QString root = rootFor(whole, false, &unknown);
    if (!unknown.isEmpty())
        m_rootWaits[unknown].append({mid, whole, true, true});
    if (root.isEmpty())
        return;
    const QList<ResultRow> rows = MissionBuilder::rows(whole, root);
    if (rows.isEmpty())
        return inform(tr("暂无结果文件"));
    const int there = int(std::count_if(rows.cbegin(), rows.cend(), [](const ResultRow &row) { return row.exists; }));
    m_waiting.insert(mid, whole);
    const QString text = tr("任务：%1").arg(MissionBuilder::nameOf(whole)) + "\r\n" +
                         tr("已存在 %1 个文件，共 %2 个").arg(there).arg(rows.size());
    if (cover >= 0 || there == 0 || !Seam<WindowCalls>::post([=](WindowCalls &window) { window.downCover(mid, text); }))
        coverResult(mid, cover >= 0 ? cover : int(All));
}

void DownHandler::missionDown(int mid, QJsonObject obj)
{
    const ResultAsks::Ask ask = m_asks.take(mid);
    obj.insert("mid", mid);
    if (ask.user || ask.pushes.isEmpty())
        showUser(mid, obj, !ask.autoRes, !ask.autoRes && !ask.isBatch);
    for (const QJsonObject &push : ask.pushes) {
        const QJsonObject whole = MissionBuilder::merged(push, obj);
        if (whole.value("rows").toArray().isEmpty())
            qDebug().noquote() << "DownHandler::missionDown no results yet of task" << mid;
        else if (!build(whole, All, true))
            m_pushes.append({push, now() + BlockedMs});
    }
    wake();
}

// asked: someone waits for the answer. ask: and may be asked back.
void DownHandler::showUser(int mid, QJsonObject obj, bool asked, bool ask)
{
    QString unknown;
    const QString root = rootFor(obj, false, &unknown);
    if (!unknown.isEmpty())
        m_rootWaits[unknown].append({mid, obj, asked, ask});
    if (root.isEmpty())
        return;
    if (obj.value("rows").toArray().isEmpty()) {
        if (asked)
            inform(tr("暂无结果文件"));
        return;
    }
    m_waiting.insert(mid, obj);
    const QDir dir(root);
    if (!dir.exists() || dir.isEmpty())
        return coverResult(mid, All);
    const QList<ResultRow> rows = MissionBuilder::rows(obj, root);
    QList<int> ordered, present;
    int there = 0, sum = 0;
    for (const ResultRow &row : rows) {
        there += row.exists;
        sum += !row.refused;
        if (row.hasFrame)
            (row.exists ? present : ordered).append(row.frame);
    }
    if (there == 0)
        return coverResult(mid, All);
    if (there == sum) {
        m_waiting.remove(mid);
        return inform(tr("文件已全部下载完成"));
    }
    const QString gaps = MissionBuilder::missingFrames(ordered, present);
    const QString text = gaps.isEmpty() ? tr("已存在 %1 个文件，共 %2 个").arg(there).arg(sum)
                                        : tr("以下帧缺失，请重新下载：\r\n%1").arg(gaps);
    if (!gaps.isEmpty())
        inform(text);
    const QString named = tr("任务：%1").arg(MissionBuilder::nameOf(obj)) + "\r\n" + text;
    if (!ask || !Seam<WindowCalls>::post([=](WindowCalls &window) { window.downCover(mid, named); }))
        coverResult(mid, OnlyMissing);
}

void DownHandler::coverResult(int mid, int cover)
{
    const QJsonObject obj = m_waiting.take(mid);
    if (obj.isEmpty() || cover == Cancelled)
        return;
    build(obj, cover, false);
}

// unknown: the folder that has to be confirmed first.
QString DownHandler::rootFor(const QJsonObject &obj, bool quiet, QString *unknown)
{
    QString missing, asked;
    const QString root = ResultPath::root(obj, true, &missing, &asked);
    if (!missing.isNull() && (!quiet || !m_told.contains(missing))) {
        m_told.insert(missing);
        ResultPath::tellMissing(obj, missing);
    }
    if (!asked.isNull() && (!quiet || !m_told.contains("root " + asked)))
        askRoot(obj, asked);
    if (unknown)
        *unknown = asked;
    return root;
}

void DownHandler::askRoot(const QJsonObject &obj, const QString &root)
{
    m_told.insert("root " + root);
    ResultPath::askUnknown(obj, root);
}

void DownHandler::rootConfirmed(QString root)
{
    qDebug().noquote() << "DownHandler::rootConfirmed" << root;
    ResultRoots::add(root);
    m_rests.clear();
    for (Push &push : m_pushes)
        push.from = 0;
    for (const UserAsk &one : m_rootWaits.take(root))
        showUser(one.mid, one.obj, one.asked, one.ask);
    wake();
}

void DownHandler::tellRefused(int mid, const QStringList &names)
{
    constexpr int Shown = 5;
    const QString key = QStringLiteral("refused %1").arg(mid);
    if (names.isEmpty() || m_told.contains(key))
        return;
    m_told.insert(key);
    inform(tr("任务 %1 有 %2 个结果的路径不能用，已跳过：\r\n%3")
               .arg(mid)
               .arg(names.size())
               .arg(names.mid(0, Shown).join("\r\n")));
}

bool DownHandler::hasRoom(const QString &root, bool quiet)
{
    if (VFunc::freeSpace(root) >= LeastFree) {
        m_told.remove("room " + root);
        return true;
    }
    qWarning().noquote() << "DownHandler::hasRoom less than 1 GiB free:" << root;
    if (!quiet || !m_told.contains("room " + root))
        Seam<WindowCalls>::post([root](WindowCalls &window) { window.downSpace(root); });
    m_told.insert("room " + root);
    return false;
}

bool DownHandler::build(const QJsonObject &obj, int cover, bool quiet)
{
    const QString root = rootFor(obj, quiet);
    if (root.isEmpty() || !hasRoom(root, quiet))
        return false;
    const int mid = obj.value("mid").toInt();
    const QList<ResultRow> rows = MissionBuilder::rows(obj, root);
    QStringList refused;
    for (const ResultRow &row : rows)
        refused << (row.refused ? QStringList(row.target) : QStringList());
    tellRefused(mid, refused);
    for (const MissionPlan &plan : MissionBuilder::plans(obj, rows, cover == OnlyMissing)) {
        if (!write(obj, root, plan, quiet)) {
            qWarning().noquote() << "DownHandler::build task" << mid << "can't be kept in the store";
            return false;
        }
    }
    DownloadDAO::instance()->tellRefresh();
    if (obj.contains("vip") || obj.contains("com"))
        DownloadDAO::instance()->setVip(mid, obj.value("vip").toVariant().toString(),
                                        obj.value("com").toVariant().toString());
    // Only now: the farm forgets what it was told to be in the queue. Also where nothing was new: it pushes again what
    // wasn't confirmed.
    Ask(Command::Results, {{"missionId", mid}}).send();
    return true;
}

bool DownHandler::write(const QJsonObject &obj, const QString &root, MissionPlan plan, bool quiet)
{
    DownloadDAO *store = DownloadDAO::instance();
    if (quiet) {
        const auto stands = [store](const db_downfile &file) {
            const db_downfile before = store->fetched(file.id);
            const QFileInfo there(before.lpath);
            return DownloadDAO::sameVersion(before, file) && there.isFile() && there.size() == before.size;
        };
        plan.files.erase(std::remove_if(plan.files.begin(), plan.files.end(), stands), plan.files.end());
    }
    if (plan.files.isEmpty())
        return true;
    db_downmiss miss;
    for (const db_downmiss &known : store->missionsOfOrder(obj.value("num").toVariant().toString())) {
        if (known.missid == obj.value("mid").toInt() && known.missname == plan.name)
            miss = known;
    }
    const bool paused = miss.pri != 0 && miss.state == TransSet::DownPause;
    if ((paused && !quiet) || (miss.pri != 0 && miss.state == TransSet::DownError))
        store->restart(miss.pri); // what stands in it goes on with the new files
    if (miss.pri == 0)
        miss.pri = store->newMissionPri();
    else
        dropOutdated(miss.pri, plan.files);
    miss.ordernum = obj.value("num").toVariant().toString();
    miss.missid = obj.value("mid").toInt();
    miss.missname = plan.name;
    miss.lpath = root;
    if (paused && quiet) { // what the user paused stays paused; new files join it
        for (db_downfile &file : plan.files)
            file.state = TransSet::DownPause;
    } else {
        miss.state = miss.state == TransSet::DownRun ? TransSet::DownRun : TransSet::DownWait;
    }
    return store->addMission(miss, plan.files);
}

// A frame that was rendered again while its former version is on the way: nothing of that is of use.
void DownHandler::dropOutdated(qlonglong missPri, const QList<db_downfile> &files)
{
    for (const db_downfile &standing : DownloadDAO::instance()->files(missPri)) {
        const QString key = keyOf(standing);
        const bool outdated = std::any_of(files.cbegin(), files.cend(), [&](const db_downfile &file) {
            return file.id == standing.id && !DownloadDAO::sameVersion(file, standing);
        });
        if (outdated && m_runs.remove(key) > 0)
            takeWork(key, 4);
    }
}
