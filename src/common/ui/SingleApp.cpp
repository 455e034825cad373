#include "common/ui/SingleApp.h"
#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

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
    if (owner == uint(-2))
        return group;
    // What one instance guards is the user's data: a data folder elsewhere is another client's.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QByteArray mark = QCryptographicHash::hash(data.toUtf8(), QCryptographicHash::Md5).toHex().left(8);
    return QStringLiteral("%1_%2_%3").arg(group, QString::number(owner), QString::fromLatin1(mark));
}
