#pragma once
// The client's end of the loopback link to a program beside it. Nothing here waits: what is sent before the link stands
// goes out with it. Lives on its maker's thread. Destruction hands over what the system takes at once and closes.
#include <QByteArray>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

class LocalSocket : public QObject
{
    Q_OBJECT
public:
    static constexpr int ConnectMs = 3000;
    explicit LocalSocket(QObject *parent = nullptr);
    ~LocalSocket() override;

    void init(int port); // connects; failed() after ConnectMs at the latest
    void send(const QByteArray &text);

signals:
    void received(QByteArray bytes);
    void failed(int socketError); // QAbstractSocket::SocketError; once

private:
    void fail(int error);
    QTcpSocket m_socket;
    QTimer m_limit;
    QByteArray m_waiting;
    bool m_failed = false;
};
