// The drives of the farms and their analysis service over hand-written wires.
#include "support/TestMain.h"
#include "Wires.h"

class TestDrive : public QObject
{
    Q_OBJECT
    struct Wire : Bench {
        explicit Wire(FarmOptions given = {}) : Bench(given) { login(); }
        HttpReply ask(const QByteArray &method, const QByteArray &path, const QJsonObject &body = {}, const QByteArray &more = {})
        {
            const QByteArray kind = method == "POST" || method == "PUT" ? "Content-Type: application/json\r\n" : "";
            return get("/skydrive" + path, headers() + kind + more, method, body.isEmpty() ? QByteArray() : json(body));
        }
        QJsonArray list(const QString &id, const char *more = "")
        {
            const QJsonObject answer = ask("GET", "/files/" + id.toLatin1() + "/sub-files?fileType=1" + more).object();
            return answer.value("data").toObject().value("files").toArray();
        }
        QString make(const QString &parent, const QString &name)
        {
            const QJsonObject answer =
                ask("POST", "/files", {{"fileType", 1}, {"name", name}, {"diskName", "D"}, {"parent", parent}}).object();
            return answer.value("result").toInt() == 1 ? answer.value("data").toObject().value("id").toString()
                                                       : QString::number(answer.value("code").toInt());
        }
        int code(const HttpReply &reply) { return reply.object().value("code").toInt(-1); }
    };
    static QStringList names(const QJsonArray &list)
    {
        QStringList all;
        for (const QJsonValue &one : list)
            all += one.toObject().value("name").toString();
        return all;
    }
    static QString idOf(const QJsonArray &list, const QString &name)
    {
        return list.at(names(list).indexOf(name)).toObject().value("id").toString();
    }

private slots:
    // Folders made, renamed, moved and deleted; what can't be is refused with a code and changes nothing.
    void folders()
    {
        Wire drive;
        const QString disk = idOf(drive.list("-1"), "D");
        const QString a = drive.make(disk, "甲 %_"), b = drive.make(disk, "b"), c = drive.make(a, "c");
        QCOMPARE(drive.make(disk, "b"), QString("1060002"));
        QCOMPARE(drive.make(disk, "x|y"), QString("1060003"));
        QCOMPARE(drive.make("99", "x"), QString("1060001"));
        QCOMPARE(drive.code(drive.ask("PUT", "/files/move-files?fileType=1&targetParent=" + c.toLatin1() + "&ids=" + a.toLatin1())),
                 1060005);
        QCOMPARE(drive.code(drive.ask("PUT", "/files/rename-files", {{"fileType", 1}, {"name", "b"}, {"diskName", "D"}, {"id", a}})),
                 1060002);
        QCOMPARE(drive.code(drive.ask("PUT", "/files/rename-files", {{"fileType", 1}, {"name", "a"}, {"diskName", "D"}, {"id", a}})), 0);
        QCOMPARE(drive.code(drive.ask("PUT", "/files/move-files?fileType=1&targetParent=" + b.toLatin1() + "&ids=" + a.toLatin1())), 0);
        const QJsonObject family = drive.ask("GET", "/files/" + c.toLatin1() + "/family?fileType=1").object().value("data").toObject();
        QCOMPARE(names(family.value("list").toArray()), QStringList({"c", "a", "b", "D"}));
        QCOMPARE(drive.farm.driveFiles().keys(), QStringList({"D/", "D/b/", "D/b/a/", "D/b/a/c/"}));
        QVERIFY(drive.farm.faults().set("drive-drop-reply=1@1")); // it's carried out all the same
        QCOMPARE(drive.ask("POST", "/files", {{"fileType", 1}, {"name", "d"}, {"diskName", "D"}, {"parent", c}}).status, 0);
        drive.restart();
        drive.login();
        const QJsonObject entry = drive.ask("GET", "/files/" + b.toLatin1() + "?fileType=1").object().value("data").toObject();
        QCOMPARE(entry.value("containFolder").toInt(), 3);
        QCOMPARE(drive.code(drive.ask("DELETE", "/files?fileType=1&ids=" + b.toLatin1())), 0);
        QCOMPARE(drive.farm.driveFiles().keys(), QStringList{"D/"});
        QCOMPARE(drive.farm.violations(), QStringList());
    }

