#pragma once
// Reads a stream (a render log) from a file server: connects, sends one request, takes the reply's head off and hands
// on what follows. The head is the 28 bytes of every reply and four zero bytes that belong to it; what follows them is
// the file's. Lives on the thread that made it. Life: start() -> dataRead()... -> tcpDownOver(), once, also after an
// error. No more than BufferSize waits in memory: who is slow to take it slows the server down.
#include <QByteArray>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

class NetTcpDown : public QObject
{
    Q_OBJECT
public:
    static constexpr int HeadSize = 32; // of the file server's replies; the result code stands at byte 24
    static constexpr int PhaseOffset = 4, CodeOffset = 24, DataFollows = 7010003;
    static constexpr int SilenceMs = 30000; // without a byte the stream is given up
    static constexpr int BufferSize = 1 << 20;

    explicit NetTcpDown(QObject *parent = nullptr);
    void start(const QString &host, int port, const QByteArray &request, int silenceMs = SilenceMs);
    // The silence after the head that means the end, where nobody told how long the file is.
    void setEndSilence(int ms) { m_endSilenceMs = ms; }
    void stop();                        // ends it; tcpDownOver() follows
    int code() const { return m_code; } // of the reply's head; 0 before it
    bool answered() const { return m_head.size() == HeadSize; }
    bool refused() const { return m_refused; } // the request itself, such as for a stale token

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
    int m_code = 0, m_endSilenceMs = 0;
    bool m_over = false, m_refused = false;
};
