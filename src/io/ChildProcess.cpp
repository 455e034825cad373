#include "io/ChildProcess.h"
#include "common/platform/Platform.h"
#include <QDebug>
#include <QFile>
#include <QRandomGenerator>

namespace
{
constexpr int LineCeiling = 4096; // a child that prints rubbish without an end of line

QByteArray newSecret()
{
    quint32 words[8];
    QRandomGenerator::system()->fillRange(words);
    return QByteArray(reinterpret_cast<const char *>(words), sizeof words).toHex();
}
} // namespace

ChildProcess::ChildProcess(QObject *parent) : QObject(parent)
{
    m_watch.setSingleShot(true);
    m_watch.setInterval(WatchMs);
    m_restart.setSingleShot(true);
    m_restart.setInterval(RestartMs);
    m_portLimit.setSingleShot(true);
    m_portLimit.setInterval(PortMs);
    connect(&m_portLimit, &QTimer::timeout, this, &ChildProcess::selfOut);
    connect(&m_watch, &QTimer::timeout, this, &ChildProcess::selfOut);
    connect(&m_restart, &QTimer::timeout, this, &ChildProcess::delayRestart);
    connect(&m_process, &QProcess::started, this, &ChildProcess::proStart);
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &ChildProcess::proRead);
    connect(&m_process, &QProcess::readyReadStandardError, this, &ChildProcess::readErrors);
    connect(&m_process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, &ChildProcess::proFinish);
    connect(&m_process, &QProcess::errorOccurred, this, &ChildProcess::failed);
}

ChildProcess::~ChildProcess()
{
    m_process.disconnect(this);
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.closeWriteChannel();
    if (!m_process.waitForFinished(EndMs)) {
        m_process.kill();
        m_process.waitForFinished(EndMs);
    }
}

bool ChildProcess::existProcess(const QString &program)
{
    return !platform::strays(QFile::encodeName(program).toStdString()).empty();
}

int ChildProcess::killProcess(const QString &program)
{
    const int ended = platform::killStrays(QFile::encodeName(program).toStdString());
    qDebug().noquote() << "ChildProcess::killProcess" << program << ended;
    return ended;
}

void ChildProcess::init(const QString &program, bool watchdog, bool autoRestart, bool readPort)
{
    m_program = program;
    m_watchdog = watchdog;
    m_autoRestart = autoRestart;
    m_readPort = readPort;
    if (existProcess(program))
        killProcess(program);
    start();
}

void ChildProcess::start()
{
    m_auth = newSecret();
    m_line.clear();
    if (m_readPort)
        m_socketPort = 0;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("__COMPAT_LAYER"));
    environment.insert(QStringLiteral("VANDREL_OSS_AUTH"), QString::fromLatin1(m_auth));
    m_process.setProcessEnvironment(environment);
    m_process.start(m_program, QStringList(), QIODevice::ReadWrite);
}

void ChildProcess::proStart()
{
    qDebug().noquote() << "ChildProcess::proStart" << m_program << m_process.processId();
    m_told = false;
    m_watch.stop();
    if (m_readPort)
        m_portLimit.start();
}

void ChildProcess::proRead()
{
    const QByteArray text = m_process.readAllStandardOutput();
    if (m_watchdog) {
        if (text.contains("working"))
            m_watch.stop();
        else
            m_watch.start();
    }
    if (!m_readPort)
        return;
    m_line += text;
    for (int end = m_line.indexOf('\n'); end >= 0; end = m_line.indexOf('\n')) {
        takeLine(m_line.left(end).trimmed());
        m_line.remove(0, end + 1);
    }
    if (m_line.size() > LineCeiling)
        m_line.clear();
}

// The first port counts; what a child says after it doesn't move those that are connected.
void ChildProcess::takeLine(const QByteArray &line)
{
    static const QByteArray word("socket_port ");
    bool good = false;
    const int port = line.startsWith(word) ? line.mid(word.size()).toInt(&good) : 0;
    if (m_socketPort == 0 && good && port > 0 && port <= 65535) {
        m_socketPort = port;
        m_portLimit.stop();
    }
    qDebug().noquote() << "ChildProcess::takeLine" << QString::fromUtf8(line.left(200));
}

void ChildProcess::readErrors()
{
    const QList<QByteArray> lines = m_process.readAllStandardError().right(LineCeiling).split('\n');
    for (const QByteArray &line : lines)
        if (!line.trimmed().isEmpty())
            qWarning().noquote() << "ChildProcess::readErrors" << QString::fromUtf8(line.trimmed());
}

void ChildProcess::failed(QProcess::ProcessError error)
{
    if (error != QProcess::FailedToStart)
        return; // the others are followed by finished
    if (!m_told)
        qWarning().noquote() << "ChildProcess::failed" << m_program << m_process.errorString() << 100100 + int(error);
    m_told = true;
    if (m_autoRestart)
        m_restart.start();
}

void ChildProcess::proFinish(int code)
{
    qWarning().noquote() << "ChildProcess::proFinish" << m_program << code << m_process.errorString()
                         << 100100 + int(m_process.error());
    m_watch.stop();
    m_portLimit.stop();
    if (m_readPort)
        m_socketPort = 0;
    if (m_autoRestart)
        m_restart.start();
}

void ChildProcess::selfOut()
{
    qWarning().noquote() << "ChildProcess::selfOut" << m_program << "says nothing";
    m_process.kill();
}

void ChildProcess::delayRestart()
{
    if (m_process.state() == QProcess::NotRunning)
        start();
}
