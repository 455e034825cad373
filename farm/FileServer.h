#pragma once
// The file server: one connection moves one file. Upload: ask (where to go on), one chunk, ask, chunk, ... until the
// ask answers that all is there, then the commit. Download: an ask, then the rest of the file streams out.
#include "ContentStore.h"
#include "Wire.h"
#include <QFile>
#include <QJsonObject>
#include <QObject>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

namespace farm
{

class Core;

struct FileCommand {
    enum : int { AskUpload = 70000, SendData = 70002, Commit = 70004, AskDownload = 70100, RefusedFrame = 79999 };
};

struct FileCode {
    enum : int {
        StartHere = 7000000,
        AllHere = 7000001,
        ChunkKept = 7000201,
        Arrived = 7000404,
        MoveOk = 7000441,
        DataFollows = 7010003,
        NoFile = 7010007,
        Cancelled = 13010005,
        NoRecord = 13010102,
        WriteFailed = 13010201,
        TooMuch = 13010202,
        StartTooFar = 13020304
    };
};

constexpr qint64 FileWindow = 4 << 20; // bytes on their way in either direction

class FileServer : public QObject
{
    Q_OBJECT
public:
    explicit FileServer(Core &core);
    bool listen(int port, QString *error);
    int port() const { return m_server.serverPort(); }
    void dropLinks();

private:
    Core &m_core;
    QTcpServer m_server;
};

// States: Head -> Json -> Head | Head -> Data -> Head | Head -> Skip -> Head | Head -> Json -> Sending (to the end).
class FileLink : public QObject
{
    Q_OBJECT
public:
    FileLink(Core &core, QTcpSocket *socket, QObject *parent);
    ~FileLink() override;
    void drop();

private:
    enum State { Head, Json, Data, Skip, Sending };
    void read();
    bool readHead();
    bool readData();
    void begin(const Frame &frame);
    void handle(const QJsonObject &body);
    void ask(const QJsonObject &body);
    void commit(const QJsonObject &body);
    void beginData();
    void endData();
    void download(const QJsonObject &body);
    void pump();
    bool arrived(); // false: it couldn't be kept
    void refuse(const QString &why, int command);
    void reply(int phase, int code, const QJsonObject &body = {});
    void send(const QByteArray &bytes);
    bool checkAsk(const QJsonObject &body);
    int farmOf(const QByteArray &token) const; // 0: an unknown token
    // 0, or the code that refuses the file that has been asked for.
    int refusal(int id); // id: of the file, as the client tells it

    Core &m_core;
    QTcpSocket *m_socket;
    State m_state = Head;
    Frame m_frame;
    QByteArray m_json;
    int m_left = 0; // of the body that is running
    Identity m_identity;
    int m_farm = 1;
    bool m_asked = false, m_mayData = false;
    QFile m_file;
    bool m_dataGood = true;
    int m_dataCode = 0;
    qint64 m_cutUp = -2, m_cutDown = -2; // -2: not asked for yet, -1: none
    qint64 m_sendLeft = 0, m_got = 0;
    bool m_corrupt = false, m_held = false, m_log = false;
    qint64 m_pace = -1; // bytes a second, -1: none
    QTimer m_paceTimer;
};

} // namespace farm
