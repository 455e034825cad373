#include "resolve/BaseResolve.h"
#include "resolve/ClarisseDeep.h"
#include "resolve/ClarisseXml.h"
#include "resolve/LogParser.h"
#include "resolve/MaxLog.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

namespace
{
enum Software { Maya = 1, Max = 3, Houdini = 4, Cinema4D = 5, Clarisse = 7 };

QByteArray maxLog(const QList<QPair<QString, QStringList>> &blocks)
{
    QString text = "noise\r\nVandrel Info:\r\n\r\n";
    for (const auto &block : blocks)
        text += "Vandrel_" + block.first + ":\r\n" + block.second.join("\r\n") + "\r\n\r\n";
    return text.toUtf8();
}

QList<QPair<QString, QStringList>> cleanMax()
{
    return {{"sceneName", {"D:\\s\\a.max"}},
            {"sceneCam", {"c1", "c2"}},
            {"renderCam", {"c1"}},
            {"width", {"1920"}},
            {"height", {"1080"}},
            {"frames", {"1-10"}},
            {"outputFile", {"o.tga"}},
            {"externFile", {"D:\\t\\x.jpg", "D:\\t\\x.jpg", "\\\\srv\\y\"q.jpg"}}};
}

QJsonArray files(const ParsedLog &log) { return QJsonDocument::fromJson('{' + log.files.toUtf8() + '}').object()["files"].toArray(); }
} // namespace

class TestLogs : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString put(const QByteArray &text, const QString &name = "log.txt") const
    {
        QFile file(m_dir.filePath(name));
        file.open(QFile::WriteOnly);
        file.write(text);
        return file.fileName();
    }

