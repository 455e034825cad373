#include "view/task/MissionSub.h"
#include "common/facts/Command.h"
#include "view/task/MissionSubDialogs.h"
#include "view/task/MissonBlock.h"
#include <QPushButton>

MissionSub::MissionSub(QWidget *parent) : MissionSubPage(QStringLiteral("MissionSub"), false, parent)
{
    build();
    connect(this, &MissionSubPage::left, this, &MissionSub::missSubHide);
}

void MissionSub::openTask(const TaskRecord &task)
{
    if (m_blocks)
        m_blocks->hide();
    setHeading(task.name, task.num);
    start(task);
}

int MissionSub::command() const { return Command::SubTasks; }
QJsonObject MissionSub::body(int state, int page) const { return SubAsk::list(task().id, state, page); }

void MissionSub::addMore(QHBoxLayout *head)
{
    auto *detail = new QPushButton(tr("任务详情"));
    auto *record = new QPushButton(tr("操作记录"));
    connect(detail, &QPushButton::clicked, this, &MissionSub::on_detail_clicked);
    connect(record, &QPushButton::clicked, this, &MissionSub::on_hand_clicked);
    head->addWidget(detail);
    head->addWidget(record);
}

void MissionSub::on_detail_clicked() { MissionText::detail(this, task().id, task().name); }
void MissionSub::on_hand_clicked() { MissionText::operations(this, task().id, task().name); }

void MissionSub::openBlocks(const SubTask &sub)
{
    if (sub.blocks <= 0)
        return;
    if (!m_blocks)
        m_blocks = new MissonBlock(this);
    m_blocks->openFrame(task(), sub);
}
