#include "resolve/SceneReports.h"
#include "common/facts/Command.h"
#include "common/facts/SceneState.h"
#include "db/ResolveDAO.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include <QDateTime>
#include <utility>

namespace
{
enum Type { None = 1, Deleted = 2, Failed = 3, Ended = 4, Paused = 5, Started = 6 };

int typeOf(int state)
{
    switch (state) {
    case SceneState::Analysing:
        return Started;
    case SceneState::AnalysisPaused:
        return Paused;
    case SceneState::Warned:
    case SceneState::Incomplete:
    case SceneState::Clean:
        return Ended;
    case SceneState::Failed:
        return Failed;
    default:
        return None;
    }
}

QString timeText(qint64 ms) { return QDateTime::fromMSecsSinceEpoch(ms).toString("yyyy-MM-dd HH:mm:ss"); }
} // namespace

SceneReports::SceneReports(QObject *parent) : QObject(parent)
{
    // Queued: the store is used by several threads, and tells on the one that asked.
    ResolveDAO *dao = ResolveDAO::instance();
    connect(
        dao, &ResolveDAO::stepped, this,
        [this](const db_resolve &before, int state) {
            tell(before.missionid, of(before, state, QDateTime::currentMSecsSinceEpoch()));
        },
        Qt::QueuedConnection);
    connect(
        dao, &ResolveDAO::removed, this, [this](const db_resolve &row) { tell(row.missionid, ofRemoved(row)); },
        Qt::QueuedConnection);
    connect(NetTcp::instance(), &NetTcp::loginChanged, this, [this](bool on) {
        if (on)
            tellAll();
    });
}

SceneReports::Report SceneReports::of(const db_resolve &before, int state, qint64 now)
{
    if (state == SceneState::Uploading || state == SceneState::UploadPaused)
        return {state == SceneState::Uploading ? Command::UploadResumed : Command::UploadPaused,
                {{"missionId", before.missionid}}};
    const int type = typeOf(state);
    if (type == None)
        return {};
    QJsonObject body{{"missionId", before.missionid}, {"type", type}};
    if (type == Ended) {
        body["analysisStartTime"] = timeText(before.rtime);
        body["analysisEndTime"] = timeText(now);
    }
    return {Command::AnalysisReport, body};
}

SceneReports::Report SceneReports::ofRemoved(const db_resolve &row)
{
    return {Command::AnalysisReport, {{"missionId", row.missionid}, {"type", Deleted}}};
}

void SceneReports::tell(int mission, const Report &report)
{
    if (report.command == 0)
        return;
    if (NetTcp::isLogin())
        Ask(report.command, report.body).send();
    else
        m_waiting.insert(mission, report);
}

void SceneReports::tellAll()
{
    for (const Report &report : std::exchange(m_waiting, {}))
        Ask(report.command, report.body).send();
}
