// Routes around the analysis: scenes in, parameters out and in, commit, state for subordinate seats.
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "common/WindowCalls.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include "io/local/CmdHand.h"
#include "io/local/ModelAnalysis.h"
#include "io/local/SeatBook.h"
#include "resolve/BaseResolve.h"
#include "resolve/ParameterModel.h"
#include "resolve/Preflight.h"
#include <memory>
#include <QDateTime>
#include <QDir>
#include <QSet>

namespace
{
constexpr int Gone = -1;

constexpr int DefaultWait = 10, LongestWait = 600; // seconds

QJsonObject preflightReply(const PreflightFigures &now)
{
    QJsonArray folders;
    for (const PreflightFolder &one : now.folders)
        folders.append(QJsonObject{
            {"folder", one.folder}, {"files", one.files}, {"examples", QJsonArray::fromStringList(one.examples)}});
    QJsonObject out{{"scenes", now.scenes},
                    {"files", now.files},
                    {"bytes", now.bytes},
                    {"missing", now.missing},
                    {"missingFolders", folders},
                    {"found", now.found},
                    {"copies", now.copies},
                    {"copyBytes", now.copyBytes},
                    {"asked", now.asked},
                    {"here", now.here},
                    {"hereBytes", now.hereBytes},
                    {"toSend", now.toSend()},
                    {"bytesPerSecond", now.perSecond},
                    {"resultFolder", now.resultFolder},
                    {"freeBytes", now.freeBytes},
                    {"complete", now.over && now.trouble.isEmpty()}};
    if (now.seconds() >= 0)
        out["seconds"] = now.seconds();
    if (!now.trouble.isEmpty())
        out["trouble"] = now.trouble;
    return out;
}

QJsonObject object(const QString &text) { return QJsonDocument::fromJson(text.toUtf8()).object(); }
} // namespace

void CmdHand::modelAnalysis()
{
    const QJsonDocument &scenes = sent();
    const QJsonObject parameter = scenes.object().value("parameter").toObject();
    if (!m_caller.known && parameter.value("fromSlave").toVariant().toInt() != 1) {
        refuseStranger();
        return;
    }
    const bool seat = m_caller.known || SeatBook::met(m_caller.address);
    ModelAnalysis read = ModelAnalysis::read(scenes, QDateTime::currentMSecsSinceEpoch(), seat);
    switch (read.kind) {
    case ModelAnalysis::AskUser:
        if (!read.mayaProject.isEmpty())
            Seam<WindowCalls>::post([read](WindowCalls &window) { window.projectTold(read.files, read.mayaProject); });
        emit backEnvPre(read.softwareType, read.files, QString());
        good(tr("客户端调用结束"));
        return;
    case ModelAnalysis::Refused:
        if (scenes.isArray())
            emit backEnvPre(0, read.files, read.text);
        fail(read.text, read.data.isEmpty() ? QJsonValue(QJsonValue::Undefined) : QJsonValue(read.data));
        return;
    case ModelAnalysis::Rows:
        break;
    }
    // Stored before it is told: the queue finds the rows at its next scan, and no scene that was accepted can get lost.
    if (!ResolveDAO::instance()->insertBatch(&read.rows)) {
        fail(tr("提交到客户端失败"));
        return;
    }
    QJsonArray details;
    for (const db_resolve &row : qAsConst(read.rows)) {
        details.append(QJsonObject{{"rkey", row.rkey}, {"scene", row.lpath}, {"state", row.state}});
        if (read.commit)
            Seam<ResolveCalls>::post(
                [key = row.rkey](ResolveCalls &queue) { queue.commitResolve(key, false, QString()); });
    }
    good(tr("提交到客户端成功"), QJsonObject{{"status", 1}, {"details", details}});
}

void CmdHand::modelList()
{
    const bool some = m_line.has("rkey") || m_line.has("rkeys");
    bool tooLong = false;
    const QList<qlonglong> keys = m_line.numbers("rkey", "rkeys", &tooLong);
    if (tooLong) {
        fail(tr("一次最多处理%1个").arg(CmdLine::MaxList));
        return;
    }
    const QSet<qlonglong> wanted(keys.begin(), keys.end());
    QJsonArray list;
    for (const db_resolve &row : ResolveDAO::instance()->readAll()) {
        if (some && !wanted.contains(row.rkey))
            continue;
        list.append(QJsonObject{
            {"num", row.ordernum},
            {"name", row.lpath.mid(row.lpath.lastIndexOf('/') + 1)},
            {"scene", row.lpath},
            {"project", row.project},
            {"analysisTime", QDateTime::fromMSecsSinceEpoch(row.rtime).toString("yyyy-MM-dd HH:mm:ss")},
            {"speed", QStringLiteral("%1/%2").arg(row.fok).arg(row.fsum)},
            {"status", SceneState::text(row.state)},
            {"rkey", row.rkey},
            {"mid", row.missionid},
            {"state", row.state},
        });
    }
    good(tr("获取解析列表"), list);
}

void CmdHand::modelPara()
{
    const QString num = m_line.arg("num");
    const db_resolve row = num.isEmpty() ? db_resolve() : ResolveDAO::instance()->readWithPara(0, num);
    if (row.rkey == 0)
        fail(tr("没有此订单下的模型"));
    else
        good(QString(), object(row.rdata));
}

