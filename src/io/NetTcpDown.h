#pragma once
// Reads a stream (a render log) from a file server: connects, sends one request, takes the reply's head off and hands
// on what follows. Lives on the thread that made it. Life: start() -> dataRead()... -> tcpDownOver(), once, also after
// an error.
#include <QByteArray>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

class NetTcpDown : public QObject
{
    Q_OBJECT
public:
    static constexpr int HeadSize = 32; // of the file server's replies; the result code stands at byte 24
    static constexpr int CodeOffset = 24, DataFollows = 7010003;
    static constexpr int SilenceMs = 30000; // without a byte the stream is given up

    explicit NetTcpDown(QObject *parent = nullptr);
    void start(const QString &host, int port, const QByteArray &request, int silenceMs = SilenceMs);
    void stop();                        // ends it; tcpDownOver() follows
    int code() const { return m_code; } // of the reply's head; 0 before it

signals:
    void dataRead(QByteArray data);
    void tcpDownOver();

private slots:
    void connected();
    void readyRead();
    void error(QAbstractSocket::SocketError error);

private:
    QTcpSocket m_socket;
    QTimer m_silence;
    QByteArray m_request, m_head;
    int m_code = 0;
    bool m_over = false;
};
