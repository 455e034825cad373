// The parameter dialogs, pressed as a user presses them: what is shown, what is refused, what arrives at the queue.
#include "common/CommonConfig.h"
#include "common/ui/Background.h"
#include "common/ui/kit/FrameEdit.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/RadioGroup.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/kit/TickList.h"
#include "db/ResolveDAO.h"
#include "resolve/ParameterModel.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/render/CanshuItem.h"
#include "view/render/KeyFrameItem.h"
#include "view/render/ParameterDialog.h"
#include "view/render/ResolutionLock.h"
#include "view/Resolve.h"
#include "view/ResolveWarn.h"
#include "ViewRig.h"
#include <QAction>
#include <QClipboard>
#include <QJsonDocument>
#include <QLineEdit>
#include <QRadioButton>
#include <QTemporaryDir>

namespace
{
// Keeps the rows that arrive.
class Keeper : public ResolveSpy
{
public:
    QList<db_resolve> saved;
    void saveDataSet(db_resolve res) override { saved << res; }
};

QString repeated(const char *text, int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list << QString(text).arg(i);
    return list.join(',');
}
const QString MaxScene =
    R"({"modelParameters":{"width":8,"height":6,"frames":"1-5","outputFile":"o.exr","enableCameras":["c0"],"disableCameras":["c1"]}})";
const QString MayaScene =
    R"({"modelParameters":{"layers":[{"layer":"L","width":8,"height":6,"frames":"1-5","cameras":["a"],"cameras_overide":["a","b"]},
    {"layer":"M","width":8,"height":6,"frames":"7-9"}]}})";
} // namespace

class TestRender : public QObject
{
    Q_OBJECT
    QTemporaryDir m_dir;
    QScopedPointer<Keeper> m_queue;
    QScopedPointer<QWidget> m_over;
    QPointer<ParameterDialog> m_dialog;

    QString put(const QString &name) const
    {
        QFile file(m_dir.filePath(name));
        file.open(QFile::WriteOnly);
        return file.fileName();
    }
    // The row stands in the store, its dialog is open.
    ParameterDialog *open(const QString &scene, const QString &rdata, int state = 106)
    {
        db_resolve res = ::scene(QDateTime::currentSecsSinceEpoch(), state, scene);
        QList<db_resolve> list{res};
        ResolveDAO::instance()->insertBatch(&list);
        list.first().rdata = rdata;
        ResolveDAO::instance()->savePara(list.first());
        delete m_dialog;
        m_dialog = ParameterDialog::make(ParameterDialog::read(list.first(), CommonConfig::get()), m_over.data());
        m_dialog->open();
        activate(m_dialog);
        return m_dialog;
    }
    QLineEdit *line(const char *name) const { return m_dialog->findChild<QLineEdit *>(name); }
    void type(const char *name, const QString &text) const
    {
        QLineEdit *edit = line(name);
        QVERIFY2(edit && edit->isEnabled(), name);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, text);
    }
    // Presses the primary button; the message that comes, or an empty text.
    QString save()
    {
        if (!press(m_dialog, "保存并提交"))
            return "no button";
        Background::finish();
        QCoreApplication::processEvents(); // the disk's answer, and then the row's way to the queue
        QCoreApplication::processEvents();
        const QString text = message();
        if (text.isEmpty())
            return text;
        answer("确定");
        return m_dialog ? text : text + " and closed";
    }
    QJsonObject rdata() const
    {
        return m_queue->saved.isEmpty() ? QJsonObject() : QJsonDocument::fromJson(m_queue->saved.last().rdata.toUtf8()).object();
    }
    TickList *list(const char *name) const { return qobject_cast<TickList *>(m_dialog->findChild<TablePage *>(name)->parentWidget()); }
    static void clickTick(TickList *list, int row)
    {
        RecordView *view = list->page()->view();
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(view->model()->index(row, 0)).center());
    }

