#pragma once
// Polls notices and balance while a session stands. Main thread; owned by the main window. start() pulls at once and
// then every 10 s; notices go round every 20 s; the balance is asked for 1 s after the start.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QObject>
#include <QTimer>

class PullMsg : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    void start(); // once
    // A reply of 10311, as the poll takes it; apart from the poll for tests.
    void noticeReply(const QJsonDocument &doc);
    static QJsonArray listOf(const QJsonDocument &reply); // the entries of such a reply

signals:
    void changeNotice(QJsonObject obj);
    void changeBalance(QJsonObject obj);
    void newMsgCenter(int state); // 1: something new since it was last looked at
    void queryMoney();            // ask for the balance now

public slots:
    void noticeOut(); // the next notice of the round

private slots:
    void pullOut();
    void balanceHandle();

private:
    QTimer *m_pull = nullptr, *m_round = nullptr;
    QJsonArray m_notices;
    int m_index = 0;
};
