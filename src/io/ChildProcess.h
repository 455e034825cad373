#pragma once
// A program beside the client that runs as long as this object does: it is started, and with autoRestart started again
// 5 s after it ended or couldn't start. Lives on its maker's thread, which needs an event loop; nothing here waits but
// the destructor, for a moment. The child is given a secret of its own in its environment (VANDREL_OSS_AUTH), anew at
// each start, and ends by itself when its standard input closes, so that it doesn't outlive a client that was killed.
//
//   init -> running (port 0) -> "socket_port <n>" on its standard output -> port n -> ended -> 5 s -> running ...
#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QTimer>

class ChildProcess : public QObject
{
    Q_OBJECT
public:
    static constexpr int RestartMs = 5000, WatchMs = 6000, EndMs = 500, PortMs = 20000;
    explicit ChildProcess(QObject *parent = nullptr);
    ~ChildProcess() override;

    // Ends what a client that has gone left behind of that program, and starts it. watchdog: a child that says nothing
    // for 6 s after it has spoken of anything but "working" is killed. readPort: its output tells the
    // port; one that hasn't after PortMs hangs, and is killed.
    void init(const QString &program, bool watchdog, bool autoRestart, bool readPort);
    void setRestartMs(int ms) { m_restart.setInterval(ms); }
    void setPortMs(int ms) { m_portLimit.setInterval(ms); }
    int socketPort() const { return m_socketPort; } // 0 until the child has told it
    QByteArray auth() const { return m_auth; }      // what the child that runs wants to hear first
    qint64 pid() const { return m_process.processId(); }

    // Of that program file, this user's, whose parent has gone or is this client; no others.
    static bool existProcess(const QString &program);
    static int killProcess(const QString &program);

private slots:
    void proStart();
    void proRead();
    void proFinish(int code);
    void selfOut(); // the watchdog's time is up
    void delayRestart();

private:
    void start();
    void failed(QProcess::ProcessError error);
    void takeLine(const QByteArray &line);
    void readErrors();

    QProcess m_process;
    bool m_watchdog = false, m_autoRestart = false, m_readPort = false;
    bool m_told = false; // that it can't start
    QTimer m_watch, m_restart, m_portLimit;
    int m_socketPort = 0;
    QString m_program;
    QByteArray m_auth, m_line; // m_line: of its output, until its end comes
};
