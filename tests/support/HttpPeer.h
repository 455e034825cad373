#pragma once
// A small HTTP server of the test's own on a free port of 127.0.0.1: keeps every request, answers what the test says.
#include <functional>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

class HttpPeer : public QTcpServer
{
public:
    struct Request {
        QByteArray method, path, head, body;
        QByteArray header(const QByteArray &name) const // empty where there is none
        {
            const QByteArray mark = "\r\n" + name.toLower() + ":";
            const int at = head.toLower().indexOf(mark);
            return at < 0 ? QByteArray() : head.mid(at + mark.size(), head.indexOf("\r\n", at + 2) - at - mark.size()).trimmed();
        }
        bool has(const QByteArray &name) const { return head.toLower().contains("\r\n" + name.toLower() + ":"); }
    };
    // What goes back, head and all; empty: nothing for now.
    std::function<QByteArray(const Request &)> answer;
    QList<Request> requests;
    QPointer<QTcpSocket> link;

    HttpPeer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            link = nextPendingConnection();
            connect(link, &QTcpSocket::readyRead, this, [this, from = link.data()] { read(from); });
        });
    }
    ~HttpPeer() override { disconnect(); }
    QString url(const QString &path = {}) const { return QStringLiteral("http://127.0.0.1:%1%2").arg(serverPort()).arg(path); }
    static QByteArray response(const QByteArray &body, const QByteArray &status = "200 OK", const QByteArray &headers = "")
    {
        return "HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    }

private:
    void read(QTcpSocket *from)
    {
        QByteArray data = from->property("data").toByteArray() + from->readAll();
        const int end = data.indexOf("\r\n\r\n");
        Request request;
        request.head = data.left(end + 2);
        const int length = request.header("Content-Length").toInt();
        if (end < 0 || data.size() < end + 4 + length) {
            from->setProperty("data", data);
            return;
        }
        from->setProperty("data", QByteArray());
        request.method = data.split(' ').value(0);
        request.path = data.split(' ').value(1);
        request.body = data.mid(end + 4, length);
        requests.append(request);
        if (const QByteArray back = answer ? answer(request) : QByteArray(); !back.isEmpty())
            from->write(back);
    }
};
