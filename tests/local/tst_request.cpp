#include "io/local/CmdLine.h"
#include "io/local/HttpGuard.h"
#include "io/local/HttpRequest.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QHostInfo>

class TestRequest : public QObject
{
    Q_OBJECT
private slots:
    void reader_data()
    {
        columns<QByteArray, int, QByteArray>("bytes", "state", "body");
        const auto row = [](const char *name, const QByteArray &bytes, HttpRequest::State state, const QByteArray &body = "") {
            addRow(name, bytes, int(state), body);
        };
        const QByteArray post = "POST /job?page=1 HTTP/1.1\r\nHost: a\r\n";
        const auto length = [&](const QByteArray &value) { return post + "Content-Length:" + value + "\r\n\r\n"; };
        const QByteArray limit(HttpRequest::MaxHead - post.size() - 3, 'x');
        row("no body", post + "\r\n", HttpRequest::Complete);
        row("body", length("5") + "12345", HttpRequest::Complete, "12345");
        row("more than told", length(" 3 ") + "12345", HttpRequest::Complete, "123");
        row("half a body", length("5") + "1234", HttpRequest::Incomplete);
        row("half a head", post, HttpRequest::Incomplete);
        row("name in capitals", post + "CONTENT-LENGTH: 2\r\n\r\nab", HttpRequest::Complete, "ab");
        row("empty line inside the body", length("6") + "a\r\n\r\nb", HttpRequest::Complete, "a\r\n\r\nb");
        row("negative length", length("-1"), HttpRequest::Bad);
        row("no number", length("5x"), HttpRequest::Bad);
        row("empty length", length(""), HttpRequest::Bad);
        row("body at its ceiling", length(QByteArray::number(HttpRequest::MaxBody)), HttpRequest::Incomplete);
        row("body over its ceiling", length(QByteArray::number(HttpRequest::MaxBody + 1)), HttpRequest::Bad);
        row("two lengths", post + "Content-Length: 2\r\nContent-Length: 3\r\n\r\nabc", HttpRequest::Bad);
        row("one length twice", post + "Content-Length: 2\r\nContent-Length: 2\r\n\r\nab", HttpRequest::Complete, "ab");
        row("in chunks", post + "Transfer-Encoding: chunked\r\n\r\n", HttpRequest::Bad);
        row("one word", "POST\r\n\r\n", HttpRequest::Bad);
        row("head at its ceiling", post + limit + ":\r\n\r\n", HttpRequest::Complete);
        row("head over its ceiling", post + limit + "xxx:\r\n\r\n", HttpRequest::Bad);
        row("head without end", QByteArray(20000, 'x'), HttpRequest::Bad);
    }
    // Whole, in two pieces cut at every byte, and byte by byte.
    void reader()
    {
        FETCH(QByteArray, bytes, int, state);
        const int step = bytes.size() > 1000 ? 997 : 1;
        for (int cut = 0; cut <= bytes.size(); cut += step) {
            HttpRequest request;
            request.feed(bytes.left(cut));
            request.feed(bytes.mid(cut));
            QCOMPARE(int(request.state()), state);
            if (state == HttpRequest::Complete)
                QTEST(request.body(), "body");
        }
        HttpRequest slow;
        for (char byte : bytes)
            slow.feed(QByteArray(1, byte));
        QCOMPARE(int(slow.state()), state);
        if (slow.state() == HttpRequest::Complete) {
            QTEST(slow.body(), "body");
            QCOMPARE(slow.method(), QByteArray("POST"));
            QCOMPARE(slow.target(), QByteArray("/job?page=1"));
        }
    }

