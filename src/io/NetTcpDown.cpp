#include "io/NetTcpDown.h"
#include <QDebug>
#include <QNetworkProxy>
#include <QtEndian>

NetTcpDown::NetTcpDown(QObject *parent) : QObject(parent)
{
    m_socket.setProxy(QNetworkProxy::NoProxy);
    m_socket.setReadBufferSize(BufferSize);
    m_silence.setSingleShot(true);
    connect(&m_socket, &QTcpSocket::connected, this, &NetTcpDown::connected);
    connect(&m_socket, &QTcpSocket::readyRead, this, &NetTcpDown::readyRead);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, &NetTcpDown::error);
    connect(&m_silence, &QTimer::timeout, this, [this] {
        if (m_code != DataFollows || m_endSilenceMs == 0)
            qWarning().noquote() << "NetTcpDown: no data any more from" << m_socket.peerName();
        stop();
    });
}

void NetTcpDown::start(const QString &host, int port, const QByteArray &request, int silenceMs)
{
    m_request = request;
    m_silence.start(silenceMs);
    m_socket.connectToHost(host, quint16(port));
}

void NetTcpDown::stop()
{
    if (m_over)
        return;
    m_over = true;
    m_silence.stop();
    m_socket.disconnect(this);
    m_socket.abort();
    emit tcpDownOver();
}

void NetTcpDown::connected() { m_socket.write(m_request); }

void NetTcpDown::readyRead()
{
    m_silence.start();
    QByteArray data = m_socket.readAll();
    if (m_head.size() < HeadSize) {
        const int want = HeadSize - m_head.size();
        m_head += data.left(want);
        data.remove(0, want);
        if (m_head.size() < HeadSize)
            return;
        m_code = qFromBigEndian<qint32>(m_head.constData() + CodeOffset);
        m_refused = qFromBigEndian<qint32>(m_head.constData() + PhaseOffset) == -1;
        if (m_endSilenceMs > 0)
            m_silence.start(m_endSilenceMs);
        if (m_code != DataFollows) {
            qWarning().noquote() << "NetTcpDown::readyRead: refused with" << m_code;
            stop();
            return;
        }
    }
    if (!data.isEmpty())
        emit dataRead(data);
}

void NetTcpDown::error(QAbstractSocket::SocketError error)
{
    // The far side's close is how the stream ends.
    if (error != QAbstractSocket::RemoteHostClosedError)
        qWarning().noquote() << "NetTcpDown::error" << int(error) << m_socket.errorString();
    while (!m_over && m_socket.bytesAvailable() > 0)
        readyRead();
    stop();
}
