#pragma once
// What the download tests stand on: the store in a folder of its own, a business server that tells where results lie, a
// storage service that gives the token, a file server that streams, the window's calls, and the queue itself.
#include "common/Session.h"
#include "common/UserInfo.h"
#include "db/DoneDAO.h"
#include "db/DownloadDAO.h"
#include "io/NetWork.h"
#include "support/BusinessPeer.h"
#include "support/HttpPeer.h"
#include "support/WindowSpy.h"
#include "transfer/down/DownHandler.h"
#include "transfer/TransSet.h"
#include <QCryptographicHash>
#include <QDir>
#include <QJsonArray>

// Streams files by their path; reads the ask and writes the head by itself.
class StreamPeer : public QTcpServer
{
public:
    QHash<QString, QByteArray> files;
    QList<QJsonObject> asks;
    QStringList faults;
    int code = 7010003;
    int headBytes = 32;
    QByteArray extra;            // behind the end of every file
    QList<qint64> cuts;          // bytes after which the next connections end
    std::function<void()> asked; // at every ask, before the answer
    bool hold = false;           // half of each file that isn't tiny, then nothing

    StreamPeer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { take(socket); });
        });
    }
    ~StreamPeer() override
    {
        for (QTcpSocket *socket : findChildren<QTcpSocket *>())
            socket->disconnect(this);
    }
    QList<qint64> starts() const
    {
        QList<qint64> list;
        for (const QJsonObject &ask : asks)
            list << qint64(ask["startPoint"].toDouble(-1));
        return list;
    }

private:
    void take(QTcpSocket *socket)
    {
        const QByteArray frame = socket->readAll(); // an ask is far smaller than a segment
        const char *at = frame.constData();
        if (frame.size() < 40 || qFromBigEndian<qint32>(at) != 0x11121314 || qFromBigEndian<qint32>(at + 4) != 0 ||
            qFromBigEndian<qint64>(at + 8) != -1 || qFromBigEndian<qint32>(at + 16) != 70100 ||
            frame.mid(20, 16).toHex() != "00112233445566778899aabbccddeeff" || qFromBigEndian<qint32>(at + 36) != frame.size() - 40)
            faults << "ask";
        const QJsonObject ask = QJsonDocument::fromJson(frame.mid(40)).object();
        asks << ask;
        if (asked)
            asked();
        QByteArray head(32, '\x5a');
        qToBigEndian<qint32>(0, head.data() + 4);
        qToBigEndian<qint32>(70100, head.data() + 12);
        qToBigEndian<qint32>(code, head.data() + 24);
        QByteArray body = files.value(ask["path"].toString()).mid(int(ask["startPoint"].toDouble())) + extra;
        if (hold && body.size() > 100)
            body.truncate(body.size() / 2);
        const bool cut = !cuts.isEmpty();
        if (cut)
            body.truncate(int(cuts.takeFirst()));
        socket->write(headBytes < 32 ? head.left(headBytes) : code == 7010003 ? head + body : head);
        if (cut)
            socket->disconnectFromHost();
    }
};

struct DownRig {
    static constexpr int Task = 4711;
    QTemporaryDir folder;
    BusinessPeer business;
    HttpPeer storage;
    StreamPeer files;
    WindowSpy window;
    QHash<int, QJsonObject> answers; // of 10800, by file id
    QList<QPair<int, int>> states;   // (state, error) as told to the page
    qlonglong position = 0;          // of the last speed report
    QScopedPointer<DownHandler> queue;
    int over = 0;
    QElapsedTimer since;
    int rate = 1;       // how much faster than the room's clock the queue's goes
    qint64 ahead = 0;   // ms that were skipped
    bool still = false; // the clock moves by `ahead` alone

    DownRig()
    {
        UserInfo::init();
        UserInfo::initUser(QJsonObject{{"userId", 7}});
        QDir(folder.path()).mkpath("out");
        UserInfo::setResultDir(folder.filePath("out"));
        DownloadDAO::instance()->open(folder.path());
        DoneDAO::instance()->open(folder.path());
        business.takeClient();
        business.answer(11100, 1110000, QJsonObject{{"addr", storage.url()}, {"addr-internal", storage.url()}, {"accessToken", "access"}});
        business.answer(10800, [this](const BusinessPeer::Request &asked) {
            const QJsonObject body = answers.value(asked.body["fileId"].toInt());
            return BusinessPeer::Reply{body.isEmpty() ? 1080002 : body["val"].toInt(1080000), body, false};
        });
        storage.answer = [](const auto &) { return HttpPeer::response(R"({"data":{"token":"00112233-4455-6677-8899-aabbccddeeff"}})"); };
        QObject::connect(DownloadDAO::instance(), &DownloadDAO::fileStateChanged, &window,
                         [this](qlonglong, int state, int error) { states << qMakePair(state, error); });
        QObject::connect(DownloadDAO::instance(), &DownloadDAO::fileSpeedChanged, &window,
                         [this](qlonglong, qlonglong got) { position = got; });
        Session::setLive(true);
    }
    ~DownRig()
    {
        Session::setLive(false);
        queue.reset();
        NetWork::instance()->forgetDrives();
        DownloadDAO::instance()->releaseDown();
        DoneDAO::instance()->close();
        NetTcp::instance()->setLogin(false);
    }
    void start()
    {
        since.start();
        queue.reset(new DownHandler([this] { return ahead + (still ? 0 : since.elapsed() * rate); }));
        QObject::connect(queue.data(), &DownHandler::downWorkOver, &window, [this] { ++over; });
        queue->startScan();
    }
    // A file that the farm has: its row of a result list. Flagged, so that it lands at root/path.
    QJsonObject result(int id, const QString &path, const QByteArray &content, const QString &hash = "right")
    {
        files.files["/farm/" + path] = content;
        const QString digest = QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex();
        answers[id] = {{"size", content.size()},          {"hash", hash == "right" ? digest : hash},
                       {"path", "elsewhere/" + path},     {"farmId", 3},
                       {"downloadPath", "/farm/" + path}, {"ipWan", "127.0.0.1"},
                       {"portWan", files.serverPort()}};
        return {{"id", id}, {"path", path}, {"isBlock", 1}, {"frame", id}};
    }
    QJsonObject list(const QJsonArray &rows) const
    {
        return {{"num", "N7"}, {"missionName", "shot"}, {"resultRootPathEnum", 0}, {"rows", rows}};
    }
    QJsonObject push(const QJsonArray &rows) const
    {
        QJsonObject obj = list(rows);
        obj["prefixPath"] = "4711_shot/";
        return obj;
    }
    QString path(const QString &name) const { return folder.filePath("out/N7_shot/") + name; }
    QByteArray content(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(path(name));
        QDir().mkpath(QFileInfo(file).absolutePath());
        if (file.open(QIODevice::WriteOnly))
            file.write(bytes);
    }
    QStringList onDisk(const QString &name) const
    {
        const QFileInfo info(path(name));
        return QDir(info.absolutePath()).entryList({info.fileName() + "*"}, QDir::Files, QDir::Name);
    }
    db_downmiss mission() const { return DownloadDAO::instance()->missionByOrder("N7"); }
    QList<db_downfile> rows() const { return DownloadDAO::instance()->files(mission().pri); }
    int count(int state, int error) const { return states.count(qMakePair(state, error)); }
};
