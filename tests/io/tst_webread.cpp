#include "io/WebRead.h"
#include "support/HttpPeer.h"
#include "support/TestMain.h"
#include <atomic>
#include <QNetworkProxy>
#include <QProcess>
#include <QSignalSpy>
#include <QSslConfiguration>
#include <QSslSocket>
#include <QTest>
#include <QThreadPool>

namespace
{
class TlsPeer : public QTcpServer
{
public:
    TlsPeer(const QString &key, const QString &cert) : m_key(key), m_cert(cert) { listen(QHostAddress::LocalHost); }

private:
    void incomingConnection(qintptr descriptor) override
    {
        auto *link = new QSslSocket(this);
        connect(link, &QSslSocket::readyRead, link, [link] { link->write(HttpPeer::response("sealed")); });
        link->setSocketDescriptor(descriptor);
        link->setPrivateKey(m_key);
        link->setLocalCertificate(m_cert);
        link->startServerEncryption();
    }
    const QString m_key, m_cert;
};
} // namespace

// A GET that is read as it comes: what ends it, what it keeps back, and over which connections it goes.
class WebReadTest : public QObject
{
    Q_OBJECT
    struct Asked {
        QByteArray body;
        int status = 0, error = 0;
    };
    static QNetworkRequest request(const QString &url)
    {
        QNetworkRequest request{QUrl(url)};
        request.setRawHeader("token", "mine");
        return request;
    }
    static Asked ask(const QString &url)
    {
        WebRead read(request(url));
        QSignalSpy end(&read, &WebRead::finished);
        if (!comes([&] { return !end.isEmpty(); }))
            return {};
        return {read.bytes(), read.status(), int(read.error())};
    }

private slots:
    void cleanup() { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); }

    void answers()
    {
        HttpPeer peer;
        int links = 0;
        connect(&peer, &QTcpServer::newConnection, this, [&] { ++links; });
        peer.answer = [&](const HttpPeer::Request &asked) -> QByteArray {
            if (asked.path == "/away")
                return HttpPeer::response("there", "302 Found", "Location: " + peer.url("/good").toUtf8() + "\r\n");
            if (asked.path == "/gone")
                return HttpPeer::response("no", "404 Not Found");
            return HttpPeer::response("bytes", "200 OK");
        };
        const Asked good = ask(peer.url("/good")), away = ask(peer.url("/away")), gone = ask(peer.url("/gone"));
        QCOMPARE(peer.requests.at(0).header("token"), QByteArray("mine"));
        QVERIFY(good.body == "bytes" && good.status == 200 && good.error == 0);
        QVERIFY(away.body == "there" && away.status == 302 && away.error == 0); // no further than asked
        QVERIFY(gone.body == "no" && gone.status == 404 && gone.error == QNetworkReply::ContentNotFoundError);
        QCOMPARE(links, 1);
        peer.answer = [](const HttpPeer::Request &) { return QByteArray("left over of an answer that was longer than told\r\n"); };
        QCOMPARE(ask(peer.url("/odd")).error, int(QNetworkReply::RemoteHostClosedError));
        peer.answer = [&](const HttpPeer::Request &) {
            QTimer::singleShot(0, peer.link, [&] { peer.link->disconnectFromHost(); });
            return QByteArray("HTTP/1.1 206 Partial Content\r\nContent-Length: 10\r\n\r\nhalf");
        };
        const Asked half = ask(peer.url("/half"));
        QVERIFY(half.body == "half" && half.status == 206 && half.error == QNetworkReply::RemoteHostClosedError);
        peer.close();
        QCOMPARE(ask(peer.url("/none")).error, int(QNetworkReply::ConnectionRefusedError));

        HttpPeer proxy;
        proxy.answer = [](const HttpPeer::Request &asked) { return HttpPeer::response(asked.path); };
        QNetworkProxy::setApplicationProxy({QNetworkProxy::HttpCachingProxy, "127.0.0.1", proxy.serverPort()});
        QCOMPARE(ask("http://farm.example/x?y=1").body, QByteArray("http://farm.example/x?y=1"));
    }

    // What nobody takes isn't heaped up; what is taken comes whole; who deletes it while it comes hears no more.
    void heldBack()
    {
        HttpPeer peer;
        QByteArray all(8 << 20, 'a');
        for (int n = 0; n < all.size(); n += 1000)
            all[n] = char(n / 1000);
        peer.answer = [&](const HttpPeer::Request &asked) { return HttpPeer::response(asked.path == "/big" ? all : "small"); };
        WebRead read(request(peer.url("/big")));
        QTRY_VERIFY(read.bytes().size() >= WebRead::Window);
        QCOMPARE(ask(peer.url("/small")).body, QByteArray("small"));
        QVERIFY(read.bytes().size() < 2 * WebRead::Window && !read.isFinished());
        QByteArray block, whole;
        const auto take = [&] {
            read.take(&block);
            whole += block;
        };
        connect(&read, &WebRead::readyRead, this, take);
        take();
        QTRY_VERIFY(read.isFinished());
        QVERIFY(whole == all && read.error() == QNetworkReply::NoError);

        auto *ended = new WebRead(request(peer.url("/big")));
        connect(ended, &WebRead::readyRead, this, [&] { delete std::exchange(ended, nullptr); });
        QTRY_VERIFY(!ended);
        QCOMPARE(ask(peer.url("/small")).body, QByteArray("small"));
    }

    // The program's own list of whom to trust holds here, too, and the name has to be the certificate's.
    void sealed()
    {
        const QString key = testHome() + "/key.pem", cert = testHome() + "/cert.pem";
        QProcess openssl;
        openssl.start("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", cert, "-days", "2", "-subj",
                                  "/CN=farm", "-addext", "subjectAltName=IP:127.0.0.1"});
        QVERIFY(openssl.waitForFinished() && openssl.exitCode() == 0);
        TlsPeer peer(key, cert);
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        QSslConfiguration trusting = before;
        trusting.addCaCertificates(cert);
        QSslConfiguration::setDefaultConfiguration(trusting);
        QCOMPARE(ask(QStringLiteral("https://127.0.0.1:%1/").arg(peer.serverPort())).body, QByteArray("sealed"));
        QCOMPARE(ask(QStringLiteral("https://localhost:%1/").arg(peer.serverPort())).error, int(QNetworkReply::SslHandshakeFailedError));
        QSslConfiguration::setDefaultConfiguration(before);
        std::atomic_int error{0};
        QThreadPool other; // whose connections are its own
        other.start([&] { error = ask(QStringLiteral("https://127.0.0.1:%1/").arg(peer.serverPort())).error; });
        QTRY_COMPARE(int(error), int(QNetworkReply::SslHandshakeFailedError));
    }
};

VN_TEST(WebReadTest)
#include "tst_webread.moc"