    void guard_data()
    {
        columns<QByteArray, QString, QString, bool>("headers", "peer", "token", "allowed");
        const QByteArray name = QHostInfo::localHostName().toUtf8();
        QTest::addColumn<bool>("known");
        const auto row = [](const char *label, const QByteArray &headers, bool allowed, const char *peer = "127.0.0.1",
                            const char *token = "", bool known = false) {
            addRow(label, headers, peer, token, allowed, (known || qstrcmp(peer, "127.0.0.1") == 0));
        };
        row("plain", "", true);
        row("by address", "Host: 127.0.0.1:46160\r\n", true);
        row("by address of version 6", "Host: [::1]:46160\r\n", true);
        row("by name", "Host: LOCALHOST.\r\n", true);
        row("by the machine's name", "Host: " + name + ":1\r\n", true);
        row("address of the connection", "Host: 192.0.2.7\r\n", true);
        row("another address", "Host: 192.0.2.8\r\n", false);
        row("a site's name that points here", "Host: evil.example\r\n", false);
        row("like the machine's name", "Host: " + name + ".evil.example\r\n", false);
        row("empty host", "Host:\r\n", false);
        row("own page", "Host: localhost\r\nOrigin: http://localhost:8080\r\n", true);
        row("foreign page", "Host: localhost\r\nOrigin: https://evil.example\r\n", false);
        row("page without a site", "Host: localhost\r\nOrigin: null\r\n", false);
        row("link of a foreign page", "Referer: http://evil.example/a\r\n", false);
        row("link of an own page", "Referer: http://localhost/a\r\n", true);
        row("picture in a foreign page", "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: no-cors\r\n", false);
        row("picture in a page of another port", "Sec-Fetch-Site: same-site\r\n", false);
        row("typed into a browser", "Sec-Fetch-Site: none\r\n", true);
        row("other machine", "", true, "192.0.2.9");
        row("other machine without the token", "", false, "192.0.2.9", "secret");
        row("other machine with the token", "Authorization: bearer secret\r\n", true, "192.0.2.9", "secret", true);
        row("forwarded by the master", "", false, "forward", "secret");
        row("forwarded, with the token", "Authorization: Bearer secret\r\n", true, "forward", "secret", true);
        row("an empty token is none", "Authorization: Bearer \r\n", true, "192.0.2.9");
        row("with half of it", "Authorization: Bearer secre\r\n", false, "192.0.2.9", "secret");
        row("with more than it", "Authorization: Bearer secrets\r\n", false, "192.0.2.9", "secret");
        row("this machine needs none", "", true, "::ffff:127.0.0.1", "secret", true);
        row("a token opens no foreign page", "Origin: http://x\r\nAuthorization: Bearer secret\r\n", false, "192.0.2.9", "secret", true);
    }
    void guard()
    {
        FETCH(QByteArray, headers, QString, peer, QString, token);
        HttpRequest request;
        request.feed("POST / HTTP/1.1\r\n" + headers + "\r\n");
        QCOMPARE(request.state(), HttpRequest::Complete);
        const bool forwarded = peer == "forward";
        const HttpGuard::Link link{QHostAddress(forwarded ? "127.0.0.1" : peer), QHostAddress("192.0.2.7"), forwarded};
        QTEST(HttpGuard::allows(request, link, token), "allowed");
        QTEST(HttpGuard::isKnown(request, link, token), "known");
    }

    void commandForms_data()
    {
        columns<QString, bool, QString, QString, QByteArray, bool>("text", "words", "path", "name", "body", "readable");
        const QByteArray sent = "sent", none;
        addRow("socket", "/job?page=1&name=a", false, "/job", "a", sent, false);
        addRow("encoded", "/job?name=%E5%9C%BA%26%3D%2541", false, "/job", "场&=%41", sent, false);
        addRow("slashes", "///job//detail?name=//", false, "/job/detail", "//", sent, false);
        addRow("readable", "/readable/account", false, "/account", "", sent, true);
        addRow("words", "/model /analysis -post=[\"/a-b c\"]", true, "/model/analysis", "", QByteArray("[\"/a-b c\"]"), false);
        addRow("words with arguments", "readable job  list -name=a&page=2", true, "/job/list", "a", none, true);
        addRow("words with dashed arguments", "job -page=2 -name=a", true, "/job", "a", none, false);
        addRow("empty", "", true, "", "", none, false);
    }
    void commandForms()
    {
        FETCH(QString, text, bool, words);
        const CmdLine line = words ? CmdLine::fromWords(text) : CmdLine::fromTarget(text, "sent");
        QTEST(line.path, "path");
        QTEST(line.arg("name"), "name");
        QTEST(line.body, "body");
        QTEST(line.readable, "readable");
    }

    void numbers()
    {
        for (const auto &[query, wanted, tooLong] : Rows<QString, QList<qlonglong>, bool>{{"mid=5", {5}, false},
                                                                                          {"mids=1,3-5,mid=9", {1, 3, 4, 5, 9}, false},
                                                                                          {"mids=a,-3,,5-4,1.5,7", {7}, false},
                                                                                          {"mids=1-1001", {}, true},
                                                                                          {"mids=1-999999999", {}, true},
                                                                                          {"mids=1-99999999999999999999999", {}, false}}) {
            bool told = false;
            QCOMPARE(CmdLine::fromTarget("/x?" + query, {}).numbers("mid", "mids", &told), wanted);
            QCOMPARE(told, tooLong);
        }
    }
};

VN_TEST(TestRequest)
#include "tst_request.moc"
