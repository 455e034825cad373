#pragma once
// Another machine or other plug-ins for tasks that are on the farm already: what they have is shown, what there is is
// asked for, the choice goes to the server. Main thread; deletes itself.
#include "view/task/DetailQueue.h"
#include <QJsonArray>

class Form;
class TickList;

class ModifyEnv : public DetailQueue
{
    Q_OBJECT
public:
    ModifyEnv(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent);

signals:
    void modifyEnvOk();

public slots:
    void env_gpu_clicked(bool on); // machines with a GPU, or the others

protected:
    void shown() override;
    bool check() override;
    TaskRequest request(const TaskDetail &task) const override;
    TaskAct::Act act() const override { return TaskAct::ChangeEnvironment; }
    void taken() override { emit modifyEnvOk(); }

private:
    void askMachines();
    void askPlugins();
    void showMachines();
    QString software() const; // as the server lists it
    QJsonArray chosenPlugins() const;

    QJsonArray m_machines, m_plugins;
    Form *m_form;
    class QCheckBox *m_gpu;
    TickList *m_list;
    int m_round = 0;
    bool m_known = false; // plug-ins are there: what is ticked counts
};
