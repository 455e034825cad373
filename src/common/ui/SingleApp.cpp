#include "common/ui/SingleApp.h"
#include "common/platform/PeerUser.h"
#include "common/platform/Platform.h"
#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QSessionManager>
#include <QStandardPaths>
#include <QThread>

namespace
{
// The script engine of the browser ends a script that ran for so long; it reads this when it starts.
constexpr int ScriptMs = 4000;
// It takes an alarm that comes too early for a stale one and sets no other, and timers may come 5 % too early.
constexpr int LateMs = ScriptMs / 20 + 10;
const char *const ScriptAlarm = "WTF::WorkQueue::WorkItemQt";

bool limitScripts()
{
    return qEnvironmentVariableIsSet("JSC_watchdog") || qputenv("JSC_watchdog", QByteArray::number(ScriptMs));
}
} // namespace

SingleApp::SingleApp(int &argc, char **argv) : QApplication(argc, argv)
{
    limitScripts();
    // Windows that hide instead of closing would refuse the log-off.
    setFallbackSessionManagementEnabled(false);
    connect(this, &QGuiApplication::commitDataRequest, this, [](QSessionManager &session) {
        qDebug().noquote() << "SingleApp: the system asks for the end of the session";
        session.setRestartHint(QSessionManager::RestartNever); // all work is in the stores already
    });
}

bool SingleApp::notify(QObject *receiver, QEvent *event)
{
    if (event->type() == QEvent::Timer && QThread::currentThread() != thread() &&
        qstrcmp(receiver->metaObject()->className(), ScriptAlarm) == 0)
        QThread::msleep(LateMs);
    return QApplication::notify(receiver, event);
}

// Asked to go by the session manager: no window is asked for leave, they would hide themselves and stay.
bool SingleApp::event(QEvent *event)
{
    if (event->type() != QEvent::Quit)
        return QApplication::event(event);
    exit(0);
    return true;
}

bool SingleApp::handshake(const QString &name, bool check, const QString &message)
{
    connect(&m_instance, &Instance::showUp, this, &SingleApp::showUp);
    connect(&m_instance, &Instance::told, this, &SingleApp::told);
    return !check || m_instance.take(name, message);
}

bool Instance::take(const QString &name, const QString &message)
{
    LocalSocketClient other;
    other.connectToServer(name, QIODevice::ReadWrite);
    if (other.waitForConnected(500)) {
        if (platform::peerIsOwn(other.socketDescriptor())) {
            if (!message.isEmpty()) {
                other.write(message.left(MaxMessage / 4).toUtf8() + '\n');
                other.waitForBytesWritten(MessageMs);
                other.disconnectFromServer();
            }
            return false;
        }
        qWarning().noquote() << "Instance::take: another user listens at" << name;
    }
    m_server = new LocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    QLocalServer::removeServer(name);
    if (!m_server->listen(name))
        qWarning().noquote() << "Instance::take" << name << m_server->errorString();
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *other = m_server->nextPendingConnection())
            welcome(other);
        emit showUp();
    });
    return true;
}

void Instance::welcome(QLocalSocket *other)
{
    const auto read = [this, other] {
        if (other->canReadLine())
            emit told(QString::fromUtf8(other->readLine(MaxMessage).trimmed()));
        else if (other->bytesAvailable() > MaxMessage)
            other->abort();
    };
    connect(other, &QLocalSocket::disconnected, other, &QObject::deleteLater);
    connect(other, &QLocalSocket::readyRead, this, read);
    read();
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
