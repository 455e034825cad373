#pragma once
// The one long-lived link to the business server. A process-wide singleton, made by the first instance() on the main
// thread and never moved; the main thread owns the socket, the timer and the tables. Everyone else reaches it by nvds,
// which only copies and posts. A reply runs the callback on the asking thread, if its guard still lives; a request sent
// while the link is down, or before login (but for 10000, 10308, 10309), vanishes: callers bound their own wait.
//
// Life: not connected -> connected (heart beat ticks connect, every 6 s; 60 s once connected) -> logged in
// (setLogin(true)) -> lost: linkLost() and back to the start.
#include "io/Package.h"
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QMetaType>
#include <QObject>
#include <QPointer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <functional>

using TcpBack = std::function<void(int val, QJsonDocument doc)>;
Q_DECLARE_METATYPE(TcpBack)

class BackTcpTool : public QObject
{
    Q_OBJECT
public:
    Q_INVOKABLE void beginBack(TcpBack func, RecvPackageHead head, QByteArray ret, QPointer<QObject> po);
};

class NetTcp : public QObject
{
    Q_OBJECT
public:
    static NetTcp *instance();
    static void destroy(); // at the program's end, on the main thread
    // module = cmd / 100. The body goes out as compact JSON. qo: the guard; without one the reply is dropped.
    void nvds(int module, int cmd, QJsonObject body, TcpBack func = {}, QObject *qo = nullptr);
    void nvds(int module, int cmd, QByteArray &body, TcpBack func = {}, QObject *qo = nullptr);

    void setHost(const QString &host, int port);
    void reconnect();
    void setLogin(bool on);
    static bool isLogin();
    void resetLink();
    QTcpSocket *socket() const { return m_socket; }
    int heartInterval() const { return m_heartTimer.interval(); }
    int pending() const { return m_funcs.size(); }
    int badHeads() const { return m_parser.badHeads(); }

signals:
    void signalRecvPackage(QByteArray data, qlonglong len);
    void bsPush(int val, QJsonDocument doc, int cmd);
    void bsStream(int cmd, int val, QByteArray data);
    // For Login and TrayIcon, which live above this layer.
    void linkUp();              // the socket has connected
    void linkLost();            // the socket is gone
    void kicked(int reason);    // push 10001
    void loginChanged(bool on); // setLogin

private slots:
    void connected();
    void error(QAbstractSocket::SocketError err);
    void disconnected();
    void readyRead();
    void recvPackage(QByteArray package, qlonglong len);
    void heart();

private:
    NetTcp();
    void makeSocket(bool connectNow);
    void send(int module, int cmd, const QByteArray &body, const TcpBack &func, QPointer<QThread> th, QPointer<QObject> qo);

    QTcpSocket *m_socket = nullptr;
    int m_seq = 0;
    QMap<int, TcpBack> m_funcs;
    QMap<int, QPointer<QThread>> m_threads;
    QMap<int, QPointer<QObject>> m_objects;
    QTimer m_heartTimer;
    PackageReader m_parser;
    QString m_host;
    int m_port = 29909;
};
