#pragma once
// Fetches one result: asks the business server where it lies (10800), continues the partial file where it stands, takes
// the file server's stream to the row's size under the limit of Transfer/downSpeed, checks the hash and gives the file
// its name. Life and thread as in TransWork; what it tells is DownWorkFinished, exactly once. The handler reports the
// end to the server (10802), once it's noted in the store.
//
//   downReq -> answered -> initDown -> ticket -> connected (ask 70100) -> head -> stream -> fileHash -> finished
#include "transfer/down/DownTarget.h"
#include <QByteArray>
#include <QElapsedTimer>
#include <QJsonObject>

class DownWork : public DownTarget
{
    Q_OBJECT
public:
    explicit DownWork(std::shared_ptr<TransShare> share);

    Q_INVOKABLE void downReq(db_downfile file); // the first call, queued
    void initDownWork(QString token) override;
    void farmHostFound(QString host, int port) override;

    static constexpr int ReplyMs = 15000, TicketMs = 10000, ConnectMs = 30000, AskMs = 30000, DataMs = 15000;
    static constexpr int DataFollows = 7010003;
    static constexpr int ReadBlock = 1048576;
    static constexpr int PaceMs = 100;

private slots:
    void connected();
    void readData();
    void errorRecord(QAbstractSocket::SocketError error);

private:
    void answered(int val, const QJsonObject &answer);
    bool takeTarget(const QJsonObject &answer);
    void takeAnswer(const QJsonObject &answer);
    QString root() const override;
    void dropLink() override;
    void findServer();
    void connectSocket(const QString &ip);
    void receive(bool paced = true);
    qint64 mayRead(); // bytes that the limit allows now

    QByteArray m_block;
    bool m_headRead = false;
    QTimer *m_paceTimer = nullptr; // goes on reading under a limit
    QElapsedTimer m_paced;
    qint64 m_allowed = 0; // bytes left of the limit
};
