#pragma once
// The other end of the business link for tests: a server on loopback at a port of its own that reads the sent head byte
// by byte as the format has it, keeps every request, and answers as scripted. Lives on the test's thread; its own
// reading and writing, so that a mistake of the client's can't agree with itself.
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "support/TestMain.h"
#include <QHash>
#include <QTcpServer>
#include <QtEndian>

class BusinessPeer : public QObject
{
public:
    struct Request {
        int module = 0, cmd = 0, seq = 0;
        QJsonObject body;
        QByteArray text;
    };
    struct Reply {
        int val = 0;
        QJsonObject body;
        bool silent = false;
        QByteArray text = {};
    }; // text, not null: as it is
    using Script = std::function<Reply(const Request &request)>;

    BusinessPeer()
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            m_socket = m_server.nextPendingConnection();
            ++m_links;
            m_buffer.clear();
            connect(m_socket, &QTcpSocket::readyRead, this, [this, socket = m_socket] {
                m_buffer += socket->readAll();
                take();
            });
        });
    }
    ~BusinessPeer() override
    {
        // A late signal of a socket must not find the buffers gone.
        for (QTcpSocket *socket : m_server.findChildren<QTcpSocket *>())
            socket->disconnect(this);
    }

    int port() const { return m_server.serverPort(); }
    // Replies to a command; without a script a request is kept and never answered.
    void answer(int cmd, int val, const QJsonObject &body = {})
    {
        m_scripts[cmd] = [=](const Request &) { return Reply{val, body, false}; };
    }
    void answer(int cmd, Script script) { m_scripts[cmd] = std::move(script); }
    void answerOthers(Script script) { m_others = std::move(script); } // commands without a script of their own
    void silence(int cmd) { m_scripts.remove(cmd); }
    void reply(const Request &to, int val, const QJsonObject &body = {}) { send(to.seq, to.cmd, val, body); }
    void push(int cmd, int val, const QJsonObject &body) { send(-1, cmd, val, body); }
    void sendText(int seq, int cmd, int val, const QByteArray &text)
    {
        if (m_socket)
            m_socket->write(package(seq, cmd, val, text));
    }
    static QByteArray package(int seq, int cmd, int val, const QByteArray &text)
    {
        QByteArray head(36, '\0');
        const auto put = [&](int at, qint32 value) { qToBigEndian(value, head.data() + at); };
        put(0, 0x11121314);
        put(4, text.size() + 28);
        put(8, seq);
        put(20, cmd);
        put(32, val);
        return head + text;
    }
    QTcpSocket *socket() const { return m_socket; }
    int links() const { return m_links; } // taken so far
    const QList<Request> &all() const { return m_requests; }
    void cut()
    {
        if (m_socket)
            m_socket->abort();
    }
    void forget() { m_requests.clear(); }

    QList<Request> requests(int cmd) const
    {
        QList<Request> list;
        for (const Request &request : m_requests)
            if (request.cmd == cmd)
                list << request;
        return list;
    }
    int count(int cmd) const { return requests(cmd).size(); }
    QJsonObject last(int cmd) const { return requests(cmd).isEmpty() ? QJsonObject() : requests(cmd).last().body; }
    QStringList faults; // what broke the format

    // Brings the process's link here and past the login.
    bool takeClient()
    {
        NetTcp::create();
        NetWork::create();
        NetTcp::instance()->setLogin(false);
        NetTcp::instance()->setHost("127.0.0.1", port());
        const int before = m_links;
        NetTcp::instance()->resetLink();
        // Both ends know of it: what a test cuts next must be there to be cut.
        if (!comes([&] { return m_links > before && NetTcp::instance()->socket()->state() == QAbstractSocket::ConnectedState; }))
            return false;
        NetTcp::instance()->setLogin(true);
        return true;
    }

private:
    static qint32 number(const QByteArray &data, int at) { return qFromBigEndian<qint32>(data.constData() + at); }
    static qint32 checksum(const QByteArray &bytes)
    {
        quint32 h = 0x811C9DC5u;
        for (char b : bytes)
            h = (h ^ quint32(qint32(qint8(b)))) * 16777619u;
        h += h << 7;
        h ^= quint32(qint32(h) >> 6);
        h += h * 8;
        h ^= quint32(qint32(h) >> 8);
        h += h * 2;
        return qint32(h);
    }
    void take()
    {
        while (m_buffer.size() >= 28) {
            const int size = number(m_buffer, 4) + 8;
            if (number(m_buffer, 0) != 0x11121314 || size < 28) {
                faults << "head";
                m_buffer.clear();
                return;
            }
            if (m_buffer.size() < size)
                return;
            const QByteArray package = m_buffer.left(size);
            m_buffer.remove(0, size);
            if (number(package, 12) != 0 || number(package, 16) != checksum(package.mid(20)))
                faults << "checksum";
            Request request{number(package, 20), number(package, 24), number(package, 8), QJsonDocument::fromJson(package.mid(28)).object(),
                            package.mid(28)};
            m_requests << request;
            if (const Script script = m_scripts.value(request.cmd, m_others)) {
                const Reply answer = script(request);
                if (!answer.silent && !answer.text.isNull())
                    sendText(request.seq, request.cmd, answer.val, answer.text);
                else if (!answer.silent)
                    reply(request, answer.val, answer.body);
            }
        }
    }
    void send(int seq, int cmd, int val, const QJsonObject &body)
    {
        sendText(seq, cmd, val, QJsonDocument(body).toJson(QJsonDocument::Compact));
    }

    QTcpServer m_server;
    QPointer<QTcpSocket> m_socket;
    QByteArray m_buffer;
    QList<Request> m_requests;
    QHash<int, Script> m_scripts;
    Script m_others;
    int m_links = 0;
};
