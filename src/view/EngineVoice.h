#pragma once
// The engine's calls to the windows (WindowCalls), as signals that pages subscribe to; messages and notes it shows
// itself. Attached while it lives, main thread; owned by Shell.
#include "common/WindowCalls.h"
#include <QObject>
#include <QPointer>

class MsgBox;
class QWidget;

class EngineVoice : public QObject, public WindowCalls
{
    Q_OBJECT
public:
    explicit EngineVoice(QWidget *window);
    ~EngineVoice() override;

    void msgOk(const QString &text) override;
    void showInfoMsg(const QString &title, const QString &text) override;
    void rootMsg(const QString &text, int dirType, int projectId, int softwareType) override;
    void confirmRoot(const QString &root, const QString &task) override;
    void connectDAOView(int type) override { emit queueStands(type); }
    void downCover(int missionId, const QString &text) override { emit coverAsked(missionId, text); }
    void downSpace(const QString &root) override { emit spaceMissing(root); }
    void downErrorTip(const QString &text) override;
    void redPoint() override { emit downloaded(); }
    void refreshOrder() override { emit ordersChanged(); }
    void envPre(int softwareType, const QStringList &scenes, const QString &err) override
    {
        emit scenesGiven(softwareType, scenes, err);
    }
    void projectTold(const QStringList &scenes, const QString &project) override { emit projectGiven(scenes, project); }
    void envpre(const QJsonObject &order) override { emit sceneFinished(order); }

signals:
    void queueStands(int type); // a transfer queue has its store and handler: its number
    void coverAsked(int missionId, QString text);
    void spaceMissing(QString root);
    void rootMissing(int dirType, int projectId, int softwareType); // the user wants to set it
    void balanceMissing(QString text);
    void downloaded();
    void ordersChanged();
    void projectGiven(QStringList scenes, QString project); // before scenesGiven
    void sceneFinished(QJsonObject order);                  // by a plug-in
    void scenesGiven(int softwareType, QStringList scenes, QString err);

private:
    QWidget *m_window;
    QPointer<MsgBox> m_root;
};
