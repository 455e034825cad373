// Projects and environments by hand: the real dialogs against the living farm, what they leave there, and what they say
// when it refuses, is silent, answers late or nonsense, or another client was quicker.
#include "common/CommonConfig.h"
#include "common/facts/SceneState.h"
#include "common/Session.h"
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "FarmRig.h"
#include "resolve/ResolveHandler.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/EnvPre.h"
#include "view/MsgCenter.h"
#include "view/render/ParameterDialog.h"
#include "view/Resolve.h"
#include "view/set/EnvBlock.h"
#include "view/set/EnvNew.h"
#include "view/set/EnvRules.h"
#include "view/set/EnvSet.h"
#include "view/set/ProjectNew.h"
#include "view/set/ProjectSet.h"
#include <memory>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QListWidget>
#include <QToolButton>

namespace
{
QJsonDocument json(const QByteArray &text) { return QJsonDocument::fromJson(text); }

bool pick(QWidget *window, const char *field, const QString &text)
{
    auto *box = window->findChild<QComboBox *>(field);
    const int at = box ? box->findText(text) : -1;
    if (at < 0)
        return false;
    box->setCurrentIndex(at);
    return true;
}
QString shown(QWidget *window, const char *field) { return window->findChild<QComboBox *>(field)->currentText(); }

// Marks a plug-in and presses the arrow.
bool move(EnvNew *dialog, const QString &text, bool right)
{
    auto *list = dialog->findChild<QListWidget *>(right ? "offered" : "chosen");
    const auto found = list->findItems(text, Qt::MatchExactly);
    if (found.isEmpty())
        return false;
    list->setCurrentItem(found.first());
    QTest::mouseClick(dialog->findChild<QToolButton *>(right ? "toR" : "toL"), Qt::LeftButton);
    return true;
}
QStringList texts(const QListWidget *list)
{
    QStringList out;
    for (int i = 0; i < list->count(); ++i)
        out << list->item(i)->text();
    return out;
}
bool act(TablePage *table, const QString &row, const char *id)
{
    const QModelIndexList found =
        table->view()->model()->match(table->view()->model()->index(0, 0), Qt::DisplayRole, row, 1, Qt::MatchStartsWith);
    QModelIndex index = found.value(0);
    for (int column = 0; !index.isValid() && column < table->view()->model()->columnCount(); ++column)
        for (int i = 0; i < table->view()->model()->rowCount() && !index.isValid(); ++i)
            if (table->view()->model()->index(i, column).data().toString().startsWith(row))
                index = table->view()->model()->index(i, column);
    if (!index.isValid())
        return false;
    table->acts()->run(QLatin1String(id), {table->view()->records()->keyOf(index)});
    return true;
}
} // namespace

class TestProjects : public QObject
{
    Q_OBJECT
    std::unique_ptr<FarmRig> m_rig;
    std::unique_ptr<QWidget> m_window;

    template <class Dialog> Dialog *opened(Dialog *dialog)
    {
        dialog->open();
        return dialog;
    }

private slots:
    void init()
    {
        account(60);
        CommonConfig::clear();
        m_rig = std::make_unique<FarmRig>();
        QVERIFY(m_rig->login());
        m_window = std::make_unique<QWidget>();
        m_window->resize(960, 540);
        m_window->show();
    }
    void cleanup()
    {
        m_window.reset();
        QTRY_VERIFY(!topLevel<BaseWidget>());
        QCOMPARE(m_rig->farm.violations(), QStringList());
        m_rig.reset();
        Background::finish();
    }

