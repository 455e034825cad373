#pragma once
// The editor of one environment: a version of the software, its plug-ins, the GPU. Reads what there is (10600, 10601),
// has the server keep it (10504 for a new one, else 10508). Main thread; deletes itself when closed.
#include "common/ui/kit/DialogFrame.h"
#include <QJsonArray>
#include <QJsonObject>

class Form;
class QCheckBox;
class QLineEdit;
class QListWidget;
class QToolButton;

class EnvNew : public DialogFrame
{
    Q_OBJECT
public:
    // env: the one to change; empty: a new one
    EnvNew(int projectId, int softwareType, const QJsonObject &env, QWidget *parent);

signals:
    void saved(int environmentId);

private slots:
    void on_toR_clicked(); // among the chosen
    void on_toL_clicked();

private:
    void makeLists();
    void askVersions();
    void askPlugins(bool byHand);
    void showLists();
    void save();
    void send();
    bool fresh() const { return m_env.isEmpty(); }

    const int m_projectId, m_softwareType;
    const QJsonObject m_env;
    QJsonArray m_offered, m_chosen;
    Form *m_form;
    QLineEdit *m_search;
    QListWidget *m_left, *m_right;
    QToolButton *m_toR, *m_toL;
    QCheckBox *m_gpu;
    int m_round = 0;
};
