#include "common/UserInfo.h"
#include "resolve/ParameterModel.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QJsonDocument>
#include <QTemporaryDir>

namespace
{
enum Software { Maya = 1, Max = 3, Houdini = 4, Cinema4D = 5, Clarisse = 7, Terragen = 8 };
QJsonObject object(const QByteArray &text) { return QJsonDocument::fromJson(text).object(); }
QString compact(const QJsonObject &object) { return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)); }
} // namespace

class TestParameters : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString put(const QString &name) const
    {
        QFile file(m_dir.filePath(name));
        file.open(QFile::WriteOnly);
        return file.fileName();
    }
    static db_resolve row(const QString &scene, const QJsonObject &rdata, const QJsonObject &rset = {})
    {
        db_resolve res;
        res.rkey = 1;
        res.lpath = scene;
        res.rdata = compact(rdata);
        res.rset = compact(rset);
        res.rfile = "\"files\":[\"/s\"]";
        return res;
    }
    static CommonConfig config()
    {
        CommonConfig config;
        config.blocksCount = 4;
        config.mayaSplitByLayer = 1;
        config.priorityStrategy = 2;
        return config;
    }

private slots:
    void initTestCase() { UserInfo::init({}); }
    void cleanupTestCase() { UserInfo::clearCache(); }

    void prepared_data()
    {
        columns<QString, QByteArray, QByteArray>("scene", "before", "after"); // after: the keys that have to be there
        const auto row = [](const char *name, const char *scene, const QByteArray &before, const QByteArray &after) {
            addRow(name, scene, before, after);
        };
        row("maya", "/a.ma", R"({"modelParameters":{"renderer":"VRay","format":"exr","filePrefix":"<Scene>","layers":[
            {"layer":"L1","width":8,"height":6,"frames":"1-3","cameras_array":["c"],"keyFrames":"1"},
            {"layer":"L2","width":8,"height":6,"frames":"5","cameras_array":[],"cameras":"d","cameras_overide":["x"]}]}})",
            R"({"blocksCount":1,"mayaSplitByLayer":1,"filePrefix":"<Scene>","modelParameters":[
            {"camerasArray":["c"],"cameras_array":["c"],"cameras":["c"],"layer":"L1","width":8,"height":6,"frames":"1-3","keyFrames":"1"},
            {"camerasArray":["d"],"cameras_array":["d"],"cameras":["d"],"layer":"L2","width":8,"height":6,"frames":"5"}]})");
        row("maya, another format", "/a.ma", R"({"renderer":"arnold","format":"png","modelParameters":[{"layer":"L","frames":"1"}]})",
            R"({"blocksCount":4,"modelParameters":[{"layer":"L","frames":"1"}]})");
        row("max", "/a.max",
            R"({"modelParameters":{"width":8,"height":6,"giWidth":-1,"giHeight":-1,"vrMode":1,"frames":"1","vrIrradianceMapFile":"@D/p_01.vrmap"}})",
            R"({"modelParameters":{"width":8,"height":6,"giWidth":8,"giHeight":6,"giStep":1,"vrMode":1,"frames":"1","vrIrradianceMapFile":"@D/p_01.vrmap"}})");
        row("max, all photons", "/a.max",
            R"({"modelParameters":{"giWidth":4,"giHeight":3,"giStep":2,"vrMode":2,"vrIrradianceMapFile":"@D/p_01.vrmap,@D/x.vrmap"}})",
            R"({"modelParameters":{"giWidth":4,"giHeight":3,"giStep":2,"vrMode":2,"vrIrradianceMapFile":"@D/p_01.vrmap,@D/p_0200.vrmap"}})");
        row("max, one photon file", "/a.max",
            R"({"modelParameters":{"giWidth":4,"giHeight":3,"giStep":2,"vrMode":7,"vrIrradianceMapFile":"@D/p_01.vrmap"}})",
            R"({"modelParameters":{"giWidth":4,"giHeight":3,"giStep":2,"vrMode":7,"vrIrradianceMapFile":"@D/p_01.vrmap"}})");
        row("houdini", "/a.hip", R"({"Rops":[{"Rop":"/out/m","reslution":[8,6],"frames":"1-2"}]})",
            R"({"coverParameters":[{"Rop":"/out/m","reslution":[8,6],"frames":"1-2"}],"modelParameters":[{"Rop":"/out/m","reslution":[8,6],"frames":"1-2","selected":1,"width":8,"height":6}]})");
        row("cinema 4d", "/a.c4d",
            R"({"modelParameters":{"cameras":["a","b"],"activeCamera":"b","outputName":"o","outputSuffix":"png","width":8,"height":6,"frames":"1"}})",
            R"({"modelParameters":{"cameras":["b"],"enableCameras":["a","b"],"activeCamera":"b","outputName":"o","outputSuffix":"png","outputFile":"o.png","width":8,"height":6,"frames":"1"}})");
        row("cinema 4d, nothing enabled yet", "/a.c4d",
            R"({"modelParameters":{"cameras":["a","b"],"activeCamera":"b","enableCameras":[],"outputName":"o","outputSuffix":"png","width":8,"height":6,"frames":"1"}})",
            R"({"modelParameters":{"cameras":["b"],"enableCameras":["a","b"],"activeCamera":"b","outputName":"o","outputSuffix":"png","outputFile":"o.png","width":8,"height":6,"frames":"1"}})");
        row("clarisse", "/a.project",
            R"({"modelParameters":{"images":[{"name":"i","layers":[{"name":"l"},{"name":"m"}]},{"name":"j","layers":[]}]}})",
            R"({"modelParameters":{"images":[{"name":"i","selected":1,"layers":[{"name":"l","selected":1},{"name":"m","selected":1}]},{"name":"j","selected":1,"layers":[]}]}})");
        row("terragen", "/a.tgd", R"({"modelParameters":{"cameras":[{"name":"a","vrMode":2},{"name":"b"}]}})",
            R"({"sceneName":"/a.tgd","missionName":"a.tgd","softwareType":8,"modelParameters":{"cameras":[{"name":"a","selected":1,"vrMode":2},{"name":"b","selected":1,"vrMode":0}]}})");
        row("a dialog was used", "/a.tgd", R"({"hasHand":1,"modelParameters":{"cameras":[{"name":"a"}]}})",
            R"({"hasHand":1,"modelParameters":{"cameras":[{"name":"a"}]}})");
        row("nothing was found", "/a.tgd", "{}", R"({"softwareType":8,"missionName":"a.tgd"})");
    }
    void prepared()
    {
        for (const char *name : {"p_01.vrmap", "p_0200.vrmap", "p_x.vrmap", "q_01.vrmap"})
            put(name);
        FETCH(QString, scene, QByteArray, before, QByteArray, after);
        before.replace("@D", m_dir.path().toUtf8());
        after.replace("@D", m_dir.path().toUtf8());
        QVERIFY(!object(before).isEmpty() || before == "{}");
        db_resolve res = row(scene, object(before));
        QString message;
        for (int round = 0; round < 2; ++round) { // a refused order is committed again
            QVERIFY2(ParameterModel::prepare(&res, config(), &message), qPrintable(message));
            const QJsonObject rdata = object(res.rdata.toUtf8()), wanted = object(after);
            for (auto it = wanted.begin(); it != wanted.end(); ++it)
                QVERIFY2(rdata[it.key()] == it.value(), qPrintable(it.key() + ": " + res.rdata));
            QVERIFY(!rdata.contains("keyFrames"));
        }
        const int mode = object(before)["modelParameters"].toObject()["vrMode"].toInt();
        QCOMPARE(ParameterModel::filesOf(res.rfile).size(), scene.endsWith(".max") && mode == 2   ? 3
                                                            : scene.endsWith(".max") && mode == 7 ? 2
                                                                                                  : 1);
    }

    void broken()
    {
        db_resolve res = row("/d/a.tgd", {});
        res.rdata = "{cut";
        QString message;
        QVERIFY(!ParameterModel::prepare(&res, config(), &message) && message.startsWith("a.tgd:"));
        QCOMPARE(res.rdata, QString("{cut"));
        // Nothing to render, frames that can't be, photons that aren't there: told, and the row stays as it is.
        const auto camera = [](const char *frames) {
            return QByteArray(R"({"sceneName":"s","modelParameters":{"cameras":[{"frames":")") + frames + "\"}]}}";
        };
        for (const auto &[scene, rdata] :
             {std::pair("a.tgd", QByteArray(R"({"sceneName":"s","modelParameters":{"cameras":[]}})")),
              std::pair("a.hip", QByteArray(R"({"sceneName":"s","Rops":[]})")),
              std::pair("a.ma", QByteArray(R"({"modelParameters":{"layers":[]}})")), std::pair("a.tgd", camera("100-1:1")),
              std::pair("a.tgd", camera("2-8.5:1")), std::pair("a.ma", QByteArray(R"({"hasHand":1,"modelParameters":[{"frames":"9-1"}]})")),
              std::pair("a.project", QByteArray(R"({"modelParameters":{"images":[{"layers":[{"frames":"x"}]}]}})")),
              std::pair("a.c4d", QByteArray(R"({"frames":"3-1","modelParameters":{}})")),
              std::pair("a.max", QByteArray(R"({"modelParameters":{"frames":"1","vrMode":2,"vrIrradianceMapFile":"/gone/p_1.vrmap"}})"))}) {
            res = row(QString("/d/") + scene, object(rdata));
            const QString before = res.rdata + res.rset + res.rfile;
            QVERIFY2(!ParameterModel::prepare(&res, config(), &message) && message.startsWith(scene), rdata.constData());
            QCOMPARE(res.rdata + res.rset + res.rfile, before);
        }
        res = row("/d/a.tgd", object(camera("1-3:0，-999999")));
        QVERIFY(ParameterModel::prepare(&res, config(), &message) && res.rdata.contains(R"("frames":"1-3:1,-10000")"));
        for (const char *rdata : {"", "{}", "{\"resStatus\":0,\"parseSubmit\":1}"}) {
            res.rdata = rdata;
            QVERIFY2(ParameterModel::emptyResult(res), rdata);
        }
        QVERIFY(!ParameterModel::emptyResult(row("/d/a.tgd", {{"sceneName", "/d/a.tgd"}})));
    }

    void priorityFrames_data()
    {
        columns<int, QByteArray, QByteArray, QString, int>("frameFirst", "rdata", "rset", "keys", "strategy");
        const QByteArray cameras = R"({"modelParameters":{"cameras":[{"frames":"1-3"},{"frames":"3-5"}]})";
        addRow("not wanted", 0, cameras + '}', QByteArray("{}"), "", -1);
        addRow("worked out", 1, cameras + '}', QByteArray("{}"), "1,3,5", 2);
        addRow("asked for", 1, cameras + '}', QByteArray(R"({"keyFrames":"4","strategy":1})"), "4", 1);
        addRow("asked for nothing", 1, cameras + '}', QByteArray(R"({"keyFrames":""})"), "1,3,5", 2);
        addRow("there already", 1, cameras + R"(,"keyFrames":"2","strategy":0})", QByteArray(R"({"keyFrames":"4","strategy":1})"), "2", 0);
        addRow("houdini, not ticked yet", 1,
               QByteArray(R"({"softwareType":4,"Rops":[{"frames":"1-3","selected":0}])"
                          "}"),
               QByteArray("{}"), "1,2,3", 2);
        addRow("no frames", 1, QByteArray("{}"), QByteArray("{}"), "", -1);
    }
    void priorityFrames()
    {
        FETCH(int, frameFirst, QByteArray, rdata, QByteArray, rset);
        CommonConfig wanted = config();
        wanted.frameFirst = frameFirst;
        db_resolve res = row("/a.tgd", object(rdata), object(rset));
        QString message;
        QVERIFY(ParameterModel::prepare(&res, wanted, &message));
        QTEST(object(res.rdata.toUtf8())["keyFrames"].toString(), "keys");
        QTEST(object(res.rdata.toUtf8())["strategy"].toInt(-1), "strategy");
    }

    void baseOfPriorityFrames_data()
    {
        columns<int, QByteArray, QString>("type", "rdata", "frames");
        addRow("max", int(Max), QByteArray(R"({"modelParameters":{"frames":"1-2"}})"), "1-2");
        addRow("c4d, at the top", int(Cinema4D), QByteArray(R"({"frames":"3"})"), "3");
        addRow("maya, analysed", int(Maya), QByteArray(R"({"modelParameters":{"layers":[{"frames":"1"},{"frames":"2"}]}})"), "1;2");
        addRow("maya, chosen", int(Maya), QByteArray(R"({"modelParameters":[{"frames":"1"},{"frames":"2","selected":0}]})"), "1");
        addRow("houdini", int(Houdini), QByteArray(R"({"Rops":[{"frames":"1"}]})"), "1");
        addRow("houdini, chosen", int(Houdini), QByteArray(R"({"Rops":[{"frames":"1"}],"modelParameters":[{"frames":"9"}]})"), "9");
        addRow("clarisse", int(Clarisse),
               QByteArray(R"({"modelParameters":{"images":[{"frames":"7","layers":[{"frames":"1"}]},{"layers":[{"frames":"2"}]}]}})"),
               "1;2");
    }
    void baseOfPriorityFrames()
    {
        FETCH(int, type, QByteArray, rdata);
        QTEST(ParameterModel::frameTexts(type, object(rdata)).join(';'), "frames");
    }

    void mayaProject_data()
    {
        columns<QByteArray, QByteArray>("before", "variables");
        addRow("appended", QByteArray(R"({"mayaProject":"D:/p/Q","machine":{"envVars":["A=1"]}})"),
               QByteArray(R"(["A=1","MAYA_PROJECT=D:\\p\\Q"])"));
        addRow("replaced", QByteArray(R"({"mayaProject":"D:/p","machine":{"envVars":["MAYA_PROJECT=old","A=1"]}})"),
               QByteArray(R"(["MAYA_PROJECT=D:\\p","A=1"])"));
        addRow("first", QByteArray(R"({"mayaProject":"D:/p"})"), QByteArray(R"(["MAYA_PROJECT=D:\\p"])"));
        addRow("none", QByteArray(R"({"machine":{"name":"m"}})"), QByteArray("[]"));
    }
    void mayaProject()
    {
        FETCH(QByteArray, before, QByteArray, variables);
        db_resolve res = row("/a.ma", {{"hasHand", 1}}, object(before));
        QString message;
        QVERIFY(ParameterModel::prepare(&res, config(), &message));
        QCOMPARE(object(res.rset.toUtf8())["machine"].toObject()["envVars"].toArray(), QJsonDocument::fromJson(variables).array());
    }

    void blocked_data()
    {
        columns<QString, QString, QString, QString>("scene", "output", "errstr", "text");
        addRow("free", "/d/a.max", "o.tga", "警告：未找到以下贴图\r\n", "");
        addRow("output", "/d/a.MAX", "", "", "a.MAX:无输出路径，请先进行参数设置");
        addRow("camera", "/d/a.max", "o", "警告：没有设置默认相机。\r\n", "a.max:无默认相机，请先进行参数设置");
        addRow("photons", "/d/a.max", "o", "x未解析到本地光子y", "a.max:无本地光子，请先进行参数设置");
        addRow("two", "/d/a.max", "", "没有设置默认相机", "a.max:无输出路径，请先进行参数设置\r\na.max:无默认相机，请先进行参数设置");
        addRow("another software", "/d/a.tgd", "", "没有设置默认相机", "");
    }
    void blocked()
    {
        FETCH(QString, scene, QString, output, QString, errstr);
        db_resolve res = row(scene, {{"modelParameters", QJsonObject{{"outputFile", output}}}});
        res.errstr = errstr;
        QTEST(ParameterModel::blockingText(res), "text");
    }

    void checks_data()
    {
        columns<int, QByteArray, QString>("type", "rdata", "message");
        const auto row = [](const char *name, int type, const QByteArray &rdata, const char *message) {
            addRow(name, type, rdata, QString::fromUtf8(message));
        };
        row("max", Max, R"({"modelParameters":{"cameras":["c"],"frames":"1"}})", "");
        row("max, no camera", Max, R"({"modelParameters":{"cameras":[],"frames":"1"}})", "请选择相机");
        row("max, no photons", Max, R"({"modelParameters":{"cameras":["c"],"vrMode":7,"frames":"1"}})", "请设置光子路径");
        row("max, photons gone", Max, R"({"modelParameters":{"cameras":["c"],"vrMode":2,"vrIrradianceMapFile":"gone.vrmap","frames":"1"}})",
            "光子路径不存在");
        row("max, photons there", Max,
            R"({"modelParameters":{"cameras":["c"],"vrMode":2,"vrIrradianceMapFile":"p_01.vrmap,x","frames":"1"}})", "");
        row("max, frames", Max, R"({"modelParameters":{"cameras":["c"],"frames":"9-1"}})", "参数设置项的序列帧只支持从小到大排列！");
        row("max, keys", Max, R"({"keyFrames":"7","modelParameters":{"cameras":["c"],"frames":"1-5"}})", "优先帧不在序列帧范围内！");
        row("maya, prefix", Maya, R"({"filePrefix":"<a>/{b}\\_-9"})", "");
        row("maya, blank in prefix", Maya, R"({"filePrefix":"a b"})", "出图命名规则只能由数字、字母和< > _ - /  ");
        row("maya, line end in prefix", Maya, "{\"filePrefix\":\"a\\n\"}", "出图命名规则只能由数字、字母和< > _ - /  ");
        row("houdini", Houdini, R"({"modelParameters":[{"frames":"1"}]})", "请选择渲染节点");
        row("clarisse", Clarisse, R"({"modelParameters":{"images":[{"selected":1,"layers":[{"frames":"1","selected":0}]}]}})", "请选择层");
        row("terragen", Terragen, R"({"modelParameters":{"cameras":[{"frames":"1","selected":1,"vrMode":2}]}})", "");
        row("terragen, none", Terragen, R"({"modelParameters":{"cameras":[{"frames":"1"}]}})", "请选择节点");
        row("terragen, no photons", Terragen, R"({"modelParameters":{"cameras":[{"frames":"1","selected":1,"vrMode":1}]}})",
            "请设置光子路径");
    }
    void checks()
    {
        put("p_01.vrmap");
        FETCH(int, type, QByteArray, rdata);
        QTEST(ParameterModel::check(type, object(rdata), m_dir.filePath("s.x")), "message");
    }

    void lists()
    {
        for (const char *name : {"a1_7.gic", "a1_08.gic", "b.GIC", "a.txt"})
            put(name);
        QCOMPARE(ParameterModel::photonFiles(m_dir.filePath("a1_7.gic")).size(), 2);
        QVERIFY(ParameterModel::photonFiles("/none/x_1.vrmap").isEmpty() && ParameterModel::photonFiles("/none/x_1.vrmap", true).isEmpty());
        QCOMPARE(ParameterModel::gicFiles(m_dir.filePath("b.GIC")).size(), 3);
        const QString one = ParameterModel::appendFiles({}, {"/a", "/b\"", "/a"});
        QCOMPARE(one, QString("\"files\":[\"/a\",\"/b\\\"\"]"));
        QCOMPARE(ParameterModel::appendFiles(one, {"/a"}), one);
        QCOMPARE(ParameterModel::appendFiles("\"files\":[]", {"/c"}), QString("\"files\":[\"/c\"]"));
    }
};
VN_TEST(TestParameters)
#include "tst_parameters.moc"