private slots:
    void json_data()
    {
        columns<QByteArray, bool, int, int, QString, QString>("text", "found", "error", "status", "details", "fragment");
        const QByteArray good = "{\"status\":1,\"content\":{\"files\":[\"/a.ma\",\"/t '1'.jpg\",\"\\u56fe.jpg\",7]},\"details\":\"w\"}";
        const QString list = "\"files\":[\"/s.ma\",\"/a.ma\",\"/t '1'.jpg\",\"图.jpg\"]", alone = "\"files\":[\"/s.ma\"]";
        const auto row = [](const char *name, const QByteArray &text, bool found, int error, int status, const QString &details,
                            const QString &fragment) { addRow(name, text, found, error, status, details, fragment); };
        row("whole", "noise\r\nVandrel Info:" + good + "\nVandrel Debug:x{", true, 0, 1, "w", list);
        row("first line, no end mark", "Vandrel Info:" + good + "\n", true, 0, 1, "w", list);
        row("no end mark, chatter", "\nVandrel Info:" + good + "\nbye", true, 0, 1, "w", list);
        row("mark within a line comes first", "x Vandrel Info:{}\nVandrel Info:" + good + "Vandrel Debug:", true, 0, 1, "w", list);
        row("mark across two reads", QByteArray(1024 * 1024 - 7, 'x') + "\nVandrel Info:" + good + "\nVandrel Debug:", true, 0, 1, "w",
            list);
        row("scene is first already", "Vandrel Info:{\"status\":0,\"content\":{\"files\":[\"/s.ma\"]}}", true, 0, 0, "", alone);
        row("escapes",
            "Vandrel Info:{\"x\":{\"files\":[1]},\"content\":{\"a\":[{\"files\":[\"n\"]}],"
            "\"files\":[\"D:\\\\t\\u0001\\\"\\u56fe\\ud83d\\ude00\"],\"b\":\"y\"},\"status\":0}",
            true, 0, 0, "", "\"files\":[\"/s.ma\",\"D:\\\\t\\u0001\\\"图😀\"]");
        row("files of something else", "Vandrel Info:{\"files\":[\"a\"],\"content\":{\"in\":{\"files\":[\"b\"]}},\"status\":0}", true, 0, 0,
            "", alone);
        row("deeper than any stack", "Vandrel Info:" + QByteArray("[").repeated(1000000), true, 10012, 0, "", "");
        row("nothing but a status", "Vandrel Info:{\"status\":3,\"details\":\"d\"}", true, 0, 3, "d", alone);
        row("empty", "", false, 0, 0, "", "");
        row("no mark", "crashed\n", false, 0, 0, "", "");
        row("nothing behind the mark", "Vandrel Info:", true, 10012, 0, "", "");
        row("cut", "Vandrel Info:" + good.left(30), true, 10012, 0, "", "");
        row("an array", "Vandrel Info:[1]", true, 10012, 0, "", "");
        row("unknown status", "Vandrel Info:{\"status\":9}", true, 10012, 9, "", "");
        row("cut in a character", "Vandrel Info:{\"status\":2,\"details\":\"\xe5\x9b\"}", true, 0, 2, QString(2, QChar(0xfffd)), alone);
    }
    void json()
    {
        QFETCH(QByteArray, text);
        const ParsedLog log = LogParser::read(put(text), Maya, "/s.ma");
        QTEST(log.found, "found");
        QTEST(log.error, "error");
        QTEST(log.status, "status");
        QTEST(log.details, "details");
        QTEST(log.files, "fragment");
    }

    void resultBeyondAllBounds()
    {
        QFile file(m_dir.filePath("huge.txt"));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write("Vandrel Info:{\"status\":0,\"details\":\"");
        QVERIFY(file.resize(LogParser::MaxResult + 4096)); // a hole: costs no disk
        file.close();
        QCOMPARE(LogParser::read(file.fileName(), Houdini).error, 10012);
        QVERIFY(!LogParser::read(m_dir.filePath("absent.txt"), Houdini).found);
        QVERIFY(BaseResolve::parseLog(m_dir.filePath("absent.txt"), Houdini).isEmpty());
    }

    void manyDependencies()
    {
        QJsonArray list;
        for (int i = 0; i < 100000; ++i)
            list << QStringLiteral("/project/textures/library/material_%1/colour_%1.1001.tif").arg(i);
        const QJsonObject content{{"files", list}, {"modelParameters", QJsonObject{{"layers", QJsonArray()}}}};
        QVERIFY(LogParser::write(put({}), {{"status", 0}, {"content", content}, {"details", ""}}, false));
        QElapsedTimer clock;
        clock.start();
        const ParsedLog log = LogParser::read(m_dir.filePath("log.txt"), Maya, "/s.ma");
        QVERIFY2(clock.elapsed() < Patience, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(files(log).size(), 100001);
        QCOMPARE(QString::fromUtf8(QJsonDocument(log.content).toJson(QJsonDocument::Compact)),
                 QString(R"({"modelParameters":{"layers":[]}})"));
    }

    void cinema4D_data()
    {
        columns<QString, QString, int>("renderer", "plugins", "status");
        addRow("none in the scene", "", "redshift", 0);
        addRow("same, other case", "Redshift", R"([{"name":"Redshift","version":"3"}])", 0);
        addRow("other", "octane", R"([{"name":"Redshift"}])", 2);
        addRow("unknown", "UnknownX", "[]", 2);
        addRow("no renderer chosen", "octane", R"([{"name":"xparticles"}])", 0);
        addRow("its capital keeps corona out of the rule", "octane", R"([{"name":"Corona"}])", 0);
    }
    void cinema4D()
    {
        FETCH(QString, renderer, QString, plugins);
        const QJsonObject content{{"files", QJsonArray{"t.jpg"}},
                                  {"sceneName", "C:\\\\s\\\\a.c4d"},
                                  {"outPut", "%project%/x"},
                                  {"modelParameters", QJsonObject{{"renderer", renderer}}}};
        LogParser::write(put({}), {{"status", 0}, {"content", content}, {"details", ""}}, false);
        const ParsedLog log = LogParser::read(m_dir.filePath("log.txt"), Cinema4D, "/s.c4d", plugins);
        QTEST(log.status, "status");
        QCOMPARE(log.details.isEmpty(), log.status == 0);
        QCOMPARE(files(log), (QJsonArray{"/s.c4d", "t.jpg", "C:\\s\\a.c4d"}));
        QCOMPARE(log.content["resultMiddleRulePath"].toString(), QString("%project%/x"));
    }

    void max_data()
    {
        columns<QString, QStringList, int, QString>("key", "values", "status", "text"); // text: what the details begin with
        const auto row = [](const char *key, const QStringList &values, int status, const QString &text) {
            addRow(qPrintable(key + values.join('|')), key, values, status, text);
        };
        row("renderType", {"x"}, 0, "");
        row("error", {"3"}, 0, "");
        row("error", {"4"}, 2, "错误：选定的相机名中含有非法字符。\r\n");
        row("error", {"5"}, 2, "错误：帧缓存输出路径无效。\r\no.tga\r\n");
        row("error", {"6", "8"}, 2, "错误：未设置帧缓存输出路径。\r\no.tga\r\n错误：制作模型的软件版本与选择的软件版本不同。\r\n");
        row("error", {"7"}, 2, "错误：未设置输出自动保存。\r\no.tga\r\n");
        row("error", {"9", "4"}, 2, "错误：模型文件中包含可执行脚本，请清理后提交。\r\n");
        row("error", {"10"}, 2, "当前渲染器为GPU渲染器，提交机型为CPU，请更换机型后重新提交。\r\n");
        row("width", {"wide"}, 2, "错误：出图宽度解析异常。\r\n");
        row("height", {}, 2, "错误：出图高度解析异常。\r\n");
        row("renderCam", {}, 1, "警告：没有设置默认相机。\r\n");
        row("outputFile", {}, 1, "警告：无输出路径，请先进行参数设置\r\n");
        row("missingFile", {"D:\\m.jpg", "n.jpg"}, 1, "警告：未找到以下贴图\r\nD:\\m.jpg\r\nn.jpg\r\n");
        row("warning", {"8"}, 1, "当前渲染器为CPU渲染器，机型选择GPU，请确认机型后提交。\r\n");
        row("IrradianceMap", {"2"}, 1, "警告：未解析到本地光子，请在参数设置里面修改光子模式或重新指认光子路径。\r\n");
        row("IrradianceMap", {"1", "1"}, 0, "");
        row("exception", {"-- Unknown property", "in f"}, 2, "-- Unknown property\r\nin f\r\n");
    }
    void max()
    {
        FETCH(QString, key, QStringList, values, int, status);
        QList<QPair<QString, QStringList>> blocks = cleanMax();
        blocks.erase(std::remove_if(blocks.begin(), blocks.end(), [&key](const auto &one) { return one.first == key; }), blocks.end());
        blocks.append({key, values});
        for (const bool bare : {false, true}) { // another writer's line ends mean the same
            QByteArray text = maxLog(blocks);
            if (bare)
                text.replace("\r\n", "\n");
            const ParsedLog log = LogParser::read(put(text), Max);
            QCOMPARE(log.status, status);
            QTEST(log.details, "text");
            QCOMPARE(log.content.isEmpty(), status == 2);
            QCOMPARE(files(log), status == 2 ? QJsonArray() : QJsonArray({"D:/s/a.max", "D:/t/x.jpg", "//srv/y\"q.jpg"}));
        }
    }

    void maxResult()
    {
        QList<QPair<QString, QStringList>> blocks = cleanMax();
        blocks += {{"IrradianceMap", {"7", "1"}},
                   {"photoMapFile", {"D:\\p\\a.vrmap", "D:\\p\\b.vrlmap", "D:\\p\\c.vrmap"}},
                   {"cfgfilePath", {"D:\\c.ini", "no"}}};
        const QJsonObject whole = BaseResolve::parseLog(put(maxLog(blocks)), Max), content = whole["content"].toObject();
        const QJsonObject expected =
            QJsonDocument::fromJson(R"({"frames":"1-10","width":1920,"height":1080,"enableCameras":["c1"],"cameras":["c1"],
            "disableCameras":["c1","c2"],"outputFile":"o.tga","vrMode":7,"giWidth":-1,"giHeight":-1,"reflectionRefraction":1,
            "vrLightCacheFile":"D:/p/b.vrlmap","vrIrradianceMapFile":"D:/p/a.vrmap,D:/p/c.vrmap"})")
                .object();
        QCOMPARE(content["modelParameters"].toObject(), expected);
        QCOMPARE(content["sceneName"].toString() + content["missionName"].toString(), QString("D:/s/a.maxa.max"));
        QCOMPARE(content["softwareType"].toInt() + whole["status"].toInt(), 3);
        QVERIFY(content["files"].toArray().contains("D:/c.ini") && !content["files"].toArray().contains("no"));

        blocks.erase(blocks.begin() + 1, blocks.begin() + 3);
        const ParsedLog none = MaxLog::parse(QString::fromUtf8(maxLog(blocks)));
        QVERIFY(none.status == 2 && none.details == "错误：没有可用相机。\r\n");
    }

    void clarisse()
    {
        QDir(m_dir.path()).mkpath("tex");
        for (const char *name : {"s.project", "tex/w.1001.exr", "tex/w.1002.exr", "tex/seq.0001.tx", "tex/a&b.png", "tex/Wood.JPG"})
            put("x", name);
        const QString dir = m_dir.path();
        const QString log =
            put(("Clarisse 4\n<project>\n<filename>" + dir +
                 "/s.project</filename>\n<dependencies>"
                 "<file>" +
                 dir +
                 "/tex/w.&lt;UDIM&gt;.exr</file><file>tex/seq.####.tx</file><file>tex/a&amp;b.png</file>"
                 "<file>TEX\\wood.jpg</file><file>gone/x.<UDIM>.exr</file><file>gone.png</file><file>gone.png</file></dependencies>"
                 "<image><name>project://scene/image</name><output>out/i.####</output><format>exr</format><start_frame>1</start_frame>"
                 "<end_frame>10</end_frame><frame_step>2</frame_step><LUT>linear</LUT>"
                 "<layer name=\"project://scene/image.bg\" output=\"bg\" format=\"exr\" start_frame=\"3\" end_frame=\"4\" frame_step=\"1\" "
                 "LUT=\"l\"/>"
                 "<layer><name>fg</name><output>d/project://scene/image.fg</output></layer></image></project>\nbye")
                    .toUtf8());
        put("Context \"scene\" {\n Image {\n  name \"image\"\n  embedded_objects {\n   Layer3d {\n    name \"bg\"\n    user_data { \"}\" "
            "{\n    }\n    }\n"
            "    enable_deep_output yes\n    save_deep_data_as \"/out/deep\"\n   }\n  }\n }\n}\n",
            "s.project");
        QVERIFY(ClarisseXml::convert(log, dir + "/s.project"));
        const QJsonObject whole = BaseResolve::parseLog(log, Clarisse), content = whole["content"].toObject();
        QCOMPARE(whole["status"].toInt(), 1);
        QCOMPARE(whole["details"].toString(), QString::fromUtf8("丢失文件：gone/x.<UDIM>.exr\n丢失文件：gone.png"));
        QCOMPARE(content["files"].toArray(), QJsonArray({dir + "/s.project", dir + "/tex/w.1001.exr", dir + "/tex/w.1002.exr",
                                                         dir + "/tex/seq.0001.tx", dir + "/tex/a&b.png", dir + "/tex/Wood.JPG"}));
        const QJsonObject image = content["modelParameters"].toObject()["images"].toArray().first().toObject();
        const QJsonArray layers = image["layers"].toArray();
        QCOMPARE(image["frames"].toString() + image["format"].toString() + image["LUT"].toString(), QString("1-10:2exrlinear"));
        QCOMPARE(layers.size(), 2);
        QCOMPARE(layers[0].toObject()["output"].toString(), QString("project___scene_image/bg"));
        QCOMPARE(layers[0].toObject()["frames"].toString(), QString("3-4:1"));
        QCOMPARE(layers[0].toObject()["deep_output_file"].toString(), QString("/out/deep"));
        QCOMPARE(layers[1].toObject()["output"].toString(), QString("d/project___scene_image/.fg"));
        QVERIFY(!layers[1].toObject().contains("deep_output_file"));
    }

    void clarisseNotXml_data()
    {
        QTest::addColumn<QByteArray>("log");
        addRow("empty", QByteArray());
        addRow("no project", QByteArray("license error\n"));
        addRow("cut", QByteArray("<project><image></project>"));
        addRow("entities without end in sum", "<!DOCTYPE project [<!ENTITY e \"" + QByteArray(4000, 'x') + "\">]><project>" +
                                                  QByteArray("&e;").repeated(100000) + "</project>");
        addRow("deep", "<project>" + QByteArray("<a>").repeated(5000) + QByteArray("</a>").repeated(5000) + "</project>");
    }
    void clarisseNotXml()
    {
        QFETCH(QByteArray, log);
        QVERIFY(!ClarisseXml::convert(put(log), "/s.project"));
    }

    void deepOutput()
    {
        QByteArray text = "Context \"scene\" {\n  Context \"shots\" {\n";
        for (const char *layer : {"one yes /d/1", "two no /d/2", "three yes "}) {
            const QList<QByteArray> words = QByteArray(layer).split(' ');
            text += "  Image {\n    name \"i-" + words[0] +
                    "\"\n    Layer3d {\n      #version 1\n      name \"L\"\n      enable_deep_output " + words[1] +
                    "\n      filter {\n        name \"other\"\n      }\n" +
                    (words[2].isEmpty() ? QByteArray() : "      save_deep_data_as \"" + words[2] + "\"\n") + "    }\n  }\n";
        }
        QBuffer device(&text);
        device.open(QIODevice::ReadOnly);
        const ClarisseDeep deep = ClarisseDeep::scan(&device);
        QCOMPARE(deep.file("i-one", "L"), QString("/d/1"));
        QCOMPARE(deep.file("project://scene/shots/i-one", "project://scene/shots/i-one.L"), QString("/d/1"));
        QVERIFY(deep.file("i-two", "L").isEmpty() && deep.file("i-three", "L").isEmpty());
        if (!sceneFolder().isEmpty())
            QVERIFY(ClarisseDeep::scan(sceneFolder() + "/clarisse/scene.project").isEmpty());
    }
};
VN_TEST(TestLogs)
#include "tst_logs.moc"
