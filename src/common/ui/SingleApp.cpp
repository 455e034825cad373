#include "common/ui/SingleApp.h"
#include "common/platform/PeerUser.h"
#include "common/platform/Platform.h"
#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

SingleApp::SingleApp(int &argc, char **argv) : QApplication(argc, argv) {}

bool SingleApp::handshake(const QString &name, bool check)
{
    connect(&m_instance, &Instance::showUp, this, &SingleApp::showUp);
    return !check || m_instance.take(name);
}

bool Instance::take(const QString &name)
{
    LocalSocketClient other;
    other.connectToServer(name, QIODevice::ReadWrite);
    if (other.waitForConnected(500)) {
        if (platform::peerIsOwn(other.socketDescriptor()))
            return false;
        qWarning().noquote() << "Instance::take: another user listens at" << name;
    }
    m_server = new LocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(name);
    if (!m_server->listen(name))
        qWarning().noquote() << "Instance::take" << name << m_server->errorString();
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *other = m_server->nextPendingConnection())
            connect(other, &QLocalSocket::disconnected, other, &QObject::deleteLater);
        emit showUp();
    });
    return true;
}

QString SingleApp::folder(const QString &runtime, const QString &data)
{
    const QFileInfo own(runtime);
    const auto others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    if (own.isAbsolute() && own.isDir() && own.ownerId() == QFileInfo(QDir::homePath()).ownerId() &&
        !(own.permissions() & others))
        return runtime;
    QDir().mkpath(data);
    return data;
}

QString SingleApp::instanceName(const QString &group)
{
    if (platform::isWindows())
        return group;
    // What one instance guards is the user's data: a data folder elsewhere is another client's.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Brontel";
    const QByteArray mark = QCryptographicHash::hash((group + data).toUtf8(), QCryptographicHash::Md5).toHex().left(8);
    constexpr int LongestPath = 100; // of a socket, in bytes
    const QString at = folder(qEnvironmentVariable("XDG_RUNTIME_DIR"), data) + QLatin1Char('/');
    const QString path = at + group + QLatin1Char('_') + QString::fromLatin1(mark);
    return path.toUtf8().size() <= LongestPath ? path : at + QString::fromLatin1(mark);
}
