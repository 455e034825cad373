#include "view/task/Mission.h"
#include "common/facts/Command.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "task/TaskConfirm.h"
#include "view/task/MissionItems.h"
#include "view/task/MissionPri.h"
#include "view/task/NodeLimit.h"
#include "view/task/PauseRender.h"
#include "view/task/TakeOver.h"
#include <QAction>

Mission::Mission(TaskDesk *desk, QWidget *parent) : BaseMission(TaskFilter::Live, desk, parent)
{
    setObjectName(QStringLiteral("Mission"));
    using S = ActSpec;
    for (TaskAct::Act one : TaskAct::menu(false)) {
        const bool bar = one == TaskAct::Pause || one == TaskAct::Continue || one == TaskAct::Cancel ||
                         one == TaskAct::RerenderFailed || one == TaskAct::Fetch;
        addAct(one, S::Menu | (bar ? S::Bar : S::More),
               one == TaskAct::ToHistory ? QKeySequence(QKeySequence::Delete) : QKeySequence());
    }
    addAct(TaskAct::Limit, S::More);
    addAct(TaskAct::Remark, S::More, QKeySequence(Qt::Key_F2));
    RecordView *view = table()->view();
    auto *hand = new MissionHand(&UserInfo::denied, view);
    view->setItemDelegateForColumn(model()->columnOf(QStringLiteral("hand")), hand);
    build();
    connect(hand, &BaseItemDelegate::baseItemHand, this, &Mission::missHand);
    const auto *remark =
        static_cast<BaseItemDelegate *>(view->itemDelegateForColumn(model()->columnOf(QStringLiteral("remark"))));
    connect(remark, &BaseItemDelegate::baseItemHand, this, &Mission::nodeHand);
    m_poll.setInterval(PollMs);
    connect(&m_poll, &QTimer::timeout, this, &BaseMission::delayGetMission);
    m_poll.start();
}

void Mission::act(TaskAct::Act act, const QList<TaskRecord> &tasks)
{
    QStringList ids;
    for (const TaskRecord &task : tasks)
        ids << task.id;
    switch (act) {
    case TaskAct::Continue:
    case TaskAct::Pause:
    case TaskAct::Cancel:
        confirmed(act, tasks);
        break;
    case TaskAct::FullSpeed:
        send(act, TaskRequest::each(Command::ContinueRender, ids), tasks);
        break;
    case TaskAct::RerenderFailed:
        send(act, {TaskRequest::list(Command::RerenderTask, ids)}, tasks);
        break;
    case TaskAct::ToHistory:
        send(act, {TaskRequest::list(Command::DeleteTask, ids)}, tasks);
        break;
    case TaskAct::HandOver:
        (new TakeOver(tasks, desk(), this))->open();
        break;
    case TaskAct::Priority:
        (new MissionPri(tasks.first().farmId, tasks.first().id, desk(), this))->open();
        break;
    case TaskAct::Limit:
        (new NodeLimit(NodeLimit::Limit, tasks, desk(), this))->open();
        break;
    default:
        BaseMission::act(act, tasks);
    }
}

void Mission::confirmed(TaskAct::Act act, const QList<TaskRecord> &tasks)
{
    const auto question = [this](const QString &text, const TaskConfirm::Answer &answer) {
        auto *box = new MsgBox(MsgBox::Choose, text, window());
        connect(box, &MsgBox::answered, this, [answer](int button) { answer(button == MsgBox::Accepted); });
        box->open();
    };
    const auto done = [this, act, tasks](const QStringList &ids) {
        if (ids.isEmpty())
            return;
        if (act == TaskAct::Pause)
            return pause(ids, tasks);
        const int cmd = act == TaskAct::Continue ? Command::ContinueRender : Command::CancelTask;
        send(act, TaskRequest::each(cmd, ids), tasks);
    };
    TaskConfirm::begin(act, tasks, question, done, this);
}

void Mission::pause(const QStringList &ids, const QList<TaskRecord> &tasks)
{
    auto *dialog = new PauseRender(this);
    connect(dialog, &PauseRender::chosen, this, [this, ids, tasks](int pauseRender) {
        if (pauseRender != PauseRender::None)
            send(TaskAct::Pause, TaskRequest::pause(ids, pauseRender == PauseRender::Later), tasks);
    });
    dialog->open();
}

void Mission::missHand(int type, QModelIndex index)
{
    const QString key = model()->keyOf(index);
    switch (type) {
    case MissionHand::Detail:
        return table()->acts()->run(TaskAct::name(TaskAct::Detail), {key});
    case MissionHand::Rerender:
        return table()->acts()->run(TaskAct::name(TaskAct::RerenderFailed), {key});
    case MissionHand::Priority:
        return table()->acts()->run(TaskAct::name(TaskAct::Priority), {key});
    case MissionHand::More:
        return table()->openMenu({key}, QCursor::pos());
    default:
        return;
    }
}

void Mission::nodeHand(int idx, QModelIndex index)
{
    if (idx == NodeItem::Limit)
        (new NodeLimit(NodeLimit::Limit, {recordAt(index)}, desk(), this))->open();
}

void Mission::allAct() { baseAllAct(); }
void Mission::trigger(TaskAct::Act act) { table()->acts()->action(TaskAct::name(act))->trigger(); }
void Mission::keeprenAct() { trigger(TaskAct::Continue); }
void Mission::pauserenAct() { trigger(TaskAct::Pause); }
void Mission::cancelrenAct() { trigger(TaskAct::Cancel); }
void Mission::delAct() { trigger(TaskAct::ToHistory); }
