// The updater as a program against the farm's packages: what it takes, what it refuses, and that a client runs at the
// end whatever happened. The client is a small program that speaks the same record.
#include "Farm.h"
#include "package/PackageWriter.h"
#include "package/TreeSwap.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include "view/Startup.h"
#include <QLockFile>

class TestUpdate : public QObject
{
    Q_OBJECT
    const PackageWriter::Key m_key = PackageWriter::makeKey(QByteArray(64, '1'));
    QTemporaryDir m_home;
    Farm m_farm;
    QString m_feed, m_tree;
    int m_trees = 0;
    const QString m_here = QCoreApplication::applicationDirPath();

    static QByteArray content(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static void put(const QString &path, const QByteArray &text)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
    }
    // A program's folder, of which the client does that.
    QString laid(const QByteArray &behaviour)
    {
        const QString folder = m_home.filePath("next");
        QDir(folder).removeRecursively();
        put(folder + "/behaviour", behaviour);
        put(folder + "/service.ini", "theirs");
        QFile::copy(m_here + "/fake/VandrelQN", folder + "/VandrelQN");
        return folder;
    }
    QString packageOf(const QString &version) const { return m_feed + "/packages/linux/VandrelQN-" + version + ".vnp"; }
    bool pack(const QByteArray &behaviour, const QString &version, const QJsonObject &more = {}, const PackageWriter::Key *by = nullptr)
    {
        QJsonObject head{{"program", "VandrelQN"}, {"platform", "linux"}, {"version", version}};
        for (auto it = more.begin(); it != more.end(); ++it)
            head.insert(it.key(), it.value());
        QString why;
        QDir().mkpath(m_feed + "/packages/linux");
        return PackageWriter::pack(laid(behaviour), head, {"service.ini"}, by ? *by : m_key, packageOf(version), &why);
    }
    int update(QStringList words, QByteArray *said = nullptr, const QStringList &with = {}, const QString &limit = {})
    {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const QString &one : with)
            env.insert(one, "1");
        process.setProcessEnvironment(env);
        process.setProcessChannelMode(QProcess::MergedChannels);
        QString program = with.contains("VN_UPDATE_AWAY") ? m_tree + "/update" : m_here + "/update";
        if (!with.contains("VN_UPDATE_AWAY"))
            words << "--tree" << m_tree;
        if (!limit.isEmpty()) { // files can't grow beyond so many KiB
            words = QStringList{"-c", "trap '' XFSZ; ulimit -f " + limit + "; exec \"$@\"", "sh", program} + words;
            program = "bash";
        }
        process.start(program, words);
        const bool ended = process.waitForFinished(60000);
        if (said)
            *said = process.readAll();
        return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    QList<QByteArray> ran() const { return content(m_tree + ".ran").trimmed().split('\n'); }

private slots:
    void initTestCase()
    {
        m_feed = m_home.filePath("feed");
        FarmOptions options;
        options.dir = m_home.filePath("farm");
        options.businessPort = options.httpPort = 0;
        options.feedDir = m_feed;
        QVERIFY2(m_farm.start(options), qPrintable(m_farm.error()));
        put(m_home.filePath("key.json"),
            QJsonDocument(QJsonObject{{"public", QString::fromLatin1(m_key.publicHex)}, {"secret", QString::fromLatin1(m_key.secretHex)}})
                .toJson());
    }
    void init()
    {
        for (const QString &one : QDir(m_home.path()).entryList({"Vandrel QN*"}))
            if (!QFile::remove(m_home.filePath(one)))
                QDir(m_home.filePath(one)).removeRecursively();
        QDir(m_feed).removeRecursively();
        m_tree = m_home.filePath(QString("Vandrel QN %1").arg(++m_trees)); // a client of the test before may still clear up
        QVERIFY(QDir().rename(laid("comes up"), m_tree));
        QFile::copy(m_here + "/update", m_tree + "/update");
        put(m_tree + "/service.ini", "[server]\nupdate=http://127.0.0.1:" + QByteArray::number(m_farm.ports().http) + "\n");
        put(m_tree + "/notes.txt", "mine");
    }
    void cleanup()
    {
        if (QTest::currentTestFailed())
            qWarning() << content(m_tree + ".update.log") << content(m_tree + ".ran");
    }

