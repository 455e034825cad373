#pragma once
// The other end of the farm's wires, written byte by byte from the formats, with blocking sockets (the farm has a
// thread of its own). Shared by the tests of this folder.
#include "Farm.h"
#include "support/TestMain.h"
#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QTemporaryDir>

inline QByteArray be32(qint32 value)
{
    QByteArray out;
    for (int shift = 24; shift >= 0; shift -= 8)
        out += char(quint32(value) >> shift);
    return out;
}

inline QByteArray be64(qint64 value) { return be32(qint32(value >> 32)) + be32(qint32(value)); }

inline qint32 at32(const QByteArray &bytes, int at)
{
    quint32 value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | quint8(bytes.at(at + i));
    return qint32(value);
}

inline QByteArray json(const QJsonObject &object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }
inline QString md5(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex());
}

// Repeatable bytes that don't compress into nothing.
inline QByteArray noise(int size, quint32 seed = 1)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i) {
        seed = seed * 1664525u + 1013904223u;
        bytes[i] = char(seed >> 24);
    }
    return bytes;
}

struct Reply {
    int seq = 0, cmd = 0, val = 0;
    QByteArray body;
    QJsonObject object() const { return QJsonDocument::fromJson(body).object(); }
};

class BusinessWire
{
public:
    explicit BusinessWire(const FarmPorts &ports)
    {
        m_socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(ports.business));
        m_socket.waitForConnected(Patience);
    }
    static QByteArray package(int seq, int module, int cmd, const QByteArray &body)
    {
        qint32 h = qint32(0x811C9DC5);
        const QByteArray all = be32(module) + be32(cmd) + body;
        for (signed char b : all)
            h = qint32(quint32(h ^ b) * 16777619u);
        h = qint32(quint32(h) + (quint32(h) << 7));
        h ^= h >> 6;
        h = qint32(quint32(h) + quint32(h) * 8u);
        h ^= h >> 8;
        h = qint32(quint32(h) + quint32(h) * 2u);
        return be32(0x11121314) + be32(body.size() + 20) + be32(seq) + be32(0) + be32(h) + be32(module) + be32(cmd) + body;
    }
    void raw(const QByteArray &bytes) { m_socket.write(bytes), m_socket.flush(); }
    int post(int cmd, const QByteArray &body)
    {
        raw(package(m_seq, cmd / 100, cmd, body));
        return m_seq++;
    }
    // The reply to this request; pushes that come meanwhile are kept. val 0 when none came.
    Reply ask(int cmd, const QJsonObject &body, int ms = Patience) { return askRaw(cmd, json(body), ms); }
    Reply askRaw(int cmd, const QByteArray &body, int ms = Patience)
    {
        const int seq = post(cmd, body);
        Reply one;
        while (next(&one, ms)) {
            if (one.seq == seq)
                return one;
            pushes += one;
        }
        return {};
    }
    // The next push of that command, from those kept or from the wire.
    Reply push(int cmd, int ms = Patience)
    {
        for (int i = 0;; ++i) {
            Reply one;
            if (i < pushes.size() && pushes.at(i).cmd == cmd)
                return pushes.takeAt(i);
            if (i >= pushes.size()) {
                if (!next(&one, ms))
                    return {};
                pushes += one;
                --i;
            }
        }
    }
    bool next(Reply *one, int ms)
    {
        while (m_bytes.size() < 36 || m_bytes.size() < at32(m_bytes, 4) + 8) {
            if (!m_socket.bytesAvailable() && !m_socket.waitForReadyRead(ms))
                return false;
            m_bytes += m_socket.readAll();
        }
        magic = at32(m_bytes, 0);
        const int whole = at32(m_bytes, 4) + 8;
        *one = {at32(m_bytes, 8), at32(m_bytes, 20), at32(m_bytes, 32), m_bytes.mid(36, whole - 36)};
        m_bytes.remove(0, whole);
        return true;
    }
    bool closed(int ms = Patience)
    {
        while (m_socket.state() == QAbstractSocket::ConnectedState && m_socket.waitForReadyRead(ms)) {
        }
        return m_socket.state() != QAbstractSocket::ConnectedState;
    }
    QList<Reply> pushes;
    qint32 magic = 0;

