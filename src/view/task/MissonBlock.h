#pragma once
// The blocks that a frame was cut into, one level below MissionSub and over it: the same list, with the blocks'
// counters. Main thread; made when it's first needed.
#include "view/task/MissionSubPage.h"

class MissonBlock : public MissionSubPage
{
    Q_OBJECT
public:
    explicit MissonBlock(QWidget *parent);
    void openFrame(const TaskRecord &task, const SubTask &frame);

public slots:
    void getBlockMission() { refresh(); }
    void on_reRenBlock_clicked() { rerenAct(); }
    void on_refreshBlock_clicked() { refresh(); }
    void on_imageBtnBlock_clicked() { showSheet(); }
    void on_dirBlock_clicked() { openFolder(); }

protected:
    int command() const override;
    QJsonObject body(int state, int page) const override;

private:
    SubTask m_frame;
};