    // 100,000 entries come in pieces, each of which is quick; a search takes its text as it stands.
    void many()
    {
        Wire drive;
        QVERIFY(drive.farm.fillDrive(1, "D/big", 0, 100000, 10));
        const QString big = idOf(drive.list(idOf(drive.list("-1"), "D")), "big");
        QElapsedTimer clock;
        clock.start();
        const QJsonArray last = drive.list(big, "&page=100&pageSize=1000");
        QVERIFY2(clock.elapsed() < 10000, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(last.size(), 1000);
        QCOMPARE(names(last).last(), QString("file099999.bin"));
        const auto found = [&drive](const char *text, const QString &below) {
            return drive.ask("GET", QByteArray("/files/alike-files?fileType=1&searchName=") + text + "&ids=" + below.toLatin1())
                .object()
                .value("data")
                .toObject()
                .value("list")
                .toArray()
                .size();
        };
        QCOMPARE(found("e0999", big), 100);
        QCOMPARE(found("%25", "-1"), 0);
        QCOMPARE(drive.farm.driveUsed(), 1000000);
        const QJsonObject whole = drive.ask("GET", "/files/-1?fileType=1").object().value("data").toObject();
        QCOMPARE(whole.value("size").toDouble(), 100.0);
        QVERIFY(qAbs(drive.wire->ask(11202, {{"farmId", 1}}).object().value("usedSize").toDouble() * (1 << 30) - 1e6) < 1);
    }

    // A file goes up through the file server and comes down in ranges; the second time nothing travels.
    void bytes()
    {
        FarmOptions options;
        options.driveBytes = 1 << 20;
        Wire drive(options);
        const QByteArray file = noise(300000);
        const QString key = QStringLiteral("D:/项目/a b.ma");
        QCOMPARE(drive.code(drive.instant(0, "E/x", 1)), 1060001);
        QCOMPARE(drive.code(drive.instant(0, "D/x", 2 << 20)), 1060004);
        QCOMPARE(drive.code(drive.instant(0, "D/../x", 1)), 1060003);
        QCOMPARE(drive.code(drive.instant(0, key, file.size())), 101402);
        QCOMPARE(FileWire(drive).upload(0, key, file, 200000), 7000404);
        QCOMPARE(FileWire(drive).upload(0, "D/big", noise(900000)), 1060004);
        QTRY_COMPARE(drive.farm.driveFiles().value("D/项目/a b.ma"), md5(file));
        QCOMPARE(drive.farm.driveUsed(), 300000);
        drive.restart();
        drive.login();
        QCOMPARE(drive.code(drive.instant(0, key, file.size())), 101401);
        const QString folder = idOf(drive.list(idOf(drive.list("-1"), "D")), "项目"), id = idOf(drive.list(folder), "a b.ma");
        const QByteArray path = "/files/" + folder.toLatin1() + '/' + id.toLatin1() + "/data?fileType=1";
        const HttpReply middle = drive.ask("GET", path, {}, "Range: bytes=262144-299999\r\n");
        QCOMPARE(middle.status, 206);
        QCOMPARE(middle.body, file.mid(262144));
        QVERIFY2(middle.head.contains("X-Content-Range: bytes 262144-299999/300000\r\n"), middle.head.constData());
        QVERIFY(middle.head.contains("ETag: \"" + md5(file).toLatin1() + '"'));
        QCOMPARE(drive.ask("GET", path, {}, "Range: bytes=300000-\r\n").status, 416);
        struct Row {
            const char *fault;
            int status, size;
        };
        for (const Row &row :
             {Row{"drive-no-range=1@1", 200, 300000}, Row{"drive-short-body=5@1", 206, 95}, Row{"drive-status=503@1", 503, -1},
              Row{"drive-stale=1@1", 200, -1}, Row{"drive-wrong-range=1@1", 206, 100}}) {
            QVERIFY(drive.farm.faults().set(row.fault));
            const HttpReply reply = drive.ask("GET", path, {}, "Range: bytes=0-99\r\n");
            QVERIFY2(reply.status == row.status && (row.size < 0 || reply.body.size() == row.size), row.fault);
        }
        QVERIFY(drive.farm.faults().set("drive-half-listing=1@1"));
        QVERIFY(QJsonDocument::fromJson(drive.ask("GET", "/files/-1/sub-files?fileType=1").body).isNull());
        for (const auto &[ring, name] : {std::pair("drive-ring=1@1", "项目"), std::pair("drive-ring=2@1", "D")}) {
            QVERIFY(drive.farm.faults().set(ring));
            QVERIFY2(names(drive.list(folder)).contains(name), ring);
        }
        QVERIFY(drive.farm.faults().set("drive-name=../x@1"));
        QCOMPARE(names(drive.list(folder)), QStringList{"../x"});
    }

    // Three farms in one program: each has its own address, tokens and drive; the push tells them.
    void farms()
    {
        FarmOptions options;
        options.farms = 3;
        Wire drive(options);
        const QJsonArray farms = drive.wire->push(11201).object().value("skydriveFarms").toArray();
        QCOMPARE(farms.size(), 3);
        QCOMPARE(farms.at(1).toObject().value("status").toInt(), 1);
        QCOMPARE(farms.at(2).toObject().value("status").toInt(), 0);
        const QJsonObject second = drive.wire->ask(11100, {{"farmId", 2}}).object();
        QVERIFY(second.value("addr").toString().endsWith("/f2"));
        drive.make(idOf(drive.list("-1"), "D"), "of the first");
        QCOMPARE(drive.code(drive.get("/f2/skydrive/files/-1/sub-files?fileType=1", drive.headers())), 203); // the first's token
        drive.access = second.value("accessToken").toString();
        const QJsonObject role = drive.get("/f2/storage-secret-token/role", drive.headers(), "POST").object();
        drive.token = QByteArray::fromHex(role.value("data").toObject().value("token").toString().remove('-').toLatin1());
        QCOMPARE(FileWire(drive).upload(0, "D/here", "x"), 7000404);
        QCOMPARE(drive.farm.driveFiles(2).keys(), QStringList({"D/", "D/here"}));
        QCOMPARE(drive.farm.driveFiles(1).keys(), QStringList({"D/", "D/of the first/"}));
    }

    // What is rendered stands in the second tree, below its order, with pictures that can be looked at.
    void results()
    {
        FarmOptions options;
        options.framesPerSecond = 0;
        Wire drive(options);
        const int task = drive.order({"/p/island.tgd"}, Bench::camera("1-2", 320, 180));
        FileWire(drive).upload(task, "p/island.tgd", "scene");
        drive.wire->ask(10704, {{"missionId", task}});
        QTRY_COMPARE(drive.farm.order(task).status, 2);
        const auto below = [&drive](const QString &id) {
            return drive.ask("GET", "/resultFiles/" + id.toLatin1() + "/sub-files?fileType=2")
                .object()
                .value("data")
                .toObject()
                .value("resultFiles")
                .toArray();
        };
        const QJsonObject order = below("-1").first().toObject();
        QCOMPARE(order.value("orderNum").toString(), drive.farm.order(task).num);
        const QJsonArray frames = below(below(order.value("id").toString()).first().toObject().value("id").toString());
        QCOMPARE(frames.size(), 2);
        const QJsonObject frame = frames.first().toObject();
        bool same = false;
        for (const FarmResult &one : drive.farm.results(task))
            same = same || (one.id == frame.value("resultId").toInt() && one.hash == frame.value("hash").toString());
        QVERIFY(same);
        const QByteArray id = frame.value("id").toString().toLatin1();
        QCOMPARE(md5(drive.ask("GET", "/files/" + id + "/data?fileType=2").body), frame.value("hash").toString());
        const QByteArray small = drive.ask("GET", "/resultFiles/" + id + "/thumbnail?fileType=2&size=64").body;
        QVERIFY(small.startsWith("\x89PNG"));
        QCOMPARE(QPoint(at32(small, 16), at32(small, 20)), QPoint(64, 36));
    }

    // Analyses pass their states, survive the farm and tell every end.
    void analysis()
    {
        FarmOptions options;
        options.analysisStepMs = 5;
        Wire drive(options);
        FileWire(drive).upload(0, "D/p/a.ma", "scene");
        const auto begin = [&drive](int key, const char *scene) {
            return drive.code(drive.ask("POST", "/task", {{"key", key}, {"root_path", "D/p"}, {"scene", scene}}));
        };
        const auto status = [&drive](int key) {
            return drive.ask("GET", "/task/" + QByteArray::number(key)).object().value("status").toString();
        };
        const auto result = [&drive](int key) { return drive.ask("GET", "/task/" + QByteArray::number(key) + "/result").object(); };
        QVERIFY(drive.farm.faults().set("hold-analysis=1"));
        QCOMPARE(begin(7, "D:/p/a.ma"), 0);
        QCOMPARE(status(7), QString("Queue"));
        QCOMPARE(drive.code(drive.ask("PUT", "/task/7/stop")), 0);
        QCOMPARE(status(7), QString("Stopped"));
        drive.restart();
        drive.login();
        drive.farm.faults().clear();
        QCOMPARE(drive.code(drive.ask("PUT", "/task/7/resume")), 0);
        QTRY_COMPARE(status(7), QString("Idle"));
        QVERIFY(!result(7).value("content").toObject().value("modelParameters").toObject().value("layers").toArray().isEmpty());
        QCOMPARE(begin(8, "D/p/none.ma"), 0);
        QTRY_COMPARE(status(8), QString("Idle"));
        QCOMPARE(result(8).value("details").toInt(), 2);
        QVERIFY(drive.farm.faults().set("analysis-broken=坏@1"));
        QCOMPARE(begin(9, "D/p/a.ma"), 0);
        QTRY_COMPARE(status(9), QString("Error"));
        QCOMPARE(drive.ask("GET", "/task/9/error").object().value("error").toString(), QString("坏"));
        QCOMPARE(drive.code(drive.ask("GET", "/task/10")), 1060001);
        QCOMPARE(drive.farm.violations(), QStringList());
    }
};

VN_TEST(TestDrive)
#include "tst_drive.moc"
