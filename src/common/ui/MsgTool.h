#pragma once
// Messages over a window. msgOk and ask return at once; the ...Loop forms run a nested event loop, which also ends when
// the parent or the application goes. toast() is a passing note in a window's corner, for where there is no tray.
// Main thread.
#include "common/ui/BaseWidget.h"
#include <functional>

class QLabel;
class QPushButton;

class MsgBox : public BaseWidget
{
    Q_OBJECT
public:
    enum Type { Ok = 0, Choose = 1 };
    enum Button { Cancelled = 0, Accepted = 1 };
    MsgBox(int type, const QString &text, QWidget *parent);
    void setAcceptText(const QString &text);
    void setBackText(const QString &text); // of the button that leaves all as it is
    void preferBack();                     // the focus stands there: for what can't be taken back
    void addBelow(QWidget *widget);        // between the text and the buttons
    void setIcon(const QString &name, const QColor &colour);
    QString text() const;

signals:
    void answered(int button); // once

public slots:
    void on_headClose_clicked() override;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void answer(int button);
    QLabel *m_icon = nullptr, *m_text = nullptr;
    QPushButton *m_accept = nullptr, *m_back = nullptr;
    bool m_done = false;
};

class MsgTool
{
public:
    static MsgBox *msgOk(const QString &text); // over the active window; a text that stands already isn't opened twice
    static MsgBox *msgOk(QWidget *parent, const QString &text);
    static MsgBox *ask(QWidget *parent, const QString &text, std::function<void()> accepted);
    static void msgOkLoop(const QString &text, QWidget *parent = nullptr);
    static bool msgChooseLoop(const QString &text, QWidget *parent = nullptr);
    static int msgLoop(int type, QString info, QWidget *parent); // MsgBox::Button
    static void toast(QWidget *window, const QString &title, const QString &text, int msecs = 5000);
};
