#pragma once
// The dialog "新增农场": the farms of the account that have no tab. Main thread.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/TickList.h"

class AddFarm : public DialogFrame
{
    Q_OBJECT
public:
    AddFarm(const QList<TickRow> &farms, QWidget *parent);

signals:
    void addFarmOk(QStringList idL);

private:
    TickList *m_list;
};
