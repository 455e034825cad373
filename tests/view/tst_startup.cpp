// The start's questions to the network: is there a newer version, where is the master.
#include "common/Session.h"
#include "io/ProxyFactory.h"
#include "support/HttpPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/Login.h"
#include "view/MasterMeeting.h"
#include "view/Startup.h"
#include "ViewRig.h"
#include <QTranslator>

class TestStartup : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_program;
    HttpPeer m_web;
    void addresses()
    {
        QFile ini(m_program.filePath("service.ini"));
        QVERIFY(ini.open(QIODevice::WriteOnly));
        ini.write("[server]\nqnbs=http://127.0.0.1\nupdate=" + m_web.url("/up").toUtf8() + "\n");
        ini.close();
        UserInfo::setProgramDir(m_program.path());
        Session::clearAddresses();
    }
    void role(const QString &role)
    {
        UserInfo::init({"VandrelQN"});
        UserInfo::setAllValue("Server", "role", role);
        UserInfo::setAllValue("Server", "master", m_web.url());
        UserInfo::clearCache();
    }
private slots:
    void initTestCase()
    {
        NetTcp::create();
        NetWork::create();
        UserInfo::init({"VandrelQN"});
        addresses();
    }
    void cleanupTestCase()
    {
        role({});
        UserInfo::setProgramDir({});
        Session::clearAddresses();
        QNetworkProxyFactory::setApplicationProxyFactory(nullptr);
        ProxyFactory::clear();
    }

    void update_data()
    {
        QTest::addColumn<QByteArray>("answer");
        addRow("the same version", HttpPeer::response("5.2.6.0"));
        addRow("an error page", HttpPeer::response("9.9.9.9", "404 no"));
        addRow("newer, but there is no updater here", HttpPeer::response("9.9.9.9"));
    }
    void update()
    {
        QFETCH(QByteArray, answer);
        m_web.requests.clear();
        m_web.answer = [&](const HttpPeer::Request &) { return answer; };
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!Startup::updateStarted({}));
        QVERIFY(clock.elapsed() < Patience);
        QCOMPARE(m_web.requests.value(0).path, QByteArray("/up/getUpdateVersion.htm"));
    }
    void updateThatIsSilent()
    {
        m_web.answer = [](const HttpPeer::Request &) { return QByteArray(); };
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!Startup::updateStarted({}));
        QVERIFY2(clock.elapsed() < Patience, "the start is bounded");
    }
    void updaterRuns()
    {
#ifdef Q_OS_WIN
        QSKIP("the updater of this test is a shell script");
#endif
        QFile updater(m_program.filePath("update"));
        QVERIFY(updater.open(QIODevice::WriteOnly));
        updater.write("#!/bin/sh\necho \"$@\" > " + m_program.filePath("ran").toUtf8() + "\n");
        updater.close();
        QVERIFY(updater.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
        m_web.answer = [](const HttpPeer::Request &) { return HttpPeer::response("9.9.9.9\n"); };
        QVERIFY(Startup::updateStarted({}));
        const auto ran = [this] {
            QFile file(m_program.filePath("ran"));
            return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
        };
        QTRY_COMPARE(ran(), QByteArray("9.9.9.9"));
        updater.remove();
    }

    void toolkitSpeaksChinese()
    {
        QTranslator words;
        Startup::translate(&words);
        QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), QString("取消"));
    }

    void aloneThereIsNobodyToMeet()
    {
        role({});
        m_web.requests.clear();
        const MasterMeeting master = MasterMeeting::hold();
        QVERIFY(master.good && !master.seat && m_web.requests.isEmpty());
    }
    void seatMeetsItsMaster()
    {
        role("slave");
        BusinessPeer business;
        Login login;
        m_web.requests.clear();
        m_web.answer = [&](const HttpPeer::Request &) {
            return HttpPeer::response(
                QStringLiteral(R"({"result":1,"code":0,"msg":"","masterUserId":77,"data":[["%1","127.0.0.1"],["4001","rest.example"]]})")
                    .arg(business.port())
                    .toUtf8());
        };
        const MasterMeeting master = MasterMeeting::hold();
        QVERIFY(master.good && master.seat);
        login.loadLogin();
        QCOMPARE(m_web.requests.value(0).path, QByteArray("/masterInfo"));
        QCOMPARE(UserInfo::masterUserId(), 77);
        QCOMPARE(ProxyFactory::portOf("rest.example"), 4001);
        QTRY_VERIFY(business.count(10308) >= 1); // over the port that the master gave
    }
    void seatWithoutMaster_data()
    {
        QTest::addColumn<QByteArray>("answer");
        addRow("no pairs", HttpPeer::response(R"({"result":1,"data":[]})"));
        addRow("not JSON", HttpPeer::response("<html>"));
    }
    void seatWithoutMaster()
    {
        QFETCH(QByteArray, answer);
        role("slave");
        m_web.answer = [&](const HttpPeer::Request &) { return answer; };
        QString said;
        QTimer presser;
        connect(&presser, &QTimer::timeout, this, [&] {
            if (message().isEmpty())
                return;
            said = message();
            press(topLevel<MsgBox>(), "确定");
        });
        presser.start(20);
        QVERIFY(!MasterMeeting::hold().good);
        QCOMPARE(said, QString("无法连接远程主机！"));
    }
};

VN_TEST(TestStartup)
#include "tst_startup.moc"
