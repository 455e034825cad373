#pragma once
// The HTTP side: login page and login, update answer, farm look-up, transfer token, instant upload, log upload, the
// small pages behind the links of the login answer, and /farm/... for who tests: faults and the state of things. One
// request after the other on a kept connection; bodies by Content-Length only.
#include <functional>
#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QTcpServer>
#include <QTcpSocket>
#include <QUrlQuery>

namespace farm
{

class Core;

struct HttpRequest {
    QByteArray method;
    QString path;
    QUrlQuery query;
    QByteArray rawQuery;
    QMap<QByteArray, QByteArray> headers; // names in lower case
    QByteArray body;
    int farm = 1; // whose address it came to
    QString item(const char *name) const { return query.queryItemValue(QLatin1String(name), QUrl::FullyDecoded); }
};

struct HttpAnswer {
    int status = 200; // 0: the connection is cut
    QByteArray type = "application/json; charset=utf-8";
    QByteArray body;
    QByteArray extra; // further header lines
};

// Reads requests out of the bytes of one connection.
class HttpFeed
{
public:
    enum Step { Whole, More, Bad };
    void add(const QByteArray &bytes) { m_bytes += bytes; }
    Step next(HttpRequest *request, int *status); // status: what to answer a bad one with

private:
    QByteArray m_bytes;
};

class Rest : public QObject
{
    Q_OBJECT
public:
    explicit Rest(Core &core);
    bool listen(int port, QString *error);
    int port() const { return m_server.serverPort(); }
    QString address() const; // "http://127.0.0.1:46180"
    void dropLinks();

private:
    void accept();
    void read(QTcpSocket *socket, HttpFeed *feed);
    void send(QTcpSocket *socket, const HttpAnswer &answer, bool close);
    HttpAnswer answer(const HttpRequest &request);
    HttpAnswer loginPage(const HttpRequest &request);
    HttpAnswer login(const HttpRequest &request);
    HttpAnswer farmHost(const HttpRequest &request);
    HttpAnswer roleToken(const HttpRequest &request);
    HttpAnswer skydrive(const HttpRequest &request);
    HttpAnswer sourceFiles(const HttpRequest &request);
    HttpAnswer logs(const HttpRequest &request);
    HttpAnswer control(const HttpRequest &request);
    HttpAnswer feedFile(const HttpRequest &request);
    QString newestVersion() const;
    bool fromAPage(const HttpRequest &request) const;
    HttpAnswer page(const HttpRequest &request);
    // An answer that refuses the request, or status 200: the client's own headers are there and good.
    HttpAnswer checkHeaders(const HttpRequest &request, bool access);

    Core &m_core;
    QTcpServer m_server;
};

HttpAnswer jsonAnswer(const QJsonObject &body, int status = 200);
// The page that logs a user in: plain JavaScript of the oldest browsers. english, automatic: as asked for.
QByteArray loginPageText(const QString &user, const QString &password, bool english, bool automatic);
QByteArray simplePageText(const QString &title, const QStringList &lines);

} // namespace farm
