// Projects, environments and machines: what of the server's lists is chosen, tested, remembered and stored in the row.
#include "common/CommonConfig.h"
#include "common/ui/Background.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/EnvPre.h"
#include "ViewRig.h"
#include <QComboBox>
#include <QLineEdit>

using namespace EnvChoice;

namespace
{
const QJsonObject maya{
    {"software", "maya2016"}, {"plugins", QJsonArray{QJsonObject{{"name", "mtoa"}, {"version", "1.4"}}}}, {"startGpu", 1}, {"id", 12}};
const QJsonObject plain{{"software", "maya2018"}, {"plugins", QJsonArray()}, {"startGpu", 0}, {"id", 13}, {"isDefault", 1}};
const QJsonObject machine{{"name", "快速"}, {"machineModel", "fast-cpu"}, {"clientId", 5}, {"farmId", 3}, {"envVars", QJsonArray{"A=1"}}};
} // namespace

class TestEnv : public QObject
{
    Q_OBJECT
private:
    static Chosen chosen()
    {
        Chosen c;
        c.softwareType = 1;
        c.scenes = QStringList{"/p/a b.ma", "/p/c.mb"};
        c.project = {{"id", 8}, {"name", "val_ley"}};
        c.config = {{"projectId", 8}, {"outputPath", "/out"}, {"combos", QJsonArray{maya, plain}}};
        c.env = maya;
        c.machine = machine;
        c.mayaProject = "/p";
        c.resultDir = "/results";
        c.balance = 3;
        return c;
    }
    static QJsonDocument json(const QByteArray &text) { return QJsonDocument::fromJson(text); }

private slots:

    // Servers nest their lists in several ways; what is remembered counts while it's there.
    void replies()
    {
        for (const char *reply : {R"({"projects":[{"id":1}]})", R"([{"id":1}])", R"({"data":{"projects":[{"id":1}]}})"})
            QCOMPARE(projects(json(reply)).size(), 1);
        for (const char *reply : {R"({"projects":7})", "<html>"})
            QVERIFY(projects(json(reply)).isEmpty());
        const QByteArray combos = R"({"combos":[{"software":"maya2016"}]})";
        for (const QByteArray &reply :
             {combos, R"({"projectSoftwareConfig":)" + combos + '}', R"({"projectSoftwareConfig":[)" + combos + "]}",
              R"({"data":{"projectSoftwareConfig":)" + combos + "}}"})
            QCOMPARE(config(json(reply)).value("combos")[0]["software"].toString(), QString("maya2016"));
        const auto chosen = [](const QString &remembered) { return preferred({maya, plain}, remembered, environmentKey); };
        QVERIFY(chosen("") == 1 && chosen("12") == 0 && chosen("99") == 1 && preferred({}, "12", environmentKey) == -1);
    }

    // The tests on accepting, in their order: each is the first to fail when it and all after it fail.
    void refusals_data()
    {
        columns<int, QString>("from", "text");
        addRow("project or machine", 0, "没有可供选择的项目或机型");
        addRow("result path", 1, "没有检测到出图路径，请去项目管理设置");
        addRow("environment", 2, "请选择环境");
        addRow("Maya project", 3, "项目路径不存在");
        addRow("balance", 4, "余额不足，请充值");
        addRow("all good", 5, "");
    }
    void refusals()
    {
        QFETCH(int, from);
        Chosen c = chosen();
        c.resultRoot = ProjectPath;
        const QList<std::function<void()>> faults{[&] { c.machine = {}; }, [&] { c.config.remove("outputPath"); }, [&] { c.env = {}; },
                                                  [&] { c.mayaProjectExists = false; }, [&] { c.balance = 0; }};
        for (int i = from; i < faults.size(); ++i)
            faults[i]();
        QTEST(refusal(c), "text");
    }
    void onlyTheProjectsOwnRootWantsItsPath()
    {
        Chosen c = chosen();
        c.config = {};
        QCOMPARE(refusal(c), QString());
        c.resultRoot = SceneFolder;
        c.resultDir.clear();
        QCOMPARE(refusal(c), QString());
        c.resultRoot = Personal;
        QVERIFY(!refusal(c).isEmpty());
        c.softwareType = 8; // a Maya folder is nobody else's business
        c.resultDir = "/r";
        c.mayaProjectExists = false;
        QCOMPARE(refusal(c), QString());
    }

