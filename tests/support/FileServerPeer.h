#pragma once
// The other end of the file server's socket for upload tests, on loopback at a port of its own: reads the request frames
// byte by byte as the format has them, keeps what was sent per key, and answers as an honest server would, or as told.
// Lives on the test's thread; its own reading and writing, so that a mistake of the client's can't agree with itself.
#include <functional>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtEndian>
#include <QTimer>

class FileServerPeer : public QTcpServer
{
public:
    struct Frame {
        qint32 phase = 0, command = 0;
        qint64 offset = 0;
        QByteArray token, body;
        QJsonObject json;
    };
    struct Reply {
        qint32 phase = 0, command = 0, code = 0;
        QByteArray body;
    };

    QList<Frame> frames;
    QStringList faults;                // what broke the format
    QHash<QString, QByteArray> stored; // by the key of the ask
    QSet<QString> committed;
    qint64 cutAfter = -1; // aborts the connection once, when a chunk is stored up to this many bytes
    bool late = false;    // JSON some time after its head
    int headBytes = 32;   // of the next reply; fewer are sent first, the rest a moment later
    // Looks at a request before it is answered; may change the reply. False: no answer.
    std::function<bool(const Frame &, Reply *)> hook;

    FileServerPeer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            ++connections;
            QTcpSocket *socket = nextPendingConnection();
            open.insert(socket);
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] { open.remove(socket); });
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        });
    }
    ~FileServerPeer() override
    {
        for (QTcpSocket *socket : findChildren<QTcpSocket *>())
            socket->disconnect(this);
    }
    QList<Frame> of(int command) const
    {
        QList<Frame> list;
        for (const Frame &frame : frames)
            if (frame.command == command)
                list << frame;
        return list;
    }
    int connections = 0;
    QSet<QTcpSocket *> open;

private:
    void read(QTcpSocket *socket)
    {
        QByteArray &buffer = m_buffers[socket];
        buffer += socket->readAll();
        while (buffer.size() >= 40) {
            const char *at = buffer.constData();
            const qint32 length = qFromBigEndian<qint32>(at + 36);
            if (qFromBigEndian<quint32>(at) != 0x11121314 || length < 0)
                faults << "head";
            if (buffer.size() < 40 + length)
                return;
            Frame frame{qFromBigEndian<qint32>(at + 4), qFromBigEndian<qint32>(at + 16),
                        qFromBigEndian<qint64>(at + 8), buffer.mid(20, 16),
                        buffer.mid(40, length),         {}};
            buffer.remove(0, 40 + length);
            if (frame.command != 70002)
                frame.json = QJsonDocument::fromJson(frame.body).object();
            if (frame.command != 70002 && (frame.offset != -1 || frame.json.isEmpty()))
                faults << "ask";
            frames << frame;
            take(socket, frame);
        }
    }
    void take(QTcpSocket *socket, const Frame &frame)
    {
        Reply reply{frame.phase, frame.command, 0, {}};
        if (frame.command == 70000)
            m_asks[socket] = frame.json;
        const QJsonObject ask = m_asks.value(socket);
        const QString key = ask["key"].toString();
        QByteArray &bytes = stored[key];
        if (frame.command == 70000) { // a file is known by its size and time
            const QPair<double, double> identity{ask["size"].toDouble(), ask["lastModified"].toDouble()};
            if (m_identities.contains(key) && m_identities.value(key) != identity)
                bytes.clear();
            m_identities.insert(key, identity);
        }
        const qint64 whole = qint64(ask[ask["isCompressed"].toBool() ? "compressedSize" : "size"].toDouble());
        if (frame.command == 70000) {
            reply.code = bytes.size() >= whole ? 7000001 : 7000000;
            if (reply.code == 7000000)
                reply.body = QJsonDocument(QJsonObject{{"startPoint", bytes.size()}}).toJson(QJsonDocument::Compact);
        } else if (frame.command == 70002) {
            if (frame.offset != bytes.size())
                faults << "offset";
            bytes += frame.body;
            reply.code = 7000201;
            if (cutAfter >= 0 && bytes.size() > cutAfter) {
                bytes.truncate(int(cutAfter));
                cutAfter = -1;
                return socket->abort();
            }
        } else {
            committed << key;
            reply.code = 7000404;
        }
        if (!hook || hook(frame, &reply))
            send(socket, reply);
    }
    void send(QTcpSocket *socket, const Reply &reply)
    {
        QByteArray head(32, '\x5a'); // what isn't read may hold anything
        const auto put = [&](int at, qint32 value) { qToBigEndian(value, head.data() + at); };
        put(4, reply.phase);
        put(12, reply.command);
        put(24, reply.code);
        QList<QByteArray> parts;
        if (headBytes < 32)
            parts << head.left(headBytes) << head.mid(headBytes) + reply.body;
        else if (late && reply.body.size() > 4)
            parts << head << reply.body.left(4) << reply.body.mid(4);
        else
            parts << head + reply.body;
        for (int i = 0; i < parts.size(); ++i)
            QTimer::singleShot(30 * i, socket, [socket, part = parts.at(i)] { socket->write(part); });
    }
    QHash<QTcpSocket *, QByteArray> m_buffers;
    QHash<QTcpSocket *, QJsonObject> m_asks;
    QHash<QString, QPair<double, double>> m_identities;
};
