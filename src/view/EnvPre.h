#pragma once
// The dialog between a drop and the analysis: in which project, with which software, on which machine. Reads the lists
// from the server, remembers the choices, puts the scenes into the analysis queue. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "view/EnvChoice.h"

class Form;

class EnvPre : public DialogFrame
{
    Q_OBJECT
public:
    EnvPre(int softwareType, const QStringList &scenes, double balance, QWidget *parent);

    void setMayaProject(const QString &folder); // as the program that gave the scenes knows it
    // The scene has been analysed by its own host: order is what it found, as PluginRequest::order tells; it goes on
    // with the order at once. Its project is preferred.
    void setFinished(const QJsonObject &order);

    // Another program called: what becomes of it is told there.
    void setCaller(std::function<void(const QString &text)> caller) { m_caller = std::move(caller); }

signals:
    void submitted(); // its scenes are on their way into the store

public slots:
    void refreshEnvPre(int projectId); // lists have changed; 0: no certain project is meant
    void refreshResultDir(const QString &dir, const QString &projectPath);

protected:
    struct Kind {
        bool local = true; // the scenes lie on this machine
        QString accept;    // of the button; empty: "开始解析"
    };
    EnvPre(int softwareType, const QStringList &scenes, double balance, QWidget *parent, const Kind &kind);
    virtual void insert(); // all is chosen
    void remember() const;
    EnvChoice::Chosen m_chosen;

private:
    void makeForm();
    void chosen(const QString &key);
    void askProjects();
    void askProject(); // environments and machines of the chosen project
    void projectsReply(const QJsonDocument &doc);
    void environmentsReply(const QJsonDocument &doc);
    void machinesReply(const QJsonDocument &doc);
    void answered(); // one of the awaited replies is there
    void waitFor(int replies);
    void ask(int cmd, const QJsonObject &body, void (EnvPre::*take)(const QJsonDocument &));
    void fill(const QString &key, const QJsonArray &list, int current, QString (*text)(const QJsonObject &));
    void showWorkPath(const QString &path);
    QJsonObject picked(const QString &key, const QJsonArray &list) const; // what is chosen of it
    QJsonArray environments() const { return m_chosen.config.value(QLatin1String("combos")).toArray(); }
    QJsonObject project() const;
    void accept();
    void create();
    void edit();

    const bool m_local;
    QJsonArray m_projects, m_machines;
    QString m_projectWish, m_envWish, m_machineWish; // the last ones used, then those chosen here
    QString m_workPath;                              // as filled in, not typed
    std::function<void(const QString &)> m_caller;
    Form *m_form = nullptr;
    QPushButton *m_ok = nullptr, *m_edit = nullptr;
    int m_open = 0;  // replies that are awaited
    int m_round = 0; // numbers the questions; answers for another project are dropped
    bool m_filling = false;
};
