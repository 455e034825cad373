// The frame around the pages: rows of the menu, balance, notices, pushes, what closing does.
#include "common/ui/Background.h"
#include "common/ui/PullMsg.h"
#include "common/ui/TrayIcon.h"
#include "support/TestMain.h"
#include "view/HeadBar.h"
#include "view/LeftMenu.h"
#include "view/MainWindow.h"
#include "view/MsgCenter.h"
#include "view/Transfer.h"
#include "view/WebPanel.h"
#include "ViewRig.h"
#include <QShortcut>
#include <QStackedWidget>
#include <QTableWidget>

class TestMainWindow : public QObject
{
    Q_OBJECT
private:
    QScopedPointer<BusinessPeer> m_server;
    QScopedPointer<MainWindow> m_window;
    HeadBar *bar() const { return m_window->findChild<HeadBar *>(); }
    LeftMenu *menu() const { return m_window->findChild<LeftMenu *>(); }
    int page() const { return m_window->findChild<QStackedWidget *>()->currentIndex(); }
    void make(const QJsonObject &info = {}) { m_window.reset(new MainWindow(info)); }

private slots:
    void init()
    {
        account(55);
        m_server.reset(new BusinessPeer);
        QVERIFY(m_server->takeClient());
    }
    void cleanup()
    {
        m_window.reset();
        NetTcp::instance()->setLogin(false);
        Background::finish();
    }

    void languageChangesWithTheNextStart()
    {
        make();
        m_window->setLanguage("zh_cn"); // as it is
        m_window->setLanguage("en_us");
        QTRY_VERIFY(message().contains("重新启动"));
        QTimer press;
        connect(&press, &QTimer::timeout, qApp, [] { answer("确定"); });
        press.start(0);
        QCOMPARE(qApp->exec(), 773);
        QCOMPARE(UserInfo::language(), QString("en_us"));
        UserInfo::setLanguage("zh_cn");
    }
    void asksTheServerAtItsStart()
    {
        m_server->answer(10314, 1031400, {{"grants", QJsonArray{19}}, {"result", 1}});
        m_server->answer(10302, 1030200, {{"balance", 12.5}});
        make();
        QTRY_COMPARE(m_server->count(10306), 1);
        QTRY_COMPARE(m_server->last(10311), (QJsonObject{{"page", 0}}));
        QTRY_VERIFY(!UserInfo::canAnalyse());
        QTRY_COMPARE(bar()->balanceText(), QString("12.50"));
        QCOMPARE(MainWindow::balance(), 12.5);
        NetTcp::instance()->setLogin(true); // the link is back: rights and pushes belong to the login
        QTRY_COMPARE(m_server->count(10306), 2);
        QTRY_COMPARE(m_server->count(10314), 2);
    }

    void balances_data()
    {
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("number") << QJsonValue(3) << "3.00";
        QTest::newRow("text") << QJsonValue("17.456") << "17.46";
        QTest::newRow("negative") << QJsonValue(-0.5) << "-0.50";
        QTest::newRow("no number") << QJsonValue("x") << "0.00";
    }
    void balances()
    {
        QFETCH(QJsonValue, value);
        make();
        m_window->changeBalance({{"balance", value}, {"username", "otto"}});
        QTEST(bar()->balanceText(), "text");
        QCOMPARE(QString::number(MainWindow::balance(), 'f', 2), bar()->balanceText());
    }

    void notice()
    {
        make();
        m_window->changeNotice({{"content", "a < b"}, {"url", "http://n.example/?a=1&b=2"}});
        QCOMPARE(bar()->noticeHtml(),
                 QString("<style>a{text-decoration:none;color:#ccc}</style><a href=http://n.example/?a=1&amp;b=2>a &lt; b</a>"));
        m_window->changeNotice({});
        QCOMPARE(bar()->noticeHtml(), QString());
    }
    void redMark()
    {
        make();
        m_window->newMsgCenter(1);
        QVERIFY(bar()->redMark());
        Background::finish();
        QCOMPARE(UserInfo::userValue("MsgCenter", "redNotice").toInt(), 1);
        make(); // stays over a new login
        QVERIFY(bar()->redMark());
        m_server->answer(10311, 1031100,
                         {{"pageList", QJsonArray{QJsonObject{{"type", 2}, {"content", "<b>low</b>"}, {"time", "2026-01-02 03:04:05"}},
                                                  QJsonObject{{"type", 9}, {"content", "?"}, {"time", 0}}}},
                          {"pageSize", 3}});
        m_window->on_noticeBtn_clicked();
        QVERIFY(!bar()->redMark());
        auto *center = topLevel<MsgCenter>();
        QVERIFY(center);
        auto *table = center->findChild<QTableWidget *>();
        QTRY_COMPARE(table->rowCount(), 2);
        QCOMPARE(table->item(0, 0)->text(), QString("欠费提醒"));
        QCOMPARE(table->item(0, 1)->text(), QString("<b>low</b>"));
        m_window->on_noticeBtn_clicked();
        QCOMPARE(m_window->findChildren<MsgCenter *>().size(), 1);
    }

