// Routes that do something to tasks.
#include "common/facts/Command.h"
#include "io/local/CmdHand.h"
#include "resolve/FrameSet.h"

namespace
{
constexpr int RemarkLength = 140;
} // namespace

void CmdHand::actOnJobs(int cmd, const QJsonObject &more)
{
    withJobs([=](const QList<int> &missions) {
        QList<QJsonObject> bodies;
        for (int mission : missions) {
            QJsonObject body = more;
            body["missionId"] = mission;
            bodies << body;
        }
        askEach(cmd, bodies, [=](int val, const QVector<Answer> &answers) {
            QJsonArray all;
            for (int i = 0; i < answers.size(); ++i) {
                QJsonObject one = answers[i].doc.object(); // what the server tells beside, such as its own limit
                one["mid"] = missions[i];
                one["code"] = answers[i].val;
                all.append(one);
            }
            over(val, textOf(val), all, isGood(cmd, val));
        });
    });
}

void CmdHand::actOnList(int cmd, std::function<QJsonDocument(const QJsonArray &)> body)
{
    withJobs([=](const QList<int> &missions) {
        QJsonArray all;
        for (int mission : missions)
            all.append(mission);
        forward(cmd, body(all).toJson(QJsonDocument::Compact));
    });
}

void CmdHand::jobPause()
{
    actOnJobs(Command::PauseRender, {{"pauseRender", m_line.arg("later").toInt() == 1 ? 0 : 1}});
}

void CmdHand::jobKeepRender() { actOnJobs(Command::ContinueRender); }

void CmdHand::jobCancel() { actOnJobs(Command::CancelTask); }

void CmdHand::jobRerender()
{
    actOnList(Command::RerenderTask, [](const QJsonArray &missions) { return QJsonDocument(missions); });
}

void CmdHand::jobHistory()
{
    actOnList(Command::DeleteTask, [](const QJsonArray &missions) { return QJsonDocument(missions); });
}

void CmdHand::jobHandover()
{
    const int user = m_line.arg("userId").toInt();
    if (user <= 0) {
        fail(tr("参数异常"));
        return;
    }
    actOnList(Command::TakeOver, [user](const QJsonArray &missions) {
        QStringList ids;
        for (const QJsonValue &mission : missions)
            ids << QString::number(mission.toInt());
        return QJsonDocument(QJsonObject{{"missionIds", ids.join(',')}, {"handoverUserId", user}});
    });
}

void CmdHand::jobLimit()
{
    const int nodes = m_line.arg("nodes").toInt();
    if (nodes <= 0)
        fail(tr("请输入正整数"));
    else
        actOnJobs(Command::NodeLimit, {{"nodeLimit", nodes}});
}

void CmdHand::jobRemark() { actOnJobs(Command::Remark, {{"remark", m_line.arg("remark").left(RemarkLength)}}); }

// The order's parameters with other frames: what they are is asked first.
void CmdHand::jobFill()
{
    const QString frames = FrameSet::normalise(m_line.arg("frames"));
    if (frames.isEmpty()) {
        fail(tr("请输入补帧号"));
        return;
    }
    if (const QString wrong = FrameSet::checkOrder(frames); !wrong.isEmpty()) {
        fail(wrong);
        return;
    }
    withJobs([=](const QList<int> &missions) {
        QList<QJsonObject> details;
        for (int mission : missions)
            details << QJsonObject{{"missionId", mission}};
        askEach(Command::TaskDetail, details, [=](int val, const QVector<Answer> &answers) {
            if (!isGood(Command::TaskDetail, val)) {
                over(val, textOf(val), QJsonValue::Undefined, false);
                return;
            }
            QList<QJsonObject> bodies;
            for (int i = 0; i < answers.size(); ++i) {
                const QJsonObject detail = answers[i].doc.object();
                QJsonObject parameters = detail.value("modelParameters").toObject();
                parameters["frames"] = frames;
                bodies << QJsonObject{{"missionId", missions[i]},
                                      {"softwareType", detail.value("softwareType")},
                                      {"modelParameters", parameters}};
            }
            askEach(Command::FillFrames, bodies, [=](int val, const QVector<Answer> &done) {
                QJsonArray all;
                for (int i = 0; i < done.size(); ++i)
                    all.append(QJsonObject{{"mid", missions[i]}, {"code", done[i].val}});
                over(val, textOf(val), all, isGood(Command::FillFrames, val));
            });
        });
    });
}
