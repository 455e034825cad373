// What web pages may do in the client: pages of the test's own servers, one listed and one not, call the bridge.
#include "common/Session.h"
#include "common/ui/Background.h"
#include "common/ui/WebDownload.h"
#include "common/ui/WebOrigins.h"
#include "common/ui/WebTool.h"
#include "common/ui/WebView.h"
#include "io/NetWork.h"
#include "support/HttpPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/frames/LogView.h"
#include "view/task/Preview.h"
#include "view/WebPanel.h"
#include "ViewRig.h"
#include <QClipboard>
#include <QDesktopServices>
#include <QMessageBox>
#include <QStandardPaths>
#include <QWebElement>
#include <QWebFrame>

// Stands for the system's browser and chat program.
class Browser : public QObject
{
    Q_OBJECT
public:
    QStringList opened;
    Browser()
    {
        each([this](const QString &scheme) { QDesktopServices::setUrlHandler(scheme, this, "take"); });
    }
    ~Browser() override
    {
        each([](const QString &scheme) { QDesktopServices::unsetUrlHandler(scheme); });
    }
    void each(const std::function<void(const QString &)> &act)
    {
        for (const char *scheme : {"http", "https", "mailto", "chat", "file"})
            act(scheme);
    }
public slots:
    void take(const QUrl &url) { opened << QString::fromUtf8(url.toEncoded()); }
};

class TestWebBridge : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_program;
    QScopedPointer<HttpPeer> m_own, m_other;
    QScopedPointer<WebPanel> m_panel;
    QScopedPointer<Browser> m_browser;
    QHash<QByteArray, QByteArray> m_pages; // path: whole response, or the script of a page

    QByteArray serve(const HttpPeer::Request &request)
    {
        const QByteArray text = m_pages.value(request.path.split('?')[0]);
        if (request.path.startsWith("/told") || text.isEmpty())
            return HttpPeer::response("ok");
        if (text.startsWith("HTTP/"))
            return text;
        return HttpPeer::response(
            "<html><head><meta charset=utf-8><title>page</title><script>var see=typeof WebTool;function tell(t){var r=new "
            "XMLHttpRequest();r.open('GET','/told?'+encodeURIComponent(t),true);r.send();}"
            "</script></head><body><script>" +
            text + "</script></body></html>");
    }
    QStringList told(HttpPeer *peer) const
    {
        QStringList list;
        for (const HttpPeer::Request &request : peer->requests)
            if (request.path.startsWith("/told?"))
                list << QUrl::fromPercentEncoding(request.path.mid(6));
        return list;
    }
    QByteArray redirect(HttpPeer *to, const QString &path) const
    {
        return HttpPeer::response("", "302 Found", "Location: " + to->url(path).toUtf8() + "\r\n");
    }
    WebView *view() const { return m_panel->view(); }
    // Opens a page with this script on the listed server; true when it has told that it's through.
    bool runs(const QByteArray &script)
    {
        m_pages["/p"] = script + ";tell('end');";
        const int before = told(m_own.data()).count("end");
        m_panel->open("页", QUrl(m_own->url("/p")));
        return comes([=] { return told(m_own.data()).count("end") > before; });
    }
    void click(const char *link)
    {
        QTest::mouseClick(view(), Qt::LeftButton, {}, view()->page()->mainFrame()->findFirstElement(link).geometry().center());
    }
    // Opens the page, whose script waits below its question, and does this when it stands.
    void asked(const std::function<void()> &then)
    {
        bool done = false;
        QTimer look;
        connect(&look, &QTimer::timeout, this, [&] {
            if (!done && message() == "sure?") {
                done = true;
                then();
            }
        });
        look.start(1);
        m_panel->open("页", QUrl(m_own->url("/p")));
        QTRY_VERIFY(done);
    }
    void writeIni(const QByteArray &more = {})
    {
        QFile ini(m_program.filePath("service.ini"));
        QVERIFY(ini.open(QIODevice::WriteOnly));
        ini.write("[server]\nqnbs=" + m_own->url().toUtf8() + "\n" + more);
        ini.close();
        Session::clearAddresses();
    }

