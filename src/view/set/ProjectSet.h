#pragma once
// The account's projects: found, made, deleted, their environments opened. A page; owned by its window. Main thread.
#include "common/ui/kit/RecordModel.h"
#include <QJsonObject>
#include <QWidget>

class TablePage;

struct Project {
    QString key, name;
    QJsonObject obj;
    bool isDefault = false;
};

class ProjectSet : public QWidget
{
    Q_OBJECT
public:
    explicit ProjectSet(QWidget *parent);
    TablePage *table() const { return m_table; }
    void ask(); // reads the list anew

signals:
    void refreshEnvPre(int projectId); // the list has changed; 0: no certain one is meant

private:
    void makeActs();
    void take(const QJsonDocument &reply);
    void search();
    void create();
    void edit(const Project &project);
    void remove(const QList<Project> &projects);
    void removed();

    RecordModel<Project> *m_model;
    TablePage *m_table;
    QList<Project> m_all; // what the search looks through
    QStringList m_refused;
    int m_round = 0, m_open = 0;
};
