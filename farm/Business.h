#pragma once
// The business server: many links, each with a session; numbered commands, each with a handler that answers with a
// result code and a JSON body; pushes to the links that have logged in. Results of tasks are pushed until the client
// has confirmed them, one push of a task at a time, and again after each login.
#include "tasks/Tasks.h"
#include "Wire.h"
#include <functional>
#include <QJsonDocument>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

namespace farm
{

class Core;

struct Link {
    QTcpSocket *socket = nullptr;
    PackageFeed feed;
    QString session; // the token given by 10308
    bool loggedIn = false;
    bool welcomed = false; // this login has been told what waits for it
    int user = 0;          // who has logged in
    bool seat = false;     // a subordinate seat: shares its account with others
    qint64 cut = -1;       // bytes until the link is cut, -1 never
};

struct Answer {
    int val = 0;
    QJsonObject body;
    std::function<void()> after; // runs once the answer is on its way
    QByteArray stream;           // in place of the body, for raw bytes
    // Set where something else must be asked first: called once, and tells what the answer is; the rest is then unused.
    std::function<void(std::function<void(const Answer &)>)> later = nullptr;
};

class Business : public QObject
{
    Q_OBJECT
public:
    using Handler = std::function<Answer(Link &, const QJsonDocument &)>;

    explicit Business(Core &core);
    ~Business() override;
    bool listen(int port, QString *error);
    int port() const { return m_server.serverPort(); }
    void dropLinks();

    void kick(int reason);
    void push(int cmd, int val, const QJsonObject &body, int user = 0); // to the links of that user, 0: to all
    void announce(Task &task);    // pushes what the client hasn't got yet of the results that are ready
    void movedOver(Task &task);   // to another user: who gets the pushes from now on
    void waitForUser(Task &task); // push 10412: the priority frames are done
    void taskOver(Task &task);    // push 10431
    void add(int cmd, Handler handler) { m_handlers.insert(cmd, std::move(handler)); }

private:
    void accept();
    void read(Link *link);
    void handle(Link *link, const Package &package);
    Answer decide(Link &link, const Package &package);
    void send(Link *link, const QByteArray &bytes);
    void reply(const QPointer<QTcpSocket> &socket, int seq, int cmd, const Answer &answer);
    Answer objectReported(const QJsonObject &body); // 10703
    void answerLater(const QPointer<QTcpSocket> &socket, int seq, int cmd, const Answer &answer, bool badJson);
    Link *linkOf(QTcpSocket *socket) const;
    void welcome(Link *link);
    void addAccount();
    void addLists();
    void addOrders();
    void addResults();
    // The task that the body names, or null with the answer filled for "no such task".
    Task *taskOf(const QJsonObject &body, int cmd, Answer *answer);

    Core &m_core;
    QTcpServer m_server;
    QList<Link *> m_links;
    QMap<int, Handler> m_handlers;
    QMap<int, QList<qint64>> m_outstanding; // task -> results of the push that isn't confirmed
    QMap<int, QList<qint64>> m_asked;       // task -> results told by the last 10805
};

} // namespace farm
