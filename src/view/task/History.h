#pragma once
// The page "历史任务": tasks that were moved away. Asked for when it's shown and by its filters; nothing polls. Main
// thread; lives as long as the main window.
#include "view/task/BaseMission.h"

class History : public BaseMission
{
    Q_OBJECT
public:
    History(TaskDesk *desk, QWidget *parent);
};
