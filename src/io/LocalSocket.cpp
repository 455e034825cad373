#include "io/LocalSocket.h"
#include <QHostAddress>
#include <QNetworkProxy>

LocalSocket::LocalSocket(QObject *parent) : QObject(parent)
{
    m_socket.setProxy(QNetworkProxy::NoProxy);
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this, [this] { fail(QAbstractSocket::SocketTimeoutError); });
    connect(&m_socket, &QTcpSocket::connected, this, [this] {
        m_limit.stop();
        m_socket.write(m_waiting);
        m_waiting.clear();
    });
    connect(&m_socket, &QTcpSocket::readyRead, this, [this] { emit received(m_socket.readAll()); });
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError error) { fail(error); });
}

LocalSocket::~LocalSocket()
{
    m_socket.disconnect(this);
    if (m_socket.state() != QAbstractSocket::ConnectedState)
        return;
    m_socket.flush();
    m_socket.disconnectFromHost();
}

void LocalSocket::init(int port)
{
    m_limit.start(ConnectMs);
    m_socket.connectToHost(QHostAddress(QHostAddress::LocalHost), quint16(port));
}

void LocalSocket::send(const QByteArray &text)
{
    if (m_socket.state() == QAbstractSocket::ConnectedState)
        m_socket.write(text);
    else
        m_waiting += text;
}

void LocalSocket::fail(int error)
{
    m_limit.stop();
    if (m_failed)
        return;
    m_failed = true;
    emit failed(error);
}
