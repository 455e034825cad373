#include "view/render/KeyFrame.h"
#include "common/facts/Command.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/kit/TickList.h"
#include "common/ui/MsgTool.h"
#include "db/Calls.h"
#include <algorithm>

KeyFrame::KeyFrame(QWidget *parent, std::function<void()> viewed)
    : DialogFrame(QStringLiteral("KeyFrame"), tr("优先帧完成"), parent), m_viewed(std::move(viewed)),
      m_until(new QLabel(this)), m_list(new TickList(QStringLiteral("tasks"), tr("等待确认的任务"),
                                                     {{tr("任务"), 0}, {tr("剩余时间"), 90}, {tr("状态"), 200}}, this))
{
    setHeading(tr("优先帧已渲染完成，是否继续渲染？"));
    m_until->setObjectName(QStringLiteral("warningText"));
    m_until->setWordWrap(true);
    content()->addWidget(m_until);
    m_list->setMinimumSize(560, 180);
    content()->addWidget(m_list, 1);
    addButton(tr("取消渲染"), Left, [this] {
        Question question;
        question.text = tr("确定取消渲染吗？");
        question.danger = true;
        if (!chosen().isEmpty())
            Question::ask(
                this, question, [this] { send(Command::CancelTask); }, this);
    });
    addButton(tr("查看结果"), Plain, [this] { view(); });
    addButton(tr("继续渲染"), Primary, [this] { send(Command::ContinueRender); });
    addButton(tr("稍后决定"), Close);
}

KeyFrame *KeyFrame::tell(QWidget *over, const QJsonObject &task, std::function<void()> viewed)
{
    QWidget *window = over->window();
    KeyFrame *dialog = nullptr;
    const auto there = window->findChildren<KeyFrame *>();
    for (KeyFrame *one : there)
        if (one->isVisible()) // one that is closing would lose the task
            dialog = one;
    const bool named = task.value(QLatin1String("missionId")).toVariant().toInt() > 0 ||
                       task.value(QLatin1String("id")).toVariant().toInt() > 0;
    if (!named)
        return dialog;
    const bool fresh = !dialog;
    if (fresh)
        dialog = new KeyFrame(window, std::move(viewed));
    dialog->add(task);
    if (fresh)
        dialog->open();
    return dialog;
}

void KeyFrame::add(const QJsonObject &body)
{
    const auto text = [&body](const char *key) { return body.value(QLatin1String(key)).toVariant().toString(); };
    const auto either = [&text](const char *first, const char *second) {
        return text(first).isEmpty() ? text(second) : text(first);
    };
    Task task;
    task.id = either("missionId", "id").toInt();
    task.hours = std::clamp(int(text("remainHour").toDouble()), 0, 24 * 365);
    task.name = either("name", "missionName").simplified();
    if (task.name.isEmpty())
        task.name = tr("任务 %1").arg(task.id);
    QStringList ticked = m_list->ticked();
    const auto known =
        std::find_if(m_tasks.begin(), m_tasks.end(), [&task](const Task &one) { return one.id == task.id; });
    if (known != m_tasks.end()) {
        task.asked = known->asked;
        task.state = known->state;
        *known = task;
    } else {
        m_tasks << task;
        ticked << QString::number(task.id);
    }
    show(ticked);
}

QStringList KeyFrame::cells(const Task &task) const
{
    return {task.name, task.hours > 0 ? tr("%1 小时").arg(task.hours) : QString(), task.state};
}

void KeyFrame::show(const QStringList &ticked)
{
    QList<TickRow> rows;
    int least = 0;
    for (const Task &task : qAsConst(m_tasks)) {
        rows << TickRow{QString::number(task.id), cells(task)};
        if (task.hours > 0 && (least == 0 || task.hours < least))
            least = task.hours;
    }
    m_list->setRows(rows, ticked);
    m_until->setVisible(least > 0);
    m_until->setText(tr("请在%1小时内确定，否则过期任务将自动取消").arg(least));
}

QList<int> KeyFrame::chosen() const
{
    QList<int> ids;
    for (const Task &task : m_tasks)
        if (!task.asked && m_list->isTicked(QString::number(task.id)))
            ids << task.id;
    return ids;
}

void KeyFrame::send(int cmd)
{
    for (int id : chosen()) {
        for (Task &task : m_tasks)
            if (task.id == id) {
                task.asked = true;
                task.state = tr("正在发送…");
                m_list->setCells({{QString::number(id), cells(task)}});
            }
        ServerCall::ask(this, cmd, {{QStringLiteral("missionId"), id}},
                        [this, id](const ServerCall::Answer &answer) { answered(id, answer.text()); });
    }
}

void KeyFrame::answered(int id, const QString &fault)
{
    for (int i = 0; i < m_tasks.size(); ++i) {
        if (m_tasks.at(i).id != id)
            continue;
        m_tasks[i].asked = false;
        m_tasks[i].state = fault;
        if (fault.isEmpty())
            m_tasks.removeAt(i);
        show(m_list->ticked());
        break;
    }
    if (m_tasks.isEmpty())
        close();
}

// The tasks go on waiting: who has seen the frames answers then.
void KeyFrame::view()
{
    const QList<int> ids = chosen();
    const bool several = ids.size() > 1;
    bool sent = false;
    for (int id : ids)
        sent = Seam<DownCalls>::post([=](DownCalls &down) { down.missionResult(id, false, several); });
    if (sent && m_viewed)
        m_viewed();
    if (!sent && !ids.isEmpty())
        MsgTool::msgOk(this, tr("下载队列没有运行，请稍后再试"));
}