    void storedRow()
    {
        const QList<db_resolve> list = rows(chosen(), 1000);
        QCOMPARE(list.size(), 2);
        QCOMPARE(list[1].rkey, 1001LL);
        QCOMPARE(list[1].pri, 1001LL);
        QCOMPARE(list[0].state, 100);
        QCOMPARE(list[0].projectId, 8);
        QCOMPARE(list[0].project, QString("val_ley"));
        QCOMPARE(list[0].lpath, QString("/p/a b.ma"));
        const QJsonObject rset = QJsonDocument::fromJson(list[0].rset.toUtf8()).object();
        QCOMPARE(rset["softwareType"].toInt(), 1);
        QCOMPARE(rset["machineModel"].toString(), QString("fast-cpu"));
        QCOMPARE(rset["clientId"].toInt(), 5);
        QCOMPARE(rset["farmId"].toInt(), 3);
        QCOMPARE(rset["startGpu"].toInt(), 1);
        QCOMPARE(rset["env"].toObject(), maya);
        QCOMPARE(rset["clientResultRootPath"].toString(), QString("/p"));
        QCOMPARE(rset["sceneName"].toString(), QString("a b.ma"));
        QCOMPARE(rset["mayaProject"].toString(), QString("/p"));
        QCOMPARE(rset["machine"].toObject()["envVars"].toArray(), (QJsonArray{"A=1", "MAYA_PROJECT=/p"}));
        QVERIFY(rset["projectConfig"].toObject().contains("outputPath") && !rset["projectConfig"].toObject().contains("combos"));
        Chosen other = chosen();
        other.softwareType = 8;
        other.machine.remove("machineModel");
        other.machine.remove("farmId");
        const QJsonObject tgd = QJsonDocument::fromJson(EnvChoice::rset(other, "/p/a.tgd").toUtf8()).object();
        QVERIFY(!tgd.contains("mayaProject") && !tgd.contains("farmId"));
        QCOMPARE(tgd["machineModel"].toString(), QString("快速"));
    }