private:
    QTcpSocket m_socket;
    QByteArray m_bytes;
    int m_seq = 0;
};

struct HttpReply {
    int status = 0;
    QByteArray body, head;
    QJsonObject object() const { return QJsonDocument::fromJson(body).object(); }
};

// One request on a connection that may be kept; headers without the last line end.
inline HttpReply http(QTcpSocket &socket, const QByteArray &request, int ms = Patience)
{
    socket.write(request);
    QByteArray bytes;
    for (;;) {
        const int end = bytes.indexOf("\r\n\r\n");
        if (end > 0) {
            const int from = bytes.toLower().indexOf("content-length:") + 15;
            const int length = bytes.mid(from, bytes.indexOf("\r\n", from) - from).trimmed().toInt();
            if (bytes.size() >= end + 4 + length)
                return {bytes.mid(9, 3).toInt(), bytes.mid(end + 4, length), bytes.left(end + 2)};
        }
        if (!socket.bytesAvailable() && !socket.waitForReadyRead(ms))
            return {};
        bytes += socket.readAll();
    }
}

// A farm with a client's knowledge of it.
class Bench
{
public:
    explicit Bench(FarmOptions given = {})
    {
        options = given;
        options.dir = folder.path() + QStringLiteral("/farm");
        options.businessPort = options.httpPort = options.filePort = 0;
        start();
    }
    void start()
    {
        QVERIFY2(farm.start(options), qPrintable(farm.error()));
        ports = farm.ports();
    }
    void restart()
    {
        wire.reset();
        farm.stop();
        start();
    }
    HttpReply get(const QByteArray &target, const QByteArray &headers = {}, const QByteArray &method = "GET", const QByteArray &body = {})
    {
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(ports.http));
        if (!socket.waitForConnected(Patience))
            return {};
        return http(socket, method + ' ' + target + " HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(ports.http) + "\r\n" + headers +
                                "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body);
    }
    // Link, session, page, confirmation.
    Reply login()
    {
        wire = std::make_unique<BusinessWire>(ports);
        session = wire->ask(10308, {{"thirdParty", 0}}).object().value("token").toString();
        const QJsonObject answer =
            get("/xclient/login", {}, "POST", json({{"sessionId", session}, {"username", user}, {"password", "demo"}})).object();
        auth = answer.value("token").toString();
        const Reply confirmed = wire->ask(10309, {});
        wire->ask(10306, {}); // ready for pushes
        access = wire->ask(11100, {{"farmId", 1}}).object().value("accessToken").toString();
        const QJsonObject role = get("/storage-secret-token/role", headers(), "POST").object();
        token = QByteArray::fromHex(role.value("data").toObject().value("token").toString().remove('-').toLatin1());
        return confirmed;
    }
    QByteArray headers() const
    {
        return "token: " + auth.toUtf8() + "\r\nlang: 0\r\nX-BRONTEL-ACCESS-TOKEN: " + access.toUtf8() + "\r\nX-BRONTEL-ROLE: user\r\n";
    }
    // A task with these files, ordered; its id.
    int order(const QStringList &paths, const QJsonObject &parameters, qint64 flag = 1000, const QJsonObject &more = {})
    {
        const QJsonObject number =
            wire->ask(10421, {{"name", "island.tgd"}, {"clientFlag", flag}, {"projectId", 1}, {"softwareType", 8}, {"machineModel", "m"}})
                .object();
        QJsonArray files;
        for (int i = 0; i < paths.size(); ++i)
            files.append(QJsonObject{{"id", 500 + i}, {"path", paths.at(i)}});
        QJsonObject body{{"scene", paths.value(0)},         {"analysisTime", 1.0}, {"missionId", number.value("id")},
                         {"ordernum", number.value("num")}, {"files", files},      {"fileCount", files.size()},
                         {"modelParameters", parameters},   {"softwareType", 8},   {"clientFlag", flag}};
        for (auto it = more.begin(); it != more.end(); ++it)
            body.insert(it.key(), it.value());
        lastOrder = body;
        return wire->ask(10400, body).val == 1040000 ? number.value("id").toInt() : 0;
    }
    static QJsonObject camera(const QString &frames, int width = 64, int height = 36, const QString &name = QStringLiteral("Cam"))
    {
        return {{"cameras",
                 QJsonArray{QJsonObject{{"name", name}, {"width", width}, {"height", height}, {"frames", frames}, {"selected", 1}}}}};
    }
    HttpReply instant(int task, const QString &key, qint64 size, qint64 mtime = 5)
    {
        const QByteArray name = QUrl::toPercentEncoding(key);
        return get("/skydrive/sourceFiles?fileType=1&key=" + name + "&diskKey=" + name + "&size=" + QByteArray::number(size) +
                       "&lastModified=" + QByteArray::number(mtime) + "&taskId=" + QByteArray::number(task) + "&upwork=abc",
                   headers());
    }
    QTemporaryDir folder;
    FarmOptions options;
    Farm farm;
    FarmPorts ports; // of this farm, or of a program that a test has started
    std::unique_ptr<BusinessWire> wire;
    QString user = QStringLiteral("demo");
    QString session, auth, access;
    QByteArray token;
    QJsonObject lastOrder;
};

