#pragma once
// The settings window: common, advanced, projects. "保存" keeps what was changed on the first two: auto-start, the
// config.ini keys, then the common record on the server (10303). Main thread; deletes itself when closed.
#include "common/ui/kit/DialogFrame.h"
#include <QJsonObject>

class CommonAdvanced;
class CommonSet;
class ProjectSet;
class QStackedWidget;
class SetPage;

class Set : public DialogFrame
{
    Q_OBJECT
public:
    enum Page { Common, Advanced, Projects };
    explicit Set(QWidget *parent);
    void showPage(int page);

signals:
    void languageChosen(QString word); // in force after a restart
    void saved();

public slots:
    void on_submit_clicked();

private:
    struct Outcome { // of what was done away from the window
        bool folder = true, autoStart = true;
    };
    void addPage(const QString &title, QWidget *page, bool scrolls);
    void keep();
    void kept(const Outcome &outcome, bool startNow);
    void send();

    CommonSet *m_common;
    CommonAdvanced *m_advanced;
    QStackedWidget *m_stack;
    QHBoxLayout *m_tabs;
    QVector<QPushButton *> m_buttons;
    QPushButton *m_save;
    bool m_startWas = false, m_startKnown = false;
};
