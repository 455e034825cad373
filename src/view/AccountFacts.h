#pragma once
// What the account has and may while a session stands: balance, name, rights. It asks the server at the start of a
// session and again each time the login stands anew, and tells pages by signals. Main thread; owned by Shell.
#include <QJsonObject>
#include <QObject>

class AccountFacts : public QObject
{
    Q_OBJECT
public:
    explicit AccountFacts(QObject *parent = nullptr);
    static double balance();                             // the last one that was told; 0 before
    static QString balanceText(const QJsonValue &value); // a number or a text: with two decimals

public slots:
    void ask();                          // rights, and the wish for pushes: both belong to a login
    void queryMoney();                   // asks for the balance
    void changeBalance(QJsonObject obj); // "balance" and "username", as polls and replies carry them

signals:
    void balanceChanged(QString text, double amount);
    void nameChanged(QString name);
    void rolePermChanged(); // UserInfo knows the new rights

private:
    void moneyOk(QString level, QString dis, QString money);
};
