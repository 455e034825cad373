#pragma once
// A page of tasks: the list of the server page by page, its filters and sorting, and what can be done with the tasks on
// both pages; Mission and History say what they add. The list is never pushed: it's asked for when the page is shown,
// by filters, sorting and pages, a moment after each operation, and by Mission's clock; not while a menu is open over
// it. Rows change in place, a reply that changes nothing repaints nothing. What is done goes through the TaskDesk. Main
// thread; lives as long as the main window.
#include "common/ui/BaseWidget.h"
#include "task/TaskDesk.h"
#include "task/TaskDetails.h"
#include "task/TaskFilter.h"
#include "view/task/TaskModel.h"
#include <QMenu>

class NodeItem;
class TablePage;
class TaskFilterMenus;
struct ActSpec;

class BaseMission : public BaseWidget
{
    Q_OBJECT
public:
    static constexpr int DelayMs = 1000;
    BaseMission(TaskFilter::Page kind, TaskDesk *desk, QWidget *parent);
    ~BaseMission() override;
    TablePage *table() const { return m_table; }
    TaskModel *model() const { return m_model; }
    TaskFilterMenus *filters() const { return m_menus; }
    void rightsChanged();
    void setBalance(double balance) { m_balance = balance; }
    void openTask(const QString &id);                            // its detail, whether the list holds it or not
    void learn(const QString &id, const QList<SubTask> &frames); // how much a task's frames differ
    void setDelay(int ms) { m_delay.setInterval(ms); }
    bool answered() const { return m_shown == m_round; } // what was asked last is shown

public slots:
    void baseAllAct();                // follows what is selected
    void baseHasAction(QAction *act); // ... for one action
    void envAct();
    void fillAct();
    void openldirAct();
    void downAct();
    void searchName(int type, QString name);
    void getMission(bool clear);
    void getMission() { getMission(false); }
    void delayGetMission();
    void fillOkTip();
    void markHand(int idx, QModelIndex index); // the remark's button

signals:
    void pageWanted(QString key); // another page of the window
    void orderCount(int sel, int sum);
    void detailWanted(TaskRecord task);

protected:
    void build(); // by the pages, once they've said what they add
    void addAct(TaskAct::Act act, int places, const QKeySequence &keys = {});
    virtual void act(TaskAct::Act act, const QList<TaskRecord> &tasks);
    virtual bool polls() const { return false; } // asked for only while it's shown
    bool possible(TaskAct::Act act, const TaskRecord &task) const;
    void send(TaskAct::Act act, const QList<TaskRequest> &requests, const QList<TaskRecord> &tasks);
    QList<TaskRecord> records(const QStringList &keys) const;
    TaskRecord recordAt(const QModelIndex &index) const;
    TaskDesk *desk() const { return m_desk; }
    void menuOpens(QMenu *menu);
    void showEvent(QShowEvent *event) override;

private:
    void listen();
    void headHit(int section);
    void askMenus();
    void reply(int round, const QJsonObject &body, const QJsonObject &list, const QString &fault);
    void fill(const QList<TaskRecord> &tasks);
    void showDoing(const QStringList &ids);
    TaskRow rowOf(const TaskRecord &task) const;
    void count();
    void clone(const QList<TaskRecord> &tasks);
    void openFolders(const QList<TaskRecord> &tasks);
    void download(const QList<TaskRecord> &tasks);
    void withDetails(const QList<TaskRecord> &tasks, std::function<void(const QList<TaskDetail> &)> next);
    void fillFrames(const QList<TaskDetail> &details);
    void changeEnvironment(const QList<TaskDetail> &details);
    void triggered(const char *act);

    TaskFilter m_filter;
    TaskDesk *m_desk;
    TaskModel *m_model;
    TablePage *m_table;
    TaskFilterMenus *m_menus;
    QLabel *m_count;
    QTimer m_delay;
    EtaBook m_eta;
    QPointer<QMenu> m_menu;       // open over the list
    QJsonObject m_asked;          // body of the last question
    int m_round = 0, m_shown = 0; // numbers of the last question, of the one whose answer is shown
    double m_balance = 1;         // until it's known nobody is refused
    bool m_menusAsked = false;
};