private slots:
    void init()
    {
        account(71);
        UserInfo::setUserValue("Set", "ResultDir", testHome() + "/results");
        QDir().mkpath(testHome() + "/results");
        QDir(m_program.path()).mkdir("web");
        QFile error(m_program.filePath("web/loadError.html"));
        QVERIFY(error.open(QIODevice::WriteOnly));
        error.write("<body><a id='again' href='#' onclick='WebTool.reloadErrorPage();return false'>x</a>"
                    "<script>document.title=[typeof WebTool.appLang,typeof WebTool.accessToken].join()</script></body>");
        NetWork::create();
        for (QScopedPointer<HttpPeer> *peer : {&m_own, &m_other}) {
            peer->reset(new HttpPeer);
            (*peer)->answer = [this](const HttpPeer::Request &request) { return serve(request); };
        }
        m_pages.clear();
        UserInfo::setProgramDir(m_program.path());
        writeIni();
        m_browser.reset(new Browser);
        m_panel.reset(new WebPanel);
        m_panel->resize(400, 300);
        m_panel->show();
    }
    void cleanup()
    {
        m_panel.reset();
        m_browser.reset();
        Background::finish();
        UserInfo::setProgramDir({});
        Session::clearAddresses();
    }

    void origins()
    {
        writeIni("cms=https://ads.example\nwebOrigins=\"https://a.example, http://b.example:81/path  c.example\"\n");
        for (const char *good : {"https://ads.example:443/x", "https://a.example/?q", "http://b.example:81"})
            QVERIFY2(WebOrigins::listed(QUrl(good)), good);
        QVERIFY(WebOrigins::listed(QUrl(m_own->url("/x"))));
        for (const char *bad : {"http://a.example", "https://a.example:444", "https://a.example.evil.example", "http://c.example",
                                "https://x@evil.example", "file:///", "about:blank", "data:text/html,x", ""})
            QVERIFY2(!WebOrigins::listed(QUrl(bad)), bad);
    }

    // The object is there in the main frame of a listed origin, and nowhere else, from the first script on.
    void whoSeesIt()
    {
        m_pages["/there"] = "tell(see+' '+typeof WebTool+' '+typeof handOver)";
        m_pages["/inside"] = "tell('inside '+see)";
        m_pages["/redirect"] = redirect(m_other.data(), "/there");
        const auto frame = [](HttpPeer *peer) { return "document.write('<iframe src=" + peer->url("/inside").toUtf8() + "></iframe>');"; };
        QVERIFY(runs("tell(see+' '+typeof handOver+' '+typeof WebTool.objectName+' '+typeof WebTool.deleteLater)"));
        QCOMPARE(told(m_own.data())[0], QString("object undefined undefined undefined"));
        QVERIFY(runs("document.write('<a id=a href=" + m_other->url("/there").toUtf8() + ">leave</a>')"));
        click("#a");
        QTRY_COMPARE(told(m_other.data()).value(0), QString("undefined undefined undefined"));
        m_panel->open("页", QUrl(m_own->url("/redirect")));
        QTRY_COMPARE(told(m_other.data()).value(1), QString("undefined undefined undefined"));
        QVERIFY(runs(frame(m_own.data()) + frame(m_other.data())));
        QTRY_VERIFY(told(m_own.data()).contains("inside undefined") && told(m_other.data()).contains("inside undefined"));
        QVERIFY(!told(m_own.data()).contains("inside object"));
        const int back = told(m_own.data()).count("object");
        m_panel->open("页", QUrl(m_other->url("/there")));
        QTRY_COMPARE(told(m_other.data()).size(), 4);
        QCOMPARE(told(m_other.data()).last(), QString("undefined undefined undefined"));
        QVERIFY2(runs("tell(see)") && told(m_own.data()).count("object") == back + 1, "back again: it's there again");
    }

    void answers()
    {
        UserInfo::setAuth("secret");
        DownSpy down;
        BusinessPeer server;
        QVERIFY(server.takeClient());
        QSignalSpy again(m_panel.data(), &WebPanel::reLogin);
        QVERIFY(runs(
            "tell([WebTool.appLang(),WebTool.accessToken()=='" + UserInfo::token().toUtf8() +
            "',WebTool.loadUserInfos()==''].join());WebTool.clipboard('山');WebTool.reLogin();WebTool.adCount(5);"
            "WebTool.downloadResult('[7,\"8\",{\"missionId\":9},7,-1,1.5,\"x\",{},1e300]');WebTool.downloadResult('[12]');"
            "WebTool.preview('{\"missionId\":7,\"subjobId\":\"700001\"}');WebTool.preview('{\"missionId\":7}');"
            "WebTool.downloadLog('7_700001.log');WebTool.downloadLog('{\"missionId\":8,\"subjobId\":3}');WebTool.downloadLog('../x');"));
        QCOMPARE(told(m_own.data())[0], QString("0,true,true"));
        QCOMPARE(QGuiApplication::clipboard()->text(), QString("山"));
        QTRY_COMPARE(down.calls.join('|'), QString("result 7 0 1|result 8 0 1|result 9 0 1|result 12 0 0"));
        QTRY_COMPARE(server.count(10407), 1);
        QCOMPARE(server.last(10407)["subjobId"].toVariant().toLongLong(), 700001LL);
        QTRY_COMPARE(server.count(10804), 2);
        QSet<int> logs; // each window asks by itself
        for (const BusinessPeer::Request &request : server.requests(10804))
            logs << request.body["missionId"].toVariant().toInt();
        QCOMPARE(logs, (QSet<int>{7, 8}));
        QVERIFY(topLevel<PreviewQN>() && topLevel<LogView>());
        for (QWidget *window : QApplication::topLevelWidgets())
            if (qobject_cast<PreviewQN *>(window) || qobject_cast<LogView *>(window))
                delete window;
        QCOMPARE(again.value(0).value(0).toInt(), 111);
        QTRY_VERIFY(std::any_of(m_own->requests.begin(), m_own->requests.end(), [](const HttpPeer::Request &request) {
            return request.path == "/cms/advertisement/record?id=5&username=frieda";
        }));
    }
    // Values that no page of ours sends: nothing is opened, nothing fetched, and the page goes on.
    void wrongArguments()
    {
        DownSpy down;
        QGuiApplication::clipboard()->setText("before");
        QVERIFY(runs(
            "var big=new Array(300000).join('x');var names=['openLocalDir','preview','clipboard','shareResult',"
            "'downloadResult','downloadLog','adCount','openUrl'];"
            "var odd=[undefined,null,{},[],NaN,-1e300,function(){},window,big,'[[[[','\\u0000',{toString:function(){throw 1}}];"
            "for(var i=0;i<names.length;++i){if(names[i]!='clipboard')for(var k=0;k<odd.length;++k)try{WebTool[names[i]](odd[k])}catch(e){}"
            "try{WebTool[names[i]]()}catch(e){}try{WebTool[names[i]](big)}catch(e){}}"
            "WebTool.openLocalDir('../..');WebTool.openLocalDir('out');WebTool.openUrl('file:///etc/passwd');"
            "WebTool.openUrl('javascript:1');try{WebTool.accessToken=1;delete WebTool.appLang}catch(e){}"
            "tell(typeof WebTool.accessToken+typeof WebTool.appLang)"));
        QCOMPARE(told(m_own.data())[0], QString("functionfunction"));
        Background::finish();
        QVERIFY2(m_browser->opened.isEmpty(), qPrintable(m_browser->opened.join(' ').left(500)));
        QVERIFY(down.calls.isEmpty() && !topLevel<PreviewQN>() && !topLevel<LogView>());
        QVERIFY(QGuiApplication::clipboard()->text().size() < 100);
    }

    void whatTheSystemOpens_data()
    {
        columns<QByteArray, QByteArray, QString>("ini", "call", "opened");
        const QByteArray share = "share=http://s.example/do\n";
        addRow("share", share,
               QByteArray("shareResult('{\"url\":\"http://a/?b=1&c\",\"title\":\"vdurl vdpics\",\"desc\":\"山\",\"pics\":\"p\"}')"),
               "http://s.example/do?url=http%3A%2F%2Fa%2F%3Fb%3D1%26c&title=vdurl%20vdpics&summary=%E5%B1%B1&pics=p&site=vdurl%20vdpics"
               "&style=201&width=32&height=32");
        addRow("share without pictures", share, QByteArray("shareResult('{\"url\":\"u\",\"title\":\"%1\"}')"),
               "http://s.example/do?url=u&title=%251&summary=&pics=&site=%251&style=201&width=32&height=32");
        addRow("support page", QByteArray("chat=https://c.example/talk\n"), QByteArray("contactCustomer()"), "https://c.example/talk");
        addRow("support number", QByteArray("chat=https://c.example/talk\nchatNumber=12&3\n"), QByteArray("contactCustomer()"),
               "https://c.example/talk?uin=12%263&aty=0&a=0&curl=&ty=1");
        addRow("support program", QByteArray("chatScheme=chat\nchatNumber=123\n"), QByteArray("contactCustomer()"),
               "chat://message/?uin=123&Site=&Menu=yes");
        addRow("no program for it", QByteArray("chat=http://c.example\nchatScheme=nosuchscheme\nchatNumber=1\n"),
               QByteArray("contactCustomer()"), "http://c.example?uin=1&aty=0&a=0&curl=&ty=1");
        addRow("a link", QByteArray(), QByteArray("openUrl('mailto:help@a.example')"), "mailto:help@a.example");
    }
    void whatTheSystemOpens()
    {
        FETCH(QByteArray, ini, QByteArray, call, QString, opened);
        writeIni(ini);
        QVERIFY(runs("WebTool." + call));
        QCOMPARE(m_browser->opened.join(' '), opened);
    }

    void opensFoldersOfResultsOnly()
    {
        QTemporaryDir bin;
        QFile opener(bin.filePath("xdg-open"));
        QVERIFY(opener.open(QIODevice::WriteOnly));
        opener.write("#!/bin/sh\necho \"$1\" >> " + bin.filePath("opened").toUtf8() + "\n");
        opener.close();
        opener.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", bin.path().toUtf8() + ":" + path);
        const QString results = testHome() + "/results";
        QDir(results).mkpath("7_shot");
        QFile frame(results + "/7_shot/run.sh");
        QVERIFY(frame.open(QIODevice::WriteOnly));
        QFile::link("/etc", results + "/out");
        QVERIFY(runs("WebTool.openLocalDir('out');WebTool.openLocalDir('gone');WebTool.openLocalDir('7_shot/run.sh')"));
        Background::finish();
        const auto opened = [&] {
            QFile file(bin.filePath("opened"));
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        };
        QTRY_COMPARE(opened(), QFileInfo(results).canonicalFilePath().toUtf8() + "/7_shot\n");
        qputenv("PATH", path);
    }

    // Pages stay among web addresses, their messages don't stop the client, what fails can be tried again.
    void navigation()
    {
        QVERIFY(runs("location='file:///etc/passwd';alert('one');alert('two');tell(String(prompt('p')))"));
        QTRY_COMPARE(message(), QString("one"));
        QVERIFY(answer("确定"));
        QCOMPARE(view()->url(), QUrl(m_own->url("/p")));
        m_pages["/p"] = "tell(String(confirm('sure?')))";
        asked([] { press(topLevel<MsgBox>(), "确定"); });
        QTRY_COMPARE(told(m_own.data()).last(), QString("true"));
        m_pages["/p"] = "document.write('<a id=a href=" + m_other->url("/none").toUtf8() + ">a</a>')";
        m_other->close();
        QVERIFY(runs(m_pages["/p"]));
        click("#a");
        QTRY_VERIFY(view()->webPage()->failed());
        QTRY_COMPARE(view()->title(), QString("function,undefined")); // the error page gets no more than it needs
        const int before = told(m_own.data()).size();
        m_pages["/p"] = "tell('again')";
        QTest::keyClick(view(), Qt::Key_Return);
        QTRY_COMPARE(told(m_own.data()).size(), before + 1);
    }
    void endsUnderAQuestion()
    {
        m_pages["/p"] = "tell(String(confirm('sure?'))+confirm('once more'))";
        QPointer<WebView> view;
        asked([&] {
            view = m_panel->view();
            m_panel.reset(); // as when the session ends
        });
        QTRY_VERIFY(!view);
    }

    void newWindows()
    {
        m_pages["/p"] = "";
        QVERIFY(runs("document.write('<a id=a target=_blank href=/second>a</a><a id=b target=_blank href=" +
                     m_other->url("/there").toUtf8() + ">b</a>')"));
        m_pages["/second"] = "tell('second '+see)";
        m_pages["/there"] = "tell(see)";
        click("#a");
        QTRY_VERIFY(told(m_own.data()).contains("second object"));
        QTRY_VERIFY(m_panel->findChild<QWidget *>("webWindow") && m_panel->findChild<QWidget *>("webWindow")->isVisible());
        click("#b");
        QTRY_COMPARE(m_browser->opened.join(' '), m_other->url("/there"));
        QVERIFY2(m_other->requests.isEmpty(), "the system's browser goes there, the client doesn't");
        delete m_panel->findChild<QWidget *>("webWindow");
    }

    void downloads()
    {
        for (const auto &[disposition, path, name] :
             Rows<QByteArray, QString, QString>{{"attachment; filename=\"../../a b.zip\"", "/x", "a b.zip"},
                                                {"attachment; filename*=UTF-8''%E5%B1%B1%2F%2E%2E%5Cc.txt; filename=no", "/x", "c.txt"},
                                                {"attachment; filename=.bashrc", "/x", "bashrc"},
                                                {"attachment; filename=\"nul.txt\"", "/x", "downloadnul.txt"},
                                                {"", "/files/frame.exr", "frame.exr"},
                                                {"attachment; filename=\"..\"", "/", "download"}})
            QCOMPARE(WebDownload::fileName(disposition, QUrl("http://h" + path)), name);
        const QByteArray bytes(700000, 'z');
        m_pages["/file"] =
            HttpPeer::response(bytes, "200 OK", "Content-Type: application/zip\r\nContent-Disposition: attachment; filename=r.zip\r\n");
        const QString folder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
        const auto files = [&] { return QDir(folder).entryList(QDir::Files).join(' '); };
        for (const char *wanted : {"", "r.zip", "r (1).zip r.zip"}) {
            m_panel->open("页", QUrl(m_own->url("/file")));
            QTRY_VERIFY(message().contains("r.zip"));
            QVERIFY(answer(*wanted ? "下载" : "取消"));
            QTRY_COMPARE(files(), QString(wanted));
        }
        QVERIFY2(!view()->webPage()->failed(), "a page that gave a file hasn't failed");
        QFile file(folder + "/r (1).zip");
        QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll() == bytes);
        m_pages["/file"] = m_pages["/file"].left(400000); // breaks off
        m_panel->open("页", QUrl(m_own->url("/file")));
        QTRY_VERIFY(message().contains("r.zip"));
        QVERIFY(answer("下载"));
        m_own->link->disconnectFromHost();
        QTRY_VERIFY(message().contains("失败"));
        QVERIFY(answer("确定"));
        QTRY_COMPARE(files(), QString("r (1).zip r.zip"));
    }
};

VN_TEST(TestWebBridge)
#include "tst_webbridge.moc"
