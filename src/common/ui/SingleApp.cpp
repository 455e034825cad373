#include "common/ui/SingleApp.h"
#include <QDebug>
#include <QDir>
#include <QFileInfo>

SingleApp::SingleApp(int &argc, char **argv) : QApplication(argc, argv) {}

bool SingleApp::handshake(const QString &name, bool check)
{
    if (!check)
        return true;
    m_socket = new LocalSocketClient(this);
    m_socket->connectToServer(name, QIODevice::ReadWrite);
    if (m_socket->waitForConnected(500))
        return false;
    m_server = new LocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(name);
    if (!m_server->listen(name))
        qWarning().noquote() << "SingleApp::handshake" << name << m_server->errorString();
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *other = m_server->nextPendingConnection())
            connect(other, &QLocalSocket::disconnected, other, &QObject::deleteLater);
        emit showUp();
    });
    return true;
}

QString SingleApp::instanceName(const QString &group)
{
    const uint owner = QFileInfo(QDir::homePath()).ownerId();
    return owner == uint(-2) ? group : group + QLatin1Char('_') + QString::number(owner);
}
