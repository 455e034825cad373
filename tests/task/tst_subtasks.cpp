// Sub-tasks without windows: what a row says and allows, what is sent, and a log that is fetched from servers of every kind.
#include "common/UserInfo.h"
#include "io/NetWork.h"
#include "support/BusinessPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "task/SubDetail.h"
#include "task/SubFrames.h"
#include "task/SubLog.h"
#include "task/SubPicture.h"
#include "task/SubTask.h"
#include <QTcpServer>

namespace
{
QJsonObject object(const char *json) { return QJsonDocument::fromJson(json).object(); }

// A file server that gives one file out, with the head of its replies byte by byte: 28 bytes and four zero bytes.
class LogServer : public QTcpServer
{
public:
    QByteArray content;
    QList<QJsonObject> asks;
    QList<QByteArray> tokens;
    qint64 cutAfter = -1; // bytes of the file
    bool closes = false;  // at the file's end
    QByteArray goodToken; // empty: any
    LogServer()
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(socket, socket->readAll()); });
        });
    }

private:
    void answer(QTcpSocket *socket, const QByteArray &frame)
    {
        const QJsonObject ask = QJsonDocument::fromJson(frame.mid(40)).object();
        asks << ask;
        tokens << frame.mid(20, 16);
        const qint64 start = qint64(ask["startPoint"].toDouble());
        const bool stale = !goodToken.isEmpty() && frame.mid(20, 16) != goodToken;
        QByteArray head(28, '\x5a');
        qToBigEndian<qint32>(stale ? -1 : 0, head.data() + 4);
        qToBigEndian<qint32>(stale ? 0 : start > content.size() ? 13020304 : 7010003, head.data() + 24);
        for (char byte : head + QByteArray(4, '\0')) {
            socket->write(&byte, 1);
            socket->flush();
        }
        if (stale || start > content.size())
            return;
        const qint64 left = cutAfter >= 0 ? cutAfter : content.size();
        socket->write(content.mid(int(start), int(left)));
        if (cutAfter >= 0 || closes)
            socket->disconnectFromHost();
        cutAfter = -1;
    }
};
} // namespace

class TestSubTask : public QObject
{
    Q_OBJECT
private slots:
    void cells()
    {
        for (const auto &[json, frames, state, note, marked] : Rows<const char *, QString, QString, QString, bool>{
                 {R"({"frame_from": 7, "frame_to": 7, "frame_step": 1, "status": 3})", "7", "已完成", "", false},
                 {R"({"frame_from": "1", "frame_to": "10", "frame_step": 2, "status": "0", "flag": 3})", "1-10:2", "渲染中", "重渲", true},
                 {R"({"frame_from": -3, "frame_to": 4, "frame_step": 0, "status": 6, "flag": 2})", "-3-4", "", "补帧", true},
                 {R"({"frame_from": 5, "status": 5, "type": 100})", "5", "已取消", "光子", true},
                 {R"({"frame_from": 5, "frame_to": 5, "status": 4, "type": 101})", "5", "渲染失败", "合并光子", true},
                 {R"({"frame_from": 5, "frame_to": 5, "status": -1, "type": 201})", "5", "", "分块", false},
                 {R"({"frame_from": [], "status": {}, "frame_step": -7})", "0", "渲染中", "", false}}) {
            const SubTask sub = SubTask::from(object(json));
            QVERIFY2(sub.frames() == frames && sub.stateText() == state && sub.note() == note && sub.marked() == marked, json);
        }
        const SubTask sub = SubTask::from(object(R"({"maya_layer": "beauty", "hou_rop": "mantra1", "camera": "cam"})"));
        for (const auto &[software, title, cell] : Rows<int, QString, QString>{{1, "层名", "beauty"},
                                                                               {7, "层名", "beauty"},
                                                                               {4, "节点", "mantra1"},
                                                                               {8, "节点", "mantra1"},
                                                                               {3, "镜头", "cam"},
                                                                               {5, "镜头", "cam"},
                                                                               {6, "", ""},
                                                                               {0, "镜头", "cam"}})
            QVERIFY2(SubTask::splitTitle(software) == title && sub.split(software) == cell, qPrintable(QString::number(software)));
        QCOMPARE(SubPicture::modeOf(3, 4), SubPicture::Index);
        QCOMPARE(SubPicture::modeOf(3, 0), SubPicture::Link);
        QCOMPARE(SubPicture::modeOf(1, 0), SubPicture::Stream);
    }

