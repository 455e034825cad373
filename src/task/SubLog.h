#pragma once
// The log of one sub-task, fetched into a file on disk: more() asks where it lies (10804) and takes from the file
// server what has come since, from the byte where the file stands; the owner asks again while the sub-task runs. A log
// that is shorter than what is here, or lies elsewhere, belongs to a new render: the file is begun anew, and told so.
//
//   more() -> 10804 -> token -> 70100 with startPoint -> bytes into the file -> fetched()
//
// The end of one fetch: the length that the server told is reached, or the link closed, or (where no length was told)
// nothing came for a while. What came stays, whatever happened. Lives on the thread that made it, or is handed to the
// thread pool while it has no parent (it writes to the disk): then call() is the way to it. Every more() ends with one
// fetched().
#include <functional>
#include <QFile>
#include <QObject>
#include <QStringList>

class NetTcpDown;

class SubLog : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 MostBytes = qint64(16) << 30, LeastFree = qint64(1) << 30;
    static constexpr int EndSilenceMs = 5000;
    struct Of {
        QString task, sub;
        int farmId = 0;
        QString path;    // on the file server, where the list told it
        QString version; // of the render: its start; with another one the file is of no use
    };
    SubLog(const Of &of, const QString &file, QObject *parent = nullptr);
    ~SubLog() override;
    static QString fileOf(const QString &task, const QString &sub); // "%1_%2.log" in the temp folder
    QString file() const { return m_file.fileName(); }

    // For one that lives on a thread of the pool. Any thread; only while the owner hasn't deleted it.
    void call(std::function<void(SubLog &)> work);
    void more(); // does nothing while a fetch is under way

signals:
    void anew();             // the file was emptied
    void grown(qint64 size); // now and then while bytes come, and with the last ones
    // why: a sentence when it failed, else empty. runs: whether the log will grow, -1: nobody told.
    void fetched(qint64 size, QString why, int runs);

private:
    void answered(int val, const QJsonObject &where);
    void findServer(const QJsonObject &where);
    void findToken(const QString &told);
    void askFarmToken();
    void connectNext();
    void take(const QByteArray &data);
    void streamOver();
    bool begin(); // the file stands open at its end
    void empty();
    void end(const QString &why = {});

    Of m_of;
    QFile m_file;
    QString m_host;
    QList<int> m_ports;
    QStringList m_tokens;
    int m_port = 0, m_token = 0; // which of them
    qint64 m_told = -1;          // length of the whole log; -1: nobody told
    qint64 m_size = 0, m_shown = 0;
    NetTcpDown *m_stream = nullptr;
    int m_runs = -1;
    bool m_busy = false, m_emptied = false, m_farmToken = false;
    QString m_trouble; // of the disk
};
