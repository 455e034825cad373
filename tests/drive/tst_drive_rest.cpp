// The drive's REST requests: what goes out, and what is believed of what comes back.
#include "RestRig.h"
#include "support/TestMain.h"
#include "transfer/drive/DriveRest.h"
#include <QJsonDocument>

using Question = std::shared_ptr<DriveRest>;
Q_DECLARE_METATYPE(Question)

class DriveRestTest : public QObject
{
    Q_OBJECT
private slots:
    void requests_data();
    void requests();
    void replies_data();
    void replies();
    void staleToken();
    void crawl();
};

namespace
{
// Sends and waits for the one end: "answered", "refused TEXT" or "lost".
QString endOf(DriveRest question, DriveRest::Reply *reply = nullptr)
{
    QObject guard;
    QStringList ends;
    question.within(3000)
        .answered([&](const DriveRest::Reply &rep) {
            ends << "answered";
            if (reply)
                *reply = rep;
        })
        .refused([&](const DriveRest::Reply &rep) { ends << "refused " + rep.text; })
        .lost([&](const QString &) { ends << "lost"; })
        .send(&guard);
    if (!comes([&] { return !ends.isEmpty(); }))
        return "nothing";
    return ends.join('|');
}
} // namespace

void DriveRestTest::requests_data()
{
    QTest::addColumn<Question>("question");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char *line, const DriveRest &question, const char *body = "") {
        QTest::newRow(line) << std::make_shared<DriveRest>(question) << QByteArray(line) << QByteArray(body);
    };
    row("GET /skydrive/resultFiles/7?fileType=2", DriveRest::entry(3, 2, "7"));
    row("GET /skydrive/files/7/family?fileType=1", DriveRest::family(3, 1, "7"));
    row("GET /skydrive/files/-1/sub-files?fileType=1", DriveRest::children(3, 1, "-1"));
    row("GET /skydrive/resultFiles/alike-files?fileType=2&searchName=a%26%E6%9C%A8&ids=1,2",
        DriveRest::search(3, 2, QStringLiteral("a&木"), {"1", "2"}));
    row("POST /skydrive/files", DriveRest::create(3, 1, "n", "D", "5"), R"({"diskName":"D","fileType":1,"name":"n","parent":"5"})");
    row("PUT /skydrive/files/rename-files", DriveRest::rename(3, 1, "9", "n", "D"), R"({"diskName":"D","fileType":1,"id":"9","name":"n"})");
    row("PUT /skydrive/files/move-files?fileType=1&targetParent=8&ids=1,2", DriveRest::move(3, 1, {"1", "2"}, "8"));
    row("DELETE /skydrive/files?fileType=1&ids=1,2", DriveRest::remove(3, 1, {"1", "2"}));
    row("GET /skydrive/files/7/data?fileType=2", DriveRest::content(3, 2, "7", 0, 9));
}

void DriveRestTest::requests()
{
    QFETCH(Question, question);
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, body);
    RestRig rig;
    rig.body = R"({"code":0,"result":1,"list":[],"data":{"id":7,"name":"n","type":1,"size":1}})";
    QCOMPARE(endOf(*question), QString("answered"));
    const HttpPeer::Request request = rig.rest.requests.last();
    QCOMPARE(request.method + ' ' + request.path, line);
    QCOMPARE(request.body, body);
    QCOMPARE(request.header("X-BRONTEL-ACCESS-TOKEN"), QByteArray("access"));
    QCOMPARE(request.header("Range"), QByteArray(line.contains("/data") ? "bytes=0-9" : ""));
}

void DriveRestTest::replies_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QStringList>("names"); // of the entries that are believed
    QTest::addColumn<int>("unusable");
    const auto row = [](const char *name, const QByteArray &body, const QString &end, const QStringList &names = {}, int unusable = 0) {
        QTest::newRow(name) << body << end << names << unusable;
    };
    const QByteArray a = R"({"id":1,"name":"a","type":1,"size":5})", b = R"({"id":"2","name":"b","type":2})";
    row("files", R"({"code":0,"files":[)" + a + "," + b + "]}", "answered", {"a", "b"});
    row("resultFiles", R"({"resultFiles":[)" + a + "]}", "answered", {"a"});
    row("list within data", R"({"result":1,"data":{"list":[)" + b + "]}}", "answered", {"b"});
    row("data", R"({"code":200,"data":[)" + a + "]}", "answered", {"a"});
    row("empty", R"({"list":[]})", "answered");
    row("half of it", R"({"list":[)" + a + ",", QStringLiteral("refused 云盘回复无法读取"));
    row("no list", R"({"code":0,"result":1,"data":{}})", QStringLiteral("refused 云盘回复无法读取"));
    row("refusal", QStringLiteral(R"({"code":9,"result":0,"msg":"没有","list":[]})").toUtf8(), QStringLiteral("refused 没有"));
    row("itself, the root, twice, no kind, no name, another place, an id of a path",
        R"({"list":[{"id":5,"name":"self","type":2},{"id":-1,"name":"root","type":2},)" + a + "," + a +
            R"(,{"id":3,"name":"x","type":7},{"id":3,"type":1,"size":1},{"id":3,"name":"..","type":2},{"id":3,"name":"../x","type":1,"size":1},
               {"id":"../3","name":"x","type":2},{"id":3,"name":"x","type":1,"size":-1},{"id":3,"name":"x","type":1},7]})",
        "answered", {"a"}, 11);
}

void DriveRestTest::replies()
{
    QFETCH(QByteArray, body);
    QFETCH(QString, end);
    RestRig rig;
    rig.body = body;
    DriveRest::Reply reply;
    QCOMPARE(endOf(DriveRest::children(3, 1, "5"), &reply), end);
    QStringList names;
    for (const SubFile &entry : reply.entries)
        names << entry.name;
    QTEST(names, "names");
    QTEST(reply.unusable, "unusable");
}

// A stale access token is asked for anew and the question goes out once more, once.
void DriveRestTest::staleToken()
{
    RestRig rig;
    rig.stale = 1;
    QCOMPARE(endOf(DriveRest::children(3, 1, "5")), QString("answered"));
    QCOMPARE(rig.rest.requests.size(), 2);
    rig.stale = 100;
    QVERIFY(endOf(DriveRest::children(3, 1, "5")).startsWith("refused"));
    QCOMPARE(rig.rest.requests.size(), 4);
}

// A listing that comes in pieces has its time anew with each, but not with a byte at a time.
void DriveRestTest::crawl()
{
    RestRig rig;
    rig.rest.answer = [](const HttpPeer::Request &) { return QByteArray("HTTP/1.1 200 OK\r\n\r\n{\"list\":["); };
    QTimer drops;
    connect(&drops, &QTimer::timeout, this, [&] { rig.rest.link ? rig.rest.link->write(" ") : 0; });
    drops.start(50);
    DriveRest question = DriveRest::children(3, 1, "5");
    QCOMPARE(endOf(question.pieces([](const QVector<SubFile> &) { return true; })), QString("lost"));
}

VN_TEST(DriveRestTest)
#include "tst_drive_rest.moc"