    void names_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("fault");
        const QString empty = "项目名不能为空！", large = "请输入少于20个汉字或40个英文字符！",
                      odd = "项目名称只能由中文、字母和数字组成！";
        addRow("empty", QString(), empty);
        addRow("40 letters", QString(40, 'a'), QString());
        addRow("41 letters", QString(41, 'a'), large);
        addRow("20 Chinese", QString(20, QChar(0x5c71)), QString());
        addRow("21 Chinese", QString(21, QChar(0x5c71)), large);
        addRow("10,000", QString(10000, 'a'), large);
        addRow("mixed", QString("山谷7a"), QString());
        addRow("bracket", QString("《a"), odd);
        addRow("blank", QString("a b"), odd);
        addRow("line end", QString("a\n"), odd);
        addRow("right to left", QString(QChar(0x202e)) + "abc", odd);
    }
    void names()
    {
        QFETCH(QString, name);
        QTEST(EnvRules::nameFault(name), "fault");
    }

    void renderers_data()
    {
        QTest::addColumn<int>("software");
        QTest::addColumn<QString>("plugin");
        QTest::addColumn<bool>("good");
        addRow("none of Maya", 1, QString("yeti"), false);
        addRow("Maya, any case", 1, QString("MtoA"), true);
        addRow("Maya's own vray", 1, QString("vray"), false);
        addRow("Max", 3, QString("vray"), true);
        addRow("Max, its case counts", 3, QString("coronarender"), false);
        addRow("Houdini needs none", 4, QString("yeti"), true);
    }
    void renderers()
    {
        QFETCH(int, software);
        QFETCH(QString, plugin);
        QTEST(EnvRules::rendererChosen(software, {QJsonObject{{"name", plugin}}}), "good");
    }
    void listsOfAnyShape()
    {
        QCOMPARE(EnvRules::versions(json(R"({"rows":[{"versions":["a","b"]},{"software":"c"},"d","a",7,null]})")),
                 (QStringList{"a", "b", "c", "d", "7"}));
        QCOMPARE(
            EnvRules::plugins(json(R"({"data":{"rows":[{"name":"x","versions":[1,"2"]},{"name":"y","version":3},{"version":4}]}})")).size(),
            3);
        for (const char *odd : {"7", "{}", "[[]]", R"({"rows":{"rows":"x"}})", "<html>"})
            QVERIFY(EnvRules::versions(json(odd)).isEmpty() && EnvRules::plugins(json(odd)).isEmpty());
        const QJsonArray old{QJsonObject{{"name", "mtoa"}, {"version", "1"}}, QJsonObject{{"name", "yeti"}, {"version", "1"}}};
        QCOMPARE(EnvRules::pluginKey(EnvRules::with(old, {{"name", "mtoa"}, {"version", "2"}}).last().toObject()), QString("mtoa_2"));
        QCOMPARE(EnvRules::with(old, {{"name", "mtoa"}, {"version", "2"}}).size(), 2);
    }

    // From the drop to the row: a new project, an environment in it, its paths, and all of it chosen for the scene.
    void theWholeRoad()
    {
        ResolveSpy queue;
        QTemporaryDir work;
        auto *dialog = opened(new EnvPre(1, {"/p/a.ma"}, 5, m_window.get()));
        QTRY_VERIFY(buttonOf(dialog, "开始解析")->isEnabled());
        QVERIFY(press(dialog, "新建项目"));
        auto *fresh = topLevel<ProjectNew>();
        QVERIFY(type(fresh, "name", "val ley"));
        QVERIFY(press(fresh, "创建"));
        QCOMPARE(fresh->findChild<QLabel *>("fieldNote")->text(), QString("项目名称只能由中文、字母和数字组成！"));
        QVERIFY(type(fresh, "name", "默认项目")); // the farm has one
        QVERIFY(press(fresh, "创建"));
        QTRY_COMPARE(errorOf(fresh), QString("创建失败：项目已存在 (1050002)"));
        QCOMPARE(m_rig->count(10500), 1);
        QVERIFY(type(fresh, "name", "valley"));
        QVERIFY(errorOf(fresh).isEmpty());
        QPointer<ProjectNew> gone(fresh);
        QTest::keyClick(fresh, Qt::Key_Return);
        QTRY_VERIFY(!gone);
        QTRY_COMPARE(shown(dialog, "project"), QString("valley"));
        const int id = m_rig->farm.projects().last().toObject()["id"].toInt();
        QCOMPARE(UserInfo::setting(Settings::LastProject).toString(), QString::number(id));

        QTRY_VERIFY(buttonOf(dialog, "编辑环境")->isEnabled());
        QVERIFY(press(dialog, "编辑环境"));
        auto *set = topLevel<EnvSet>();
        auto *rows = set->findChild<EnvBlock *>()->table();
        QTRY_COMPARE(rows->view()->model()->rowCount(), 1);
        QVERIFY(press(set, "+ 添加配置"));
        auto *env = topLevel<EnvNew>();
        QTRY_COMPARE(env->findChild<QListWidget *>("offered")->count(), 5);
        QVERIFY(pick(env, "software", "maya2016"));
        QTRY_VERIFY(!env->busy());
        QVERIFY(move(env, "yeti 2.2.6", true));
        QVERIFY(press(env, "保存"));
        QTRY_COMPARE(message(), QString("未选择渲染器"));
        QVERIFY(answer("返回"));
        QCOMPARE(m_rig->count(10504), 0);
        QVERIFY(move(env, "mtoa 3.1.0", true));
        QVERIFY(move(env, "mtoa 1.4.2", true)); // in place of the other version
        QVERIFY(move(env, "yeti 2.2.6", false));
        QCOMPARE(texts(env->findChild<QListWidget *>("chosen")), QStringList{"mtoa 1.4.2"});
        QTest::keyClick(env->findChild<QCheckBox *>("startGpu"), Qt::Key_Space);
        QVERIFY(press(env, "保存"));
        QTRY_COMPARE(rows->view()->model()->rowCount(), 2);
        QVERIFY(act(rows, "maya2016 (GPU)", "default"));
        const auto combo = [&](int at) { return m_rig->farm.projectConfig(id, 1)["combos"].toArray().at(at).toObject(); };
        QTRY_COMPARE(combo(1)["isDefault"].toInt(), 1);
        QCOMPARE(combo(0)["isDefault"].toInt(), 0);
        QVERIFY(act(rows, "maya2018", "del"));
        QTRY_COMPARE(message(), QString("确定删除此环境配置吗？"));
        QVERIFY(answer("删除"));
        QTRY_COMPARE(rows->view()->model()->rowCount(), 1);

        QVERIFY(type(set, "workPath", work.path()));
        QVERIFY(type(set, "outputPath", "/nowhere/at/all"));
        QVERIFY(press(set, "保存路径"));
        QTRY_VERIFY(!set->findChildren<QLabel *>("fieldNote").at(1)->isHidden());
        QCOMPARE(m_rig->count(10509), 0);
        QVERIFY(press(set, "Houdini")); // typed and not kept
        QTRY_COMPARE(message(), QString("路径尚未保存，确定放弃修改吗？"));
        QVERIFY(answer("返回"));
        QVERIFY(buttonOf(set, "Maya")->isChecked());
        QVERIFY(type(set, "outputPath", work.path()));
        set->findChild<QCheckBox *>("framesPerSubTaskNone")->click();
        QVERIFY(type(set, "framesPerSubTask", "4"));
        QVERIFY(press(set, "保存路径"));
        QTRY_COMPARE(m_rig->farm.projectConfig(id, 1)["outputPath"].toString(), work.path());
        QCOMPARE(m_rig->farm.projectConfig(id, 1)["extraConfig"].toObject()["framesPerSubTask"].toInt(), 4);
        QVERIFY(press(set, "关闭"));

        QTRY_COMPARE(shown(dialog, "env"), QString("maya2016 + mtoa 1.4.2 (GPU)"));
        QTRY_COMPARE(dialog->findChild<QLineEdit *>("mayaProject")->text(), work.path());
        QTRY_VERIFY(buttonOf(dialog, "开始解析")->isEnabled());
        work.remove(); // gone between the choice and the press
        QVERIFY(press(dialog, "开始解析"));
        QTRY_COMPARE(errorOf(dialog), QString("项目路径不存在"));
        QVERIFY(type(dialog, "mayaProject", m_rig->folder.path()));
        QPointer<EnvPre> open(dialog);
        QVERIFY(press(dialog, "开始解析"));
        QTRY_VERIFY(!open);
        QTRY_COMPARE(queue.added.size(), 1);
        QCOMPARE(queue.added[0].projectId, id);
        QVERIFY(queue.added[0].rset.contains("MAYA_PROJECT=" + m_rig->folder.path()) && queue.added[0].rset.contains("\"startGpu\":1"));
    }

    void arrears()
    {
        EnvChoice::Chosen chosen;
        chosen.softwareType = 8;
        chosen.project = chosen.env = chosen.machine = {{"id", 1}};
        chosen.resultDir = "/r";
        QCOMPARE(EnvChoice::refusal(chosen), QString("余额不足，请充值"));
        chosen.allowArrears = EnvChoice::allowsArrears({{"allowArrears", "1"}});
        QCOMPARE(EnvChoice::refusal(chosen), QString());
        QVERIFY(!EnvChoice::allowsArrears({{"allowArrears", 2}}));
    }

    // Thousands are found, marked and deleted; one that the server keeps stands, with the reason.
    void manyProjects()
    {
        QStringList names;
        for (int i = 0; i < 5000; ++i)
            names << QString("shot%1").arg(i);
        m_rig->farm.addProjects(names);
        ProjectSet page(m_window.get());
        page.resize(900, 500);
        page.show();
        auto *model = page.table()->view()->model();
        QTRY_COMPARE(model->rowCount(), 5001);
        page.table()->search()->setFocus();
        QTest::keyClicks(page.table()->search(), "SHOT499");
        QTRY_COMPARE(model->rowCount(), 11);
        page.table()->view()->select(page.table()->view()->records()->keys());
        UserInfo::setSetting(Settings::LastProject, page.table()->view()->selected().first());
        page.table()->acts()->action("del")->trigger();
        QTRY_COMPARE(message(), QString("确定删除这 11 个项目吗？"));
        m_rig->farm.faults().set("refuse.10501", "1050102@1");
        QVERIFY(answer("删除"));
        QTRY_COMPARE(model->rowCount(), 1);
        QCOMPARE(errorOf(&page), QString("删除失败：shot499 有订单未完成 (1050102)"));
        QCOMPARE(m_rig->farm.projects().size(), 4991);
        page.table()->search()->clear();
        QTRY_COMPARE(model->rowCount(), 4991);
        QVERIFY(act(page.table(), "默认项目", "del"));
        QTRY_COMPARE(message(), QString("确定删除此项目吗？"));
        QVERIFY(answer("删除"));
        QTRY_COMPARE(errorOf(&page), QString("删除失败：默认项目 无权限删除 (1050104)"));
        auto *dialog = opened(new EnvPre(8, {"/p/a.tgd"}, 5, m_window.get()));
        QTRY_COMPARE(dialog->findChild<QComboBox *>("project")->count(), 4991);
        QTRY_VERIFY(buttonOf(dialog, "开始解析")->isEnabled());
    }

    // The same road and on to the farm's order without a mouse: every step is a key on what has the focus.
    void theRoadByKeys()
    {
        const auto key = [](Qt::Key key, Qt::KeyboardModifiers with = {}) { QTest::keyClick(QApplication::focusWidget(), key, with); };
        const auto tabTo = [&](QWidget *there) { // no further than once around
            for (int i = 0; i < 60 && !there->hasFocus(); ++i)
                key(Qt::Key_Tab);
            return there->hasFocus();
        };
        const auto row = [] { return ResolveDAO::instance()->readAll().value(0); };
        QVERIFY(ResolveDAO::instance()->open(UserInfo::userDir()) && UploadDAO::instance()->open(UserInfo::userDir()));
        Session::setLive(true);
        ResolveHandler queue;
        queue.setTimes({10, 10, 10000, 10000});
        queue.startScan();
        QFile scene(m_rig->folder.filePath("shot.tgd"));
        QVERIFY(scene.open(QFile::WriteOnly) &&
                scene.write("<terragen><render name=\"R\" master=\"1\" camera=\"/C\" image_width=\"64\" image_height=\"32\" "
                            "sequence_first=\"1\" sequence_last=\"3\" sequence_step=\"1\"/><camera name=\"C\"/></terragen>"));
        scene.close();
        const int valley = m_rig->ask(10500, {{"name", "valley"}})["id"].toInt();
        Resolve page;
        page.show();
        activate(&page);
        page.backEnvPre(8, {scene.fileName()}, {});
        QTRY_VERIFY(topLevel<EnvPre>() && topLevel<EnvPre>()->isActiveWindow() && !topLevel<EnvPre>()->busy());
        QVERIFY(tabTo(topLevel<EnvPre>()->findChild<QWidget *>("project")));
        key(Qt::Key_Down);
        QTRY_VERIFY(!topLevel<EnvPre>()->busy());
        QVERIFY(tabTo(topLevel<EnvPre>()->findChild<QWidget *>("machine")));
        key(Qt::Key_Down);
        key(Qt::Key_Return);
        const auto shown = [&] { return page.model()->record(QString::number(row().rkey)); };
        QTRY_VERIFY(!topLevel<EnvPre>() && shown() && shown()->state == SceneState::Clean);
        activate(&page);
        QVERIFY(tabTo(page.table()->view()));
        key(Qt::Key_A, Qt::ControlModifier);
        key(Qt::Key_Return);
        QTRY_VERIFY(topLevel<ParameterDialog>() && topLevel<ParameterDialog>()->isActiveWindow());
        QVERIFY(tabTo(topLevel<ParameterDialog>()->findChild<QWidget *>("frames")));
        key(Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), "4-9");
        key(Qt::Key_Return);
        QTRY_VERIFY(m_rig->farm.orders().size() == 1 && m_rig->farm.orders().first().ordered);
        const QJsonObject body = m_rig->farm.orders().first().body;
        QCOMPARE(body["scene"].toString(), scene.fileName());
        QCOMPARE(body["machineModel"].toString(), QString("local-gpu"));
        QCOMPARE(body["modelParameters"]["cameras"][0]["frames"].toString(), QString("4-9:1"));
        QCOMPARE(row().projectId, valley);
        Session::setLive(false);
    }

    // Another client deletes the project while its dialogs are open: each says so, none sends into the void, and the
    // list comes back without it.
    void deletedElsewhere()
    {
        m_rig->farm.addProjects({"brief"});
        const int id = m_rig->farm.projects().last().toObject()["id"].toInt();
        UserInfo::setSetting(Settings::LastProject, QString::number(id));
        auto *dialog = opened(new EnvPre(1, {"/p/a.ma"}, 5, m_window.get()));
        QTRY_COMPARE(shown(dialog, "project"), QString("brief"));
        QTRY_VERIFY(buttonOf(dialog, "开始解析")->isEnabled());
        QVERIFY(press(dialog, "编辑环境"));
        auto *set = topLevel<EnvSet>();
        auto *rows = set->findChild<EnvBlock *>()->table();
        QTRY_COMPARE(rows->view()->model()->rowCount(), 1);
        QVERIFY(act(rows, "maya2018", "edit"));
        auto *env = topLevel<EnvNew>();
        QTRY_COMPARE(texts(env->findChild<QListWidget *>("chosen")), QStringList{"mtoa 3.1.0"});
        m_rig->farm.removeProject(id);
        QTRY_VERIFY(buttonOf(env, "保存")->isEnabled());
        QVERIFY(press(env, "保存"));
        QTRY_COMPARE(errorOf(env), QString("修改失败：服务器拒绝了请求 (1050801)"));
        env->close();
        QVERIFY(type(set, "workPath", m_rig->folder.path()));
        QVERIFY(press(set, "保存路径"));
        QTRY_COMPARE(errorOf(set), QString("修改失败：服务器拒绝了请求 (1050901)"));
        set->close();
        QVERIFY(pick(dialog, "machine", "本机GPU"));
        dialog->refreshEnvPre(id);
        QTRY_COMPARE(shown(dialog, "project"), QString("默认项目"));
        QTRY_VERIFY(buttonOf(dialog, "开始解析")->isEnabled());
        QCOMPARE(shown(dialog, "machine"), QString("本机GPU")); // what was chosen here stays
    }

    void refusals_data()
    {
        QTest::addColumn<int>("cmd");
        for (int cmd : {10502, 10506, 11102, 10600, 10601, 10311})
            QTest::newRow(qPrintable(QString::number(cmd))) << cmd;
    }
    // Every list that can't be had: the code stands in the dialog, nothing can be sent, "重试" brings it.
    void refusals()
    {
        QFETCH(int, cmd);
        m_rig->refuse(cmd, QString::number(cmd * 100 + 9));
        BaseWidget *dialog = nullptr;
        if (cmd == 10600 || cmd == 10601)
            dialog = opened(new EnvNew(1, 1, {}, m_window.get()));
        else if (cmd == 10311)
            dialog = opened(new MsgCenter(m_window.get()));
        else
            dialog = opened(new EnvPre(8, {"/p/a.tgd"}, 5, m_window.get()));
        QTRY_VERIFY(errorOf(dialog).contains(QString::number(cmd * 100 + 9)));
        for (const char *ok : {"开始解析"})
            QVERIFY(!press(dialog, ok));
        m_rig->refuse(cmd, "");
        QVERIFY(press(dialog, "重试"));
        QTRY_VERIFY(errorOf(dialog).isEmpty());
        if (QPushButton *ok = buttonOf(dialog, "开始解析"))
            QTRY_VERIFY(ok->isEnabled());
    }

    // A farm that is silent: after ten seconds each says so, and one press later all is there. Answers that come after
    // the dialog has closed touch nothing.
    void silence()
    {
        for (const char *fault : {"ignore.10502", "ignore.10506", "ignore.10600", "ignore.10311"})
            m_rig->farm.faults().set(fault, "1");
        auto *pre = opened(new EnvPre(8, {"/p/a.tgd"}, 5, m_window.get()));
        auto *set = opened(new EnvSet(1, "默认项目", 8, m_window.get()));
        auto *env = opened(new EnvNew(1, 8, {}, m_window.get()));
        auto *notices = opened(new MsgCenter(m_window.get()));
        ProjectSet page(m_window.get());
        page.show();
        const QString words = "服务器没有响应，请检查网络后重试";
        const QList<QWidget *> all{pre, set, env, notices, &page};
        for (QWidget *one : all)
            QTRY_COMPARE(errorOf(one), words);
        m_rig->farm.faults().clear();
        for (QWidget *one : all) {
            QVERIFY(press(one, "重试"));
            QTRY_VERIFY(errorOf(one).isEmpty());
        }
        QTRY_VERIFY(buttonOf(pre, "开始解析")->isEnabled());
        QTRY_COMPARE(set->findChild<EnvBlock *>()->table()->view()->model()->rowCount(), 1);
        QTRY_COMPARE(shown(env, "software"), QString("Terragen 4.5"));
        QTRY_COMPARE(page.table()->view()->model()->rowCount(), 1);
        QTRY_COMPARE(notices->table()->view()->model()->rowCount(), 1);

        m_rig->farm.faults().set("delay-reply.10502", "150");
        m_rig->farm.faults().set("delay-reply.10504", "150");
        const int before = m_rig->count(10502);
        pre->refreshEnvPre(1);
        QVERIFY(press(env, "保存"));
        QTRY_VERIFY(m_rig->count(10502) > before && m_rig->count(10504) == 1);
        for (BaseWidget *one : {static_cast<BaseWidget *>(pre), static_cast<BaseWidget *>(env)})
            one->close();
        m_rig->farm.faults().set("delay-reply.10302", "300"); // both have come before this one
        QVERIFY(!m_rig->ask(10302, {}).isEmpty());
        QCOMPARE(m_rig->farm.projectConfig(1, 8)["combos"].toArray().size(), 2);
    }
    void nonsense()
    {
        for (const char *fault : {"bad-json.10502", "bad-json.10600"})
            m_rig->farm.faults().set(fault, "1");
        auto *pre = opened(new EnvPre(8, {"/p/a.tgd"}, 5, m_window.get()));
        QTRY_VERIFY(buttonOf(pre, "开始解析")->isEnabled());
        QVERIFY(press(pre, "开始解析"));
        QTRY_COMPARE(errorOf(pre), QString("没有可供选择的项目或机型"));
        auto *env = opened(new EnvNew(1, 8, {}, m_window.get()));
        QTRY_COMPARE(errorOf(env), QString("服务器没有提供此软件的版本"));
        QVERIFY(press(env, "保存")); // held back by the form
        QCOMPARE(m_rig->count(10504), 0);
    }
    // Read marks and removals are the farm's.
    void notices()
    {
        m_rig->farm.addNotice("one");
        m_rig->farm.addNotice("two");
        auto *center = opened(new MsgCenter(m_window.get()));
        RecordView *view = center->table()->view();
        QTRY_COMPARE(view->model()->rowCount(), 3);
        const QStringList keys = view->records()->keys();
        view->select({keys[0]});
        center->table()->acts()->action("ignore")->trigger();
        const auto rows = [&] { return m_rig->ask(10311, {{"page", 0}})["rows"].toArray(); };
        QTRY_COMPARE(rows().at(0).toObject()["status"].toInt(), 1);
        view->select({keys[0], keys[1]});
        center->table()->acts()->action("del")->trigger();
        QTRY_COMPARE(view->model()->rowCount(), 1);
        QCOMPARE(rows().size(), 1);
    }
};

VN_TEST(TestProjects)
#include "tst_projects.moc"