struct FileReply {
    int phase = -9, command = 0, code = 0;
    QByteArray body;
};

// A connection to the file server.
class FileWire
{
public:
    explicit FileWire(const Bench &bench) : m_token(bench.token)
    {
        socket.connectToHost(QStringLiteral("127.0.0.1"), quint16(bench.ports.file));
        socket.waitForConnected(Patience);
    }
    void send(int phase, int command, qint64 offset, const QByteArray &body)
    {
        socket.write(be32(0x11121314) + be32(phase) + be64(offset) + be32(command) + m_token + be32(body.size()) + body);
        socket.flush();
    }
    FileReply reply(int ms = Patience)
    {
        QByteArray bytes;
        while (bytes.size() < 32 || bytes.size() < 32 + at32(bytes, 28)) {
            if (!socket.bytesAvailable() && !socket.waitForReadyRead(ms))
                return {-9, bytes.size(), 0, {}};
            bytes += socket.read(bytes.size() < 32 ? 32 - bytes.size() : 32 + at32(bytes, 28) - bytes.size());
        }
        return {at32(bytes, 4), at32(bytes, 12), at32(bytes, 24), bytes.mid(32)};
    }
    int id = 500; // of the file in its order
    FileReply ask(int task, const QString &key, qint64 size, qint64 zip = 0, int ms = Patience)
    {
        send(0, 70000, -1,
             json({{"fileId", QString::number(id)},
                   {"key", key},
                   {"diskKey", key},
                   {"size", size},
                   {"isCompressed", zip > 0},
                   {"compressedSize", zip},
                   {"lastModified", 5},
                   {"taskId", task}}));
        return reply(ms);
    }
    static qint64 start(const FileReply &one)
    {
        return one.code == 7000000 ? QJsonDocument::fromJson(one.body).object().value("startPoint").toInt(-1) : -1;
    }
    // From wherever the farm says, to the commit's answer; 0 when the connection is cut.
    int upload(int task, const QString &key, const QByteArray &bytes, int piece = 20000, qint64 plainSize = -1)
    {
        for (;;) {
            const FileReply asked = ask(task, key, plainSize < 0 ? bytes.size() : plainSize, plainSize < 0 ? 0 : bytes.size());
            if (asked.code == 7000001) {
                send(2, 70004, -1, json({{"lastModified", 5}}));
                return reply().code;
            }
            const qint64 from = start(asked);
            if (from < 0)
                return asked.phase == -9 ? 0 : asked.code;
            send(1, 70002, from, bytes.mid(int(from), piece));
            const int kept = reply().code;
            if (kept != 7000201)
                return kept;
        }
    }
    QTcpSocket socket;

private:
    QByteArray m_token;
};
