#pragma once
// One file's whole conversation with a file server: base of the upload and download workers. A handler makes it on its
// own thread, moves it to a thread of ThreadPool and queues its first call; from then on socket, files, timers and
// callbacks belong to that thread. Only the handler disposes of it, after its ...Finished signal or by takeWork.
//
// Life: made -> first call -> any way out (reply, time-out, socket error, pause) -> finishUp/finishDown, once -> the
// handler deletes it. A worker that ended, or whose `closed` is set, does nothing any more: every callback tests
// over().
#include "db/Records.h"
#include "transfer/TransSet.h"
#include "transfer/TransShare.h"
#include <array>
#include <memory>
#include <QFile>
#include <QHostInfo>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

class TransWork : public QObject
{
    Q_OBJECT
public:
    explicit TransWork(std::shared_ptr<TransShare> share);
    ~TransWork() override;

    // Before the worker is moved to its thread.
    void setServer(const QString &url, const QString &token);
    void setSignMd5(const QString &sign, const QString &md5,
                    int transType); // logs "%1_%2" but of the drive's files; sign is kept to 8 characters
    void setKey(const QString &key, quint64 serial); // the handler's own handle of this worker
    int transType() const { return m_transType; }
    quint64 serial() const { return m_serial; }

    // Set by the handler, from its thread, before it disposes of the worker; long loops test it.
    std::atomic_bool closed{false};
    std::atomic_int busyMs{-1};           // how long the service wants to be left alone, see FuncBody::busyMs
    std::atomic_bool frameRefused{false}; // by the file server, maybe for an old token

    // What a handler's post brings, on the worker's thread (see askTicket, askFarmHost).
    virtual void initDownWork(QString token) { Q_UNUSED(token) } // empty: the farm can't be found out
    void takeTicket(const QString &url, const QString &token);   // setServer, then initDownWork
    virtual void farmHostFound(QString host, int port)
    {
        Q_UNUSED(host)
        Q_UNUSED(port)
    } // port 0: unknown

    // Pause with deletion: the partial files of a download go.
    virtual void dropPartial();

    virtual void finishUp(int kind);
    virtual void finishDown(int kind);

signals:
    void UpWorkFinished(db_upfile file, int kind);
    // type: 1 the hash is known, 2 the server's id, 3 hash, size and time, 4 a compressed copy stands (ratio).
    void updateFile(int type, db_upfile file);
    void DownWorkFinished(db_downfile file, int kind);

protected slots:
    virtual void timeOut(); // 10010
    void upSpeedOut();      // each second

protected:
    virtual bool initUp() { return true; } // false: the worker has been failed
    virtual bool initDown() { return true; }
    // The end of a download: the partial file is checked against the row's hash and takes its final name. Finishes or
    // fails the worker; false when it failed.
    virtual bool fileHash() { return true; }

    // State 13 or 3 and the code; kind 2 for those that pass by themselves (or soft), else 3.
    void failUp(int code, bool soft = false);
    void failDown(int code);
    static bool passesUp(int code);
    static bool passesDown(int code);

    bool over() const { return m_ended || closed.load(std::memory_order_relaxed); }
    // The one door: true for the first caller only. Stops timers, drops the socket, closes the files.
    bool end();
    void makeTimers(); // wait and speed timer; on the worker's thread
    void startWait(int ms);
    void stopWait();
    void feedSpeed(qint64 position); // progress, in bytes of the file
    void setTotal(qint64 total) { m_total = total; }
    // A file of the drive's: there may be a million of them, and the log has a line of each, at its end.
    bool oneOfMany() const { return m_transType > 1; }
    void dropSocket();

    // Looks a host name up without blocking (an address is taken as it is), at most HostMs; then(ip) runs on this
    // thread, with an empty text on failure, and not at all once the worker is over.
    void resolveHost(const QString &name, std::function<void(QString ip)> then);
    // Asks the handler for the farm's token (answer: initDownWork) or file server (answer: farmHostFound). False when
    // the handler is gone.
    bool askTicket(int farmId);
    bool askFarmHost(int farmId);

    static constexpr int HostMs = 5000;
    static constexpr int SpeedSamples = 16; // one a second

    std::shared_ptr<TransShare> m_share;
    QTcpSocket *m_socket = nullptr; // made by the subclass on first use, owned
    QString m_hostName;             // as the server told it; m_host is its address
    QString m_host;
    int m_port = 0;
    QString m_serverUrl, m_token;
    QByteArray m_tokenBytes; // 16 bytes
    QString m_workKey, m_sign, m_md5;
    quint64 m_serial = 0;
    int m_transType = 0; // 0 order upload, 1 result download, 2 drive upload, 3 drive download

    QTimer *m_waitTimer = nullptr;
    QTimer *m_speedTimer = nullptr;
    std::array<qint64, SpeedSamples> m_speedWindow{};
    qint64 m_position = 0;  // bytes of the file that went over
    qint64 m_speedBase = 0; // m_position at the last speed tick
    qint64 m_untold = -1;   // bytes since the last report; -1 before the first position
    qint64 m_total = 0;

    QFile *m_file = nullptr; // an upload's source; owned
    QString m_eTag;

    db_upfile m_up; // of a drive upload ordernum is the number of its batch
    db_downfile m_down;

private:
    void reportProgress(qint64 position, qint64 speed);
    bool m_ended = false;
    int m_lookup = -1;
};
