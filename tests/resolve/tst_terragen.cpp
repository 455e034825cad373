#include "resolve/DiskPath.h"
#include "resolve/LogParser.h"
#include "resolve/TerragenGi.h"
#include "resolve/TerragenScene.h"
#include "resolve/XmlSource.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTextCodec>
#include <sys/stat.h>

namespace
{
// The way that Terragen itself writes: one attribute a line, blanks around "=", no declaration.
QByteArray element(const QByteArray &name, const QList<QPair<QByteArray, QByteArray>> &attributes, const QByteArray &inside = {})
{
    QByteArray text = "<" + name;
    for (const auto &one : attributes)
        text += "\n\t" + one.first + " = \"" + one.second + "\"";
    return text + "\n\t>\n" + inside + "</" + name + ">\n";
}

QByteArray gi(const QByteArray &none, const QByteArray &read, const QByteArray &write, const QByteArray &file)
{
    return element("render_GI_settings", {{"name", "GI 01"},
                                          {"no_GI_cache_file", none},
                                          {"write_to_GI_cache_file", write},
                                          {"GI_cache_filename_to_write", "C:\\w_%04d.gic"},
                                          {"read_from_GI_cache_file", read},
                                          {"GI_cache_filename_to_read", file}});
}

QByteArray render(const QByteArray &name, const QByteArray &inside = {}, const QByteArray &step = "2")
{
    return element("render",
                   {{"name", name},
                    {"image_width", "640"},
                    {"image_height", "360"},
                    {"sequence_first", "1"},
                    {"sequence_last", "9"},
                    {"sequence_step", step},
                    {"output_image_filename", "C:\\out.%04d.tif"}},
                   inside);
}

QByteArray scene(const QByteArray &inside) { return element("terragen", {{"name", "_1"}}, inside); }
} // namespace

class TestTerragen : public QObject
{
    Q_OBJECT
    QScopedPointer<QTemporaryDir> m_dir;

    QString path(const QString &name) const { return m_dir->filePath(name); }
    QString put(const QString &name, const QByteArray &content = "x") const
    {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        file.open(QFile::WriteOnly);
        file.write(content);
        return file.fileName();
    }
    QByteArray content(const QString &name) const
    {
        QFile file(path(name));
        file.open(QFile::ReadOnly);
        return file.readAll();
    }
    // Paths of a list below the scene's folder.
    QStringList names(const QStringList &paths) const
    {
        QStringList list;
        for (const QString &one : paths)
            list << QString(one).remove(m_dir->path() + '/');
        return list;
    }

private slots:
    void init() { m_dir.reset(new QTemporaryDir); }

