#pragma once
// Answers the SketchUp plug-in on 127.0.0.1: it asks for projects and machines, and hands finished scenes over, which
// go to the window's dialog of environment and project (WindowCalls::envpre). One request a connection; see
// PluginRequest. Closed until a port is told: by Server/pluginPort, or through its seam when the plug-in is installed.
// Runs on the thread that it was moved to, where the calls arrive; a large scene is read there.
//
// A connection is closed after its answer, when its request is bad, and TimeoutMs after its beginning at the latest
// (an answer of the business server may take as long again). MaxConnections at once.
#include "common/Seam.h"
#include "io/local/PluginRequest.h"
#include <QHash>
#include <QObject>
#include <QTcpServer>

class QTcpSocket;
class QTimer;

class PluginCalls
{
public:
    virtual ~PluginCalls() = default;
    virtual void listen(int port) = 0;
};

class PluginListen : public QObject, public PluginCalls
{
    Q_OBJECT
public:
    static constexpr int DefaultPort = 46161, MaxConnections = 16;
    static constexpr int PauseMs = 200, TimeoutMs = 5000;

    explicit PluginListen(QObject *parent = nullptr);
    ~PluginListen() override;
    void listen(int port) override { start(port); }
    bool start(int port); // 0: any free one. False: not listening, logged
    void stop();
    quint16 port() const { return m_server.serverPort(); }
    int connections() const { return m_open.size(); }

signals:
    void refreshOrder(); // a scene was handed over

private slots:
    void sketchConnect();
    void sketchRead();

private:
    struct Open {
        PluginRequest request;
        QTimer *pause = nullptr, *end = nullptr; // children of the socket
        bool asked = false;
    };
    void act(QTcpSocket *socket);
    void ask(QTcpSocket *socket, int cmd, const QJsonObject &body);
    void answer(QTcpSocket *socket, const QByteArray &text);

    QTcpServer m_server;
    QHash<QTcpSocket *, Open> m_open;
};
