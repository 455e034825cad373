#pragma once
// Uploads one file of an order, on a thread of ThreadPool. Asks the storage service whether the file is known (then no
// byte moves), else sends it to a file server, stop and wait: before each chunk the server says where to go on, so a
// new connection resumes wherever the last one ended. A ".max" scene goes as a ZIP copy in the account's folder.
//
//   upReq -> asked: known -> done
//                   else -> connected -> ask -> start point -> chunk -> ack -> pause for the limit -> ask ...
//                                             all there -> commit -> done, or the server's background stages -> later
#include "io/NetWork.h"
#include "transfer/TransFrame.h"
#include "transfer/up/UpSource.h"
#include <QElapsedTimer>

class UpWork : public UpSource
{
    Q_OBJECT
public:
    UpWork(std::shared_ptr<TransShare> share, bool retry, int backPort);

    void upReq(db_upfile file) override;
    void farmHostFound(QString host, int port) override;
    void finishUp(int kind) override;

    // The server still unpacks, hashes or moves the file: not a failure, the queue asks again later.
    static bool isStage(int code);
    static QString zipPathOf(const db_upfile &file); // empty unless the file is compressed
    static void removeZips(const QString &order);    // the copies of an order that is deleted
    static void removeParts();                       // half copies that a former run, or a power cut, left behind

    static constexpr int AnswerMs = 30000, ChunkMs = 60000, FailedAskMs = 1000, HostWaitMs = 10000;
    static constexpr int MaxStalled = 3; // chunks taken without the start point moving on
    static constexpr int Block = 262144; // read and handed to the socket at a time

protected:
    bool initUp() override;
    void sourceChanged() override { removeZip(); }

private slots:
    void connected(); // the ask frame: before each chunk
    void readData();
    void errorRecord(QAbstractSocket::SocketError error);
    void pump(); // the chunk's next bytes, while the socket takes them
    void limitOut();

private:
    void asked(const FuncBody &rep);
    void locate(const QJsonObject &data);
    void connectSocket(const QString &host, int port);
    bool compress();
    bool makeZip();
    bool sendFrame(const QByteArray &frame);
    void answered(const TransFrame::Reply &reply);
    void takeStartPoint();
    void commit();
    void chunkTaken();
    void fsCode(int code);
    void startUp(); // one chunk
    void removeZip();

    QString m_zipPath;
    QString m_partPath;     // of the copy while it is made: this worker's own
    qint64 m_furthest = -1; // start point that the server told so far
    int m_stalled = 0;
    bool m_retry = false;
    int m_backPort = 0; // of a local proxy, 0 none
    int m_packetSize = TransSet::FirstPacket;
    qint64 m_left = 0; // bytes of the chunk that aren't handed over yet
    QByteArray m_block;
    QByteArray m_head; // of the chunk, until it went out with the first block
    QByteArray m_body; // of a reply whose JSON isn't whole yet
    bool m_bodyOpen = false;
    bool m_pumping = false;
    QElapsedTimer m_lastSend, m_lastTurn; // since the chunk, since its ask
    QTimer *m_limitTimer = nullptr;
};
