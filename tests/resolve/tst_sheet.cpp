// What the parameter dialogs stand on, without their windows: reading any row, testing, writing, the disk's part.
#include "common/UserInfo.h"
#include "resolve/FrameSet.h"
#include "resolve/ParameterModel.h"
#include "resolve/ParameterSheet.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QJsonDocument>
#include <QTemporaryDir>

namespace
{
QJsonObject object(const QString &text) { return QJsonDocument::fromJson(text.toUtf8()).object(); }

// Everything that a holds stands in b too.
bool within(const QJsonValue &a, const QJsonValue &b)
{
    if (a.isObject()) {
        const QJsonObject all = a.toObject();
        for (auto it = all.begin(); it != all.end(); ++it)
            if (!within(it.value(), b.toObject().value(it.key())))
                return false;
        return b.isObject();
    }
    if (!a.isArray())
        return a == b;
    const QJsonArray one = a.toArray(), other = b.toArray();
    for (int i = 0; i < one.size(); ++i)
        if (!within(one.at(i), other.at(i)))
            return false;
    return b.isArray() && one.size() == other.size();
}
} // namespace

class TestSheet : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;

    QString put(const QString &name, const QByteArray &bytes = {}) const
    {
        QFile file(m_dir.filePath(name));
        file.open(QFile::WriteOnly);
        file.write(bytes);
        return file.fileName();
    }
    static db_resolve row(const QString &scene, const QString &rdata, const QString &rset = "{}")
    {
        db_resolve res;
        res.rkey = 1;
        res.lpath = scene;
        res.rdata = rdata;
        res.rset = rset;
        res.rfile = "\"files\":[\"/s\"]";
        return res;
    }
    static CommonConfig config(int frameFirst = 0)
    {
        CommonConfig config;
        config.blocksCount = 4;
        config.priorityStrategy = 2;
        config.frameFirst = frameFirst;
        return config;
    }
    static void analysed() // as the scripts and readers of this program answer
    {
        QTest::addColumn<QString>("scene");
        QTest::addColumn<QString>("rdata");
        addRow("maya", QString("/a.ma"), QString(R"({"modelParameters":{"renderer":"vray","format":"exr","filePrefix":"<Scene>","layers":[
            {"layer":"L","width":8,"height":6,"frames":"1-4:2","cameras_array":["a"],"enableCameras":["a"],"cameras":["a"],"cameras_overide":["a","b"]},
            {"layer":"M","width":8,"height":6,"frames":"5","keyFrames":"5","cameras_overide":["b"]}]}})"));
        addRow("max", QString("/a.max"),
               QString(R"({"modelParameters":{"width":8,"height":6,"frames":"1-2","outputFile":"D:\\o\\a.b.tga","vrMode":1,
            "giWidth":-1,"giHeight":-1,"enableCameras":["a"],"disableCameras":["b"],"cameras":["a"],"other":7}})"));
        addRow("houdini", QString("/a.hip"),
               QString(R"({"Rops":[{"Rop":"/out/m","reslution":[8,6],"frames":"1-2","selected":0,"keyFrames":"","output":"o"},
            {"rop":"/out/n","reslution":[4,3],"frames":"3","selected":0}]})"));
        addRow("c4d", QString("/a.c4d"),
               QString(R"({"modelParameters":{"cameras":["a","b"],"activeCamera":"b","enableCameras":[],"outputName":"o",
            "outputSuffix":"png","width":8,"height":6,"frames":"1-9"}})"));
        addRow("clarisse", QString("/a.project"),
               QString(R"({"modelParameters":{"images":[{"name":"i","frames":"1","layers":[{"name":"l","frames":"1-2",
            "deep_output_file":"d"},{"name":"m","frames":"2"}]},{"name":"j","frames":"4","layers":[]}]}})"));
        addRow("terragen", QString("/a.tgd"),
               QString(R"({"modelParameters":{"cameras":[{"name":"a","width":8,"height":6,"frames":"1-3:1","vrMode":2,
            "giName":"g"},{"name":"b","width":8,"height":6,"frames":"1"}]}})"));
    }

