#pragma once
// A business server of the test's own: listens on a free port of 127.0.0.1, keeps every request, and answers as the
// test says. Reads and writes the format by itself, without the client's codec.
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtEndian>
#include <functional>

struct FakeRequest {
    int seq = 0, module = 0, cmd = 0;
    QByteArray body;
    QJsonObject object() const { return QJsonDocument::fromJson(body).object(); }
};

class FakeBusiness : public QTcpServer
{
public:
    // Sees each request; what it sends back, it sends by reply().
    std::function<void(const FakeRequest &)> answer;
    QList<FakeRequest> requests;
    QPointer<QTcpSocket> link;
    int links = 0;

    FakeBusiness()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            link = nextPendingConnection();
            ++links;
            m_data.clear();
            connect(link, &QTcpSocket::readyRead, this, [this, from = link.data()] { read(from); });
        });
    }
    ~FakeBusiness() override { disconnect(); }

    static QByteArray package(int seq, int cmd, int val, const QByteArray &body)
    {
        QByteArray out(36, '\0');
        const auto put = [&out](int at, qint32 value) { qToBigEndian(value, out.data() + at); };
        put(0, 0x11121314);
        put(4, body.size() + 28);
        put(8, seq);
        put(20, cmd);
        put(32, val);
        return out + body;
    }
    void send(int seq, int cmd, int val, const QByteArray &body = "{}")
    {
        if (link)
            link->write(package(seq, cmd, val, body));
    }
    void reply(const FakeRequest &to, int val, const QByteArray &body = "{}") { send(to.seq, to.cmd, val, body); }
    int count(int cmd) const
    {
        int n = 0;
        for (const FakeRequest &one : requests)
            n += one.cmd == cmd;
        return n;
    }
    FakeRequest last(int cmd) const
    {
        for (int i = requests.size() - 1; i >= 0; --i)
            if (requests[i].cmd == cmd)
                return requests[i];
        return {};
    }

private:
    void read(QTcpSocket *from)
    {
        m_data += from->readAll();
        const auto at = [this](int offset) { return qFromBigEndian<qint32>(m_data.constData() + offset); };
        while (m_data.size() >= 28 && m_data.size() >= at(4) + 8) {
            const int size = at(4) + 8;
            const FakeRequest request{at(8), at(20), at(24), m_data.mid(28, size - 28)};
            m_data.remove(0, size);
            requests.append(request);
            if (answer)
                answer(request);
        }
    }
    QByteArray m_data;
};