    void upgrades_data()
    {
        columns<QStringList, QString>("with", "words");
        addRow("names swapped at once", QStringList{}, "5.3.0.0");
        addRow("two renames", QStringList{"VN_NO_EXCHANGE"}, "5.3.0.0");
        addRow("from beside its own folder", QStringList{"VN_UPDATE_AWAY", "VN_NO_EXCHANGE"}, "5.3.0.0");
        addRow("through the master", QStringList{}, "-version 5.3.0.0|-proxy 127.0.0.1 %1");
    }
    void upgrades()
    {
        FETCH(QStringList, with, QString, words);
        QProcess release;
        release.setProcessChannelMode(QProcess::MergedChannels);
        release.start(VN_SOURCE_DIR "/tools/release.sh",
                      {"client", m_home.filePath("key.json"), m_feed, "linux", "5.3.0.0", laid("comes up")});
        QVERIFY(release.waitForFinished() && release.exitCode() == 0);
        if (words.contains("-proxy")) // nobody else knows that name
            put(m_tree + "/service.ini", "[server]\nupdate=http://update.invalid\n");
        const QByteArray addresses = content(m_tree + "/service.ini");
        words = words.contains("%1") ? words.arg(m_farm.ports().http) : words;
        QByteArray said;
        QVERIFY2(update(words.split('|'), &said, with) == 0, said.constData());
        QTRY_COMPARE(ran(), (QList<QByteArray>{"5.3.0.0 notupdate"}));
        QTRY_COMPARE(TreeSwap(m_tree).state(), TreeSwap::Nothing);
        QCOMPARE(TreeSwap(m_tree).installed(), QString("5.3.0.0"));
        QCOMPARE(content(m_tree + "/notes.txt"), QByteArray("mine"));
        QCOMPARE(content(m_tree + "/service.ini"), addresses);
        QTRY_VERIFY(content(m_tree + ".update.log").contains("has started"));
        QString known;
        QCOMPARE(Startup::refusedUpdate(m_tree, &known), QString());
        QVERIFY(!QFileInfo::exists(m_tree + ".old") && !QFileInfo::exists(m_tree + ".new"));
        QCOMPARE(QFileInfo::exists(m_tree + ".updater/update"), with.contains("VN_UPDATE_AWAY"));
        QVERIFY(QDir(testHome()).entryList({"*.desktop"}).isEmpty());
        QCOMPARE(content(m_feed + "/version.txt"), QByteArray("5.3.0.0\n"));
    }

    void refuses_data()
    {
        columns<QString, QString>("how", "sentence");
        addRow("signed by another", "signer", "isn't signed by a known key");
        addRow("expired", "expired", "was good until 2026-01-01");
        addRow("older", "older", "version 5.2.5.9 isn't newer than 5.2.6.0");
        addRow("another program", "program", "is for Other on linux");
        addRow("another system", "platform", "is for VandrelQN on windows");
        addRow("cut archive", "cut", "isn't an archive, or was cut");
        addRow("another version inside", "renamed", "is version 5.3.0.0, not 5.4.0.0");
        addRow("not there", "none", "VandrelQN-5.3.0.0.vnp: ");
        addRow("another client is at it", "lock", "another update of");
        addRow("no room for the package", "fetch", "no room");
        addRow("no room for its files", "room", "can't be written whole");
    }
    void refuses()
    {
        FETCH(QString, how, QString, sentence);
        const PackageWriter::Key other = PackageWriter::makeKey(QByteArray(64, '2'));
        QString version = how == "older" ? "5.2.5.9" : "5.3.0.0", limit;
        QJsonObject more;
        if (how == "expired")
            more.insert("expires", "2026-01-01T00:00:00Z");
        if (how == "program" || how == "platform")
            more.insert(how, how == "program" ? "Other" : "windows");
        QByteArray behaviour("comes up");
        if (how == "room") { // packs well
            QByteArray piece(20000, 0);
            QRandomGenerator(1).fillRange(reinterpret_cast<quint32 *>(piece.data()), 5000);
            const qint64 client = QFileInfo(m_here + "/fake/VandrelQN").size();
            behaviour = piece.repeated(int((client + (6 << 20)) / piece.size()));
            limit = QString::number((client >> 10) + 2048);
        }
        QVERIFY(pack(behaviour, version, more, how == "signer" ? &other : nullptr));
        QFile file(packageOf(version));
        if (how == "cut")
            QVERIFY(file.resize(file.size() / 2));
        if (how == "renamed")
            QVERIFY(file.rename(packageOf(version = "5.4.0.0")));
        if (how == "none")
            QVERIFY(file.remove());
        if (how == "fetch")
            limit = QString::number(file.size() >> 11);
        QLockFile held(m_tree + ".update.lock");
        QVERIFY(how != "lock" || held.lock());
        QByteArray said;
        QCOMPARE(update({version}, &said, {}, limit), 1);
        QVERIFY2(said.contains(sentence.toUtf8()), said.constData());
        QString known; // the client that comes up again tells why, once
        QVERIFY(Startup::refusedUpdate(m_tree, &known).contains(sentence));
        QCOMPARE(Startup::refusedUpdate(m_tree, &known), QString());
        QCOMPARE(content(m_tree + "/behaviour"), QByteArray("comes up"));
        QCOMPARE(TreeSwap(m_tree).state(), TreeSwap::Nothing);
        QTRY_COMPARE(ran(), (QList<QByteArray>{"first notupdate"})); // the client had closed for this
        // Nothing of it takes room.
        QCOMPARE(QDir(m_home.path()).entryList({"*.vnp*", "*.new", "*.old"}), QStringList());
    }

