// The companion that uploads to object stores, without a store: what it takes from its stream, its check point, the
// description and the file, and what it makes of an endpoint that refuses, stumbles or forgets.
#include "CheckPoint.h"
#include "JsonStream.h"
#include "Listener.h"
#include "OssErrors.h"
#include "StoreDescription.h"
#include "support/HttpPeer.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QSslKey>
#include <QSslSocket>
#include <QUrl>
#include <QUrlQuery>
#ifdef Q_OS_LINUX
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#endif

namespace
{
const char Secret[] = "s3cret";

QByteArray error(const char *code) { return QByteArray("<?xml version=\"1.0\"?>\n<Error><Code>") + code + "</Code></Error>"; }

// A store as far as the companion can tell: keeps parts and objects, and misbehaves as told.
struct FakeStore {
    HttpPeer peer;
    QMap<QString, QByteArray> objects;
    QMap<QString, QMap<QByteArray, QByteArray>> meta;
    QMap<QByteArray, QMap<int, QByteArray>> parts; // by upload
    int uploads = 0;
    // Before a request is served: an answer in place of the store's own; empty to let it be served.
    std::function<QByteArray(const HttpPeer::Request &, const QUrlQuery &)> fault;

    FakeStore()
    {
        peer.answer = [this](const HttpPeer::Request &request) { return serve(request); };
    }
    int count(const QByteArray &method, const QByteArray &part = {}) const
    {
        return std::count_if(peer.requests.begin(), peer.requests.end(),
                             [&](const HttpPeer::Request &r) { return r.method == method && r.path.contains(part); });
    }
    QByteArray serve(const HttpPeer::Request &request)
    {
        const QUrl url = QUrl::fromEncoded(request.path);
        const QUrlQuery query(url);
        const QString key = url.path(QUrl::FullyDecoded);
        if (fault) {
            const QByteArray told = fault(request, query);
            if (!told.isEmpty())
                return told;
        }
        const QByteArray id = query.queryItemValue("uploadId").toUtf8();
        if (request.method == "HEAD") {
            if (!objects.contains(key))
                return "HTTP/1.1 404 Not Found\r\n\r\n";
            QByteArray heads = "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(objects[key].size()) + "\r\n";
            for (auto it = meta[key].begin(); it != meta[key].end(); ++it)
                heads += it.key() + ": " + it.value() + "\r\n";
            return heads + "\r\n";
        }
        if (request.method == "POST" && query.hasQueryItem("uploads")) {
            keepMeta(key, request);
            const QByteArray uploadId = "upload-" + QByteArray::number(++uploads);
            parts[uploadId] = {};
            return HttpPeer::response("<R><UploadId>" + uploadId + "</UploadId></R>");
        }
        if (!id.isEmpty() && !parts.contains(id))
            return HttpPeer::response(error("NoSuchUpload"), "404 Not Found");
        if (request.method == "PUT") {
            const QByteArray hash = QCryptographicHash::hash(request.body, QCryptographicHash::Md5);
            if (request.header("Content-MD5") != hash.toBase64())
                return HttpPeer::response(error("BadDigest"), "400 Bad Request");
            if (id.isEmpty())
                keepMeta(key, request), objects[key] = request.body;
            else
                parts[id][query.queryItemValue("partNumber").toInt()] = request.body;
            return HttpPeer::response("", "200 OK", "ETag: \"" + hash.toHex() + "\"\r\n");
        }
        if (request.method == "POST") {
            QByteArray whole;
            for (const QByteArray &part : parts.take(id))
                whole += part;
            objects[key] = whole;
            return HttpPeer::response("<CompleteMultipartUploadResult/>");
        }
        QByteArray list = "<L>";
        for (auto it = parts[id].begin(); it != parts[id].end(); ++it)
            list += "<Part><PartNumber>" + QByteArray::number(it.key()) + "</PartNumber><ETag>\"" +
                    QCryptographicHash::hash(it.value(), QCryptographicHash::Md5).toHex() + "\"</ETag></Part>";
        return HttpPeer::response(list + "</L>");
    }
    void keepMeta(const QString &key, const HttpPeer::Request &request)
    {
        meta[key].clear();
        for (const QByteArray &line : request.head.split('\n'))
            if (line.startsWith("x-amz-meta-"))
                meta[key].insert(line.left(line.indexOf(':')), line.mid(line.indexOf(':') + 1).trimmed());
    }
};

// Stands before a server and speaks TLS for it.
struct TlsFront : QTcpServer {
    quint16 behind;
    QSslKey key;
    QSslCertificate cert;
    TlsFront(quint16 port, const QString &keyFile, const QString &certFile) : behind(port)
    {
        QFile from(keyFile), also(certFile);
        if (from.open(QIODevice::ReadOnly) && also.open(QIODevice::ReadOnly)) {
            key = QSslKey(&from, QSsl::Rsa);
            cert = QSslCertificate(&also);
        }
        listen(QHostAddress::LocalHost);
    }
    void incomingConnection(qintptr handle) override
    {
        auto *client = new QSslSocket(this);
        auto *server = new QTcpSocket(client);
        client->setSocketDescriptor(handle);
        client->setPrivateKey(key);
        client->setLocalCertificate(cert);
        server->connectToHost(QHostAddress::LocalHost, behind);
        connect(client, &QSslSocket::readyRead, server, [=] { server->write(client->readAll()); });
        connect(server, &QTcpSocket::readyRead, client, [=] { client->write(server->readAll()); });
        connect(client, &QSslSocket::disconnected, client, &QObject::deleteLater);
        client->startServerEncryption();
    }
};

QByteArray framed(QByteArray *buffer)
{
    const int length = buffer->left(8).toInt();
    if (buffer->size() < 8 || buffer->size() < 8 + length)
        return {};
    const QByteArray text = buffer->mid(8, length);
    buffer->remove(0, 8 + length);
    return text;
}
} // namespace