private slots:
    void initTestCase() { UserInfo::init({}); }
    void cleanupTestCase() { UserInfo::clearCache(); }

    // A dialog that is opened and saved untouched sends what a commit without one would have sent; and once more.
    void untouched_data() { analysed(); }
    void untouched()
    {
        QFETCH(QString, scene);
        QFETCH(QString, rdata);
        db_resolve committed = row(scene, rdata), saved = committed;
        QString message;
        QVERIFY2(ParameterModel::prepare(&committed, config(1), &message), qPrintable(message));
        QJsonObject wanted = object(committed.rdata);
        if (wanted["modelParameters"].toArray().isEmpty() && scene.endsWith("tgd")) { // GI stays unset where there's none
            QJsonObject model = wanted["modelParameters"].toObject();
            QJsonArray cameras = model["cameras"].toArray();
            QJsonObject last = cameras.last().toObject();
            last.remove("vrMode");
            cameras.replace(cameras.size() - 1, last);
            model["cameras"] = cameras;
            wanted["modelParameters"] = model;
        }
        if (scene.endsWith("hip")) { // the pair has become two numbers, an empty text of priority frames none
            QJsonArray nodes = wanted["modelParameters"].toArray();
            for (int i = 0; i < nodes.size(); ++i) {
                QJsonObject node = nodes.at(i).toObject();
                node.remove("reslution");
                node.remove("keyFrames");
                nodes.replace(i, node);
            }
            wanted["modelParameters"] = nodes;
        }
        wanted.remove("strategy"); // 2 and 0 both wait
        for (const char *key : {"mayaSplitByLayer", "blocksCount"})
            if (!scene.endsWith("ma"))
                wanted.remove(key);
        for (int round = 0; round < 2; ++round) {
            const ParameterSheet sheet = ParameterSheet::read(saved, config(1));
            QCOMPARE(sheet.check(), QString());
            sheet.write(&saved);
            const QJsonObject result = object(saved.rdata);
            for (auto it = wanted.begin(); it != wanted.end(); ++it)
                QVERIFY2(within(it.value(), result[it.key()]), qPrintable(it.key() + " of " + saved.rdata));
            QCOMPARE(result["hasHand"].toInt(), 1);
            QCOMPARE(result["strategy"].toInt(-1), 0);
            for (const char *key : {"noSolutionCheck", "canw", "canh", "noFrameCheck", "canframe", "onlyScene"})
                QVERIFY2(!result.contains(key), key);
        }
    }

    // An older client's row: keys that lack, texts for numbers, numbers for texts, objects for lists. It opens, and what
    // can be read is there.
    void odd_data() { analysed(); }
    void odd()
    {
        QFETCH(QString, scene);
        QFETCH(QString, rdata);
        const QList<QPair<QString, QString>> turns{{"\":8", "\":\"8\""},           {"\":6", "\":6.0"},
                                                   {"[\"a\"]", "\"a\""},           {"[{", "[3,null,{"},
                                                   {"[\"a\",\"b\"]", "{\"a\":1}"}, {"\"frames\":\"1", "\"frames\":[1],\"x\":\"1"}};
        for (const auto &[from, to] : turns) {
            const QString twisted = QString(rdata).replace(from, to);
            ParameterSheet sheet = ParameterSheet::read(row(scene, twisted), config());
            QVERIFY2(!sheet.outputs.isEmpty(), qPrintable(to));
            if (rdata.contains(from) && to == "\":\"8\"")
                QCOMPARE(sheet.outputs.first().values["width"].toInt(), 8);
            db_resolve saved = row(scene, twisted);
            sheet.write(&saved);
            QVERIFY(!object(saved.rdata).isEmpty());
            sheet.summary();
            sheet.check();
        }
        for (const QString &nothing : {QString(), QString("{cut"), QString("[]"), QString("{\"modelParameters\":7}")}) {
            const ParameterSheet sheet = ParameterSheet::read(row(scene, nothing), config());
            QVERIFY2(!sheet.check().isEmpty(), qPrintable(nothing)); // nothing to render: it can't be saved so
            QCOMPARE(sheet.task["blocksCount"].toInt(), 4);
        }
    }

    // The first thing that is wrong is what is told, in this order.
    void told()
    {
        ParameterSheet sheet = ParameterSheet::read(row("/a.max", R"({"modelParameters":{"enableCameras":["a"]}})"), config());
        ParameterSheet::Output &one = sheet.outputs.first();
        QJsonObject &values = one.values;
        one.ticked.clear();
        values["vrMode"] = 2;
        values["giSize"] = "8";
        values["width"] = "x";
        sheet.task["keyFrames"] = "5-1";
        const auto next = [&sheet](const QString &message) {
            const QString found = sheet.check();
            return (message.isEmpty() ? found.isEmpty() : found.startsWith(message)) ? true : (qWarning() << found << message, false);
        };
        QVERIFY(next("请选择相机"));
        one.ticked = QStringList{"a"};
        QVERIFY(next("帧序列只支持从小到大排列！"));
        sheet.task["keyFrames"] = "7";
        QVERIFY(next("优先帧不在序列帧范围内！"));
        sheet.task["keyFrames"] = "";
        QVERIFY(next("请输入参数设置项的序列帧！"));
        values["frames"] = "5-1";
        QVERIFY(next("参数设置项的序列帧只支持从小到大排列！"));
        values["frames"] = "1-5";
        values["step"] = 2000; // a text from elsewhere would count as 1
        QVERIFY(next("参数设置项的隔帧不在有效序列帧范围内！"));
        values["step"] = 5;
        QVERIFY(next("请输入 1 到 100000 之间的数字：x"));
        values["width"] = 8;
        QVERIFY(next("请输入出图名称"));
        values["fname"] = "o";
        QVERIFY(next("光子尺寸的格式为“宽*高”"));
        values["giSize"] = "8*6";
        QVERIFY(next("请设置光子路径"));
        values["vrMode"] = 6;
        QVERIFY(next(""));
        QCOMPARE(sheet.question(), QString("当前光子隔帧为1，确认提交吗？"));
        values["giStep"] = 2;
        QCOMPARE(sheet.question(), QString());
        sheet.task["noFrameCheck"] = true;
        sheet.task["canframe"] = "1-5,20-30";
        sheet.task["keyFrames"] = "25"; // of the frames that all get
        QVERIFY(next(""));
        sheet.task["noSolutionCheck"] = true;
        QVERIFY(next("请输入统一的宽度和高度"));

        for (const auto &[scene, list, message] :
             {std::tuple("/a.hip", R"({"modelParameters":[{"Rop":"a","frames":"1"}]})", "请选择渲染节点"),
              std::tuple("/a.project", R"({"modelParameters":{"images":[{"name":"i","layers":[{"name":"l","frames":"1"}]}]}})", "请选择层"),
              std::tuple("/a.tgd", R"({"modelParameters":{"cameras":[{"name":"a","frames":"1"}]}})", "请选择节点"),
              std::tuple("/a.ma", R"({"modelParameters":[{"layer":"a","frames":"1"}]})", "请选择渲染层")}) {
            ParameterSheet none = ParameterSheet::read(row(scene, list), config());
            QCOMPARE(none.check(), QString());
            none.tick(0, false);
            QCOMPARE(none.check(), QString(message));
            none.tick(none.outputs.size() - 1, true); // a layer takes its image along
            QVERIFY(none.outputs.first().on && none.check().isEmpty());
        }
        ParameterSheet maya =
            ParameterSheet::read(row("/a.ma", R"({"modelParameters":[{"layer":"a","frames":"1","cameras":["c"]}]})"), config());
        maya.task["filePrefix"] = "a b";
        QCOMPARE(maya.check(), ParameterModel::filePrefixMessage());
    }

    void sums()
    {
        ParameterSheet sheet = ParameterSheet::read(
            row("/a.ma",
                R"({"modelParameters":[{"frames":"1-10","width":10,"height":2,"cameras":["a","b"]},{"frames":"1-5","width":1,"height":1}]})"),
            config());
        QCOMPARE(sheet.summary().frames, 25);
        QCOMPARE(sheet.summary().pixels, 405.);
        QCOMPARE(sheet.keyFrames(), QString("1,5,10"));
        sheet.task["noSolutionCheck"] = sheet.task["noFrameCheck"] = true;
        sheet.task["canw"] = sheet.task["canh"] = 2;
        sheet.task["canframe"] = "1,2";
        QCOMPARE(sheet.summary().frames, 6);
        QCOMPARE(sheet.summary().pixels, 24.);
        sheet.tick(0, false);
        QCOMPARE(sheet.summary().outputs, 1);
    }

    void photons_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("files"); // of the scene afterwards
        for (const char *name : {"p_01.vrmap", "p_0200.vrmap", "p_x.vrmap", "light.vrmap"})
            put(name);
        addRow("all of a name", 2, "p_01.vrmap", "", 4);
        addRow("alone", 7, "p_01.vrmap", "", 3);
        addRow("gone", 2, "q_01.vrmap", "光子路径不存在", 1);
        addRow("gone, alone", 7, "sub/p_01.vrmap", "光子路径不存在", 1);
        addRow("not read", 1, "q_01.vrmap", "", 2);
    }
    void photons()
    {
        QFETCH(int, mode);
        QFETCH(QString, file);
        db_resolve before = row(
            put("a.max"), R"({"modelParameters":{"frames":"1","outputFile":"o.exr","cameras":["c"],"vrLightCacheFile":"light.vrmap"}})");
        ParameterSheet sheet = ParameterSheet::read(before, config());
        sheet.outputs.first().values["vrMode"] = mode;
        sheet.outputs.first().values["vrIrradianceMapFile"] = file;
        db_resolve res = before;
        sheet.write(&res);
        QTEST(ParameterSheet::finish(before, &res, config()), "message");
        QTEST(ParameterModel::filesOf(res.rfile).size(), "files");
        for (int photons = 0; photons < 4; ++photons)
            QCOMPARE(int(ParameterSheet::photonsOf(ParameterSheet::vrModeFor(ParameterSheet::Photons(photons), mode))), photons);
        QCOMPARE(ParameterSheet::vrModeFor(ParameterSheet::photonsOf(mode), mode), mode);
    }

    void terragen()
    {
        const QByteArray scene =
            R"(<terragen><render name="A"><render_GI_settings name="g" no_GI_cache_file="1" read_from_GI_cache_file="0"/></render></terragen>)";
        put("x1.gic");
        put("x2.gic");
        db_resolve before =
            row(put("a.tgd", scene),
                R"({"modelParameters":{"cameras":[{"name":"A","width":8,"height":6,"frames":"1","vrMode":0,"giName":"g"}]}})");
        ParameterSheet sheet = ParameterSheet::read(before, config());
        QJsonObject &values = sheet.outputs.first().values;
        values["vrMode"] = 1;
        QVERIFY(sheet.check().startsWith("请设置光子路径"));
        values["giFile"] = "gone.gic";
        db_resolve res = before;
        sheet.write(&res);
        const QString untouched = res.rdata;
        QCOMPARE(ParameterSheet::finish(before, &res, config()), QString("光子路径不存在"));
        QVERIFY(res.rdata == untouched && res.rfile == before.rfile);
        QFile file(before.lpath);
        QVERIFY(file.open(QFile::ReadOnly) && file.readAll() == scene); // nothing is written before all tests pass
        values["giFile"] = "x1.gic";
        sheet.write(&res);
        QCOMPARE(ParameterSheet::finish(before, &res, config()), QString());
        QCOMPARE(ParameterModel::filesOf(res.rfile).size(), 3);
        file.close();
        QVERIFY(file.open(QFile::ReadOnly));
        const QByteArray now = file.readAll();
        QVERIFY2(now.contains("read_from_GI_cache_file=\"1\"") && now.contains("x1.gic"), now.constData());
        QVERIFY(QFile::remove(before.lpath)); // the scene itself has gone: told, nothing saved
        values["vrMode"] = 0;
        res = before;
        sheet.write(&res);
        QVERIFY(!ParameterSheet::finish(before, &res, config()).isEmpty());
    }

    void mayaProject()
    {
        db_resolve before = row(put("a.ma"), R"({"modelParameters":[{"layer":"a","frames":"1-999999"}]})", R"({"mayaProject":"D:/far"})"),
                   res = before;
        ParameterSheet sheet = ParameterSheet::read(before, config());
        sheet.write(&res);
        QCOMPARE(ParameterSheet::finish(before, &res, config()), QString()); // as it was chosen on another machine
        QVERIFY(res.rset.contains("MAYA_PROJECT=D:\\\\far") && res.rdata.contains("1-100000"));
        sheet.task["mayaProject"] = m_dir.filePath("none");
        sheet.write(&res);
        QCOMPARE(ParameterSheet::finish(before, &res, config()), QString("项目路径不存在"));
    }

    void steps_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("frames");
        QTest::addColumn<QString>("step");
        addRow("plain", "1-100", "1-100", "");
        addRow("step", "1-100:5", "1-100", "5");
        addRow("negative", "-20--10:2", "-20--10", "2");
        addRow("several", "1-10:2,20", "1-10:2,20", "");
        addRow("no frames", "abc:2", "abc:2", "");
    }
    void steps()
    {
        QFETCH(QString, text);
        QString frames, step;
        FrameSet::split(text, &frames, &step);
        QTEST(frames, "frames");
        QTEST(step, "step");
        QCOMPARE(FrameSet::join(frames, step), text);
    }
};

VN_TEST(TestSheet)
#include "tst_sheet.moc"
