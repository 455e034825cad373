#pragma once
// The REST client: one access manager on the main thread, the client's headers on every request, replies delivered on
// the asking thread (which needs an event loop) if its guard lives. Also the address and access token of each farm.
// Made once by create(). Who needs an answer to go on asks by WebAsk, which has a deadline.
#include "common/Delivery.h"
#include <functional>
#include <QDeadlineTimer>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>
#include <QMetaType>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QThread>

class QTimer;

struct Request {
    QString url;
    QByteArray byte;
    int timeout = 0;                              // seconds, 0 none
    QString contentType;                          // empty: "application/json" on npost and nput
    QList<QPair<QByteArray, QByteArray>> headers; // beside those of setHead
    bool bareAddress = false;                     // no client headers at all (other seats of the local network)
    bool secret = false;                          // the reply is a secret, kept out of the log
    bool quiet = false;                           // one of thousands alike: neither it nor its reply is logged
    QPointer<QObject> guard;                      // of npost
    // The body of a good answer as it comes, on the asking thread; the reply then has none. The time counts from the
    // last of it, and ends after twenty times as long. False: enough, the reply is never told.
    std::function<bool(const QByteArray &bytes)> arrived;
};

// What came back. A body that isn't JSON leaves the fields at 0 and keeps raw.
struct FuncBody {
    static FuncBody fromBytes(const QByteArray &body);
    int result = 0, code = 0;
    QString msg;
    QJsonObject data;       // "data" as object
    QJsonArray array;       // "data" as array
    QString error;          // empty on success; "NetworkError:...", "HttpError:...", "time out:..."
    int httpStatus = 0;     // 0: no answer came
    bool brokenOff = false; // the answer began, but its body didn't come whole
    int busyMs = -1;        // see busyFor
    QByteArray raw;         // the whole body
    QJsonObject object;     // the whole JSON object
    bool ok() const { return error.isEmpty(); }
    // The service understood and says no. "result" 1 is a yes; a 0 is a no where a code or a text goes with it.
    bool refuses() const;
    // Of a status that says "later" (429, 502, 503, 504): how long to leave the service alone, at most ten minutes; 0:
    // it doesn't tell. -1: another status.
    static int busyFor(int status, const QByteArray &retryAfter);
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
    enum Verb { Get, Post, Put, Delete };
    static void create();       // main thread, before anything asks; does nothing the second time
    static NetWork *instance(); // null, and a warning, before create() and after destroy()
    static void destroy();

    // From any thread; they only post. The guard is the object whose death silences the reply.
    void nget(QString url, FuncBack func, QThread *backTh, QPointer<QObject> qo, int timeoutSeconds = 0);
    void nget(Request req, FuncBack func, QThread *backTh, QPointer<QObject> qo);
    void npost(Request req, FuncBack func, QThread *backTh);
    void ndel(QString url, FuncBack func, QThread *backTh, QPointer<QObject> qo);
    void nput(QString url, QByteArray byte, FuncBack func, QThread *backTh, QPointer<QObject> qo);

    // What is known of a farm at this moment; empty: nothing. Any thread.
    QString skydriveUrl(int farmId) const; // "<addr>/skydrive"
    QString accessToken(int farmId) const; // accessToken of 11100, for X-BRONTEL-ACCESS-TOKEN
    QString roleToken(int farmId) const;   // a UUID, for the file servers
    struct FarmHost {
        QString domain, ip;
        int port = 0;
        bool known() const { return port > 0; }
    };
    FarmHost farmHost(int farmId) const; // the farm's file server; ip: the domain, where it doesn't resolve

    // The same, asked for where it isn't known: done runs later on the calling thread, once, while the guard lives,
    // with what is empty when it can't be had. From the address by 11100 (2 s; on a subordinate seat 10 s more, for the
    // master's forward), the role token by <addr>/storage-secret-token/role (5 s more), the host by /bs/farm/<id> (5
    // s).
    using UrlBack = std::function<void(const QString &url)>;
    using TokenBack = std::function<void(const QString &url, const QString &token)>;
    using HostBack = std::function<void(const FarmHost &host)>;
    static void skydriveUrl(int farmId, QObject *guard, const UrlBack &done);
    static void roleToken(int farmId, QObject *guard, const TokenBack &done);
    static void farmHost(int farmId, QObject *guard, const HostBack &done);

    // The headers that every request to this address carries, for who asks with a manager of its own. Any thread.
    void setClientHeads(QNetworkRequest &request) const;

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
    friend class WebAsk;
    friend class BackFuncTool;
    struct Pending {
        FuncBack func;
        Delivery way;
        QPointer<QObject> guard;
        Request request;
        int number = 0, timeoutMs = 0;
        int held = 0;               // bytes handed to arrived() that it hasn't taken yet
        qint64 fresh = 0;           // that came since its time began anew
        QTimer *deadline = nullptr; // the reply's
        QDeadlineTimer end{QDeadlineTimer::Forever};
    };

    NetWork();
    ~NetWork() override;
    void ask(Verb verb, Request req, FuncBack func, QThread *backTh, QPointer<QObject> qo, int timeoutMs);
    void start(Verb verb, Pending entry);
    QNetworkReply *sendOnce(Verb verb, QNetworkRequest *request, const QByteArray &bytes);
    void setMap(QNetworkReply *reply, Pending entry);
    void setHead(QNetworkRequest &request, const Request &req, bool json);
    void readOn(QNetworkReply *reply);
    void taken(QNetworkReply *reply, int number, int bytes, bool more);
    static void handOver(Pending *entry, QNetworkReply *reply, const QByteArray &bytes);
    static void deliver(const Pending &entry, const FuncBody &rep);
    QString addressOf(const QString &url) const; // the known drive address that url lies under
    void checkStale(const QString &url, const FuncBody &rep);
    int farmAge() const;
    // These keep what was found, unless something was forgotten since age.
    void keepDrive(int farmId, int age, const QString &address, const QString &token);
    void keepRole(int farmId, int age, const QString &token);
    void keepHost(int farmId, int age, const FarmHost &host);

    QNetworkAccessManager *m_manager = nullptr;
    int m_count = 0;
    QHash<QNetworkReply *, Pending> m_pending; // main thread
    mutable QMutex m_farmMutex;                // everything below, read on handler threads too
    QHash<int, QString> m_driveUrls;           // farm -> "<addr>/skydrive"
    QHash<QString, QString> m_accessTokens;    // address -> access token
    QHash<QString, QString> m_staleTokens;     // that were, for what is still on its way with them
    QHash<int, QString> m_roleTokens;
    QHash<int, FarmHost> m_farmHosts;
    int m_farmAge = 0; // counts what was forgotten
};