    // Texts for numbers, ids beyond what a double keeps, rows twice and rows without an id.
    void lists()
    {
        const QJsonObject reply = object(R"({"results": [{"id": "9007199254740993", "status": 1}, {"id": 5, "parentViewId": "4"},
            {"id": 5, "status": 3}, {"id": 0}, "row", {"id": "9007199254740993"}], "pageSize": 0, "totalFrame": "12", "successFrame": -4,
            "totalBlock": 3, "untreatedBlock": 2, "picCount": 99999999})");
        const SubList list = SubList::from(reply, false);
        QCOMPARE(list.rows.size(), 2);
        QCOMPARE(list.rows.at(0).id, QString("9007199254740993"));
        QCOMPARE(list.rows.at(1).parentId, QString("4"));
        QVERIFY(list.pages == 1 && list.total == 12 && list.done == 0 && list.pictures <= 1000);
        QVERIFY(SubList::from(reply, true).total == 3 && SubList::from(reply, true).waiting == 2);
        QCOMPARE(SubAsk::one("7", list.rows.at(0).id), object(R"({"missionId": 7, "subjobId": "9007199254740993"})"));
        QCOMPARE(SubAsk::chosen("7", {"5", "6"}), object(R"({"missionId": 7, "subjobIds": "5,6"})"));
        QCOMPARE(SubAsk::list("7", -1, 2), object(R"({"missionId": 7, "status": -1, "page": 2})"));
        SubTask sub = SubTask::from(object(R"({"id": 70, "jobId": "5", "farmId": 2, "newVer": 1700000000123})"));
        QCOMPARE(SubAsk::cancel("7", sub), object(R"({"missionId": 7, "jobId": 5, "subJobId": 70, "farmId": 2})"));
        QCOMPARE(SubAsk::preview("7", sub.id, sub.version), object(R"({"missionId": 7, "subjobId": 70, "newVer": 1700000000123})"));
    }

    void rights()
    {
        UserInfo::setRolePerm({{"grants", QJsonArray{9}}, {"result", 1}});
        SubTask sub;
        for (int state = -1; state < 8; ++state) {
            sub.status = state;
            QCOMPARE(sub.mayCancel(), state >= 0 && state <= 2);
            QCOMPARE(sub.mayDownload(), state == 3);
            QVERIFY(!sub.mayRerender());
        }
        UserInfo::setRolePerm({{"grants", QJsonArray{10}}, {"result", 1}});
        sub.status = SubTask::Done;
        QVERIFY(sub.mayRerender() && !sub.mayDownload());
        UserInfo::setRolePerm({{"grants", QJsonArray()}, {"result", 1}});
    }

    void details()
    {
        const QString text = SubDetail::text(object(R"({"name": "a.max", "num": "2026", "softwareType": 3, "machineModel": {"name": "CPU"},
            "modelParameters": {"width": 1920, "height": "1080", "onlyScene": 1, "vrMode": 4, "vrLightCacheFile": "d:/a.vrlmap", "giStep": 5,
            "cameras": [{"name": "cam1"}, {"name": "cam2"}]}})"));
        for (const char *line : {"任务名：a.max", "订单号：2026", "所选机型：CPU", "分辨率：1920*1080", "上传模式：只上传主文件",
                                 "Incremental add to current map", "灯光缓存文件：\r\nd:/a.vrlmap", "光子隔帧：5", "cameras: cam1, cam2"})
            QVERIFY2(text.contains(line), qPrintable(text + "\nlacks " + line));
        QVERIFY(!text.contains("归属人") && SubDetail::text({}).startsWith("上传模式：完整上传"));
        QCOMPARE(SubDetail::operations(object(R"({"rows": [{"operator": "demo", "time": "now", "content": "%1 %2"}, 7]})")).first(),
                 QString("操作人：demo     时间：now     内容：%1 %2"));
    }

    // The same paths that downloads take; two cameras with the same numbers stay apart.
    void framesOnDisk()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath("cam1"));
        QFile(dir.filePath("cam1/a.0002.png")).open(QIODevice::WriteOnly);
        const QJsonObject reply = object(R"({"autoPush": 1, "rows": [{"id": 1, "path": "cam1/a.0001.png", "frame": 1}, {"id": 2, "path":
            "cam1/a.0002.png", "frame": 2}, {"id": 3, "path": "cam2/a.0002.png", "frame": 2}, {"id": 4, "path": "../x.0003.png", "frame": 3},
            {"id": 5, "path": "cam1/log.txt", "frame": 9}]})");
        const QList<FrameSeries> all = SubFrames::series(reply, dir.path());
        QCOMPARE(all.size(), 2);
        QCOMPARE(all.at(0).frames, (QList<int>{1, 2}));
        QCOMPARE(all.at(0).files, (QMap<int, QString>{{2, dir.filePath("cam1/a.0002.png")}}));
        QCOMPARE(SubFrames::seriesOf(all, 2, "cam2"), 1);
        QCOMPARE(SubFrames::seriesOf(all, 2, "other"), 0); // on disk
        QCOMPARE(SubFrames::seriesOf(all, 77, ""), -1);
    }
};