class TestOss : public QObject
{
    Q_OBJECT
    QTemporaryDir m_folder;
    QScopedPointer<FakeStore> m_store;
    QScopedPointer<Listener> m_listener;
    QScopedPointer<QTcpSocket> m_client;
    QByteArray m_buffer;
    QList<QJsonObject> m_said;

    QString write(const QString &name, int size)
    {
        QByteArray bytes(size, 'x');
        for (int i = 0; i < size; i += 997)
            bytes[i] = char(i / 997);
        QFile file(m_folder.filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(bytes);
        return file.fileName();
    }
    QByteArray content(const QString &name)
    {
        QFile file(m_folder.filePath(name));
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }
    QJsonObject upload(const QString &name, const QJsonObject &more = {})
    {
        QJsonObject message{{"func", "upload"},    {"file", m_folder.filePath(name)},
                            {"rule", name},        {"key", "D/盘/" + name},
                            {"partSize", 2097152}, {"threadNum", 2},
                            {"type", "s3"},        {"endpoint", m_store->peer.url()},
                            {"bucket", "farm"},    {"accessKey", "AK"},
                            {"secretKey", "SK"},   {"checkPoint", m_folder.filePath(name + ".ucp")}};
        for (auto it = more.begin(); it != more.end(); ++it)
            message.insert(it.key(), it.value());
        return message;
    }
    static QByteArray signedText(const QJsonObject &message, const QByteArray &secret = Secret)
    {
        return "{\"auth\":\"" + secret + "\"," + QJsonDocument(message).toJson(QJsonDocument::Compact).mid(1);
    }
    void ask(const QJsonObject &message) { m_client->write(signedText(message)); }
    // The code that the companion ends with for that rule; 0 where none came.
    int code(const QString &rule)
    {
        int found = 0;
        const bool came = comes([&] {
            for (const QJsonObject &one : qAsConst(m_said))
                if (one.value("func") == "uploadFinish" && one.value("rule") == rule)
                    found = one.value("code").toInt();
            return found != 0;
        });
        return came ? found : 0;
    }
    QByteArray object(const QString &name) { return m_store->objects.value("/farm/D/盘/" + name); }

    void start(int sourceLimitMs = SourceFile::LimitMs)
    {
        m_listener.reset(new Listener(Secret, sourceLimitMs));
        QVERIFY(m_listener->listen(0));
        m_client.reset(new QTcpSocket);
        m_buffer.clear();
        m_said.clear();
        connect(m_client.data(), &QTcpSocket::readyRead, this, [this] {
            m_buffer += m_client->readAll();
            for (QByteArray text = framed(&m_buffer); !text.isEmpty(); text = framed(&m_buffer))
                m_said << QJsonDocument::fromJson(text).object();
        });
        m_client->connectToHost(QHostAddress::LocalHost, quint16(m_listener->port()));
        QVERIFY(m_client->waitForConnected());
    }

private slots:
    void init()
    {
        m_store.reset(new FakeStore);
        start();
    }
    void cleanup()
    {
        m_client.reset();
        m_listener.reset();
        m_store.reset();
    }

    void objectsOfAStream()
    {
        JsonStream stream;
        QByteArray text;
        stream.feed("{\"a\":\"}\\\"{\",\"b\":[{}]}\r\n {\"c\"");
        QCOMPARE(stream.next(&text), JsonStream::Complete);
        QCOMPARE(text, QByteArray("{\"a\":\"}\\\"{\",\"b\":[{}]}"));
        for (const char *piece : {":\"", "\\", "\"}", "\""}) {
            QCOMPARE(stream.next(&text), JsonStream::Incomplete);
            stream.feed(piece);
        }
        stream.feed("}{}");
        QCOMPARE(stream.next(&text), JsonStream::Complete);
        QCOMPARE(text, QByteArray("{\"c\":\"\\\"}\"}"));
        QCOMPARE(stream.next(&text), JsonStream::Complete);
        QCOMPARE(stream.next(&text), JsonStream::Incomplete);
        JsonStream big, longer, foreign;
        big.feed("{\"a\":\"" + QByteArray(JsonStream::Ceiling - 8, 'x') + "\"}");
        QCOMPARE(big.next(&text), JsonStream::Complete);
        longer.feed("{\"a\":\"" + QByteArray(JsonStream::Ceiling, 'x'));
        QCOMPARE(longer.next(&text), JsonStream::Bad);
        foreign.feed("GET / HTTP/1.1\r\n");
        QCOMPARE(foreign.next(&text), JsonStream::Bad);
    }

    void partSizes()
    {
        const qint64 MiB = 1024 * 1024;
        QCOMPARE(UploadJob::partSize(2 * MiB, 10 * MiB), 5 * MiB);
        QCOMPARE(UploadJob::partSize(16 * MiB, 10 * MiB), 16 * MiB);
        QCOMPARE(UploadJob::partSize(0, 50000 * MiB), 5 * MiB);
        for (const qint64 size : {50000 * MiB + 1, 999999 * MiB + 7}) {
            const qint64 part = UploadJob::partSize(0, size);
            QVERIFY(part > 5 * MiB && (size + part - 1) / part <= 10000);
        }
    }

    void descriptions_data()
    {
        columns<QString, QJsonValue, int, QByteArray>("key", "value", "code", "url");
        const auto row = [](const char *name, const char *key, const QJsonValue &value, int code, const char *url = "") {
            addRow(name, key, value, code, QByteArray(url));
        };
        const int good = OssError::Done, store = OssError::UnknownStore, bad = OssError::BadMessage;
        row("by default encrypted", "region", "eu", good, "https://h:9/b/a%20b/%E7%9B%98%2B%26/x");
        row("told plain", "secure", false, good, "http://h:9/b/a%20b/%E7%9B%98%2B%26/x");
        row("plain by its scheme", "endpoint", "http://h:9/", good, "http://h:9/b/a%20b/%E7%9B%98%2B%26/x");
        row("another kind", "type", "ftp", store);
        row("no endpoint", "endpoint", "", store);
        row("an endpoint with a path", "endpoint", "h/x", store);
        row("an endpoint with a name", "endpoint", "u:p@h", store);
        row("no bucket", "bucket", "", bad);
        row("a bucket with a slash", "bucket", "a/b", bad);
        row("no secret", "secretKey", QJsonValue(), bad);
        row("a head within a token", "sessionToken", "a\r\nx: y", bad);
        row("a key that divides", "accessKey", "a:b", bad);
        row("a region that divides", "region", "a:b", bad);
    }
    void descriptions()
    {
        FETCH(QString, key, QJsonValue, value);
        FETCH(int, code, QByteArray, url);
        QJsonObject message{{"type", "s3"},     {"endpoint", "h:9"}, {"bucket", "b"},
                            {"accessKey", "a"}, {"secretKey", "s"},  {"prefix", "/a b/"}};
        message.insert(key, value);
        StoreDescription store;
        QCOMPARE(StoreDescription::read(message, &store), code);
        if (code == OssError::Done)
            QCOMPARE(store.url("/盘+&/x"), url);
    }

    void checkPoints_data()
    {
        columns<QByteArray, QByteArray>("was", "is");
        addRow("its own", QByteArray(), QByteArray());
        addRow("another version", QByteArray("\"version\":1"), QByteArray("\"version\":2"));
        addRow("another object", QByteArray("h/b/k"), QByteArray("h/b/l"));
        addRow("another file", QByteArray("\"file\":\"f"), QByteArray("\"file\":\"g"));
        addRow("another size", QByteArray("\"size\":12"), QByteArray("\"size\":13"));
        addRow("another time", QByteArray("\"modified\":7"), QByteArray("\"modified\":8"));
        addRow("other parts", QByteArray("\"partSize\":5"), QByteArray("\"partSize\":6"));
        addRow("a part beyond the end", QByteArray("\"2\":"), QByteArray("\"4\":"));
        addRow("a part of no number", QByteArray("\"2\":"), QByteArray("\"x\":"));
        addRow("a part without a tag", QByteArray("\"two\""), QByteArray("\"\""));
        addRow("cut short", QByteArray("\"uploadId\":\"u\",\"version\":1}"), QByteArray("\"upl"));
    }
    void checkPoints()
    {
        FETCH(QByteArray, was, QByteArray, is);
        const QString path = m_folder.filePath("one.ucp");
        CheckPoint point{"h/b/k", "f", 12, 7, 5, "u", {{1, "one"}, {2, "two"}}};
        QVERIFY(point.save(path));
        QCOMPARE(QFile::permissions(path) & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteGroup), QFile::Permissions());
        QByteArray text = content("one.ucp");
        QVERIFY(text.contains(was));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text.replace(was, is));
        file.close();
        CheckPoint read{"h/b/k", "f", 12, 7, 5, "old", {{3, "old"}}};
        read.load(path);
        QCOMPARE(read.begun(), was.isEmpty());
        QCOMPARE(read.parts.size(), was.isEmpty() ? 2 : 0);
        QVERIFY(!point.save(m_folder.filePath("no such folder/one.ucp")));
    }

    // A stranger gets no answer and is let go; the client is heard in pieces and joined.
    void strangersAndPieces()
    {
        for (const QByteArray &text : {signedText(upload("none"), "wrong!"), QJsonDocument(upload("none")).toJson(),
                                       QByteArray("{\"func\":\"upload\",\"auth\":\"s3cret\"}"), QByteArray("GET /\r\n\r\n")}) {
            QTcpSocket stranger;
            stranger.connectToHost(QHostAddress::LocalHost, quint16(m_listener->port()));
            QVERIFY(stranger.waitForConnected());
            stranger.write(text);
            QTRY_COMPARE(stranger.state(), QAbstractSocket::UnconnectedState);
            QCOMPARE(stranger.readAll(), QByteArray());
        }
        write("a.bin", 1000);
        write("ü b.bin", 0);
        const QByteArray both = signedText(upload("a.bin", {{"linkName", "c:/盘"}})) + "\n" + signedText(upload("ü b.bin"));
        for (int at = 0; at < both.size(); at += 61) {
            m_client->write(both.mid(at, 61));
            m_client->flush();
            QCoreApplication::processEvents();
        }
        QCOMPARE(code("a.bin"), 200);
        QCOMPARE(code("ü b.bin"), 200);
        QCOMPARE(object("a.bin"), content("a.bin"));
        QVERIFY(m_store->objects.contains("/farm/D/盘/ü b.bin"));
        QCOMPARE(m_store->meta["/farm/D/盘/a.bin"].value("x-amz-meta-link-name"), QByteArray("c%3A%2F%E7%9B%98"));
        ask(upload("missing"));
        QCOMPARE(code("missing"), int(OssError::FileMissing));
        ask(upload("", {{"rule", "folder"}}));
        QCOMPARE(code("folder"), int(OssError::FileUnreadable));
        ask({{"func", "upload"}, {"rule", "empty"}});
        QCOMPARE(code("empty"), int(OssError::UnknownStore));
    }

    // Where a store errs once or for good; what the client is told, and whether the bytes are there at the end.
    void faults_data()
    {
        columns<QByteArray>("method");
        QTest::addColumn<QByteArray>("mark"); // in the path
        columns<QByteArray>("answer");
        QTest::addColumn<int>("times"); // -1: always
        columns<int>("code");
        const auto row = [](const char *name, const char *method, const char *mark, const QByteArray &answer, int times, int code) {
            addRow(name, QByteArray(method), QByteArray(mark), answer, times, code);
        };
        const auto refusal = [](const char *status, const char *word) { return HttpPeer::response(error(word), status); };
        const QByteArray bare = "HTTP/1.1 403 Forbidden\r\n\r\n";
        row("busy for a moment", "PUT", "partNumber=2", refusal("503 Slow Down", "SlowDown"), 1, 200);
        row("an error within a success", "POST", "uploadId=", refusal("200 OK", "InternalError"), 1, 200);
        row("an upload forgotten", "PUT", "partNumber=2", refusal("404 Not Found", "NoSuchUpload"), 1, 200);
        row("a part forgotten", "POST", "uploadId=", refusal("400 Bad Request", "InvalidPart"), 1, 200);
        row("forgotten again and again", "PUT", "partNumber=2", refusal("404 Not Found", "NoSuchUpload"), -1, OssError::UploadForgotten);
        row("keys that expire within the file", "PUT", "partNumber=2", refusal("400 Bad Request", "ExpiredToken"), -1,
            OssError::KeysExpired);
        row("keys that have expired", "", "", refusal("403 Forbidden", "ExpiredToken"), -1, OssError::KeysExpired);
        row("another clock", "", "", refusal("403 Forbidden", "RequestTimeTooSkewed"), -1, OssError::ClockDiffers);
        row("keys that may only write", "HEAD", "", bare, -1, 200);
        row("keys that may nothing", "", "", refusal("403 Forbidden", "AccessDenied"), -1, OssError::AccessDenied);
        row("no such bucket", "POST", "uploads", refusal("404 Not Found", "NoSuchBucket"), -1, OssError::BucketMissing);
        row("another protocol", "POST", "uploads", HttpPeer::response("<html>Welcome</html>"), -1, OssError::UnexpectedAnswer);
    }
    void faults()
    {
        FETCH(QByteArray, method, QByteArray, mark);
        FETCH(QByteArray, answer, int, times);
        QFETCH(int, code);
        write("big.bin", 12000000);
        m_store->fault = [&](const HttpPeer::Request &request, const QUrlQuery &) {
            const bool hit = times != 0 && (method.isEmpty() || request.method == method) && request.path.contains(mark);
            if (!hit || (request.method == "GET" && !method.isEmpty()))
                return QByteArray();
            times -= times > 0 ? 1 : 0;
            return request.method == "HEAD" ? answer.left(answer.indexOf("\r\n")) + "\r\n\r\n" : answer;
        };
        ask(upload("big.bin"));
        QCOMPARE(this->code("big.bin"), code);
        QVERIFY(code == 200 ? object("big.bin") == content("big.bin") : object("big.bin").isEmpty());
        if (code == 200)
            QVERIFY(!QFile::exists(m_folder.filePath("big.bin.ucp")));
        for (const QJsonObject &one : qAsConst(m_said))
            QVERIFY(!QJsonDocument(one).toJson().contains("SK"));
    }

    // A store whose certificate only the studio vouches for: taken where the studio's file says so, else not.
    void ownCertificate()
    {
        const QString key = m_folder.filePath("key.pem"), cert = m_folder.filePath("cert.pem");
        QCOMPARE(QProcess::execute("openssl", {"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", key, "-out", cert, "-days", "2",
                                               "-subj", "/CN=studio", "-addext", "subjectAltName=IP:127.0.0.1"}),
                 0);
        TlsFront front(m_store->peer.serverPort(), key, cert);
        write("small.bin", 300000);
        const QString address = QStringLiteral("https://127.0.0.1:%1").arg(front.serverPort());
        int number = 0;
        for (const auto &[trusted, wanted] :
             {std::pair(QString(), int(OssError::TlsFailed)), {m_folder.filePath("none.pem"), OssError::TlsFailed}, {cert, 200}}) {
            qputenv("SSL_CERT_FILE", trusted.toUtf8());
            const QString rule = QString::number(++number);
            ask(upload("small.bin", {{"endpoint", address}, {"rule", rule}}));
            QCOMPARE(code(rule), wanted);
            QCOMPARE(object("small.bin").isEmpty(), wanted != 200);
        }
        QVERIFY(object("small.bin") == content("small.bin"));
        qunsetenv("SSL_CERT_FILE");
    }

    // Paused within a file: another try sends only what is missing, also beside the old one's last words.
    void pauseAndResume()
    {
        write("big.bin", 22000000); // five parts
        m_store->fault = [&](const HttpPeer::Request &, const QUrlQuery &query) {
            return query.queryItemValue("partNumber").toInt() >= 3 ? QByteArray(" ") : QByteArray(); // never answered
        };
        ask(upload("big.bin"));
        QTRY_VERIFY(content("big.bin.ucp").contains("\"2\":"));
        m_store->fault = nullptr;
        QTcpSocket second;
        second.connectToHost(QHostAddress::LocalHost, quint16(m_listener->port()));
        QVERIFY(second.waitForConnected());
        second.write(signedText(upload("big.bin", {{"backerror", 203}})));
        // The new one is asked for, and then the old connection's pause comes.
        QTRY_VERIFY(second.bytesToWrite() == 0);
        ask({{"func", "pauseUpload"}, {"rule", "big.bin"}});
        QByteArray heard;
        QTRY_VERIFY((heard += second.readAll()).contains("\"code\":200"));
        QCOMPARE(object("big.bin"), content("big.bin"));
        QCOMPARE(m_store->uploads, 1);
        QCOMPARE(m_store->count("PUT", "partNumber=1"), 1);
        // What is there isn't sent again, but for "cover"; a file that has changed is.
        const int puts = m_store->count("PUT");
        m_said.clear();
        ask(upload("big.bin"));
        QCOMPARE(code("big.bin"), 200);
        QCOMPARE(m_store->count("PUT"), puts);
        m_said.clear();
        ask(upload("big.bin", {{"cover", 1}}));
        QCOMPARE(code("big.bin"), 200);
        QCOMPARE(m_store->count("PUT"), puts + 5);
    }

    // The same scene from two clients of an account, on two machines or (one state file) on one: both get it there.
    void twoClients()
    {
        write("big.bin", 12000000);
        for (const char *state : {"big.bin.ucp", "other.ucp"}) {
            Listener second(Secret);
            QVERIFY(second.listen(0));
            QTcpSocket client;
            client.connectToHost(QHostAddress::LocalHost, quint16(second.port()));
            QVERIFY(client.waitForConnected());
            bool late = false; // the other begins while this one's second part waits for the store
            QByteArray heard;
            m_store->fault = [&](const HttpPeer::Request &, const QUrlQuery &query) {
                if (query.queryItemValue("partNumber") == "2" && !std::exchange(late, true)) {
                    client.write(signedText(upload("big.bin", {{"checkPoint", m_folder.filePath(state)}})));
                    return HttpPeer::response(error("SlowDown"), "503 Slow Down");
                }
                return QByteArray();
            };
            m_said.clear();
            ask(upload("big.bin"));
            QTRY_VERIFY((heard += client.readAll()).contains("uploadFinish"));
            QVERIFY2(heard.contains("\"code\":200"), heard.constData());
            QCOMPARE(code("big.bin"), 200);
            QVERIFY(object("big.bin") == content("big.bin"));
            QVERIFY(!QFile::exists(m_folder.filePath("big.bin.ucp")) && !QFile::exists(m_folder.filePath(state)));
            m_store->objects.clear();
        }
    }