    void dependencies_data()
    {
        columns<QByteArray, QStringList, QStringList, QString>("inside", "files", "missing", "told"); // told: before the missing files
        using L = QStringList;
        const auto row = [](const char *name, const QByteArray &inside, const L &files, const L &missing, const QString &told = {}) {
            addRow(name, inside, files, missing, told);
        };
        row("nothing", {}, {}, {});
        row("mixed slashes, other case", element("image_map_shader", {{"image_filename", "Textures\\sub/WOOD.jpg"}}),
            {"textures/sub/wood.JPG"}, {});
        row("every attribute",
            element("x", {{"image_filename", "a.tif"},
                          {"import_filename", "b.fbx"},
                          {"displacement_image", "c.tif"},
                          {"translucency_image", "d.tif"},
                          {"export_filename", "never.tif"},
                          {"instance_cache_filename_to_read", "p.ins"}}),
            {"a.tif", "p.ins"}, {"b.fbx", "c.tif", "d.tif"});
        row("empty values", element("x", {{"filename", ""}, {"image_filename", "  "}}), {}, {});
        row("model and what lies beside it",
            element(
                "obj_reader", {{"filename", "res\\Model.obj"}},
                element("default_shader",
                        {{"colour_image", "Bark.TIF"}, {"opacity_image", "gone.tif"}, {"displacement_image", "textures\\sub\\wood.jpg"}})),
            {"res/bark.tif", "res/model.mtl", "res/model.obj", "textures/sub/wood.JPG"}, {"res/gone.tif"});
        row("beside another reader's model",
            element("tgo_reader", {{"filename", "res/model.obj"}}, element("default_shader", {{"colour_image", "bark.tif"}})),
            {"res/model.obj", "res/bark.tif"}, {});
        row("bare name without a model", element("default_shader", {{"colour_image", "a.tif"}, {"opacity_image", "bark.tif"}}), {"a.tif"},
            {"bark.tif"});
        row("bare name behind a model",
            element("obj_reader", {{"filename", "nowhere/m.obj"}}) + element("default_shader", {{"colour_image", "a.tif"}}), {"a.tif"},
            {"nowhere/m.obj"});
        row("frame pattern", element("x", {{"image_filename", "SEQ\\f.%04d.exr"}}), {"seq/f.0001.exr", "seq/f.0002.exr", "seq/f.12345.exr"},
            {});
        row("pattern without frames", element("x", {{"image_filename", "seq/g.%04d.exr"}}), {}, {"seq/g.%04d.exr"});
        row("variable", element("x", {{"filename", "${TGDNAME}.ins"}, {"image_filename", "${OTHER}.tif"}}), {"scene.ins"},
            {"${OTHER}.tif"});
        row("variable in a folder", element("x", {{"filename", "${ANY}/${WHERE}/a.tif"}}), {}, {"${ANY}/${WHERE}/a.tif"});
        row("above the root", element("x", {{"filename", QByteArray("..\\").repeated(40) + "gone/./x//y.tif"}}), {}, {"/gone/x/y.tif"});
        row("exporter's own output", element("render", {}, element("micro_exporter", {{"filename", "res\\obj\\gone.obj"}})), {}, {});
        row("exporter's output that is there", element("micro_exporter", {{"filename", "a.tif"}}), {"a.tif"}, {});
        row("folder, twice, upwards",
            element("x", {{"filename", "res"}}) + element("y", {{"filename", "res"}, {"image_filename", "seq/../a.tif"}}), {"a.tif"},
            {"res"});
        row("another machine's drive", element("x", {{"filename", "C:\\users\\a.obj"}}), {}, {"C:/users/a.obj"});
        row("entities", element("x", {{"filename", "a&amp;b.tif"}}), {"a&b.tif"}, {});
        row("no photons", render("r", gi("0", "1", "0", "")), {}, {}, "没有光子文件\n");
        row("photons", render("r", gi("0", "1", "0", "Cache\\p_0001.gic")), {"cache/p_0001.gic", "cache/p_0002.GIC"}, {});
        row("photon pattern", render("r", gi("0", "1", "1", "cache/p_%04d.gic")), {"cache/p_0001.gic", "cache/p_0002.GIC"}, {},
            "光子文件p_%04d.gic只包含第1到2帧，渲染帧为1-9:2\n");
        row("photons not read", render("r", gi("1", "1", "0", "cache/p_0001.gic")), {}, {});
    }
    void dependencies()
    {
        FETCH(QByteArray, inside, QStringList, missing);
        for (const char *name : {"textures/sub/wood.JPG", "a.tif", "p.ins", "a&b.tif", "scene.ins", "res/model.obj", "res/model.mtl",
                                 "res/bark.tif", "seq/f.0001.exr", "seq/f.0002.exr", "seq/f.12345.exr", "seq/f.003.exr",
                                 "seq/f.0001.exr.bak", "cache/p_0001.gic", "cache/p_0002.GIC", "cache/p.txt"})
            put(name);
        const TerragenScene read = TerragenScene::read(put("scene.tgd", scene(inside + render("always"))));
        QCOMPARE(read.error, 0);
        QFETCH(QStringList, files);
        QCOMPARE(names(read.files), QStringList("scene.tgd") + files);
        QCOMPARE(names(read.missing), missing);
        QFETCH(QString, told);
        QStringList lines;
        for (const QString &one : missing)
            lines << (DiskPath::isAbsolute(one) ? one : path(one));
        told += lines.isEmpty() ? QString() : "丢失文件：\r\n" + lines.join('\n');
        QCOMPARE(read.result()["details"].toString(), told);
        QCOMPARE(read.result()["status"].toInt(), told.isEmpty() ? 0 : 1);
    }

