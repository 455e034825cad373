#include "view/task/History.h"
#include "common/ui/kit/TablePage.h"

History::History(TaskDesk *desk, QWidget *parent) : BaseMission(TaskFilter::Old, desk, parent)
{
    setObjectName(QStringLiteral("History"));
    using S = ActSpec;
    for (TaskAct::Act one : TaskAct::menu(true))
        addAct(one, S::Menu | (one == TaskAct::Fetch || one == TaskAct::Clone ? S::Bar : S::More));
    addAct(TaskAct::Remark, S::More, QKeySequence(Qt::Key_F2));
    build();
}
