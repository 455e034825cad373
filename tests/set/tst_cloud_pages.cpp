// The page of scenes that their farm analyses and its dialogs, pressed as a user presses them, over a living farm.
#include "common/Session.h"
#include "common/ui/Background.h"
#include "common/ui/kit/FrameEdit.h"
#include "common/ui/kit/TablePage.h"
#include "db/DoneDAO.h"
#include "db/ResolveDAO.h"
#include "db/ResolveDDAO.h"
#include "db/UploadDAO.h"
#include "FarmRig.h"
#include "resolve/cloud/CloudQueue.h"
#include "resolve/ResolveHandler.h"
#include "support/TestMain.h"
#include "transfer/TransScan.h"
#include "view/AccountFacts.h"
#include "view/driver/cloud/CloudAnalysis.h"
#include "view/driver/cloud/MayaD.h"
#include "view/driver/cloud/MDW.h"
#include "view/driver/cloud/ResolveD.h"
#include "view/driver/cloud/SubmitMayaD.h"
#include <QAction>
#include <QRadioButton>

class TestCloudPages : public QObject
{
    Q_OBJECT
    static db_resolve row() { return ResolveDDAO::instance()->read(ResolveDDAO::instance()->all().value(0).rkey); }
    static QJsonArray layers(const QString &rdata)
    {
        return QJsonDocument::fromJson(rdata.toUtf8()).object().value("modelParameters").toArray();
    }
    template <class Dialog> static Dialog *opened(ResolveD &page, const char *act)
    {
        page.table()->view()->select({QString::number(row().rkey)});
        page.table()->acts()->action(act)->trigger();
        if (!comes([] { return topLevel<Dialog>() && !topLevel<Dialog>()->busy(); }))
            return nullptr;
        activate(topLevel<Dialog>());
        return topLevel<Dialog>();
    }

private slots:
    void story()
    {
        FarmRig rig;
        account(8800);
        CommonConfig::fromJson({});
        rig.farm.stop();
        rig.options.analysisStepMs = 5;
        rig.options.framesPerSecond = 0;
        QVERIFY(rig.farm.start(rig.options) && rig.login());
        NetWork::instance()->forgetDrives();
        QVERIFY(ResolveDAO::instance()->open(UserInfo::userDir()) && ResolveDDAO::instance()->open(UserInfo::userDir()) &&
                UploadDAO::instance()->open(UserInfo::userDir()) && DoneDAO::instance()->open(UserInfo::userDir()));
        Session::setLive(true);
        CloudQueue queue;
        queue.start(10);
        AccountFacts facts;
        facts.changeBalance({{"balance", 10}});
        ResolveD page;
        page.resize(900, 400);
        page.show();
        QVERIFY(rig.farm.putDriveFile(1, "D/p/a.ma", "scene"));

        const CloudAnalysis::Told told = CloudAnalysis::analyse(1, {{"D/p/a.ma", {}}, {"D/p/b.skp", {}}});
        QCOMPARE(told.taken, 1);
        QVERIFY(told.text.contains("b.skp") && !told.text.contains("a.ma"));
        QTRY_COMPARE(row().state, int(SceneState::Clean));
        QTRY_VERIFY(page.model()->record(QString::number(row().rkey)) &&
                    page.model()->record(QString::number(row().rkey))->state == SceneState::Clean);
        QCOMPARE(rig.farm.analysisCounts().value("started"), 1);
        QCOMPARE(row().rootpath, QString("D/p"));

        // Parameters are kept with the record, and the scene isn't submitted by it.
        auto *maya = opened<MayaD>(page, "para");
        QVERIFY(maya);
        QVERIFY(type(maya, "frames", "1-9"));
        QVERIFY(press(maya, MayaD::tr("保存")));
        QTRY_COMPARE(layers(row().rdata).at(0).toObject().value("frames").toString(), QString("1-9"));
        QCOMPARE(row().state, int(SceneState::Clean));

        // A layer without frames keeps the dialog open and is named.
        auto *submit = opened<SubmitMayaD>(page, "submit");
        QVERIFY(submit);
        QCOMPARE(submit->cells().size(), 2);
        MDW *cell = submit->cells().first();
        QCOMPARE(cell->text(), QString("1-9"));
        QTest::mouseClick(cell->findChild<QPushButton *>("cell"), Qt::LeftButton);
        auto *edit = cell->findChild<FrameEdit *>();
        QVERIFY(edit->isVisible() && edit->hasFocus());
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClick(edit, Qt::Key_Escape);
        QCOMPARE(cell->text(), QString("1-9"));
        QTest::keyClick(cell->findChild<QPushButton *>("cell"), Qt::Key_F2);
        QTest::keyClick(edit, Qt::Key_Delete);
        QVERIFY(press(submit, SubmitMayaD::tr("提交渲染"))); // typed last, and not left
        QCOMPARE(errorOf(submit), SubmitMayaD::tr("\"%1\"的帧序列不能为空！").arg("defaultRenderLayer"));
        QCOMPARE(row().state, int(SceneState::Clean));

        QTest::keyClick(cell->findChild<QPushButton *>("cell"), Qt::Key_Return);
        QTest::keyClicks(edit, "2-4");
        QTest::keyClick(edit, Qt::Key_Return);
        QVERIFY(!edit->isVisible());
        QVERIFY(type(submit, "keyFrames", "3"));
        submit->findChildren<QRadioButton *>().first()->click(); // then go on by itself
        QVERIFY(press(submit, SubmitMayaD::tr("提交渲染")));
        QTRY_COMPARE(ResolveDAO::instance()->readAll().size(), 1);
        QCOMPARE(row().state, int(SceneState::Committed));
        const db_resolve order = ResolveDAO::instance()->readWithPara(ResolveDAO::instance()->readAll().first().rkey);
        QCOMPARE(layers(order.rdata).at(0).toObject().value("frames").toString(), QString("2-4"));
        const QJsonObject rdata = QJsonDocument::fromJson(order.rdata.toUtf8()).object();
        QCOMPARE(rdata.value("strategy").toInt(-1), 1);
        QCOMPARE(rdata.value("keyFrames").toString(), QString("3"));
        QCOMPARE(order.projectId, 1);
        QTRY_VERIFY(!topLevel<SubmitMayaD>());

        // Nothing is uploaded: the order goes through both queues, and what lies on the drive is rendered.
        ResolveHandler orders;
        orders.setTimes({10, 10, 1000, 10000});
        orders.startScan();
        TransScan uploads(TransScan::Up);
        uploads.start();
        QTRY_COMPARE(row().state, int(SceneState::Submitted));
        const auto mission = [&rig] { return rig.farm.orders().value(0); };
        QTRY_VERIFY(mission().framesDone == 6 && mission().status == 2);
        QCOMPARE(rig.farm.counters().filesReceived, 0);
        const QStringList results = rig.farm.driveFiles(1, 2).keys();
        QCOMPARE(results.filter(QRegularExpression("defaultRenderLayer_persp/a\\.000[234]\\.png$")).size(), 3);
        QCOMPARE(rig.farm.violations(), QStringList());

        page.table()->view()->select({QString::number(row().rkey)});
        page.delAct();
        QTRY_VERIFY(!message().isEmpty());
        QVERIFY(answer(ResolveD::tr("删除任务")));
        QTRY_VERIFY(page.model()->keys().isEmpty());
        Background::finish();
        Session::setLive(false);
        ResolveDDAO::instance()->close();
        ResolveDAO::instance()->releaseResolve();
        UploadDAO::instance()->releaseUp();
        DoneDAO::instance()->close();
    }
};

VN_TEST(TestCloudPages)
#include "tst_cloud_pages.moc"