    void cameras()
    {
        put("c/1.gic");
        const QByteArray text = scene(render("Zwölf & mehr", {}).replace("& mehr", "&amp; mehr") +
                                      render("none", gi("1", "1", "1", "c\\1.gic"), "").replace("640", "640.0") +
                                      render("read", gi("0", "1", "1", "c\\1.gic")) + render("write", gi("0", "0", "1", "c\\1.gic")) +
                                      render("off", gi("0", "0", "0", "")) + element("group", {}, render("nested")));
        const QJsonObject content = TerragenScene::read(put("s.tgd", text)).result()["content"].toObject();
        const QByteArray expected = R"([{"frames":"1-9:2","height":360,"name":"Zwölf & mehr","width":640},
            {"frames":"1-9:1","giName":"GI 01","height":360,"name":"none","vrMode":0,"width":640},
            {"frames":"1-9:2","giFile":"c/1.gic","giName":"GI 01","height":360,"name":"read","vrMode":1,"width":640},
            {"frames":"1-9:2","giName":"GI 01","height":360,"name":"write","vrMode":2,"width":640},
            {"frames":"1-9:2","giName":"GI 01","height":360,"name":"off","vrMode":0,"width":640}])";
        QCOMPARE(content["modelParameters"].toObject()["cameras"].toArray(), QJsonDocument::fromJson(expected).array());
        QCOMPARE(content["sceneName"].toString(), path("s.tgd"));
        QCOMPARE(content["missionName"].toString(), QString("s.tgd"));
        QCOMPARE(content["softwareType"].toInt(), 8);
        const QJsonObject none = TerragenScene::read(put("n.tgd", scene({}))).result();
        QVERIFY(none["status"].toInt() == 2 && !none["details"].toString().isEmpty()); // nothing to order
        const QByteArray backwards = render("back").replace("sequence_first = \"1\"", "sequence_first = \"10\"");
        QVERIFY(TerragenScene::read(put("b.tgd", scene(backwards))).result()["details"].toString().startsWith("back "));
    }

    void notAProject_data()
    {
        QTest::addColumn<QByteArray>("text");
        addRow("empty", QByteArray());
        addRow("not xml", QByteArray("TERRAGEN\x01\x02"));
        addRow("cut", scene(render("r")).left(200));
        addRow("clip", QByteArray("<?xml version='1.0'?>\n<terragen_clip></terragen_clip>"));
        addRow("other root", QByteArray("<project/>"));
        addRow("deep", QByteArray("<terragen>") + QByteArray("<a>").repeated(100000));
        QByteArray bomb = "<!DOCTYPE terragen [<!ENTITY a0 \"xxxxxxxxxx\">";
        for (int i = 1; i < 12; ++i)
            bomb += "<!ENTITY a" + QByteArray::number(i) + " \"" + QByteArray("&a" + QByteArray::number(i - 1) + ";").repeated(10) + "\">";
        addRow("entities without end in sum", "<!DOCTYPE terragen [<!ENTITY e \"" + QByteArray(4000, 'x') +
                                                  "\">]><terragen><x filename=\"" + QByteArray("&e;").repeated(300000) + "\"/></terragen>");
        addRow("entities without end", bomb + "]><terragen><x filename=\"&a11;\">&a11;</x></terragen>");
    }
    void notAProject()
    {
        QFETCH(QByteArray, text);
        const TerragenScene read = TerragenScene::read(put("s.tgd", text));
        QCOMPARE(read.error, 10012);
        QVERIFY(read.files.isEmpty() && read.cameras.isEmpty());
        QCOMPARE(TerragenScene::read(path("absent.tgd")).error, 10032);
        QFile file(path("huge.tgd"));
        QVERIFY(file.open(QFile::WriteOnly) && file.resize(TerragenScene::MaxBytes + 1));
        QCOMPARE(TerragenScene::read(file.fileName()).error, 10012);
        // Nobody writes into the pipe: an open that waits would wait for ever.
        QCOMPARE(::mkfifo(QFile::encodeName(path("pipe.tgd")).constData(), 0600), 0);
        for (const char *name : {"pipe.tgd", "."})
            QCOMPARE(TerragenScene::read(path(name)).error, 10032);
    }

    void aLargeSceneCostsLittleMemory()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        QSKIP("a sanitizer keeps what was freed");