    // The dialog against a server: questions in order, memory, answers for another project dropped.
    void dialog()
    {
        account(54);
        BusinessPeer server;
        QVERIFY(server.takeClient());
        server.answer(10502, 1050200,
                      {{"projects", QJsonArray{QJsonObject{{"id", 1}, {"name", "one"}}, QJsonObject{{"id", 2}, {"name", "two"}}}}});
        QList<BusinessPeer::Request> held;
        server.answer(10506, [&](const BusinessPeer::Request &request) {
            if (request.body["projectId"].toInt() == 1) {
                held << request;
                return BusinessPeer::Reply{0, {}, true};
            }
            return BusinessPeer::Reply{1050600, {{"combos", QJsonArray{QJsonObject{{"software", "Terragen 4"}, {"id", 21}}}}}};
        });
        server.answer(11102, 1110200, {{"machines", QJsonArray{QJsonObject{{"name", "slow"}}, machine}}});
        UserInfo::setUserValue("EnvPre", "machine", "快速");
        ResolveSpy queue;
        auto *dialog = new EnvPre(8, {"/p/a.tgd"}, 5, nullptr);
        dialog->open();
        const QList<QComboBox *> boxes = dialog->findChildren<QComboBox *>();
        QCOMPARE(boxes.size(), 3);
        QTRY_COMPARE(boxes[0]->count(), 2);
        QVERIFY(!buttonOf(dialog, "开始解析")->isEnabled());
        QTRY_COMPARE(server.last(10506), (QJsonObject{{"projectId", 1}, {"software_type", 8}}));
        QCOMPARE(server.last(11102), (QJsonObject{{"projectId", 1}}));
        boxes[0]->setCurrentIndex(1);
        QTRY_COMPARE(boxes[1]->currentText(), QString("Terragen 4"));
        QTRY_COMPARE(boxes[2]->currentText(), QString("快速"));
        server.reply(held.first(), 1050600, {{"combos", QJsonArray{QJsonObject{{"software", "late"}}}}});
        QTRY_VERIFY(buttonOf(dialog, "开始解析")->isEnabled());
        bool later = false; // answers arrive in their order
        server.answer(10311, 1031100);
        NetTcp::instance()->nvds(
            103, 10311, QJsonObject(), [&later](int, const QJsonDocument &) { later = true; }, dialog);
        QTRY_VERIFY(later);
        QCOMPARE(boxes[1]->currentText(), QString("Terragen 4"));
        QPointer<EnvPre> alive(dialog);
        QVERIFY(press(dialog, "开始解析"));
        QTRY_COMPARE(queue.added.size(), 1);
        QCOMPARE(queue.added[0].projectId, 2);
        QTRY_VERIFY(!alive);
        Background::finish();
        QCOMPARE(UserInfo::userValue("EnvPre", "defaultProject").toString(), QString("2"));
        QCOMPARE(UserInfo::userValue("EnvPre", "defaultEnvId_8").toString(), QString("21"));
        QCOMPARE(UserInfo::userValue("EnvPre", "machine").toString(), QString("快速"));
        NetTcp::instance()->setLogin(false);
    }
    // A plug-in's scene needs no analysis: it goes the way of a clone, in the project that was chosen there.
    void finishedScene()
    {
        account(55);
        BusinessPeer server;
        QVERIFY(server.takeClient());
        server.answer(10502, 1050200,
                      {{"projects", QJsonArray{QJsonObject{{"name", "a"}, {"id", 1}}, QJsonObject{{"name", "b"}, {"id", 3}}}}});
        server.answer(10506, 1050600, {{"combos", QJsonArray{QJsonObject{{"software", "SketchUp 2018"}, {"id", 21}}}}});
        server.answer(11102, 1110200, {{"machines", QJsonArray{QJsonObject{{"name", "m"}}}}});
        QScopedPointer<ResolveSpy> queue;
        QStringList told; // to who called
        auto *dialog = new EnvPre(6, {"/m/a.skp"}, 5, nullptr);
        dialog->setCaller([&told](const QString &text) { told << text; });
        dialog->setFinished({{"projectId", 3}, {"sceneName", "p"}, {"files", QJsonArray{"/m/x.png"}}, {"modelParameters", QJsonObject()}});
        dialog->open();
        QTRY_VERIFY(buttonOf(dialog, "开始解析")->isEnabled());
        QVERIFY(press(dialog, "开始解析")); // nobody takes it: the dialog stays and says so
        QVERIFY(dialog->isVisible() && told == QStringList{"提交失败，请联系客服人员！"});
        QCOMPARE(dialog->findChild<QLabel *>("errorLine")->text(), QString("解析队列尚未就绪，请稍后重试"));
        queue.reset(new ResolveSpy);
        QVERIFY(press(dialog, "开始解析"));
        QCOMPARE(told.value(1), QString("提交成功，请致客户端查看！"));
        QTRY_COMPARE(queue->saved.size(), 1);
        const db_resolve row = queue->saved[0];
        QCOMPARE(QStringLiteral("%1 %2 %3").arg(row.projectId).arg(row.rkey).arg(row.rfile), QString(R"(3 0 "files":["/m/x.png"])"));
        QCOMPARE(QJsonDocument::fromJson(row.rset.toUtf8())["hasClone"].toInt(), 1);
        QCOMPARE(QJsonDocument::fromJson(row.rdata.toUtf8())["sceneName"].toString(), QString("p"));
        QVERIFY(queue->added.isEmpty());
        NetTcp::instance()->setLogin(false);
    }
};

VN_TEST(TestEnv)
#include "tst_env.moc"