    void versionThatDoesNotStart()
    {
        QVERIFY(pack("dies", "5.3.0.0"));
        QByteArray said;
        QCOMPARE(update({"5.3.0.0"}, &said), 1);
        QVERIFY2(said.contains("doesn't start, the earlier one is back"), said.constData());
        const QList<QByteArray> tried{"5.3.0.0 notupdate", "5.3.0.0 notupdate", "5.3.0.0 notupdate", "first notupdate"};
        QTRY_COMPARE(ran(), tried);
        QVERIFY(TreeSwap(m_tree).refused("5.3.0.0"));
        QCOMPARE(update({"5.3.0.0"}, &said), 1);
        QVERIFY2(said.contains("version 5.3.0.0 didn't start here"), said.constData());
    }

    // It came up nowhere in three starts: the client itself asks for the earlier one.
    void backByHand()
    {
        QVERIFY(pack("dies", "5.3.0.0"));
        QCOMPARE(update({"5.3.0.0", "--no-start"}), 0);
        for (int i = 0; i < TreeSwap::MostStarts; ++i)
            QCOMPARE(QProcess::execute(m_tree + "/VandrelQN", {}), 3);
        QCOMPARE(QProcess::execute(m_tree + "/VandrelQN", {}), 3);
        QCOMPARE(ran().last(), QByteArray("5.3.0.0  gives up"));
        QCOMPARE(update({"--back"}), 0);
        QTRY_COMPARE(ran().last(), QByteArray("first notupdate"));
    }

    void fetchGoesOn()
    {
        QVERIFY(pack("comes up", "5.3.0.0"));
        const QByteArray whole = content(packageOf("5.3.0.0"));
        put(m_tree + ".update-5.3.0.0.vnp.part", whole.left(whole.size() / 2));
        put(m_tree + ".update-5.2.9.0.vnp.part", "of no use any more");
        QCOMPARE(update({"5.3.0.0"}), 0);
        QVERIFY(m_farm.events().contains(QString("feed /packages/linux/VandrelQN-5.3.0.0.vnp from %1").arg(whole.size() / 2)));
        QVERIFY(!QFileInfo::exists(m_tree + ".update-5.2.9.0.vnp.part"));
    }

    // A client that is still at work isn't replaced under its feet.
    void waitsForTheClient()
    {
        put(m_tree + "/behaviour", "waits");
        QVERIFY(pack("comes up", "5.3.0.0"));
        QProcess client;
        client.start(m_tree + "/VandrelQN", QStringList());
        QVERIFY(client.waitForStarted());
        QCOMPARE(update({"5.3.0.0"}), 0);
        QVERIFY(client.waitForFinished());
        QCOMPARE(client.exitCode(), 0);
        QTRY_COMPARE(ran(), (QList<QByteArray>{"first ", "5.3.0.0 notupdate"}));
    }

    // Folders that were there before any update are somebody's.
    void strangersFolders()
    {
        QVERIFY(pack("comes up", "5.3.0.0"));
        put(m_tree + ".old/mine.txt", "mine");
        QByteArray said;
        QCOMPARE(update({"5.3.0.0"}, &said), 1);
        QVERIFY2(said.contains("is there already"), said.constData());
        QCOMPARE(content(m_tree + ".old/mine.txt"), QByteArray("mine"));
        QDir(m_tree + ".old").removeRecursively();
        QCOMPARE(update({"5.3.0.0"}), 0);
        QTRY_COMPARE(TreeSwap(m_tree).state(), TreeSwap::Nothing);
        put(m_tree + ".old/mine.txt", "mine"); // and after one
        QCOMPARE(update({"--recover"}), 0);
        QCOMPARE(content(m_tree + ".old/mine.txt"), QByteArray("mine"));
    }
};

VN_TEST(TestUpdate)
#include "tst_update.moc"