#endif
        const auto peak = [](bool reset) {
            QFile clear("/proc/self/clear_refs"), status("/proc/self/status");
            if (reset && clear.open(QFile::WriteOnly))
                clear.write("5");
            const QByteArray text = status.open(QFile::ReadOnly) ? status.readAll() : QByteArray();
            return text.mid(text.indexOf("VmHWM:") + 6).trimmed().split(' ').value(0).toLongLong() * 1024;
        };
        const QByteArray piece =
            element("x", {{"name", QByteArray(400, 'n')}, {"colour", "1 1 1"}, {"image_filename", "a.tif"}}).repeated(100);
        put("a.tif");
        for (const bool utf8 : {true, false}) {
            QFile file(path("large.tgd"));
            QVERIFY(file.open(QFile::WriteOnly));
            file.write("<terragen>" + render("r") + (utf8 ? QByteArray() : element("y", {{"name", "\xcc\xf9"}})));
            while (file.size() < 32 * 1024 * 1024)
                file.write(piece);
            file.write("</terragen>");
            file.close();
            const qint64 before = peak(true);
            QCOMPARE(TerragenScene::read(file.fileName()).files.size(), 2);
            QVERIFY2(peak(false) - before < file.size() / 2, qPrintable(QString::number(peak(false) - before)));
        }
    }

    void otherEncoding()
    {
        const QByteArray entity = "<!DOCTYPE terragen [<!ENTITY t \"t.tif\">]>";
        put("t.tif");
        QCOMPARE(names(TerragenScene::read(put("e.tgd", entity + scene(element("x", {{"filename", "&t;"}})))).files).last(),
                 QString("t.tif"));
        // The bytes of each can be read in more than one: the name that is there decides.
        for (const auto &[codec, name] :
             {std::pair("GB18030", "贴图.tif"), std::pair("Big5", "貼圖石.tif"), std::pair("Windows-1252", "Bäume.tif")}) {
            put(QString::fromUtf8(name));
            const QByteArray text = QTextCodec::codecForName(codec)->fromUnicode(QString::fromUtf8(name));
            QCOMPARE(names(TerragenScene::read(put("s.tgd", scene(element("x", {{"image_filename", text}})))).files),
                     (QStringList{"s.tgd", QString::fromUtf8(name)}));
        }
        QDir(m_dir->path()).mkpath("100%done/t");
        put("100%done/t/a.1.tif");
        QCOMPARE(names(TerragenScene::read(put("100%done/s.tgd", scene(element("x", {{"filename", "t/a.%d.tif"}})))).files),
                 (QStringList{"100%done/s.tgd", "100%done/t/a.1.tif"}));
    }

    void realScenes_data()
    {
        QTest::addColumn<QString>("name");
        QFile file(sceneFolder() + "/expected.json");
        file.open(QFile::ReadOnly);
        const QJsonObject all = QJsonDocument::fromJson(file.readAll()).object()["terragen"].toObject();
        for (auto it = all.begin(); it != all.end(); ++it)
            addRow(qPrintable(it.key()), it.key());
    }
    void realScenes()
    {
        if (sceneFolder().isEmpty())
            QSKIP("no real scenes on this machine");
        QFETCH(QString, name);
        QFile file(sceneFolder() + "/expected.json");
        QVERIFY(file.open(QFile::ReadOnly));
        const QJsonObject facts = QJsonDocument::fromJson(file.readAll()).object()["terragen"].toObject()[name].toObject();
        const TerragenScene read = TerragenScene::read(sceneFolder() + '/' + name);
        QCOMPARE(read.error, 0);
        QJsonArray cameras;
        for (const QJsonValue &one : read.cameras) {
            QJsonObject camera = one.toObject();
            for (const char *key : {"width", "height"})
                camera[key] = QString::number(camera[key].toInt());
            cameras << camera;
        }
        QCOMPARE(cameras, facts["cameras"].toArray());
        // The only path that these scenes miss is what an exporter would write.
        QCOMPARE(read.files, QStringList(sceneFolder() + '/' + name));
        QVERIFY(read.missing.isEmpty() && read.result()["status"].toInt() == 0);
        QCOMPARE(TerragenScene::read(sceneFolder() + "/terragen/clip_to_test_insert_clip_file.tgc").error, 10012);
    }

    void writeBack_data()
    {
        columns<QByteArray, QByteArray, int, QString>("before", "after", "mode", "file");
        const QByteArray other = render("other", gi("0", "0", "1", "z"));
        const auto whole = [&other](const QByteArray &settings) {
            return scene("<!-- <render name=\"r\"> -->" + other + render("r", settings)).replace('\n', "\r\n");
        };
        addRow("read", whole(gi("1", "0", "0", "")), whole(gi("0", "1", "0", "D:/c/a&amp;b.gic")), 1, "D:/c/a&b.gic");
        addRow("read, the scene's own file", whole(gi("1", "0", "1", "c\\a.gic")), whole(gi("0", "1", "0", "c\\a.gic")), 1, "c/a.gic");
        addRow("read, no file told", whole(gi("0", "0", "1", "c\\a.gic")), whole(gi("0", "1", "0", "c\\a.gic")), 1, "");
        addRow("write", whole(gi("0", "1", "0", "a.gic")), whole(gi("0", "0", "1", "a.gic")), 2, "b.gic");
        addRow("none", whole(gi("0", "1", "1", "a.gic")), whole(gi("1", "0", "0", "a.gic")), 0, "");
        addRow("set already", whole(gi("0", "0", "1", "a.gic")), whole(gi("0", "0", "1", "a.gic")), 2, "");
        const auto bare = [&whole](const QByteArray &flags) {
            return whole(QByteArray("<render_GI_settings\r\n  name='g'" + flags + "/>"));
        };
        addRow("flags that aren't there", bare({}),
               bare("\r\n  no_GI_cache_file=\"0\"\r\n  read_from_GI_cache_file=\"0\"\r\n  write_to_GI_cache_file=\"1\""), 2, "");
        addRow("no settings", whole("<render_x no_GI_cache_file=\"1\"/>"), whole("<render_x no_GI_cache_file=\"1\"/>"), 1, "");
    }
    void writeBack()
    {
        FETCH(QByteArray, before, int, mode, QString, file);
        const QString name = put("s.tgd", before);
        QVERIFY(QFile::link(name, path("link.tgd")));
        QString message;
        QVERIFY2(TerragenGi::write(path("link.tgd"), {{"r", mode, file}}, &message), qPrintable(message));
        QTEST(content("s.tgd"), "after");
        QVERIFY(QFileInfo(path("link.tgd")).isSymLink());
    }

    void writeBackRefused()
    {
        const QByteArray broken = "<terragen><render name=\"r\"><render_GI_settings no_GI_cache_file=\"1\"></render>";
        QString message;
        QVERIFY(!TerragenGi::write(put("s.tgd", broken), {{"r", 1, {}}}, &message) && !message.isEmpty());
        QCOMPARE(content("s.tgd"), broken);
        QVERIFY(!TerragenGi::write(path("absent.tgd"), {{"r", 1, {}}}, &message) && message.contains("absent.tgd"));
        const QByteArray good = scene(render("r", gi("1", "0", "0", "")));
        QVERIFY(!TerragenGi::write(put("s.tgd", good), {{"r", 1, {}}, {"gone", 1, {}}}, &message) && message.contains("gone"));
        QCOMPARE(content("s.tgd"), good);
        // In the scene's own encoding or not at all.
        QTextCodec *const gbk = QTextCodec::codecForName("GB18030");
        const auto chinese = [gbk](const char *none, const char *read, const QString &file) {
            return scene(render(gbk->fromUnicode(QString::fromUtf8("镜头")), gi(none, read, "0", gbk->fromUnicode(file))));
        };
        const QString file = QString::fromUtf8("缓存/a.gic");
        put("s.tgd", chinese("1", "0", {}));
        QVERIFY2(TerragenGi::write(path("s.tgd"), {{QString::fromUtf8("镜头"), 1, file}}, &message), qPrintable(message));
        QCOMPARE(content("s.tgd"), chinese("0", "1", file));
        const QByteArray western = QByteArray("<?xml version='1.0' encoding='ISO-8859-1'?>") + scene(render("\xc4", gi("1", "0", "0", "")));
        QVERIFY(!TerragenGi::write(put("s.tgd", western), {{QString::fromUtf8("Ä"), 1, file}}, &message) && message.contains(file));
        QCOMPARE(content("s.tgd"), western);
        const QJsonArray cameras{QJsonObject{{"name", "a"}, {"selected", 1}, {"vrMode", 1}, {"giFile", "f"}},
                                 QJsonObject{{"name", "b"}, {"selected", 1}}, QJsonObject{{"name", "c"}, {"vrMode", 1}}};
        const auto choices = TerragenGi::choices({{"modelParameters", QJsonObject{{"cameras", cameras}}}});
        QVERIFY(choices.size() == 1 && choices[0].render == "a" && choices[0].mode == 1 && choices[0].file == "f");
    }

    // Whatever is chosen for a real scene, it reads back, and choosing what stood there restores every byte.
    void writeBackRealScene()
    {
        if (sceneFolder().isEmpty())
            QSKIP("no real scenes on this machine");
        QFile real(sceneFolder() + "/terragen/island.tgd");
        QVERIFY(real.open(QFile::ReadOnly));
        const QByteArray before = real.readAll();
        put("s.tgd", before);
        QString message;
        for (int mode : {1, 2, 0}) {
            QVERIFY(TerragenGi::write(path("s.tgd"), {{"Render Export", mode, {}}}, &message));
            const QJsonArray cameras = TerragenScene::read(path("s.tgd")).cameras;
            QCOMPARE(cameras[0].toObject()["vrMode"].toInt(), 0);
            QCOMPARE(cameras[1].toObject()["vrMode"].toInt(), mode);
        }
        QCOMPARE(content("s.tgd"), before);
    }
};
VN_TEST(TestTerragen)
#include "tst_terragen.moc"
