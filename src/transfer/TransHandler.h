#pragma once
// Base of the transfer queues. A handler lives on its TransScan thread, scans its store on a 50 ms timer, makes one
// worker per file up to its limit, and alone owns and disposes of them. What it asks of the farm (address, token)
// comes back as an answer, so a scan never waits and is never re-entered.
#include "db/Records.h"
#include "transfer/TransShare.h"
#include <memory>
#include <QElapsedTimer>
#include <QHash>
#include <QJsonObject>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QStringList>

class Debounce;
class TransWork;

class TransHandler : public QObject
{
    Q_OBJECT
public:
    TransHandler();
    ~TransHandler() override;

    virtual void startScan(); // the 50 ms and the 1000 ms timer
    virtual void scan() = 0;
    // Ends the worker under key without a word from it: sets closed, disconnects, deletes it later. Kind 4 also removes
    // a download's partial files. False when there is none ("no dw") or the application is closing.
    bool takeWork(const QString &key, int kind);
    static void clearDownTmp(const db_downfile &file); // .xtemp and .vd
    // Bytes a second and position of one file: gathered for the report of the next second.
    void pushSpeed(qlonglong key, qlonglong subkey, qlonglong speed, qlonglong size);

    // Asked by workers through TransShare::post. The answer goes to the worker only if it still is the one that asked.
    void getTicket(int farmId, const QString &key, quint64 serial);
    void getFarmHost(int farmId, const QString &key, quint64 serial);
    // The farm's address or token is stale (203, a refused frame): the next worker asks for them anew.
    void dropFarm(int farmId);
    // So are the keys to the farm's object store.
    void dropStore(int farmId) { m_stores.remove(farmId); }

    std::shared_ptr<TransShare> share() const { return m_share; }
    int running() const { return m_works.size(); }

    static constexpr int TickMs = 50, SecondMs = 1000, RenewMs = 1200000;
    static constexpr int MostGaveUp = 50000; // that are remembered
    static constexpr int MaxRetries = 3;
    static constexpr int FarmGapMs = 1000; // between two tries to find out a farm
    static constexpr int StoreAskMs = 10000;

protected:
    struct Farm {
        QString url, token; // drive address ("http...") and role token
        bool ready() const { return url.startsWith(QLatin1String("http")) && !token.isEmpty(); }
    };
    struct BatchItem {
        qlonglong pri = 0, size = 0;
        int state = 0, error = 0;
    };

    void timerEvent(QTimerEvent *event) override;
    virtual void reportSpeed(qlonglong key, qlonglong subkey, qlonglong speed, qlonglong size);
    virtual void speedsReported() {} // after the last reportSpeed of a second
    void reportSpeeds();             // what was gathered since the last time
    virtual void flushBatch(qlonglong key, const QList<BatchItem> &items, qlonglong sum);
    void startRenewal(); // the 20-minute timer: farms and tokens are asked anew

    // Whether the workers speak to a file server. Those that don't go by the address and its access token alone.
    virtual bool needsTicket() const { return true; }
    // The queue's own worker, for a socket.
    virtual TransWork *makeWork(bool retry, int backError) = 0;
    // ... and for an object store. description: of the store, with "backerror" and "socketPort" of the companion.
    virtual TransWork *makeStoreWork(const QJsonObject &description)
    {
        Q_UNUSED(description)
        return nullptr;
    }
    // transType is the link kind: 1 object store, 2 socket. Null, with the reason logged, when the link can't be had
    // (yet); a farm that isn't known is being asked for then. retry: first attempt after a give-up.
    TransWork *createWork(int transType, int farmId, bool retry, int backError, int socketPort);
    // Enters the worker, moves it to a pool thread. The caller queues its first call.
    void addWork(const QString &key, TransWork *work);
    TransWork *worker(const QString &key) const { return m_works.value(key, nullptr); }
    bool isCurrent(const QString &key, quint64 serial) const;
    QStringList keys() const { return m_works.keys(); }
    quint64 nextSerial() { return ++m_serial; }

    // Null while the farm is being asked for (never waits).
    const Farm *farm(int farmId);
    // The description of the farm's object store, opaque to the client; empty while it is being asked for (never
    // waits). Kept for RenewMs.
    QJsonObject store(int farmId);
    bool checkRetry(const QString &key); // true: try again (and counted); false: given up
    bool takeGaveUp(const QString &key); // whether it was given up; forgets it
    int retries(const QString &key) const { return m_retryCount.value(key); }
    void forgetRetries(const QString &key) { m_retryCount.remove(key); }

    // Records a changed item; the batch is flushed at once when it holds `count`, else `delayMs` after the last one.
    void batch(qlonglong key, const BatchItem &item, int count, int delayMs);

private slots:
    void debounceOut();

private:
    struct Asker {
        QString key;
        quint64 serial;
    };
    struct FarmEntry {
        Farm farm;
        bool asking = false, askingHost = false, told = false;
        QElapsedTimer answered; // of the last answer, good or not
        QList<Asker> tickets, hosts;
    };
    struct StoreEntry {
        QJsonObject description;
        bool asking = false;
        QElapsedTimer answered; // of the last answer, good or not
    };
    TransWork *createStoreWork(int farmId, int backError, int socketPort);
    void probeFarm(int farmId);
    void probeHost(int farmId);
    void farmAnswered(int farmId, const QString &url, const QString &token);
    void forgetFarms(); // a login ended or began: tokens belong to one
    void hostAnswered(int farmId, const QString &host, int port);

    std::shared_ptr<TransShare> m_share;
    QMap<QString, TransWork *> m_works;
    QMap<QString, int> m_retryCount;
    QSet<QString> m_gaveUp;
    QHash<int, FarmEntry> m_farms;
    QHash<int, StoreEntry> m_stores;
    Debounce *m_debounce = nullptr;
    QMap<qlonglong, QList<BatchItem>> m_batch;
    int m_batchCount = 0;
    QMap<qlonglong, QMap<qlonglong, QPair<qlonglong, qlonglong>>> m_speedMap;
    int m_tickTimer = 0, m_secondTimer = 0, m_renewTimer = 0;
    quint64 m_serial = 0;
    int m_logins = 0; // counts the changes of the login: an answer from before one is of no use
};
