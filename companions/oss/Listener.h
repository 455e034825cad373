#pragma once
// The loopback port on which the client asks. A connection is heard once its first object begins with the secret that
// the client gave in the environment; with another one, or none within 5 s, it is closed without an answer. Jobs belong
// to the connection that asked: they stop, keeping their check points, when it goes. Main thread; each job has its own.
//
// In: JSON objects without framing ("upload", "pauseUpload"). Out: 8 decimal digits (the length in bytes), then that
// many bytes of JSON, all ASCII: {"func": "uploading", "rule", "upped"} at least once a second,
// {"func": "uploadFinish", "rule", "code", "text"} once a job.
#include "JsonStream.h"
#include "UploadJob.h"
#include <map>
#include <memory>
#include <QHash>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <thread>

class Listener : public QObject
{
    Q_OBJECT
public:
    explicit Listener(QByteArray secret, int sourceLimitMs = SourceFile::LimitMs);
    ~Listener() override;  // stops all jobs and waits for them
    bool listen(int port); // 0: any
    int port() const { return m_server.serverPort(); }
    QString errorString() const { return m_server.errorString(); }
    int serverError() const { return m_server.serverError(); }

private:
    static constexpr int TellMs = 500;
    static constexpr int MostConnections = 256;
    static constexpr int StrangerMs = 5000; // a connection that hasn't shown the secret by then is closed
    struct Link {
        QTcpSocket *socket = nullptr;
        JsonStream stream;
        bool known = false; // has shown the secret
    };
    struct Running {
        std::shared_ptr<UploadJob> job;
        QPointer<QTcpSocket> socket;
        std::thread thread;
        QJsonObject next; // asked for again while the old one is still stopping
        QPointer<QTcpSocket> nextSocket;
    };

    void connected();
    void read(QTcpSocket *socket);
    void take(QTcpSocket *socket, const QByteArray &text);
    void upload(QTcpSocket *socket, const QJsonObject &message);
    void pause(QTcpSocket *socket, const QString &rule);
    void ended(const QString &rule, int code);
    void gone(QTcpSocket *socket);
    void tellAll();
    static void send(QTcpSocket *socket, const QJsonObject &message);

    QTcpServer m_server;
    QByteArray m_secret;
    int m_sourceLimitMs;
    QHash<QTcpSocket *, Link> m_links;
    std::map<QString, Running> m_jobs; // by rule
    QTimer m_tell;
};