private slots:
    void initTestCase()
    {
        account(61);
        QVERIFY(ResolveDAO::instance()->open(m_dir.path()));
    }
    void cleanupTestCase() { ResolveDAO::instance()->releaseResolve(); }
    void init()
    {
        m_queue.reset(new Keeper);
        m_over.reset(new QWidget);
        m_over->resize(960, 540);
        m_over->show();
    }
    void cleanup()
    {
        delete m_dialog;
        Background::finish();
        m_over.reset();
        m_queue.reset();
        CommonConfig::clear();
    }

    // Every program has its dialog, of that name; each opens on a row without parameters too, and isn't saved so.
    void programs_data()
    {
        QTest::addColumn<QString>("scene");
        QTest::addColumn<QString>("rdata");
        QTest::addColumn<QStringList>("keys"); // what can be edited
        const QString common = "frames,step,strategy,blocksCount,noFrameCheck,canframe,keyFrames,";
        const QString sized = common + "width,height,noSolutionCheck,canw,canh,";
        const auto add = [](const char *name, const char *scene, const QString &rdata, const QString &keys) {
            addRow(name, QString(scene), rdata, keys.split(','));
        };
        add("Maya", "/a.ma", MayaScene, sized + "filePrefix,mayaSplitByLayer,onlyScene,mayaProject");
        add("Max", "/a.max", MaxScene,
            sized + "fname,fsuffix,vrMode,photons,giSize,giStep,reflectionRefraction,vrIrradianceMapFile,vrLightCacheFile");
        add("Houdini", "/a.hip", R"({"Rops":[{"Rop":"/out/a","reslution":[8,6],"frames":"1"}]})", sized.chopped(1));
        add("C4D", "/a.c4d", R"({"modelParameters":{"cameras":["a"],"activeCamera":"a","outputName":"o","frames":"1"}})",
            sized + "fname,fsuffix,renderer,activeCamera");
        add("Clarisse", "/a.project", R"({"modelParameters":{"images":[{"name":"i","layers":[{"name":"l","frames":"1"}]}]}})",
            common + "output,format,LUT,deep_output_file");
        add("Terragen", "/a.tgd", R"({"modelParameters":{"cameras":[{"name":"r","frames":"1","width":8,"height":6,"vrMode":0}]}})",
            sized + "vrMode,giFile,giWidth,giHeight,giStep");
    }
    void programs()
    {
        QFETCH(QString, scene);
        QFETCH(QString, rdata);
        QFETCH(QStringList, keys);
        open(m_dir.filePath(scene.mid(1)), rdata);
        QCOMPARE(m_dialog->objectName(), QString(QTest::currentDataTag()));
        QCOMPARE(QString(m_dialog->metaObject()->className()), m_dialog->objectName());
        for (const QString &key : keys) {
            auto *editor = m_dialog->findChild<QWidget *>(key);
            QVERIFY2(editor && !editor->accessibleName().isEmpty(), qPrintable(key));
        }
        if (!scene.endsWith("tgd")) // whose file has to be there
            QCOMPARE(save(), QString());
        else
            QVERIFY(save().contains("r.tgd") || !message().isEmpty() || m_dialog);
        open(scene, "{\"modelParameters\":\"7\"}");
        QVERIFY(!save().isEmpty());
        QVERIFY(m_dialog && m_dialog->isVisible());
    }

    // Each message keeps the dialog open, and only a row without a fault is sent: once.
    void refused()
    {
        open(put("a.max"), MaxScene);
        type("frames", "5-1");
        QCOMPARE(m_dialog->findChild<QLabel *>("fieldNote")->text(), QString("参数设置项的序列帧只支持从小到大排列！"));
        type("keyFrames", "3-2");
        QCOMPARE(save(), QString("帧序列只支持从小到大排列！"));
        type("keyFrames", "9");
        QCOMPARE(save(), QString("优先帧不在序列帧范围内！"));
        type("keyFrames", "");
        type("frames", "");
        QCOMPARE(save(), QString("请输入参数设置项的序列帧！"));
        type("frames", "1-5");
        type("step", "6");
        QCOMPARE(save(), QString("参数设置项的隔帧不在有效序列帧范围内！"));
        type("step", "2");
        QCOMPARE(m_dialog->findChild<QLabel *>("fieldNote")->text(), QString("3 帧：1-5:2"));
        list("cameras")->page()->acts()->action("none")->trigger();
        QCOMPARE(save(), QString("请选择相机"));
        list("cameras")->page()->acts()->action("all")->trigger();
        m_dialog->findChild<RadioGroup *>("photons")->button(1)->click(); // "使用本地光子"
        QCOMPARE(save(), QString("请设置光子路径"));
        const QString photons = put("p_01.vrmap");
        type("vrIrradianceMapFile", photons);
        QVERIFY(QFile::remove(photons)); // gone between choice and save
        QCOMPARE(save(), QString("光子路径不存在"));
        QVERIFY(m_queue->saved.isEmpty() && !m_dialog->busy());
        put("p_01.vrmap");
        put("p_02.vrmap");
        QCOMPARE(save(), QString());
        QCOMPARE(m_queue->saved.size(), 1);
        QVERIFY(!m_dialog || !m_dialog->isVisible());
        const QJsonObject model = rdata()["modelParameters"].toObject();
        QCOMPARE(model["frames"].toString(), QString("1-5:2"));
        QCOMPARE(model["cameras"].toArray().size(), 2);
        QVERIFY(model["vrMode"] == 2 && model["vrIrradianceMapFile"].toString().contains("p_02.vrmap"));
        QCOMPARE(ParameterModel::filesOf(m_queue->saved.last().rfile).size(), 2);
    }

    // A row that was committed or deleted while its dialog stood open isn't written over.
    void late()
    {
        open(put("a.max"), MaxScene, 107);
        QCOMPARE(save(), QString("任务已提交或已删除，参数没有保存"));
        QVERIFY(m_dialog && m_queue->saved.isEmpty());
        open(put("a.max"), MaxScene);
        m_queue.reset(); // the session ends
        QVERIFY(save().contains("解析队列没有运行"));
        m_queue.reset(new Keeper);
        press(m_dialog, "保存并提交");
        delete m_dialog; // closed before the disk has answered
        Background::finish();
        QCoreApplication::processEvents();
        QVERIFY(m_queue->saved.isEmpty());
    }

    void photonStep()
    {
        open(put("a.max"), MaxScene);
        m_dialog->findChild<RadioGroup *>("photons")->button(2)->click(); // "优先渲染光子"
        QCOMPARE(m_dialog->sheet().outputs.first().values["vrMode"].toInt(), 1);
        QVERIFY(!line("vrIrradianceMapFile")->isEnabled() && line("giStep")->isEnabled());
        QCOMPARE(line("giSize")->text(), QString("8*6"));
        QVERIFY(press(m_dialog, "保存并提交"));
        QCOMPARE(message(), QString("当前光子隔帧为1，确认提交吗？"));
        QVERIFY(answer("返回") && m_queue->saved.isEmpty());
        QVERIFY(press(m_dialog, "保存并提交") && answer("确定"));
        Background::finish();
        QTRY_COMPARE(m_queue->saved.size(), 1);
    }

    // What is typed is for all selected layers; unticked ones aren't sent; priority frames follow until they're typed.
    void layers()
    {
        CommonConfig::fromJson({{"frameFirst", 1}, {"blocksCount", 3}});
        open(put("a.ma"), MayaScene);
        QCOMPARE(line("keyFrames")->text(), QString("")); // the output's own stands first
        auto *keys = m_dialog->findChild<KeyFrameItem *>();
        const auto priority = [keys] { return keys->form()->value("keyFrames").toString(); };
        QCOMPARE(priority(), QString("1,4,9"));
        TickList *layers = list("outputs");
        layers->select({"0", "1"});
        type("frames", "1-11");
        QTRY_COMPARE(priority(), QString("1,6,11"));
        auto *own = static_cast<QLineEdit *>(keys->form()->editor("keyFrames"));
        own->selectAll();
        QTest::keyClicks(own, "3");
        type("frames", "1-21");
        QTest::qWait(0);
        clickTick(layers, 1);
        QCOMPARE(priority(), QString("3"));
        layers->select({"0"});
        clickTick(list("cameras"), 1);
        line("width")->setFocus();
        QTest::mouseClick(m_dialog->findChild<ResolutionLock *>(), Qt::LeftButton);
        QCOMPARE(m_dialog->findChild<ResolutionLock *>()->property("lock"), QVariant(true));
        type("width", "16");
        QCOMPARE(line("height")->text(), QString("12"));
        QCOMPARE(save(), QString());
        const QJsonArray saved = rdata()["modelParameters"].toArray();
        QCOMPARE(saved.size(), 1);
        const QJsonObject layer = saved.first().toObject();
        QCOMPARE(layer["frames"].toString(), QString("1-21"));
        QCOMPARE(layer["cameras_array"].toArray().size(), 2);
        QVERIFY(layer["width"] == 16 && layer["height"] == 12);
        QVERIFY(rdata()["keyFrames"] == "3" && rdata()["blocksCount"] == 3);
    }

    // Hundreds of layers and cameras: found by search, ticked at once, and what a search hides keeps its tick.
    void many()
    {
        open(put("a.ma"), "{\"modelParameters\":{\"layers\":[" +
                              repeated(R"({"layer":"rs_%1","width":10,"height":10,"frames":"1-100","cameras":["c"]})", 300) + "]}}");
        auto *sum = m_dialog->findChild<QLabel *>("quiet");
        QVERIFY2(sum->text().contains("300 / 300") && sum->text().contains("30000"), qPrintable(sum->text()));
        TickList *layers = list("outputs");
        QTest::keyClicks(layers->page()->search(), "rs_29");
        QTRY_COMPARE(layers->page()->view()->model()->rowCount(), 11);
        layers->page()->acts()->action("none")->trigger();
        QTRY_VERIFY(sum->text().contains("289 / 300"));
        layers->page()->search()->clear();
        QTRY_COMPARE(layers->page()->view()->model()->rowCount(), 300);
        QCOMPARE(layers->ticked().size(), 289);
        layers->page()->view()->selectAll();
        QElapsedTimer took;
        took.start();
        QTest::keyClick(line("step"), Qt::Key_5);
        QVERIFY2(took.elapsed() < 8000, qPrintable(QString::number(took.elapsed()))); // 300 rows, not 300 x 300
        QTRY_VERIFY(sum->text().contains("5780"));
    }

    // Pasted texts are tested as a whole; keys that no frame text has don't come in.
    void paste_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("left");
        addRow("a letter", "1-5x", "不支持输入英文，请检查！", "1-5");
        addRow("a form", "1--", "输入的字符格式不正确，请检查！", "1-5");
        addRow("right to left", QString(QChar(0x202e)) + "1-9", "输入的字符格式不正确，请检查！", "1-5");
        addRow("long", QString(10000, '7'), "输入的字符格式不正确，请检查！", "1-5");
        addRow("good", "3，-4--1", "", "3，-4--1");
    }
    void paste()
    {
        QFETCH(QString, text);
        open(put("a.max"), MaxScene);
        line("frames")->selectAll();
        QGuiApplication::clipboard()->setText(text);
        QTest::keySequence(line("frames"), QKeySequence::Paste);
        QTEST(message(), "message");
        QTEST(line("frames")->text(), "left");
        if (!message().isEmpty())
            QVERIFY(answer("确定"));
        QTest::keyClicks(line("frames"), "ab");
        QVERIFY(!line("frames")->text().contains('a'));
    }

    // Names as long and as odd as a file can hold: shown, searched, saved as they came; and no wider than a screen.
    void oddNames()
    {
        const QString odd = QString(QChar(0x202e)) + QString::fromUtf8("مشهد<b>&amp;") + QString(10000, 'w');
        QJsonObject layer{{"layer", odd}, {"width", "8"}, {"height", 6.0}, {"frames", "1"}, {"cameras", odd}};
        const QString rdata =
            QJsonDocument(QJsonObject{{"modelParameters", QJsonObject{{"layers", QJsonArray{layer, 7, layer}}}}}).toJson();
        open(put("a.ma"), rdata);
        QVERIFY2(m_dialog->width() <= 960, qPrintable(QString::number(m_dialog->width())));
        clickTick(list("outputs"), 1); // the 7
        QTest::keyClicks(list("outputs")->page()->search(), "&amp;");
        QTRY_COMPARE(list("outputs")->page()->view()->model()->rowCount(), 2);
        QCOMPARE(save(), QString());
        const QJsonArray saved = this->rdata()["modelParameters"].toArray();
        QVERIFY(saved.size() == 2 && saved.first().toObject()["layer"] == odd &&
                saved.first().toObject()["cameras"].toArray().first() == odd);
    }

    // The page opens the dialog of the row's program, and the warnings lead there.
    void fromThePage()
    {
        Resolve page;
        db_resolve res = scene(1, 103, "/a.max");
        page.paraSet(scene(2, 103, "/a.ma")); // overtaken by the next click
        page.paraSet(res);
        QVERIFY(!topLevel<ParameterDialog>()); // it's read elsewhere
        QTRY_COMPARE(topLevel<ParameterDialog>() ? topLevel<ParameterDialog>()->objectName() : QString(), QString("Max"));
        topLevel<ParameterDialog>()->close();
        QTRY_VERIFY(!topLevel<ParameterDialog>());
        QScopedPointer<Resolve> gone(new Resolve);
        gone->paraSet(res);
        gone.reset();
        Background::finish();
        QCoreApplication::processEvents();
        QVERIFY(!topLevel<ParameterDialog>());
        page.seeWarn(res);
        QVERIFY(press(topLevel<ResolveWarn>(), "参数设置"));
        QCoreApplication::processEvents();
        QVERIFY(m_queue->calls.contains("para 1"));
        page.seeWarn(res);
        QVERIFY(press(topLevel<ResolveWarn>(), "本批次文件都忽略警告继续提交"));
        QCoreApplication::processEvents();
        QVERIFY(m_queue->calls.contains("commit 1 1"));
    }
};

VN_TEST(TestRender)
#include "tst_render.moc"