    void menuRows_data()
    {
        QTest::addColumn<QJsonObject>("info");
        QTest::addColumn<QString>("titles");
        QTest::newRow("no addresses") << QJsonObject() << "解析提交|传输管理";
        QTest::newRow("some") << QJsonObject{{"personalCenterUrl", "http://u"}, {"netTestUrl", "http://n"}, {"vipCenterUrl", ""}}
                              << "解析提交|传输管理|个人中心|网络诊断";
        QTest::newRow("all") << QJsonObject{{"personalCenterUrl", "http://u"},
                                            {"rechargeCenterUrl", "http://r"},
                                            {"vipCenterUrl", "http://v"},
                                            {"renderGuideUrl", "http://g"},
                                            {"netTestUrl", "http://n"}}
                             << "解析提交|传输管理|个人中心|充值中心|会员购买|渲染指南|网络诊断";
    }
    void menuRows()
    {
        QFETCH(QJsonObject, info);
        make(info);
        QTEST(menu()->titles().join('|'), "titles");
        QCOMPARE(page(), int(MainWindow::ResolvePage));
    }
    void webAddresses()
    {
        QCOMPARE(WebPanel::rowUrl("http://h/p", "tok", false).toString(), QString("http://h/p?sessionid=tok"));
        QCOMPARE(WebPanel::rowUrl("http://h/p", "tok", true).toString(), QString("http://h/p?sessionid=tok&en=true"));
        for (const auto &[status, network, failed] : QList<std::tuple<int, bool, bool>>{{200, false, false},
                                                                                        {302, false, false},
                                                                                        {399, false, false},
                                                                                        {400, false, true},
                                                                                        {404, false, true},
                                                                                        {500, false, true},
                                                                                        {199, false, true},
                                                                                        {0, true, true},
                                                                                        {200, true, true}})
            QVERIFY2(WebPanel::failed(status, network) == failed, qPrintable(QString::number(status)));
    }
    void pagesByKey()
    {
        make();
        emit m_window->hotKey(2);
        QCOMPARE(page(), int(MainWindow::TransferPage));
        emit m_window->hotKey(7);
        QCOMPARE(page(), int(MainWindow::TransferPage));
        emit m_window->hotKey(1);
        QCOMPARE(page(), int(MainWindow::ResolvePage));
        QCOMPARE(m_window->findChildren<QShortcut *>(QString(), Qt::FindDirectChildrenOnly).size(), 9);
    }
    void folding()
    {
        make();
        const int wide = menu()->width();
        m_window->leftFoldClick();
        QVERIFY(menu()->folded() && menu()->maximumWidth() < wide / 2);
        m_window->leftFoldClick();
        QVERIFY(!menu()->folded());
    }

    // Results wait for the download queue, in their order; what isn't an object is nothing.
    void pushes()
    {
        make();
        m_server->push(10413, 1041300, {{"missionId", 1}});
        m_server->push(10413, 1041300, {{"missionId", 2}});
        m_server->sendText(-1, 10413, 1041300, "not json");
        m_server->push(10412, 1041200, {{"missionName", "shot"}});
        QTRY_VERIFY(bar()->redMark());
        DownSpy down;
        m_window->connectDAOView(1);
        QTRY_COMPARE(down.pushes.size(), 2);
        QCOMPARE(down.pushes[0]["missionId"].toInt(), 1);
        m_server->push(10413, 1041300, {{"missionId", 3}});
        QTRY_COMPARE(down.pushes.size(), 3);
        m_window->newMsgCenter(0);
        m_server->push(10412, 1041201, {{"missionName", "other code"}});
        const int asked = m_server->count(10302);
        m_server->push(10201, 1020100, {});
        QTRY_COMPARE(m_server->count(10302), asked + 1);
        QVERIFY(!bar()->redMark());
    }

