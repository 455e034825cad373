// The client's own part in an update's trial: it counts its starts, asks for the earlier one when they were too many,
// and says once that it has come up.
#include "common/Session.h"
#include "common/UserInfo.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "package/TreeSwap.h"
#include "support/HttpPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/Login.h"
#include "view/MasterMeeting.h"
#include "view/Startup.h"

class TestTrial : public QObject
{
    Q_OBJECT
    QTemporaryDir m_home;
    HttpPeer m_web;
    QString m_tree;
    int m_trees = 0;

    static void put(const QString &path, const QByteArray &text)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
    }
    QByteArray ran() const
    {
        QFile file(m_tree + "/ran");
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
    }
    void record(const QByteArray &state, const QByteArray &refused = {})
    {
        put(m_tree + ".update.json", "{\"state\":\"" + state + "\",\"version\":\"5.3.0.0\",\"refused\":\"" + refused + "\"}");
    }

private slots:
    void initTestCase()
    {
        NetTcp::create();
        NetWork::create();
        UserInfo::init({"VandrelQN"});
    }
    void init()
    {
        m_tree = m_home.filePath(QString("at%1").arg(++m_trees));
        put(m_tree + "/.manifest.json", "{\"version\":\"5.3.0.0\"}");
        put(m_tree + "/service.ini", "[server]\nqnbs=http://127.0.0.1\nupdate=" + m_web.url().toUtf8() + "\n");
        put(m_tree + "/update", "#!/bin/sh\necho \"$@\" > '" + m_tree.toUtf8() + "/ran'\n");
        QVERIFY(QFile::setPermissions(m_tree + "/update", QFile::ReadOwner | QFile::ExeOwner));
        put(m_tree + ".old/VandrelQN", "earlier");
        UserInfo::setProgramDir(m_tree);
        Session::clearAddresses();
    }
    void cleanupTestCase()
    {
        UserInfo::setProgramDir({});
        Session::clearAddresses();
    }

    void tooManyStarts_data()
    {
        columns<bool, bool>("writable", "earlier");
        addRow("counted beside the tree", true, true);
        addRow("the tree is somebody else's", false, true);
        addRow("there is nothing to go back to", true, false);
    }
    void tooManyStarts()
    {
        FETCH(bool, writable, bool, earlier);
        record("trial");
        if (!writable) // also for the superuser
            QVERIFY(QDir().mkpath(m_tree + ".update.json.next/in the way"));
        if (!earlier)
            QDir(m_tree + ".old").removeRecursively();
        for (int i = 0; i < TreeSwap::MostStarts; ++i)
            QVERIFY(Startup::trialGoesOn());
        QVERIFY(ran().isEmpty());
        QCOMPARE(Startup::trialGoesOn(), !earlier);
        QTRY_COMPARE(ran(), earlier ? QByteArray("--back") : QByteArray());
    }

    void comesUp_data()
    {
        columns<bool>("writable");
        addRow("told beside the tree", true);
        addRow("the tree is somebody else's", false);
    }
    void comesUp()
    {
        QFETCH(bool, writable);
        record("trial");
        if (!writable)
            QVERIFY(QDir().mkpath(m_tree + ".update.json.next/in the way"));
        QVERIFY(Startup::trialGoesOn());
        Login login;
        Startup::watchTrial(&login);
        emit login.pageShown();
        if (writable) {
            QTRY_COMPARE(TreeSwap(m_tree).state(), TreeSwap::Nothing);
            QTRY_VERIFY(!QFileInfo::exists(m_tree + ".old"));
            return;
        }
        const QString count = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/VandrelQN/update-trial.json";
        const auto told = [&count] {
            QFile file(count);
            return file.open(QIODevice::ReadOnly) && file.readAll().contains("-1");
        };
        QTRY_VERIFY(told());
        for (int i = 0; i < 2 * TreeSwap::MostStarts; ++i)
            QVERIFY(Startup::trialGoesOn());
    }

    // Neither a version that didn't start here nor the one that stands here is asked for again.
    void offeredOnce_data()
    {
        columns<QByteArray, bool>("answer", "wanted");
        addRow("another", QByteArray("5.5.0.0"), true);
        addRow("didn't start here", QByteArray("5.4.0.0"), false);
        addRow("stands here, whatever it calls itself", QByteArray("5.3.0.0"), false);
    }
    void offeredOnce()
    {
        FETCH(QByteArray, answer, bool, wanted);
        record("nothing", "5.4.0.0");
        m_web.answer = [answer](const HttpPeer::Request &) { return HttpPeer::response(answer); };
        QCOMPARE(Startup::updateStarted(MasterMeeting()), wanted);
        QTRY_COMPARE(ran(), wanted ? answer : QByteArray());
    }
};

VN_TEST(TestTrial)
#include "tst_trial.moc"
