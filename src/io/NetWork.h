#pragma once
// The REST client: one access manager on the main thread, the client's headers on every request, replies delivered on
// the asking thread (which needs an event loop) if its guard lives. Also the address and access token of each farm.
#include "io/Delivery.h"
#include <functional>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QMetaType>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QThread>

struct Request {
    QString url;
    QByteArray byte;
    int timeout = 0;                              // seconds, 0 none
    QString contentType;                          // empty: "application/json" on npost and nput
    QList<QPair<QByteArray, QByteArray>> headers; // beside those of setHead
    bool bareAddress = false;                     // no client headers at all (other seats of the local network)
    QPointer<QObject> guard;                      // of npost
};

// What came back. A body that isn't JSON leaves the fields at 0 and keeps raw.
struct FuncBody {
    static FuncBody fromBytes(const QByteArray &body);
    int result = 0, code = 0;
    QString msg;
    QJsonObject data; // "data" as object
    QJsonArray array; // "data" as array
    QString error;    // empty on success; "NetworkError:...", "HttpError:...", "time out:..."
    int httpStatus = 0;
    QByteArray raw;     // the whole body
    QJsonObject object; // the whole JSON object
    bool ok() const { return error.isEmpty(); }
};
using FuncBack = std::function<void(Request req, FuncBody rep)>;
Q_DECLARE_METATYPE(FuncBack)
Q_DECLARE_METATYPE(Request)
Q_DECLARE_METATYPE(FuncBody)

// Hands one reply to its callback, on the asking thread; made there for that one call. The body is parsed here, so that
// a long list doesn't hold up the window.
class BackFuncTool : public QObject
{
    Q_OBJECT
public:
    FuncBack func;
    QPointer<QObject> guard;
    Q_INVOKABLE void beginBack(Request req, FuncBody rep);
};

class NetWork : public QObject
{
    Q_OBJECT
public:
    static NetWork *instance(); // first call on the main thread
    static void destroy();

    // From any thread; they only post. The guard is the object whose death silences the reply.
    void nget(QString url, FuncBack func, QThread *backTh, QPointer<QObject> qo, int timeoutSeconds = 0);
    void nget(Request req, FuncBack func, QThread *backTh, QPointer<QObject> qo);
    void npost(Request req, FuncBack func, QThread *backTh);
    void ndel(QString url, FuncBack func, QThread *backTh, QPointer<QObject> qo);
    void nput(QString url, QByteArray byte, FuncBack func, QThread *backTh, QPointer<QObject> qo);

    // Farm addresses. These four block the calling thread's flow in a nested event loop, so everything else on that
    // thread goes on meanwhile: call them from handler threads, never from a window's slot. Asked again for the same
    // farm out of such a loop, they give the empty value at once instead of nesting deeper.
    QString skydriveUrl(int farmId); // "<addr>/skydrive"; 2 s, slave 12 s; empty: unknown
    QString accessToken(int farmId); // accessToken of 11100, for X-BRONTEL-ACCESS-TOKEN; empty: unknown
    // The role token of the farm (a UUID), from <addr>/storage-secret-token/role; cached; 5 s.
    QString roleToken(int farmId);
    // Host (already an IP where it resolves) and port of the farm's file server from /bs/farm/<id>; cached; 5 s.
    struct FarmHost {
        QString domain, ip;
        int port = 0;
        bool known() const { return port > 0; }
    };
    FarmHost farmHost(int farmId);
    // Any thread, at once. What a discovery under way finds after one of these is handed out but not kept.
    void clearFarm(int farmId); // address and tokens of one farm (a drive reply with code 203 does it by itself)
    void clearFarms();          // the 20-minute renewal: role tokens and file servers
    void forgetTokens();        // re-login: all tokens
    void forgetDrives();        // another account: everything
    // The role token in the "data" of a reply: its "token", else the text in it that is 32 hex digits without "-".
    static QString tokenOf(const FuncBody &rep);

signals:
    void reLogin(int reason); // a 401 with header "status"

private slots:
    void replyFinished(QNetworkReply *reply);
    void handReplay(QNetworkReply *reply, int timeout);

private:
    enum Verb { Get, Post, Put, Delete };
    struct Pending {
        FuncBack func;
        Delivery way;
        QPointer<QObject> guard;
        Request request;
        int number = 0;
    };

    NetWork();
    void ask(Verb verb, Request req, FuncBack func, QThread *backTh, QPointer<QObject> qo);
    void start(Verb verb, Pending entry);
    void setMap(QNetworkReply *reply, Pending entry);
    void setHead(QNetworkRequest &request, const Request &req, bool json);
    QString addressOf(const QString &url) const; // the known drive address that url lies under
    void checkStale(const QString &url, const FuncBody &rep);
    bool throughMaster(const QString &addr, int farmId); // which farm: the master asks the server itself
    friend class BackFuncTool;

    QNetworkAccessManager *m_manager = nullptr;
    int m_count = 0;
    QHash<QNetworkReply *, Pending> m_pending; // main thread
    mutable QMutex m_farmMutex;                // everything below, read on handler threads too
    QHash<int, QString> m_driveUrls;           // farm -> "<addr>/skydrive"
    QHash<QString, QString> m_accessTokens;    // address -> access token
    QHash<int, QString> m_roleTokens;
    QHash<int, FarmHost> m_farmHosts;
    int m_farmAge = 0; // counts what was forgotten
};
