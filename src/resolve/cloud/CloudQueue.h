#pragma once
// The queue of scenes that their farm analyses: every 3 s it starts what waits, two at a time, asks the farm's service
// how the running ones stand, and hands what the user submitted over to the queue of orders. Lives on CloudScan's
// thread; pages post to it through Seam<CloudCalls>. The rows are the truth: every question is bounded and may be lost,
// and a restart at any moment finds its rows.
//
//   NotPosted -> ToResume is written -> POST /task -> Posted -> GET /task/KEY ... "Idle" -> GET .../result -> ended
//   ToResume after a lost answer or a restart -> PUT /task/KEY/resume -> Posted, or NotPosted where the service
//   doesn't know the key
//   removed or analysed anew while it runs: ToRemove, ToStop -> PUT /task/KEY/stop -> gone, or NotPosted
//
// Questions go out in turns, the one that waited longest first. A farm whose service doesn't answer holds up only its
// own: its rows say so, don't count as running, and no further one of it begins. A row of which the service has only
// strange words counts neither.
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
    static constexpr int FreeFailures = 3, MostStopTries = 10;
    explicit CloudQueue(QObject *parent = nullptr);
    ~CloudQueue() override;
    void start(int tickMs = TickMs);
    static bool knows(int softwareType); // a kind of scene that the service analyses

    void addScenes(QList<db_resolve> list) override;
    void reAdd(qlonglong rkey) override;
    void removeScene(qlonglong rkey) override;
    void changed(qlonglong rkey) override { forget(rkey); }
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
    void askNext();
    void ask(const db_resolve &row);
    void post(const db_resolve &row);
    void stop(const db_resolve &row);
    void stopped(const db_resolve &row);
    void resume(const db_resolve &row);
    void poll(const db_resolve &row);
    void polled(const db_resolve &row, const CloudReply::State &state);
    void askError(const db_resolve &row, const QString &word);
    void askResult(const db_resolve &row);
    // One question of a row at a time. then: what the service answered; not called where no answer came, or where the
    // row has been removed or begun anew since. lost: no answer.
    void ask(const db_resolve &row, NetWork::Verb verb, const QString &path, const QByteArray &body, const Then &then,
             const std::function<void()> &lost = {});
    void send(const db_resolve &row, NetWork::Verb verb, const QString &base, const QString &path,
              const QByteArray &body, const Then &answered, const std::function<void(const QString &)> &lost);
    void endpoint(int farmId, std::function<void(const QString &url)> then);
    bool over(qlonglong rkey); // the question; false: nobody wants its answer
    void silent(const db_resolve &row, const QString &why);
    void strange(const db_resolve &row); // an answer that nothing can be made of
    bool isSilent(int farmId) const { return m_silent.value(farmId) >= FreeFailures; }
    void forget(qlonglong rkey);
    void handOver();
    void follow(const db_resolve &order, int state);
    void gone(const db_resolve &order);

    QBasicTimer m_timer;
    QSet<qlonglong> m_asking;          // rows with a question under way
    QSet<qlonglong> m_unwanted;        // of these: nobody wants the answer any more
    QHash<qlonglong, qint64> m_turns;  // row -> when it was asked for last
    QHash<qlonglong, int> m_stopTries; // questions to stop it that got lost
    QHash<int, int> m_silent;          // farm -> questions in a row that got lost
    QHash<qlonglong, QString> m_told;  // words of the service that its /error was asked for
    QHash<QString, QString> m_endpoints;
    QSet<QString> m_wrong;           // places that the farm named and where nobody answers
    QHash<qlonglong, int> m_strange; // row -> answers in a row that nothing could be made of
    QSet<qlonglong> m_handed;        // rows whose order stands in ResolveDAO
    QList<QList<db_resolve>> m_unsaved;
    qint64 m_turn = 0;
    bool m_scanned = false;
};
