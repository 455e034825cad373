// The frame around the pages: the register's rows, balance, notices, pushes, the engine's voice, what closing does.
#include "common/ui/Background.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/PullMsg.h"
#include "common/ui/TrayIcon.h"
#include "common/ui/WebView.h"
#include "db/ResolveDAO.h"
#include "support/HttpPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/AccountFacts.h"
#include "view/EngineVoice.h"
#include "view/HeadBar.h"
#include "view/Leaving.h"
#include "view/LeftMenu.h"
#include "view/MainWindow.h"
#include "view/MsgCenter.h"
#include "view/PushRouter.h"
#include "view/Shell.h"
#include "view/ShortCuts.h"
#include "view/Transfer.h"
#include "ViewRig.h"
#include <QMenu>
#include <QStackedWidget>
#include <QTableWidget>
#include <QToolButton>
#include <QWindow>

class TestMainWindow : public QObject
{
    Q_OBJECT
private:
    QScopedPointer<BusinessPeer> m_server;
    QScopedPointer<MainWindow> m_window;
    HeadBar *bar() const { return m_window->findChild<HeadBar *>(); }
    LeftMenu *menu() const { return m_window->findChild<LeftMenu *>(); }
    void make(const QJsonObject &info = {}) { m_window.reset(new MainWindow(info)); }
    void show()
    {
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.data()));
    }
    // A button of the head by its name or part.
    void click(const char *name) const
    {
        for (auto *button : m_window->findChildren<QAbstractButton *>())
            if (button->objectName() == name || button->property("part") == name)
                return QTest::mouseClick(button, Qt::LeftButton);
        QFAIL(name);
    }
    bool trigger(const QString &text) const // of the account's menu
    {
        for (auto *action : m_window->findChildren<QAction *>())
            if (action->text() == text)
                return action->trigger(), true;
        return false;
    }

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
        ResolveDAO::instance()->releaseResolve();
        Background::finish();
    }

    void languageChangesWithTheNextStart()
    {
        make();
        QVERIFY(trigger("中文")); // as it is
        QVERIFY(trigger("English"));
        QTRY_VERIFY(message().contains("重新启动"));
        QTimer press;
        connect(&press, &QTimer::timeout, qApp, [] { answer("重新启动"); });
        press.start(0);
        QCOMPARE(qApp->exec(), 773);
        QCOMPARE(UserInfo::language(), QString("en_us"));
        UserInfo::setLanguage("zh_cn");
    }
    // Leaving by hand asks while there is work under way, and only then.
    void leaving_data()
    {
        columns<QList<int>, QString>("states", "question");
        addRow("nothing under way", QList<int>{100, 103, 112}, "");
        addRow("analysis", QList<int>{101}, "还有 1 个场景正在解析");
        addRow("uploads", QList<int>{110, 111, 103}, "还有 2 个场景未上传完");
    }
    void leaving()
    {
        FETCH(QList<int>, states, QString, question);
        QTemporaryDir folder;
        QVERIFY(ResolveDAO::instance()->open(folder.path()));
        QList<db_resolve> rows;
        for (int state : states)
            rows << scene(1000 + rows.size(), state);
        QVERIFY(ResolveDAO::instance()->insertBatch(&rows));
        make();
        TrayIcon::instance()->setCurWid(m_window.data()); // hidden, as in the tray
        bool gone = false;
        Leaving::ask(m_window.data(), [&] { gone = true; });
        QTRY_VERIFY(gone || !message().isEmpty());
        QCOMPARE(gone, question.isEmpty());
        if (gone)
            return;
        QVERIFY2(message().contains(question) && m_window->isVisible(), qPrintable(message()));
        QVERIFY(answer("取消") && !gone);
        Leaving::ask(m_window.data(), [&] { gone = true; });
        QTRY_VERIFY(!message().isEmpty());
        QVERIFY(answer("退出"));
        QVERIFY(gone);
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
        NetTcp::instance()->setLogin(true); // the link is back: rights and pushes belong to the login
        QTRY_COMPARE(m_server->count(10306), 2);
        QTRY_COMPARE(m_server->count(10314), 2);
    }

    void notices()
    {
        m_server->answer(
            10311, 1031100,
            {{"pageList",
              QJsonArray{
                  QJsonObject{{"type", 2}, {"content", "a < b"}, {"url", "http://n.example/?a=1&b=2"}, {"time", "2026-01-02 03:04:05"}},
                  QJsonObject{{"type", 9}, {"content", "?"}, {"time", 0}}}},
             {"pageSize", 3}});
        UserInfo::setUserValue("MsgCenter", "latest", "");
        make();
        QTRY_COMPARE(bar()->noticeHtml(),
                     QString("<style>a{text-decoration:none;color:#ccc}</style><a href=http://n.example/?a=1&amp;b=2>a &lt; b</a>"));
        QTRY_VERIFY(bar()->redMark());
        Background::finish();
        make(); // the mark stays over a new login
        QVERIFY(bar()->redMark());
        click("notices");
        QVERIFY(!bar()->redMark());
        auto *center = topLevel<MsgCenter>();
        QVERIFY(center);
        QCOMPARE(center->windowHandle()->transientParent(), m_window->windowHandle());
        RecordModelBase *rows = center->table()->view()->records();
        QTRY_COMPARE(rows->rowCount(), 2);
        QCOMPARE(rows->index(0, 1).data().toString(), QString("欠费提醒"));
        QCOMPARE(rows->index(0, 2).data(Qt::ToolTipRole).toString(), QString("a < b"));
        m_server->answer(10313, 1031300, {{"status", 1}});
        rows->tick({"row1"}, true);
        center->on_ignore_clicked();
        QTRY_COMPARE(m_server->last(10313), (QJsonObject{{"ids", "row1"}, {"status", 1}}));
        m_server->answer(10313, 1040002); // refused: told with the code
        center->table()->acts()->run("del", {"row0"});
        QTRY_VERIFY(center->table()->error().contains("(1040002)"));
        click("notices");
        QCOMPARE(m_window->findChildren<MsgCenter *>().size(), 1);
    }

    // Rows follow the server's addresses, also those of a later login; a click opens the page with the session behind it.
    void menuRows()
    {
        HttpPeer web;
        web.answer = [](const HttpPeer::Request &request) {
            return HttpPeer::response("<html></html>", request.path.startsWith("/gone") ? "404 no" : "200 OK");
        };
        make({{"token", "t1"}, {"vipCenterUrl", ""}, {"netTestUrl", web.url("/net")}});
        QCOMPARE(menu()->titles().join('|'), QString("解析提交|任务管理|传输管理|历史任务|插件管理|网络诊断"));
        QCOMPARE(m_window->page(), QString("resolve"));
        const auto choose = [this](const QString &title) {
            for (int row = 0; row < menu()->rowCount(); ++row)
                if (menu()->item(row, 0)->data(Qt::AccessibleTextRole) == title)
                    QTest::mouseClick(menu()->viewport(), Qt::LeftButton, {}, menu()->visualItemRect(menu()->item(row, 0)).center());
        };
        show();
        choose("网络诊断");
        QTRY_COMPARE(web.requests.value(0).path, QByteArray("/net?sessionid=t1"));
        m_window->shell()->setLoginInfo(
            {{"token", "t2"}, {"personalCenterUrl", web.url("/onlinePayPage")}, {"netTestUrl", web.url("/gone")}});
        QCOMPARE(menu()->titles().join('|'), QString("解析提交|任务管理|传输管理|历史任务|个人中心|插件管理|网络诊断"));
        const int asked = m_server->count(10302);
        choose("个人中心");
        QTRY_COMPARE(web.requests.value(1).path, QByteArray("/onlinePayPage?sessionid=t2"));
        QTRY_VERIFY2(m_server->count(10302) > asked, "who was on the page of paying may have paid");
        choose("网络诊断");
        QTRY_COMPARE(web.requests.last().path, QByteArray("/gone?sessionid=t2"));
        QTRY_COMPARE(m_window->page(), QString("netTestUrl"));
        auto *shown = m_window->findChild<QStackedWidget *>()->currentWidget()->findChild<QWebView *>();
        QTRY_COMPARE(shown->url(), WebPage::errorPage());
        QTest::keyClick(m_window.data(), Qt::Key_3, Qt::ControlModifier);
        QCOMPARE(m_window->page(), QString("transfer"));
        QTest::keyClick(m_window.data(), Qt::Key_7, Qt::ControlModifier);
        QCOMPARE(m_window->page(), QString("transfer"));
        QTest::keyClick(m_window.data(), Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(m_window->page(), QString("resolve"));
        QTest::keyClick(m_window.data(), Qt::Key_F1);
        QTRY_VERIFY(topLevel<ShortCuts>());
        QStringList keys;
        for (const QLabel *label : topLevel<ShortCuts>()->findChildren<QLabel *>())
            keys << label->text();
        QVERIFY(keys.contains("Ctrl+3") && keys.contains("F5") && keys.contains("Ctrl+F") && keys.contains("删除任务"));
        topLevel<ShortCuts>()->close();
    }
    // Tab leads through the whole frame, every stop has a name.
    void keyboard()
    {
        make({{"depositLink", "http://pay.example"}});
        show();
        const QWidget *page = m_window->findChild<QStackedWidget *>()->currentWidget();
        QVERIFY2(page->isAncestorOf(QApplication::focusWidget()), "the first key meets the page");
        menu()->setFocus();
        QTest::keyClick(menu(), Qt::Key_Down); // who walks the menu stays there
        QVERIFY(menu()->hasFocus() && m_window->findChild<QStackedWidget *>()->currentWidget() != page);
        QTest::keyClick(menu(), Qt::Key_Up);
        QTest::mouseClick(menu()->viewport(), Qt::LeftButton, {}, menu()->visualItemRect(menu()->item(2, 0)).center());
        page = m_window->findChild<QStackedWidget *>()->currentWidget();
        QVERIFY(QApplication::focusWidget() == page || page->isAncestorOf(QApplication::focusWidget()));
        m_window->setFocus();
        QStringList stops;
        for (int i = 0; i < 40; ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            const QWidget *now = QApplication::focusWidget();
            const auto *button = qobject_cast<const QAbstractButton *>(now);
            QVERIFY2(!now->accessibleName().isEmpty() || !now->toolTip().isEmpty() || (button && !button->text().isEmpty()),
                     qPrintable(QString(now->metaObject()->className()) + ' ' + now->objectName()));
            stops << now->objectName() + now->property("part").toString();
        }
        for (const char *wanted : {"accountrecharge", "notices", "accountaccount", "leftMenu", "leftFold"})
            QVERIFY2(stops.contains(wanted), qPrintable(QString(wanted) + " isn't among " + stops.join(' ')));
    }
    // Place, size and folded menu are as they were left; the smallest window fits a small screen at twice its scale.
    void remembersItsShape()
    {
        UserInfo::setAllValue("Window", "MainWindow", "");
        make();
        show();
        const int wide = menu()->width();
        click("leftFold");
        QVERIFY(menu()->folded() && menu()->maximumWidth() < wide / 2);
        m_window->resize(10, 10);
        QVERIFY(m_window->width() <= 960 && m_window->height() <= 540);
        m_window->setGeometry(30, 40, 777 + 60, 555);
        QTRY_VERIFY(!UserInfo::allValue("Window", "MainWindow").toString().isEmpty());
        make();
        QVERIFY(menu()->folded());
        QTRY_COMPARE(m_window->geometry(), QRect(30, 40, 777 + 60, 555));
        show();
        click("leftFold");
        QVERIFY(!menu()->folded());
    }

    // Results wait for the download queue, in their order; what isn't an object is nothing.
    void pushes()
    {
        make();
        QTRY_COMPARE(m_server->count(10306), 1);
        m_server->push(10413, 1041300, {{"missionId", 1}});
        m_server->push(10413, 1041300, {{"missionId", 2}});
        m_server->sendText(-1, 10413, 1041300, "not json");
        m_server->push(10412, 1041200, {{"missionName", "shot"}});
        QTRY_VERIFY(bar()->redMark());
        DownSpy down;
        emit m_window->shell()->voice()->queueStands(1);
        QTRY_COMPARE(down.pushes.size(), 2);
        QCOMPARE(down.pushes[0]["missionId"].toInt(), 1);
        m_server->push(10413, 1041300, {{"missionId", 3}});
        QTRY_COMPARE(down.pushes.size(), 3);
        click("notices");
        m_server->push(10412, 1041201, {{"missionName", "other code"}});
        QStringList heard;
        auto *page = new QObject;
        m_window->shell()->pushes()->on(
            11201, page, [&](int val, const QJsonObject &obj) { heard << QString("%1 %2").arg(val).arg(obj["status"].toInt()); });
        m_server->push(11201, 1120198, {{"status", 1}});
        QTRY_COMPARE(heard.join(' '), QString("1120198 1"));
        delete page;
        m_server->push(11201, 1120198, {{"status", 0}});
        const int asked = m_server->count(10302);
        m_server->push(10201, 1020100, {});
        QTRY_COMPARE(m_server->count(10302), asked + 1);
        QVERIFY(!bar()->redMark() && heard.size() == 1);
    }

    void closing()
    {
        make();
        m_window->show();
        click("headClose");
        QVERIFY2(TrayIcon::available() ? !m_window->isVisible() : m_window->isMinimized(), "hidden in the tray, or minimised without one");
        QVERIFY(!QApplication::quitOnLastWindowClosed());
        TrayIcon::instance()->setCurWid(m_window.data());
        TrayIcon::instance()->showCurWid();
        QVERIFY(m_window->isVisible() && !m_window->isMinimized());
        click("notices");
        m_window->setClosing(true);
        click("headClose");
        QVERIFY(!m_window->isVisible() && QApplication::quitOnLastWindowClosed() && !topLevel<MsgCenter>());
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
        QCOMPARE(topLevel<MsgBox>()->windowHandle()->transientParent(), m_window->windowHandle());
        QCOMPARE(topLevel<MsgBox>()->windowType(), Qt::Dialog);
        QVERIFY(answer("确定"));
        QVERIFY2(!topLevel<MsgBox>(), "the same text isn't stacked");
        Seam<WindowCalls>::post([](WindowCalls &window) { window.rootMsg("结果目录不存在", 2, 3, 1); });
        QTRY_COMPARE(message(), QString("结果目录不存在"));
        QVERIFY(answer("确定"));
        Seam<WindowCalls>::post([](WindowCalls &window) { window.downSpace("E:/results"); });
        QTRY_VERIFY(message().startsWith("E盘"));
        QVERIFY(answer("确定"));
        QTRY_VERIFY((Seam<WindowCalls>::post([](WindowCalls &window) { window.downSpace("/mnt/results"); }),
                     QCoreApplication::processEvents(),
                     message().startsWith("文件夹 /mnt/results "))); // once the first is gone
        QVERIFY(answer("确定"));
        DownSpy down;
        for (const char *button : {"取消", "确定"}) {
            Seam<WindowCalls>::post([](WindowCalls &window) { window.confirmRoot("/srv/all", "shot<img src=x>"); });
            QTRY_VERIFY(message().contains("/srv/all") && !message().contains('<'));
            QVERIFY(answer(button));
        }
        QTRY_COMPARE(down.calls, QStringList("root /srv/all"));
        Seam<WindowCalls>::post([](WindowCalls &window) { window.downErrorTip("1080009_余额不足"); });
        QTRY_VERIFY2(message().contains("请充值！（1080009）"), qPrintable(message()));
        QVERIFY(answer("取消"));
        TrayIcon::instance()->setCurWid(m_window.data());
        Seam<WindowCalls>::post([](WindowCalls &window) { window.showInfoMsg({}, "文件已全部下载完成"); });
        if (!TrayIcon::available()) {
            QTRY_VERIFY(m_window->findChild<QLabel *>("toast"));
            QCOMPARE(m_window->findChild<QLabel *>("toast")->text(), QString("提示\n文件已全部下载完成"));
        }
    }

    // A lost link is told quietly, and can be tried again at once.
    void lostLink()
    {
        make();
        show();
        auto *line = m_window->findChild<QWidget *>("linkLine");
        QVERIFY(!line->isVisible());
        m_server->cut();
        QTRY_VERIFY(line->isVisible());
        const int links = m_server->links();
        QVERIFY(press(line, "立即重试"));
        QTRY_VERIFY(m_server->links() > links);
        NetTcp::instance()->setLogin(true);
        QVERIFY(!line->isVisible());
    }

    // A notice that wasn't seen before marks once; those that are shown go round.
    void polling()
    {
        const QByteArray reply =
            R"({"pageList":[{"content":"a","time":"2026-05-01 10:00:00"},{"content":"b","time":"2026-05-02 10:00:00"}]})";
        for (const auto &[stored, text, wanted] :
             {std::tuple("", reply, 1), std::tuple("2026-05-02 10:00:00", reply, 0), std::tuple("2026-05-01 10:00:00", reply, 1),
              std::tuple("", QByteArray("{}"), 0), std::tuple("", QByteArray("{"), 0)}) {
            UserInfo::setUserValue("MsgCenter", "latest", stored);
            PullMsg pull;
            QSignalSpy marks(&pull, &PullMsg::newMsgCenter), notices(&pull, &PullMsg::changeNotice);
            const QJsonDocument doc = QJsonDocument::fromJson(text);
            for (int i = 0; i < 2; ++i) {
                pull.noticeReply(doc);
                pull.noticeOut();
            }
            QCOMPARE(marks.size(), wanted);
            QStringList shown;
            for (const auto &one : notices)
                shown << one[0].toJsonObject()["content"].toString();
            QVERIFY2(text == reply ? shown.join("").startsWith("ab") : shown.isEmpty(), qPrintable(shown.join("")));
        }
    }
};

VN_TEST(TestMainWindow)
#include "tst_mainwindow.moc"
