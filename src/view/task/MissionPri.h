#pragma once
// The queue of a farm: its tasks in the order in which they'll be rendered, moved up, down, to either end or by the
// mouse. Each move is one command; the server's list is asked for anew after it. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/RecordModel.h"
#include "task/TaskDesk.h"

class QComboBox;
class TablePage;

struct PriRow {
    QString job, name, project, user, time;
    TaskState::Stand stand;
    static QList<PriRow> list(const QJsonObject &reply); // of 10420
    bool operator==(const PriRow &other) const;
};

class MissionPri : public DialogFrame
{
    Q_OBJECT
public:
    enum Way { Up, Down, Top, Bottom };
    struct Move {
        QStringList jobs;
        QString anchor; // empty: nothing is to be moved
        bool behind = false;
    };
    MissionPri(int farmId, const QString &job, TaskDesk *desk, QWidget *parent); // job: selected at first
    TablePage *table() const { return m_table; }
    // order: all jobs; jobs: those to move, in the order of the list.
    static Move moveOf(Way way, const QStringList &order, const QStringList &jobs);
    static Move moveBefore(const QString &before, const QStringList &order, const QStringList &jobs);

public slots:
    void on_refresh_clicked();

private:
    void addActs();
    void send(const Move &move);
    void showFarms(const QJsonArray &farms);

    int m_farm;
    QString m_first;
    TaskDesk *m_desk;
    RecordModel<PriRow> *m_model;
    TablePage *m_table;
    QComboBox *m_farms;
    int m_round = 0;
    bool m_moving = false;
};