class TestSubLog : public QObject
{
    Q_OBJECT
    std::unique_ptr<BusinessPeer> m_farm;
    std::unique_ptr<LogServer> m_files;
    bool m_tellSize = true;
    int m_twice = 1;
    const QString m_token = QString(16, 'a') + QString(16, 'b');
    const QByteArray m_raw = QByteArray::fromHex("aaaaaaaaaaaaaaaabbbbbbbbbbbbbbbb");

    // One fetch; why it failed, or empty.
    QString fetch(SubLog &log)
    {
        QSignalSpy over(&log, &SubLog::fetched);
        log.more();
        log.more(); // while one is under way: nothing
        if (!comes([&] { return over.size() == 1; }))
            return "no end";
        return over.at(0).at(1).toString();
    }
    static QByteArray onDisk(const SubLog &log)
    {
        QFile file(log.file());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
private slots:
    void init()
    {
        m_farm = std::make_unique<BusinessPeer>();
        m_files = std::make_unique<LogServer>();
        m_tellSize = true;
        m_farm->answer(10804, [this](const BusinessPeer::Request &) {
            QJsonObject where{
                {"ip", "127.0.0.1"}, {"port", "1"}, {"port0", m_files->serverPort()}, {"path", "logs/1.log"}, {"token", m_token}};
            if (m_tellSize)
                where["size"] = QString::number(m_files->content.size());
            return BusinessPeer::Reply{1080400, where};
        });
        QVERIFY(m_farm->takeClient());
    }
    void cleanup()
    {
        NetTcp::instance()->setLogin(false);
        QFile::remove(SubLog::fileOf("7", "700001"));
    }

    void growsAndBeginsAnew()
    {
        SubLog log({"7", "700001", 1, {}, "monday"}, SubLog::fileOf("7", "700001"));
        QSignalSpy anew(&log, &SubLog::anew);
        m_files->content = QByteArray("\0\0\0\0first\n", 10); // zero bytes of its own, behind those of the head
        QCOMPARE(fetch(log), QString());
        QCOMPARE(onDisk(log), m_files->content);
        QCOMPARE(m_files->asks.last(), object(R"({"path": "logs/1.log", "startPoint": 0})"));
        m_files->content += QByteArray(3 << 20, 'x') + "\xe6\x97";
        QCOMPARE(fetch(log), QString());
        QCOMPARE(m_files->asks.last()["startPoint"].toInt(), 10);
        QCOMPARE(onDisk(log), m_files->content);
        const int asked = m_files->asks.size();
        QCOMPARE(fetch(log), QString()); // nothing new: the file server isn't troubled
        QCOMPARE(m_files->asks.size(), asked);
        for (bool told : {true, false}) { // by the told length, and by the refusal of what lies too far
            m_tellSize = told;
            m_files->closes = !told;
            m_files->content.truncate(m_files->content.size() / 2);
            QCOMPARE(fetch(log), QString());
            QCOMPARE(anew.size(), told ? 1 : 2);
            QCOMPARE(onDisk(log), m_files->content);
        }
        SubLog other({"7", "700001", 1, {}, "tuesday"}, log.file()); // another render, though it is longer
        m_files->content = QByteArray(m_files->content.size() + 5, 'y');
        QCOMPARE(fetch(other), QString());
        QCOMPARE(onDisk(other), m_files->content);
    }

    void dropsAndStaleTokens()
    {
        SubLog log({"7", "700001", 1, {}, {}}, SubLog::fileOf("7", "700001"));
        m_files->content = QByteArray(1000, 'z');
        m_files->cutAfter = 300;
        QVERIFY(!fetch(log).isEmpty());
        QCOMPARE(onDisk(log).size(), 300);
        QCOMPARE(fetch(log), QString());
        QCOMPARE(m_files->asks.last()["startPoint"].toInt(), 300);
        QCOMPARE(onDisk(log), m_files->content);
        m_files->content += "more";
        m_files->goodToken = m_raw;
        UserInfo::setSessionToken("aaaaaaaa-aaaa-aaaa-bbbb-bbbbbbbbbbbb");
        m_farm->answer(10804, 1080400,
                       {{"ip", "127.0.0.1"}, {"port", m_files->serverPort()}, {"path", "logs/1.log"}, {"token", "00"}, {"size", 1004}});
        QCOMPARE(fetch(log), QString()); // the session's, where the server doesn't know the other
        QCOMPARE(onDisk(log), m_files->content);
        UserInfo::setSessionToken({});
    }

    // What it says then; what is on disk stays.
    void refusals()
    {
        SubLog log({"7", "700001", 1, {}, {}}, SubLog::fileOf("7", "700001"));
        m_files->content = "here";
        QCOMPARE(fetch(log), QString());
        for (const auto &[val, body, why] : Rows<int, QJsonObject, QString>{
                 {1080402, {}, "1080402"}, {1080400, {{"ip", "127.0.0.1"}, {"port", 1}, {"size", 9}, {"token", "00"}}, "没有应答"}}) {
            m_farm->answer(10804, val, body);
            const QString said = fetch(log);
            QVERIFY2(!said.isEmpty() && said != "no end" && said.contains(why), qPrintable(said));
            QCOMPARE(onDisk(log), QByteArray("here"));
        }
        m_farm->answer(10804, [this](const BusinessPeer::Request &request) { // twice, the second one of somebody else's
            m_files->content = "here and there";
            const QJsonObject where{
                {"ip", "127.0.0.1"}, {"port", m_files->serverPort()}, {"path", "logs/1.log"}, {"size", 14}, {"token", "00"}};
            m_farm->reply(request, 1080400, where);
            m_farm->sendText(request.seq + 50, 10804, 1080400, "[]");
            return BusinessPeer::Reply{1080400, where};
        });
        QCOMPARE(fetch(log), QString());
        QCOMPARE(onDisk(log), QByteArray("here and there"));
        m_farm->answer(10804, [this](const BusinessPeer::Request &) {
            m_farm->cut();
            return BusinessPeer::Reply{0, {}, true};
        });
        QVERIFY(!fetch(log).isEmpty());
    }
};

VN_TEST(TestSubTask)
VN_TEST(TestSubLog)
#include "tst_subtasks.moc"
