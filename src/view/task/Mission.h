#pragma once
// The page "任务管理": live tasks, asked for anew every half minute while the page is shown, and all that can be done
// with them. Main thread; lives as long as the main window.
#include "view/task/BaseMission.h"

class Mission : public BaseMission
{
    Q_OBJECT
public:
    static constexpr int PollMs = 30000;
    Mission(TaskDesk *desk, QWidget *parent);

public slots:
    void allAct(); // follows what is selected
    void keeprenAct();
    void pauserenAct();
    void cancelrenAct();
    void delAct();
    void missHand(int type, QModelIndex index); // a button of the row: MissionHand::Hand
    void nodeHand(int idx, QModelIndex index);  // the most nodes

protected:
    void act(TaskAct::Act act, const QList<TaskRecord> &tasks) override;
    bool polls() const override { return true; }

private:
    void confirmed(TaskAct::Act act, const QList<TaskRecord> &tasks);
    void pause(const QStringList &ids, const QList<TaskRecord> &tasks);
    void trigger(TaskAct::Act act);
    QTimer m_poll;
};