#ifdef Q_OS_LINUX
    // Storage that doesn't answer holds up nobody but itself: told within the limit, tried again it goes over.
    void silentStorage()
    {
        start(1000);
        write("quick.bin", 300000);
        std::signal(SIGIO, SIG_IGN);
        // Whoever opens a file waits for the one with a lease on it.
        const int lease = ::open(QFile::encodeName(write("held.bin", 1000)).constData(), O_RDWR | O_CLOEXEC);
        QCOMPARE(::fcntl(lease, F_SETLEASE, F_WRLCK), 0);
        ask(upload("held.bin"));
        ask(upload("quick.bin"));
        QCOMPARE(code("quick.bin"), 200);
        QCOMPARE(code("held.bin"), int(OssError::SourceSilent));
        ::close(lease);
        m_said.clear();
        ask(upload("held.bin"));
        QCOMPARE(code("held.bin"), 200);

        int ends[2]; // nobody writes into it
        QCOMPARE(::pipe(ends), 0);
        auto file = std::make_unique<QFile>();
        QVERIFY(file->open(ends[0], QIODevice::ReadOnly | QIODevice::Unbuffered, QFile::AutoCloseHandle));
        const std::atomic_bool stop{false};
        SourceFile source(&stop, 100);
        source.take(std::move(file));
        QByteArray eTag;
        QCOMPARE(S3Client({}, &stop).part("k", "u", 1, &source, 0, 10, {}, &eTag), int(OssError::SourceSilent));
        ::close(ends[1]);
    }
#endif

    // A source that is written to while it goes over: told, and nothing half stands under its name.
    void changedMeanwhile()
    {
        for (const bool shorter : {false, true}) {
            const QString path = write("scene.bin", 12000000);
            m_said.clear();
            m_store->objects.clear();
            m_store->fault = [&](const HttpPeer::Request &request, const QUrlQuery &query) {
                if (query.queryItemValue("partNumber") == "1") {
                    QFile file(path);
                    shorter ? file.resize(6000000) : file.open(QIODevice::Append) && file.write("more") == 4;
                }
                Q_UNUSED(request)
                return QByteArray();
            };
            ask(upload("scene.bin"));
            QCOMPARE(code("scene.bin"), int(OssError::FileChanged));
            QVERIFY(object("scene.bin").isEmpty());
            QVERIFY(m_store->count("DELETE", "uploadId") >= (shorter ? 0 : 1));
        }
    }
};

VN_TEST(TestOss)
#include "tst_oss.moc"