void CmdHand::modelParaSet()
{
    const QString num = m_line.arg("num");
    db_resolve row = num.isEmpty() ? db_resolve() : ResolveDAO::instance()->readWithPara(0, num);
    if (row.rkey == 0) {
        fail(tr("没有此订单下的模型"));
        return;
    }
    const QJsonObject changed = sent().object();
    if (changed.isEmpty()) {
        fail(tr("参数异常"));
        return;
    }
    if (row.state < SceneState::Warned) {
        fail(tr("解析尚未完成，参数还不能修改"));
        return;
    }
    if (!(SceneState::BeforeCommit | SceneState::Set{SceneState::SubmitFailed}).contains(row.state)) {
        fail(tr("任务已提交，参数不能再修改"));
        return;
    }
    const QString wrong = ParameterModel::take(&row, changed, CommonConfig::get());
    if (!wrong.isEmpty()) {
        fail(wrong);
        return;
    }
    if (!ResolveDAO::instance()->savePara(row)) {
        fail(tr("参数保存失败"));
        return;
    }
    Seam<ResolveCalls>::post([key = row.rkey](ResolveCalls &queue) { queue.paraSaved(key); });
    good(QString());
}

// Answers when all is known, or with what is known when the caller's time is over.
void CmdHand::modelPreflight()
{
    QList<qlonglong> keys;
    for (const QString &num : m_line.list("num", "nums").mid(0, CmdLine::MaxList))
        if (const db_resolve row = ResolveDAO::instance()->readByOrder(num); row.rkey != 0)
            keys << row.rkey;
    if (keys.isEmpty()) {
        fail(tr("没有此订单下的模型"));
        return;
    }
    const FolderMap map = FolderMap::widest(m_line.arg("from"), m_line.arg("to"));
    const int seconds = m_line.has("seconds") ? m_line.arg("seconds").toInt() : DefaultWait;
    auto *flight = new Preflight(keys);
    auto *clock = new QTimer(this);
    const auto last = std::make_shared<PreflightFigures>();
    const auto open = std::make_shared<bool>(map.good()); // files are still to be looked for
    clock->setSingleShot(true);
    connect(this, &QObject::destroyed, flight, &QObject::deleteLater);
    connect(clock, &QTimer::timeout, this, [this, last] { good(QString(), preflightReply(*last)); });
    connect(flight, &Preflight::looked, this, [open] { *open = false; });
    connect(flight, &Preflight::changed, this, [=, sought = false](const PreflightFigures &now) mutable {
        *last = now;
        if (now.measured && *open && !std::exchange(sought, true))
            flight->find(map);
        if (now.over && !*open)
            good(QString(), preflightReply(now));
    });
    clock->start(qBound(1, seconds, LongestWait) * 1000);
    flight->start();
}

void CmdHand::modelCommit()
{
    QStringList known;
    for (const QString &num : m_line.list("num", "nums").mid(0, CmdLine::MaxList))
        if (ResolveDAO::instance()->readByOrder(num).rkey != 0)
            known.append(num);
    if (known.isEmpty()) {
        fail(tr("没有此订单下的模型"));
        return;
    }
    for (const QString &num : qAsConst(known)) {
        if (!Seam<ResolveCalls>::post([num](ResolveCalls &queue) { queue.commitResolve(0, false, num); })) {
            fail(tr("客户端未登录"));
            return;
        }
    }
    good(tr("提交到客户端成功"), QJsonArray::fromStringList(known));
}

void CmdHand::modelCheckSlave()
{
    const qlonglong key = m_line.arg("rkey").toLongLong();
    const QString seat = m_line.arg("seat");
    db_resolve row;
    for (const db_resolve &one : key != 0 ? ResolveDAO::instance()->readAll() : QList<db_resolve>())
        if (ModelAnalysis::seatKey(one) == key && (seat.isEmpty() || ModelAnalysis::seatName(one) == seat))
            row = one;
    if (row.rkey == 0 && seat.isEmpty())
        row = ResolveDAO::instance()->read(key);
    const bool there = row.rkey != 0;
    if (there && row.state == SceneState::DoneForSeat)
        ResolveDAO::instance()->told(row.rkey, QDateTime::currentMSecsSinceEpoch());
    good(QString(),
         QJsonObject{{"rkey", key}, {"state", there ? row.state : Gone}, {"fok", row.fok}, {"fsum", row.fsum}});
}

void CmdHand::modelResolveData()
{
    const QString num = m_line.arg("num");
    const db_resolve row = num.isEmpty() ? db_resolve() : ResolveDAO::instance()->readWithPara(0, num);
    if (row.rkey == 0) {
        fail(tr("没有此订单下的模型"));
        return;
    }
    const int type = SoftwareType::ofRow(object(row.rset), row.lpath);
    const QString begin = QStringLiteral("resolve-%1-%2-").arg(row.rkey).arg(row.ordernum);
    const QDir folder(UserInfo::userDir());
    const QJsonObject rdata = object(row.rdata);
    QJsonObject data;
    for (const QString &name : folder.entryList({"resolve-*.txt"}, QDir::Files, QDir::Time)) {
        if (!name.startsWith(begin) || name.endsWith("_vdtemp.txt"))
            continue;
        data = BaseResolve::parseLog(folder.filePath(name), type);
        break;
    }
    if (data.isEmpty() && !rdata.isEmpty()) {
        // Scenes that are read directly leave no log: what the analysis found stands in the store only.
        QJsonObject content = rdata;
        content["files"] = object("{" + row.rfile + "}").value("files");
        data = {{"status", rdata.value("resStatus")}, {"content", content}, {"details", row.errstr}};
    }
    if (data.isEmpty()) {
        fail(tr("没有解析日志"));
        return;
    }
    data["softwareType"] = type;
    good(QString(), data);
}
