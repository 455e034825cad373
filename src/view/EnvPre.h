#pragma once
// The dialog between a drop and the analysis: in which project, with which software, on which machine. Reads the lists
// from the server, remembers the choices, puts the scenes into the analysis queue. Main thread; deletes itself.
#include "common/ui/BaseWidget.h"
#include "view/EnvChoice.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTimer;

class EnvPre : public BaseWidget
{
    Q_OBJECT
public:
    EnvPre(int softwareType, const QStringList &scenes, double balance, QWidget *parent);

signals:
    void submitted(); // its scenes are on their way into the store

private:
    void makeForm(const QStringList &scenes);
    void askProjects();
    void askProject(); // environments and machines of the chosen project
    void projectsReply(const QJsonDocument &doc);
    void environmentsReply(const QJsonDocument &doc);
    void machinesReply(const QJsonDocument &doc);
    void answered(); // one of the awaited replies is there
    void waitFor(int replies);
    void ask(int cmd, const QJsonObject &body, void (EnvPre::*take)(const QJsonDocument &));
    void accept();
    void insert();
    void remember() const;
    QJsonObject project() const;

    EnvChoice::Chosen m_chosen;
    QJsonArray m_projects, m_machines;
    QComboBox *m_project, *m_env, *m_machine;
    QLineEdit *m_maya = nullptr;
    QLabel *m_error;
    QPushButton *m_ok, *m_again;
    int m_open = 0;  // replies that are awaited
    int m_round = 0; // numbers the questions; answers for another project are dropped
};
