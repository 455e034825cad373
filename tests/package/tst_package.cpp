// Packages and how they come into place. The swap runs as a process that is killed before each of its operations in
// turn; whatever was cut short, a whole program stands in the tree afterwards and the next run ends the work.
#include "package/FileInstall.h"
#include "package/PackageWriter.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QJsonDocument>
#include <QLockFile>
#include <quazip.h>
#include <quazipfile.h>
#include <quazipnewinfo.h>

using Tree = QMap<QString, QByteArray>;

class TestPackage : public QObject
{
    Q_OBJECT

    const PackageWriter::Key m_key = PackageWriter::makeKey(QByteArray(64, '1')), m_other = PackageWriter::makeKey(QByteArray(64, '2'));
    QTemporaryDir m_home;
    QString m_tree, m_next;

    static void lay(const QString &folder, const Tree &files)
    {
        QDir(folder).removeRecursively();
        for (auto it = files.begin(); it != files.end(); ++it) {
            QFile file(folder + '/' + it.key());
            QVERIFY(QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly));
            file.write(it.value());
            file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | (it.key() == "VandrelQN" ? QFile::ExeOwner : QFile::Permission()));
        }
    }

    static Tree read(const QString &folder)
    {
        Tree files;
        QDirIterator all(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (all.hasNext()) {
            QFile file(all.next());
            if (file.open(QIODevice::ReadOnly) && !file.fileName().contains("/.manifest") && !file.fileName().endsWith(".lock"))
                files.insert(file.fileName().mid(folder.size() + 1), file.readAll());
        }
        return files;
    }

    QJsonObject head(const QString &version) const { return {{"program", "VandrelQN"}, {"platform", "linux"}, {"version", version}}; }

    // The exit code; -1 when it didn't come to one.
    int run(const QStringList &words, int dieAt = 0, bool exchange = true, QByteArray *said = nullptr, const char *how = "VN_DIE_AT")
    {
        QProcess process; // beside the test's own binary
        QProcessEnvironment with = QProcessEnvironment::systemEnvironment();
        with.insert("VN_TEST_KEY", m_key.publicHex);
        if (dieAt)
            with.insert(how, QString::number(dieAt));
        if (!exchange)
            with.insert("VN_NO_EXCHANGE", "1");
        process.setProcessEnvironment(with);
        process.start(QCoreApplication::applicationDirPath() + "/swap_program", words);
        const bool ended = process.waitForFinished();
        if (said)
            *said = process.readAllStandardError();
        return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

private slots:
    void init()
    {
        m_tree = m_home.filePath("Vandrel QN");
        m_next = m_home.filePath("next.vnp");
        for (const char *ending : {"", ".new", ".old"})
            QDir(m_tree + ending).removeRecursively();
        QFile::remove(m_tree + ".update.json");
    }

    void believed_data()
    {
        QTest::addColumn<QString>("how");
        QTest::addColumn<bool>("good");
        QTest::newRow("as it was made") << "" << true;
        QTest::newRow("by a key that a known one vouches for") << "vouched" << true;
        QTest::newRow("by another key") << "other" << false;
        QTest::newRow("by a key that vouches for itself") << "self" << false;
        for (const char *fault : {"changed", "cut", "extra", "extra empty", "longer", "link", "bomb", "../out", "a/../../b", "C:/x", "/abs",
                                  "nul.txt", "CASE", "a\\b", "folder"})
            QTest::newRow(fault) << QString(fault) << false;
    }
    void believed()
    {
        QFETCH(QString, how);
        QFETCH(bool, good);
        QTemporaryDir dir;
        Tree files{{"VandrelQN", "new"}, {"web/a.html", "<p>"}};
        if (how == "bomb")
            files.insert("zeros", QByteArray(64 << 20, 0));
        lay(dir.filePath("in"), files);
        QJsonObject what = head("5.3.0.0");
        PackageWriter::Key by = how == "vouched" || how == "other" || how == "self" ? m_other : m_key;
        if (how == "vouched" || how == "self")
            what.insert("keys", QJsonArray{PackageWriter::vouch(m_other.publicHex, how == "self" ? m_other : m_key)});
        QString why;
        const QString file = dir.filePath("p.vnp");
        QVERIFY2(PackageWriter::pack(dir.filePath("in"), what, {}, by, file, &why), qPrintable(why));
        const bool path = how.contains('/') || how.contains('.') || how.contains('\\') || how == "CASE" || how == "folder";
        if (how == "changed" || how == "cut") {
            QFile raw(file);
            QVERIFY(raw.open(QIODevice::ReadWrite));
            const QByteArray bytes = raw.readAll();
            if (how == "cut")
                raw.resize(bytes.size() / 2);
            else // of the manifest, which stands last but one
                QVERIFY(raw.seek(bytes.lastIndexOf("manifest.json", bytes.lastIndexOf("manifest.sig") - 1) - 200) && raw.write("xx") == 2);
        } else if (how == "extra" || how == "extra empty" || how == "link") {
            QuaZip zip(file);
            QVERIFY(zip.open(QuaZip::mdAdd));
            QuaZipFile out(&zip);
            QuaZipNewInfo info("beside");
            if (how == "link")
                info.externalAttr = quint32(0120777) << 16;
            QVERIFY(out.open(QIODevice::WriteOnly, info));
            if (how != "extra empty")
                out.write("/etc");
        } else if (how == "longer" || path) {
            // A manifest that is signed all right and still can't be taken.
            const QString name = how == "CASE" ? "WEB/A.HTML" : how == "folder" ? "web" : how == "longer" ? "VandrelQN" : how;
            QJsonObject entry{{"path", name}, {"size", 3}, {"sha256", QString(64, 'a')}};
            Manifest manifest;
            QJsonObject all = what;
            all.insert("format", 1);
            all.insert("files", QJsonArray{QJsonObject{{"path", "web/a.html"}, {"size", 3}, {"sha256", QString(64, 'a')}}, entry});
            const QByteArray text = QJsonDocument(all).toJson();
            const QByteArray signature = PackageWriter::signatureOf(text, m_key);
            QCOMPARE(Manifest::read(text, signature, m_key.publicHex, &manifest, &why), how == "longer");
            if (path)
                return;
        }
        Package package(file);
        const bool opened = package.open(m_key.publicHex);
        if (how == "longer") // the right length and another content
            return;
        QVERIFY2(opened == good, qPrintable(package.why()));
        if (good)
            QVERIFY2(package.unpack(dir.filePath("out")) && read(dir.filePath("out")) == files, qPrintable(package.why()));
    }

    void fitting_data()
    {
        QTest::addColumn<QJsonObject>("what");
        QTest::addColumn<QString>("installed");
        QTest::addColumn<bool>("good");
        const auto with = [this](const QString &version, const QJsonObject &more = {}) {
            QJsonObject all = head(version);
            for (auto it = more.begin(); it != more.end(); ++it)
                all.insert(it.key(), it.value());
            return all;
        };
        QTest::newRow("newer") << with("5.10.0.0") << "5.9.9.9" << true;
        QTest::newRow("first") << with("5.3.0.0") << "" << true;
        QTest::newRow("the same") << with("5.3.0.0") << "5.3.0.0" << false;
        QTest::newRow("older") << with("5.2.9.9") << "5.3.0.0" << false;
        QTest::newRow("no version") << with("new") << "" << false;
        QTest::newRow("another program") << with("5.3.0.0", {{"program", "Other"}}) << "" << false;
        QTest::newRow("another system") << with("5.3.0.0", {{"platform", "windows"}}) << "" << false;
        QTest::newRow("expired") << with("5.3.0.0", {{"expires", "2026-01-01T00:00:00Z"}}) << "" << false;
        QTest::newRow("not yet expired") << with("5.3.0.0", {{"expires", "2026-01-03T00:00:00Z"}}) << "" << true;
    }
    void fitting()
    {
        QFETCH(QJsonObject, what);
        QFETCH(QString, installed);
        what.insert("format", 1);
        what.insert("files", QJsonArray{QJsonObject{{"path", "a"}, {"size", 0}, {"sha256", QString(64, 'a')}}});
        const QByteArray text = QJsonDocument(what).toJson();
        Manifest manifest;
        QString why;
        QVERIFY2(Manifest::read(text, PackageWriter::signatureOf(text, m_key), m_key.publicHex, &manifest, &why), qPrintable(why));
        QTEST(manifest.fits("VandrelQN", "linux", installed, QDateTime::fromString("2026-01-02T00:00:00Z", Qt::ISODate), &why), "good");
    }

    void killedAnywhere_data()
    {
        QTest::addColumn<bool>("exchange");
        QTest::addColumn<QString>("act");
        for (const char *act : {"install", "start", "back"}) {
            QTest::addRow("%s, swapped at once", act) << true << act;
            QTest::addRow("%s, renamed twice", act) << false << act;
        }
    }
    void killedAnywhere()
    {
        QFETCH(bool, exchange);
        QFETCH(QString, act);
        const Tree old{{"VandrelQN", "old"}, {"gone.txt", "old"}, {"service.ini", "mine"}, {"user/notes.txt", "keep"}};
        const Tree fresh{{"VandrelQN", "new"}, {"sub/deep/er.txt", "new"}, {"service.ini", "theirs"}};
        Tree both = fresh;
        both["service.ini"] = "mine";
        both["user/notes.txt"] = "keep";
        QString why;
        lay(m_home.filePath("fresh"), fresh);
        QVERIFY2(PackageWriter::pack(m_home.filePath("fresh"), head("5.3.0.0"), {"service.ini"}, m_key, m_next, &why), qPrintable(why));
        Tree first = old; // what the first package brought: notes aren't its own
        first.remove("user/notes.txt");
        lay(m_home.filePath("first"), first);
        const QString firstFile = m_home.filePath("first.vnp");
        QVERIFY2(PackageWriter::pack(m_home.filePath("first"), head("5.2.0.0"), {"service.ini"}, m_key, firstFile, &why), qPrintable(why));
        // How it stands before the act, laid anew for each kill.
        init();
        lay(m_tree, {{"user/notes.txt", "keep"}});
        QVERIFY(run({"install", firstFile, m_tree}) == 0 && run({"start", m_tree}) == 0);
        if (act != "install")
            QCOMPARE(run({"install", m_next, m_tree}), 0);
        QTemporaryDir kept;
        const QStringList names = QDir(m_home.path()).entryList({"Vandrel QN*"});
        for (const QString &name : names)
            QVERIFY(QProcess::execute("cp", {"-a", m_home.filePath(name), kept.path()}) == 0);
        const QStringList words = act == "install" ? QStringList{act, m_next, m_tree} : QStringList{act, m_tree};
        int dieAt = 1;
        for (int code = 77; code == 77; ++dieAt) {
            init();
            QVERIFY(QProcess::execute("cp", {"-a", kept.path() + "/.", m_home.path()}) == 0);
            code = run(words, dieAt, exchange);
            QVERIFY2(code == 0 || code == 77, qPrintable(QString("%1 at %2").arg(code).arg(dieAt)));
            // Where names can be swapped at once, a whole program stands there before anybody mends anything.
            if (exchange)
                QVERIFY2(read(m_tree) == old || read(m_tree) == both, qPrintable(QString("at %1").arg(dieAt)));
            QCOMPARE(run({"recover", m_tree}, 0, exchange), 0);
            QVERIFY2(read(m_tree) == old || read(m_tree) == both, qPrintable(QString("at %1").arg(dieAt)));
            QByteArray said;
            const int again = run(words, 0, exchange, &said); // back finds nothing on trial once it has gone back
            QVERIFY2(again == 0 || (act == "back" && said.contains("no update")), said.constData());
            QVERIFY2(read(m_tree) == (act == "back" ? old : both), qPrintable(QString("at %1").arg(dieAt)));
            if (act != "install")
                QVERIFY(!QFileInfo::exists(m_tree + ".old") && !QFileInfo::exists(m_tree + ".new"));
        }
        QVERIFY2(dieAt > (act == "install" ? 20 : 5), qPrintable(QString::number(dieAt))); // there were operations to die at
    }

    // A version that doesn't start is left after three tries and not taken again.
    void failingStarts()
    {
        QString why;
        lay(m_home.filePath("fresh"), {{"VandrelQN", "new"}});
        QVERIFY(PackageWriter::pack(m_home.filePath("fresh"), head("5.3.0.0"), {}, m_key, m_next, &why));
        lay(m_tree, {{"VandrelQN", "old"}});
        QCOMPARE(run({"install", m_next, m_tree}), 0);
        QCOMPARE(read(m_tree).value("VandrelQN"), QByteArray("new"));
        QCOMPARE(run({"back", m_tree}), 0);
        QCOMPARE(read(m_tree).value("VandrelQN"), QByteArray("old"));
        QByteArray said;
        QCOMPARE(run({"install", m_next, m_tree}, 0, true, &said), 1);
        QVERIFY2(said.contains("didn't start here"), said.constData());
    }

    // Files that join others in a folder, ended or out of room at each operation in turn: every file is the old or the
    // new one, what has no room is told and takes none, and the next start ends it.
    void filesCutShortAnywhere_data()
    {
        columns<QByteArray>("how");
        columns<int>("code");
        addRow("killed", QByteArray("VN_DIE_AT"), 77);
        addRow("no room from there on", QByteArray("VN_FULL_AT"), 1);
    }
    void filesCutShortAnywhere()
    {
        QFETCH(QByteArray, how);
        QFETCH(int, code);
        const QString folder = m_home.filePath("app"), journal = m_home.filePath("journals/one.json");
        const Tree old{{"a.dll", "old"}, {"theirs.txt", "theirs"}, {"readme.txt", "theirs"}};
        Tree fresh{{"a.dll", "new"}, {"plug/b.dll", "new"}, {"readme.txt", "package"}};
        lay(m_home.filePath("fresh"), fresh);
        QString why;
        QVERIFY(PackageWriter::pack(m_home.filePath("fresh"), head("1.0.0.1"), {}, m_key, m_next, &why));
        const Tree both{{"a.dll", "new"}, {"plug/b.dll", "new"}, {"theirs.txt", "theirs"}, {"readme.txt", "theirs"}};
        int at = 1;
        for (int ended = code; ended == code; ++at) {
            lay(folder, old);
            QFile::remove(journal);
            QByteArray said;
            ended = run({"files", m_next, folder, journal}, at, true, &said, how.constData());
            QVERIFY2(ended == 0 || ended == code, said.constData());
            if (ended == 1)
                QVERIFY2(read(folder) == old && (said.contains("disk may be full") || said.contains("can't be made")), said.constData());
            QCOMPARE(run({"files", "", folder, journal}), 0);
            QVERIFY2(read(folder) == old || read(folder) == both, qPrintable(QString("at %1").arg(at)));
            QCOMPARE(run({"files", m_next, folder, journal}), 0);
            QCOMPARE(read(folder), both);
            QVERIFY(!QFile::exists(journal));
        }
        QVERIFY2(at > (code == 77 ? 10 : 6), qPrintable(QString::number(at)));
        // Another client, with a journal of its own, is at it.
        lay(folder, old);
        QLockFile other(FileInstall::lockFile(folder));
        QVERIFY(other.lock());
        QByteArray said;
        QCOMPARE(run({"files", m_next, folder, journal}, 0, true, &said), 1);
        QVERIFY2(said.contains("another client") && read(folder) == old, said.constData());
        other.unlock();
        QCOMPARE(run({"files", m_next, folder, journal}), 0);
    }
};

VN_TEST(TestPackage)
#include "tst_package.moc"
