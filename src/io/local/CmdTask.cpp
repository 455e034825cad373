// Routes that do something to tasks.
#include "common/facts/Command.h"
#include "io/local/CmdHand.h"
#include "resolve/FrameSet.h"
#include "task/Cell.h"

void CmdHand::sendEach(const QList<TaskRequest> &requests)
{
    QList<QJsonObject> bodies;
    for (const TaskRequest &request : requests)
        bodies << QJsonDocument::fromJson(request.body).object();
    const int cmd = requests.first().cmd;
    askEach(cmd, bodies, [=](int val, const QVector<Answer> &answers) {
        QJsonArray all;
        for (int i = 0; i < answers.size(); ++i) {
            QJsonObject one = answers[i].doc.object(); // what the server tells beside, such as its own limit
            one["mid"] = Cell::idValue(requests[i].ids.first());
            one["code"] = answers[i].val;
            all.append(one);
        }
        over(val, textOf(val), all, isGood(cmd, val));
    });
}

void CmdHand::actOnJobs(Requests requests)
{
    withTasks([=](const QStringList &ids) { sendEach(requests(ids)); });
}

void CmdHand::actOnList(std::function<TaskRequest(const QStringList &)> request)
{
    withTasks([=](const QStringList &ids) {
        const TaskRequest one = request(ids);
        forward(one.cmd, one.body);
    });
}

void CmdHand::jobPause()
{
    const bool later = m_line.arg("later").toInt() == 1;
    actOnJobs([later](const QStringList &ids) { return TaskRequest::pause(ids, later); });
}

void CmdHand::jobKeepRender()
{
    actOnJobs([](const QStringList &ids) { return TaskRequest::each(Command::ContinueRender, ids); });
}

void CmdHand::jobCancel()
{
    actOnJobs([](const QStringList &ids) { return TaskRequest::each(Command::CancelTask, ids); });
}

void CmdHand::jobRerender()
{
    actOnList([](const QStringList &ids) { return TaskRequest::list(Command::RerenderTask, ids); });
}

void CmdHand::jobHistory()
{
    actOnList([](const QStringList &ids) { return TaskRequest::list(Command::DeleteTask, ids); });
}

void CmdHand::jobHandover()
{
    const QString user = m_line.arg("userId");
    if (user.toLongLong() <= 0)
        fail(tr("参数异常"));
    else
        actOnList([user](const QStringList &ids) { return TaskRequest::handOver(ids, user); });
}

void CmdHand::jobLimit()
{
    const int nodes = m_line.arg("nodes").toInt();
    if (nodes <= 0)
        fail(tr("请输入正整数"));
    else
        actOnJobs([nodes](const QStringList &ids) { return TaskRequest::limit(ids, nodes); });
}

void CmdHand::jobRemark()
{
    const QString remark = m_line.arg("remark");
    actOnJobs([remark](const QStringList &ids) { return TaskRequest::remark(ids, remark); });
}

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
    withDetails([=](const QStringList &ids, const QVector<Answer> &answers) {
        QList<TaskRequest> requests;
        for (int i = 0; i < answers.size(); ++i)
            requests << TaskRequest::fill(ids[i], answers[i].doc.object(), frames);
        sendEach(requests);
    });
}