    void closing()
    {
        make();
        m_window->show();
        m_window->close();
        QVERIFY2(TrayIcon::available() ? !m_window->isVisible() : m_window->isMinimized(), "hidden in the tray, or minimised without one");
        QVERIFY(!QApplication::quitOnLastWindowClosed());
        TrayIcon::instance()->setCurWid(m_window.data());
        TrayIcon::instance()->showCurWid();
        QVERIFY(m_window->isVisible() && !m_window->isMinimized());
        m_window->on_noticeBtn_clicked();
        m_window->setClosing(true);
        QVERIFY(m_window->close());
        QVERIFY(QApplication::quitOnLastWindowClosed() && !topLevel<MsgCenter>());
        QApplication::setQuitOnLastWindowClosed(false);
    }

    // What the engine says, from any thread and without blocking.
    void engineSpeaks()
    {
        make();
        m_window->show();
        std::unique_ptr<QThread> engine(QThread::create([] {
            Seam<WindowCalls>::post([](WindowCalls &window) { window.msgOk("一"); });
            Seam<WindowCalls>::post([](WindowCalls &window) { window.msgOk("一"); });
        }));
        engine->start();
        QVERIFY(engine->wait(5000));
        QTRY_COMPARE(message(), QString("一"));
        QVERIFY(answer("确定"));
        QVERIFY2(!topLevel<MsgBox>(), "the same text isn't stacked");
        m_window->downSpace("E:/results");
        QVERIFY(message().startsWith("E盘"));
        QVERIFY(answer("确定"));
        QTRY_VERIFY((m_window->downSpace("/mnt/results"), message().startsWith("文件夹 /mnt/results "))); // once the first is gone
        QVERIFY(answer("确定"));
        DownSpy down;
        for (const char *button : {"取消", "确定"}) {
            m_window->confirmRoot("/srv/all", "shot<img src=x>");
            QVERIFY(message().contains("/srv/all") && !message().contains('<'));
            QVERIFY(answer(button));
        }
        QTRY_COMPARE(down.calls, QStringList("root /srv/all"));
        m_window->showInfoMsg({}, "文件已全部下载完成");
        if (!TrayIcon::available()) {
            TrayIcon::instance()->setCurWid(m_window.data());
            m_window->showInfoMsg({}, "文件已全部下载完成");
            QCOMPARE(m_window->findChild<QLabel *>("toast")->text(), QString("提示\n文件已全部下载完成"));
        }
    }

    void polling_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("marks");
        const QByteArray reply =
            R"({"pageList":[{"content":"a","time":"2026-05-01 10:00:00"},{"content":"b","time":"2026-05-02 10:00:00"}]})";
        QTest::newRow("first time") << "" << reply << 1;
        QTest::newRow("seen before") << "2026-05-02 10:00:00" << reply << 0;
        QTest::newRow("newer than seen") << "2026-05-01 10:00:00" << reply << 1;
        QTest::newRow("no notices") << "" << QByteArray("{}") << 0;
        QTest::newRow("not JSON") << "" << QByteArray("{") << 0;
    }
    void polling()
    {
        QFETCH(QString, stored);
        QFETCH(QByteArray, reply);
        UserInfo::setUserValue("MsgCenter", "latest", stored);
        PullMsg pull;
        QSignalSpy marks(&pull, &PullMsg::newMsgCenter), notices(&pull, &PullMsg::changeNotice);
        const QJsonDocument doc = QJsonDocument::fromJson(reply);
        pull.noticeReply(doc);
        pull.noticeReply(doc); // the same again says nothing new
        QTEST(marks.size(), "marks");
        if (PullMsg::listOf(doc).isEmpty()) {
            QVERIFY(notices.isEmpty());
            return;
        }
        pull.noticeOut();
        pull.noticeOut(); // round and round
        QStringList shown;
        for (const auto &one : notices)
            shown << one[0].toJsonObject()["content"].toString();
        QCOMPARE(shown.join(""), QString("aba"));
    }
};

VN_TEST(TestMainWindow)
#include "tst_mainwindow.moc"
