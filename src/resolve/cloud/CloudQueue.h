#pragma once
// The queue of scenes that their farm analyses: every 3 s it starts what waits, two at a time, asks the farm's service
// how the running ones stand, and hands what the user submitted over to the queue of orders. Lives on CloudScan's
// thread; pages post to it through Seam<CloudCalls>. The rows are the truth: every question is bounded and may be lost,
// and a restart at any moment finds its rows.
//
//   cloudstate 0 -> -1 is written -> POST /task -> 1 -> GET /task/KEY ... "Idle" -> GET .../result -> ended
//   -1 after a lost answer or a restart -> PUT /task/KEY/resume -> 1, or 0 where the service doesn't know the key
//
// A submitted row becomes one of ResolveDAO that needs neither an analysis nor an upload, and follows it from then on;
// the two know each other by cloudKey in rset.
#include "db/CloudCalls.h"
#include "resolve/cloud/CloudReply.h"
#include <QBasicTimer>
#include <QHash>
#include <QObject>
#include <QSet>

class WebAsk;

class CloudQueue : public QObject, public CloudCalls
{
    Q_OBJECT
public:
    static constexpr int TickMs = 3000, MostRunning = 2, MostAsked = 3, EndpointMs = 3000;
    explicit CloudQueue(QObject *parent = nullptr);
    ~CloudQueue() override;
    void start(int tickMs = TickMs);
    static bool knows(int softwareType); // a kind of scene that the service analyses

    void addScenes(QList<db_resolve> list) override;
    void reAdd(qlonglong rkey) override;
    void removeScene(qlonglong rkey) override;
    void readScenes() override;
    void paraSet(qlonglong rkey) override;
    void saveData(db_resolve res) override;
    void submit(db_resolve res) override;
    void submitAgain(qlonglong rkey) override;

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    using Then = std::function<void(const FuncBody &rep)>;
    void look();
    void startWaiting();
    void post(const db_resolve &row);
    void resume(const db_resolve &row);
    void poll(const db_resolve &row);
    void polled(const db_resolve &row, const CloudReply::State &state);
    void askError(const db_resolve &row, const QString &word);
    void askResult(const db_resolve &row);
    // One question of a row at a time. then: what the service answered; not called where no answer came.
    void ask(const db_resolve &row, NetWork::Verb verb, const QString &path, const QByteArray &body, Then then,
             std::function<void()> over = {});
    void endpoint(int farmId, std::function<void(const QString &url)> then);
    void stopped(qlonglong rkey, const std::function<void()> &then); // at the service, or no answer came
    void handOver();
    void follow(const db_resolve &order, int state);
    void gone(const db_resolve &order);

    QBasicTimer m_timer;
    QHash<qlonglong, int> m_asking;   // row -> number of the question under way
    QHash<qlonglong, QString> m_told; // words of the service that its /error was asked for
    QHash<QString, QString> m_endpoints;
    QSet<qlonglong> m_handed; // rows whose order stands in ResolveDAO
    QList<QList<db_resolve>> m_unsaved;
    int m_round = 0;
    bool m_scanned = false;
};
