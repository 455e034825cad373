#pragma once
// Paths and environments of one project, a tab for each software. Reads them with 10506; keeps the paths with 10509,
// the default with 10507, deletes with 10505; EnvNew makes and changes. Main thread; deletes itself when closed.
#include "common/ui/kit/DialogFrame.h"
#include <QJsonObject>
#include <QMap>

class EnvBlock;
class Form;

class EnvSet : public DialogFrame
{
    Q_OBJECT
public:
    EnvSet(int projectId, const QString &projectName, int softwareType, QWidget *parent);

signals:
    void refreshEnvPre(int projectId);                       // its environments have changed
    void refreshResultDir(QString dir, QString projectPath); // its paths have
    void gone();                                             // the server doesn't know the project any more

private:
    void makeTabs();
    void turn(int softwareType); // asks first where paths were typed and not kept
    void load(int softwareType);
    void ask();
    void take(const QJsonDocument &reply);
    void edit(const QJsonObject &env);
    void change(int cmd, const QJsonObject &env, const QString &failed);
    void savePaths();
    void sendPaths(const QString &work, const QString &output);

    const int m_projectId;
    int m_software;
    QMap<int, QPushButton *> m_tabs;
    Form *m_form;
    QPushButton *m_save = nullptr;
    EnvBlock *m_block;
    QJsonObject m_config;
    int m_round = 0;
};
