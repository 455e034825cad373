#include "io/local/PluginListen.h"
#include "common/facts/Command.h"
#include "common/Seam.h"
#include "common/WindowCalls.h"
#include "io/Ask.h"
#include <QDebug>
#include <QNetworkProxy>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>

PluginListen::PluginListen(QObject *parent) : QObject(parent), m_server(this)
{
    m_server.setProxy(QNetworkProxy::NoProxy);
    connect(&m_server, &QTcpServer::newConnection, this, &PluginListen::sketchConnect);
    Seam<PluginCalls>::attach(this, this);
}

PluginListen::~PluginListen()
{
    Seam<PluginCalls>::detach(this);
    stop();
}

bool PluginListen::start(int port)
{
    if (m_server.isListening())
        return true;
    if (m_server.listen(QHostAddress::LocalHost, quint16(port)))
        return true;
    qWarning().noquote() << "PluginListen::start" << port << m_server.errorString();
    return false;
}

void PluginListen::stop()
{
    m_server.close();
    for (QTcpSocket *socket : m_open.keys()) {
        socket->disconnect(this);
        socket->abort();
        socket->deleteLater();
    }
    m_open.clear();
}

void PluginListen::sketchConnect()
{
    while (QTcpSocket *socket = m_server.nextPendingConnection()) {
        qDebug().noquote() << "PluginListen::sketchConnect" << socket->peerPort();
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_open.remove(socket);
            socket->deleteLater();
        });
        if (m_open.size() >= MaxConnections) {
            qWarning().noquote() << "PluginListen::sketchConnect: too many connections, closed";
            socket->abort();
            continue;
        }
        Open open;
        open.pause = new QTimer(socket);
        open.pause->setSingleShot(true);
        open.pause->setInterval(PauseMs);
        connect(open.pause, &QTimer::timeout, this, [this, socket] {
            m_open[socket].request.pause();
            act(socket);
        });
        open.end = new QTimer(socket);
        open.end->setSingleShot(true);
        connect(open.end, &QTimer::timeout, this, [socket] {
            qWarning().noquote() << "PluginListen: took too long, closed";
            socket->abort();
        });
        open.end->start(TimeoutMs);
        m_open.insert(socket, open);
        connect(socket, &QTcpSocket::readyRead, this, &PluginListen::sketchRead);
    }
}

void PluginListen::sketchRead()
{
    auto *socket = qobject_cast<QTcpSocket *>(sender());
    const auto it = m_open.find(socket);
    if (it == m_open.end())
        return;
    const QByteArray data = socket->readAll();
    if (it->asked)
        return;
    it->pause->start();
    it->request.feed(data);
    act(socket);
}

void PluginListen::act(QTcpSocket *socket)
{
    const auto it = m_open.find(socket);
    if (it == m_open.end() || it->asked || it->request.state() == PluginRequest::Incomplete)
        return;
    it->asked = true;
    it->pause->stop();
    qDebug().noquote() << "PluginListen::act" << it->request.state() << it->request.projectId();
    switch (it->request.state()) {
    case PluginRequest::Projects:
        ask(socket, Command::Projects, {});
        break;
    case PluginRequest::Machines:
        ask(socket, Command::Machines, {{"projectId", it->request.projectId()}});
        break;
    case PluginRequest::Scene:
        Seam<WindowCalls>::post([order = it->request.order()](WindowCalls &window) { window.envpre(order); });
        emit refreshOrder();
        answer(socket, {});
        break;
    default:
        qWarning().noquote() << "PluginListen::act: not a request, closed";
        socket->abort();
    }
}

void PluginListen::ask(QTcpSocket *socket, int cmd, const QJsonObject &body)
{
    m_open[socket].end->start(2 * TimeoutMs);
    const QPointer<QTcpSocket> asker(socket);
    const auto say = [this, asker](const QJsonDocument &doc) {
        if (asker)
            answer(asker, doc.toJson(QJsonDocument::Compact));
    };
    Ask(cmd, body)
        .within(TimeoutMs)
        .any([say](int, const QJsonDocument &doc) { say(doc); })
        .lost([say](Ask::Loss) { say(QJsonDocument(QJsonObject())); })
        .send(this);
}

void PluginListen::answer(QTcpSocket *socket, const QByteArray &text)
{
    if (socket->state() != QAbstractSocket::ConnectedState)
        return;
    socket->write(text);
    socket->disconnectFromHost();
}
