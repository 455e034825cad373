#include "resolve/OrderMessage.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QJsonArray>

namespace
{
db_resolve row(const QString &rset, const QString &rdata, const QString &rfile)
{
    db_resolve res;
    res.rkey = 1700000001;
    res.missionid = 55;
    res.ordernum = "N55";
    res.lpath = "/s/a.tgd";
    res.rtime = 1700000009000;
    res.rset = rset;
    res.rdata = rdata;
    res.rfile = rfile;
    return res;
}

QJsonArray names(const OrderMessage &order)
{
    QJsonArray list;
    for (const QJsonValue &file : order.body.value("files").toArray())
        list << file.toObject().value("path");
    return list;
}
} // namespace

class TestOrderMessage : public QObject
{
    Q_OBJECT
private slots:
    void golden()
    {
        OrderMessage::Options options;
        options.nowMs = 1795248033123;
        options.pathCase = [](const QString &path) { return path.toLower(); };
        const OrderMessage order = OrderMessage::build(
            row(R"({"env":{"software":"terragen 4"},"project":{"id":1},"projectConfig":{},"machine":{},"softwareType":8,"machineModel":"m1","ordernum":"old"})",
                R"({"sceneName":"/S/A.tgd","missionName":"A","softwareType":8,"resStatus":0,"hasHand":1,"hasClone":1,"modelParameters":{"cameras":[]}})",
                R"("files":["/s/a.tgd","/s/T.tga","/s/a.tgd","/s/sub/"])"),
            options);
        QVERIFY(order.valid);
        const QByteArray expected =
            R"({"scene":"/s/a.tgd","analysisTime":1700000009000,"softwareType":8,"machineModel":"m1",
            "sceneName":"/s/a.tgd","missionName":"A","modelParameters":{"cameras":[]},"clientFlag":1700000001,"missionId":55,"ordernum":"N55",
            "files":[{"id":79524803,"path":"/s/a.tgd"},{"id":79524804,"path":"/s/T.tga"}],"fileCount":2})";
        QCOMPARE(order.body, QJsonDocument::fromJson(expected).object());
        QCOMPARE(order.files.size(), 2);
        QCOMPARE(order.files.last().id, 79524804ll);
    }

    void variants_data()
    {
        columns<QString, QString, QString, bool, bool, QJsonValue, QJsonValue>("rset", "rdata", "rfile", "noFiles", "valid", "files",
                                                                               "count");
        const QString files = R"("files":["/a.ma","/b"])";
        const QJsonArray both{"/a.ma", "/b"};
        const QJsonValue none(QJsonValue::Undefined);
        addRow("plain", "{}", "{\"softwareType\":1}", files, false, true, QJsonValue(both), QJsonValue(2));
        addRow("maya, scene only", "{}", "{\"softwareType\":1,\"onlyScene\":1}", files, false, true, none, none);
        addRow("scene only switched off", "{}", "{\"softwareType\":1,\"onlyScene\":0}", files, false, true, QJsonValue(both),
               QJsonValue(2));
        addRow("scene only of another software", "{}", "{\"softwareType\":3,\"onlyScene\":1}", files, false, true, QJsonValue(both),
               QJsonValue(2));
        addRow("nofile", "{}", "{}", files, true, true, QJsonValue(QJsonArray()), QJsonValue(0));
        addRow("a clone has no list", "{\"hasClone\":1}", "{}", "", false, true, QJsonValue(QJsonArray()), QJsonValue(0));
        addRow("broken list", "{}", "{}", "\"files\":[", false, false, none, none);
        addRow("broken result", "{}", "{,}", files, false, false, none, none);
        addRow("result is an array", "{}", "[]", files, false, false, none, none);
    }
    void variants()
    {
        FETCH(QString, rset, QString, rdata, QString, rfile, bool, noFiles);
        OrderMessage::Options options;
        options.noFiles = noFiles;
        const OrderMessage order = OrderMessage::build(row(rset, rdata, rfile), options);
        QTEST(order.valid, "valid");
        QTEST(order.body.value("fileCount"), "count");
        QTEST(order.body.contains("files") ? QJsonValue(names(order)) : QJsonValue(QJsonValue::Undefined), "files");
    }

    void maxPhotonPathsFollowTheCaseRule()
    {
        OrderMessage::Options options;
        options.pathCase = [](const QString &path) { return path.toLower(); };
        const QJsonObject model =
            OrderMessage::build(
                row("{\"softwareType\":3}",
                    R"({"softwareType":3,"modelParameters":{"vrLightCacheFile":"D:/L","vrIrradianceMapFile":"D:/I","outputFile":"D:/O"}})",
                    ""),
                options)
                .body.value("modelParameters")
                .toObject();
        QCOMPARE(model, (QJsonObject{{"vrLightCacheFile", "d:/l"}, {"vrIrradianceMapFile", "d:/i"}, {"outputFile", "D:/O"}}));
    }

    void paths_data()
    {
        columns<QString, QString, QString>("found", "sent", "stored");
        addRow("drive", "D:\\s\\a.max", "D:/s/a.max", "D:/s/a.max");
        addRow("network", "\\\\srv\\share\\a", "\\\\srv/share/a", "\\\\srv/share/a");
        addRow("relative", "a\\b", "a/b", "\\\\a/b");
#ifdef Q_OS_WIN
        addRow("network, turned already", "//srv/a", "\\\\srv/a", "\\\\srv/a");
        addRow("one slash", "/a", "/a", "\\\\/a");
#else
        addRow("absolute", "/home/u/a b.tga", "/home/u/a b.tga", "/home/u/a b.tga");
        addRow("absolute, doubled slash", "//home/a", "//home/a", "//home/a");
#endif
    }
    void paths()
    {
        FETCH(QString, found, QString, sent);
        QTEST(OrderMessage::uploadPath(OrderMessage::filePath(found)), "stored");
        QCOMPARE(OrderMessage::filePath(found), sent);
    }

    void handOver()
    {
        db_resolve res = row(R"({"softwareType":8,"scene":"x"})", R"({"resStatus":1,"modelParameters":{}})", R"("files":["/a"])");
        res.errstr = "w\r\n";
        const QJsonObject body = OrderMessage::handOver(res, QJsonArray{3}, true);
        const QByteArray expected =
            R"({"scene":"x","analysisTime":1700000009000,"softwareType":8,"feeUserId":[3],"needMasterCheck":true,
            "clientFlag":1700000001,"missionId":55,"ordernum":"N55","parameter":{"status":1,"fromSlave":1,"details":"w\r\n",
            "content":{"resStatus":1,"modelParameters":{},"files":["/s/a.tgd","/a"]},"rset":{"softwareType":8,"scene":"x"}}})";
        QCOMPARE(body, QJsonDocument::fromJson(expected).object());
        // A script that lists the scene itself, in its system's way of writing.
        res.lpath = "C:\\s\\a.mb";
        res.rfile = R"("files":["/a","C:/s/a.mb"])";
        QCOMPARE(OrderMessage::handOver(res, 3, false).value("parameter")["content"]["files"].toArray(), (QJsonArray{"/a", "C:/s/a.mb"}));
    }
};
VN_TEST(TestOrderMessage)
#include "tst_order_message.moc"
