#include "view/task/MissonBlock.h"
#include "common/facts/Command.h"

MissonBlock::MissonBlock(QWidget *parent) : MissionSubPage(QStringLiteral("MissonBlock"), true, parent) { build(); }

void MissonBlock::openFrame(const TaskRecord &task, const SubTask &frame)
{
    m_frame = frame;
    setHeading(tr("分块详情：%1").arg(task.name), tr("第 %1 帧，%2 块").arg(frame.frames()).arg(frame.blocks));
    start(task);
}

int MissonBlock::command() const { return Command::Blocks; }

QJsonObject MissonBlock::body(int state, int page) const { return SubAsk::blocks(task().id, m_frame.id, state, page); }
