#pragma once
// The quiet line under the main window's head while the business link is lost: it says so and offers to try at once.
// It shows and hides itself. Main thread.
#include <QTimer>
#include <QWidget>

class LinkLine : public QWidget
{
    Q_OBJECT
public:
    explicit LinkLine(QWidget *parent);

private:
    void follow(bool loggedIn);
    QTimer m_wait; // a blink of the link isn't worth a word
};
