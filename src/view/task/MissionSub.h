#pragma once
// The sub-tasks of a task, over the task list: getSubMission() asks for them, missSubHide() tells that the view was
// left. What it shows and does is MissionSubPage's; it opens the task's details and its operation record too, and the
// blocks of a frame (MissonBlock) over itself. Main thread.
#include "view/task/MissionSubPage.h"

class MissonBlock;

class MissionSub : public MissionSubPage
{
    Q_OBJECT
public:
    explicit MissionSub(QWidget *parent); // covers it while it's open
    void openTask(const TaskRecord &task);
    MissonBlock *blocks() const { return m_blocks; } // null: never opened

public slots:
    void getSubMission() { refresh(); }
    void on_detail_clicked();
    void on_hand_clicked();

signals:
    void missSubHide();

protected:
    int command() const override;
    QJsonObject body(int state, int page) const override;
    void addMore(QHBoxLayout *head) override;
    void openBlocks(const SubTask &sub) override;

private:
    MissonBlock *m_blocks = nullptr;
};
