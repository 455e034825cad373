// Uploads to an object store as the client sees them: the queue, its child and the words between them. What the real
// companion and a real store do is a story of its own.
#include "support/BusinessPeer.h"
#include "support/TestMain.h"
#include "UpRig.h"
#include <QCoreApplication>
#include <QJsonDocument>

class TestUpOss : public QObject
{
    Q_OBJECT
    struct Rig : UpRoom {
        BusinessPeer business;
        Rig() { business.takeClient(); }
        void add(const QList<db_upfile> &rows) { store(rows, 2); }
    };
    QScopedPointer<Rig> rig;

    static QString beside(const char *name) { return QCoreApplication::applicationDirPath() + QLatin1Char('/') + QLatin1String(name); }
    struct Heard {
        bool first;
        QJsonObject message;
    };
    static QList<Heard> heard(const QString &func, const QString &file = {})
    {
        QFile log(beside("oss.heard"));
        QList<Heard> list;
        if (!log.open(QIODevice::ReadOnly))
            return list;
        while (!log.atEnd()) {
            const QJsonObject line = QJsonDocument::fromJson(log.readLine()).object();
            const QJsonObject message = line.value("message").toObject();
            if (message.value("func") == func && message.value("file").toString().endsWith(file))
                list << Heard{line.value("first").toBool(), message};
        }
        return list;
    }
    void start() { rig->start({20, 200, 10000, 20, 600, 50}); }
    static void placeStandIn()
    {
        QFile::copy(QStringLiteral(VN_OSS_STANDIN), beside("oss"));
        QFile::setPermissions(beside("oss"), QFile::ReadOwner | QFile::ExeOwner | QFile::WriteOwner);
    }

private slots:
    void init()
    {
        cleanup();
        rig.reset(new Rig);
        rig->business.answer(10704, 1070400);
        rig->business.answer(11100, 1110000, QJsonObject{{"type", "s3"}, {"secretKey", "one"}});
        rig->business.answer(10703, 1070300);
    }
    void cleanup()
    {
        rig.reset();
        for (const char *name : {"oss", "oss.heard", "oss.told"})
            QFile::remove(beside(name));
    }

    // Each file is told to the child and then to the server, whatever goes wrong once on the way.
    void road()
    {
        placeStandIn();
        QList<db_upfile> rows;
        const QStringList names{"good", "busy", "expired", "silent", "rubbish"};
        for (const QString &name : names)
            rows << UpRoom::row(rig->write(name + ".bin", name.toUtf8()), 100 + rows.size());
        rig->add(rows);
        start();
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(rig->resolve.calls.filter("ok").size(), names.size());
        QSet<int> reported;
        for (const BusinessPeer::Request &one : rig->business.requests(10703)) {
            QCOMPARE(one.body.value("farmId").toInt(), 3);
            reported << one.body.value("id").toInt();
        }
        QCOMPARE(reported.size(), names.size());
        for (const Heard &one : heard("upload")) {
            QVERIFY(one.first);
            QVERIFY(!one.message.contains("socketPort") && !one.message.contains("cover"));
        }
        const QJsonObject first = heard("upload", "good.bin").value(0).message;
        QCOMPARE(first.value("partSize").toInt(), 2097152);
        QCOMPARE(first.value("threadNum").toInt(), 2);
        QCOMPARE(first.value("type").toString(), QString("s3"));
        QVERIFY(first.value("checkPoint").toString().endsWith("/" + first.value("rule").toString() + ".ucp"));
        QVERIFY(("/" + first.value("key").toString()) == first.value("file").toString());
        // Silence is passed on as 203, and to the same check point.
        const QList<Heard> silent = heard("upload", "silent.bin");
        QVERIFY(silent.size() >= 2);
        QCOMPARE(silent.first().message.value("backerror").toInt(), 0);
        QCOMPARE(silent.last().message.value("backerror").toInt(), 203);
        QCOMPARE(silent.last().message.value("rule"), silent.first().message.value("rule"));
        QVERIFY(rig->business.count(11100) >= 2); // new keys after those that had expired
    }

    // A worker that is dropped says pause, and one that has ended doesn't.
    void pause()
    {
        placeStandIn();
        rig->add({UpRoom::row(rig->write("paused.bin", "x"), 1), UpRoom::row(rig->write("good.bin", "x"), 2)});
        start();
        QTRY_COMPARE(heard("upload").size(), 2);
        QTRY_COMPARE(rig->rows(), 1);
        rig->queue->pauseUp(rig->order, rig->task);
        QTRY_COMPARE(heard("pauseUpload").size(), 1);
        QVERIFY(heard("pauseUpload").first().first);
        QCOMPARE(heard("pauseUpload", "paused.bin").size(), 1);
    }

    // Without the child, or without a description, files wait; the child may come later, die, and come again with another port.
    void childComesLater()
    {
        rig->business.answer(11100, 1110001);
        rig->add({UpRoom::row(rig->write("dies.bin", "x"), 1)});
        start();
        QTRY_VERIFY(rig->business.count(11100) == 0 && rig->state() == 110);
        placeStandIn();
        QTRY_VERIFY(rig->state() == 111);
        QTRY_VERIFY(rig->business.count(11100) >= 2);
        QVERIFY(heard("upload").isEmpty());
        rig->business.answer(11100, 1110000, QJsonObject{{"type", "s3"}});
        QTRY_COMPARE(rig->state(), 0);
        QCOMPARE(heard("upload").size(), 2);
    }

    // The server doesn't take the report: the file isn't counted as there.
    void reportRefused()
    {
        placeStandIn();
        rig->business.answer(10703, 1070306);
        rig->add({UpRoom::row(rig->write("good.bin", "x"), 1)});
        start();
        QTRY_COMPARE(rig->state(), 113);
        QCOMPARE(rig->resolve.calls.filter("ok").size(), 0);
        QCOMPARE(rig->left().value(0).error, 1070306);
    }
};

VN_TEST(TestUpOss)
#include "tst_up_oss.moc"
