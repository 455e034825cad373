#pragma once
// What the engine asks of the windows, through Seam<WindowCalls>. MainWindow implements it; without a window the calls
// are dropped and the engine goes on. All run on the main thread.
#include <QJsonObject>
#include <QString>
#include <QStringList>

class WindowCalls
{
public:
    virtual ~WindowCalls() = default;
    // A message of the engine for the user. It must never block the window's event loop.
    virtual void msgOk(const QString &text) = 0;
    // A passing note at the tray; an empty title reads "提示".
    virtual void showInfoMsg(const QString &title, const QString &text) = 0;
    // The result root doesn't exist: text, dirType (resultRootPathEnum), project and software it was for.
    virtual void rootMsg(const QString &text, int dirType, int projectId, int softwareType) = 0;
    // A transfer thread (TransScan type) has its store and handler: connect the page to it.
    virtual void connectDAOView(int type) = 0;
    // Some frames of a task are on disk, some aren't: ask, answer with DownCalls::coverResult.
    virtual void downCover(int missionId, const QString &text) = 0;
    // A server wants results in a folder that nobody here named: ask, answer yes with DownCalls::rootConfirmed.
    virtual void confirmRoot(const QString &root, const QString &task)
    {
        Q_UNUSED(root)
        Q_UNUSED(task)
    }
    virtual void downSpace(const QString &root) = 0;
    virtual void downErrorTip(const QString &text) = 0;
    virtual void redPoint() = 0;
    virtual void refreshOrder() = 0;
    // A plain list of scenes came in from another program: ask for environment, project and machine. err: why not.
    virtual void envPre(int softwareType, const QStringList &scenes, const QString &err)
    {
        Q_UNUSED(softwareType)
        Q_UNUSED(scenes)
        Q_UNUSED(err)
    }
    // Before envPre: the project folder that another program told for these scenes.
    virtual void projectTold(const QStringList &scenes, const QString &project)
    {
        Q_UNUSED(scenes)
        Q_UNUSED(project)
    }
    // A plug-in hands a scene over with its parameters, as PluginRequest reads them: only environment, project and
    // machine are left to ask.
    virtual void envpre(const QJsonObject &order) { Q_UNUSED(order) }
};
