#pragma once
// Links that other programs open the client with: nothing is done before the user has agreed, and one that comes before
// there is a session waits for it (the latest one). Main thread; made by the spine.
#include <QObject>
#include <QPointer>

class Login;
class MsgBox;

class LinkHand : public QObject
{
    Q_OBJECT
public:
    explicit LinkHand(Login *login);

public slots:
    void take(const QString &link); // anything: what isn't a link of the client's is logged and dropped

private:
    void ask();
    Login *m_login;
    int m_task = 0; // that waits; 0: none
    QPointer<MsgBox> m_box;
};
