// What the farm keeps: content by its hash, the account with its lists, a folder that is damaged, taken or half
// written.
#include "support/Row.h"
#include "support/TestMain.h"
#include "Wires.h"

class TestState : public QObject
{
    Q_OBJECT
    const QString key = QStringLiteral("d/a.tif");

    static QStringList parts(const Bench &bench) { return QDir(bench.options.dir + "/incoming").entryList(QDir::Files); }
    // Like Bench::instant, with the content's hash told.
    static int instantByHash(Bench &bench, int task, const QString &key, qint64 size, const QByteArray &etag)
    {
        const QByteArray name = QUrl::toPercentEncoding(key);
        return bench
            .get("/skydrive/sourceFiles?fileType=1&key=" + name + "&diskKey=" + name + "&size=" + QByteArray::number(size) +
                     "&lastModified=9&taskId=" + QByteArray::number(task) + "&ETag=" + etag + "&upwork=abc",
                 bench.headers())
            .object()
            .value("code")
            .toInt();
    }

private slots:
    // The same bytes under another name aren't sent again, and stand in the store once.
    void content()
    {
        Bench bench;
        bench.login();
        const QByteArray bytes = noise(9000), hash = md5(bytes).toLatin1();
        const int task = bench.order({key, "d/b.tif", "d/empty.tif"}, Bench::camera("1"));
        QCOMPARE(FileWire(bench).upload(task, key, bytes), 7000404);
        QCOMPARE(FileWire(bench).upload(task, "d/empty.tif", ""), 7000404);
        QTRY_VERIFY(parts(bench).isEmpty());
        QCOMPARE(instantByHash(bench, task, "d/b.tif", 9000, QByteArray(32, '0')), 101402);
        QCOMPARE(instantByHash(bench, task, "d/b.tif", 9001, hash), 101402);
        QFile outside(bench.folder.filePath("farm.db")); // a hash is no path
        QVERIFY(outside.open(QIODevice::WriteOnly) && outside.resize(9000));
        QCOMPARE(instantByHash(bench, task, "d/b.tif", 9000, "../farm.db"), 101402);
        QCOMPARE(instantByHash(bench, task, "d/b.tif", 9000, hash), 101401);
        QCOMPARE(bench.farm.taskFiles(task, true), (QStringList{key, "d/b.tif", "d/empty.tif"}));
        QCOMPARE(bench.farm.storedFiles().value("d/empty.tif"), md5(""));
        QFile stored(bench.options.dir + "/store/" + hash.left(2) + '/' + hash);
        QVERIFY(stored.open(QIODevice::ReadOnly));
        QCOMPARE(stored.readAll(), bytes);
        stored.remove(); // gone behind the farm's back: it asks for the bytes again
        QCOMPARE(bench.instant(task, key, 9000).object().value("code").toInt(), 101402);
        QCOMPARE(FileWire(bench).upload(task, key, bytes), 7000404);
        QCOMPARE(bench.farm.violations(), QStringList());
    }

    void bodies()
    {
        Bench bench;
        bench.login();
        for (const auto &[cmd, body, told] : Rows<int, QByteArray, QString>{
                 {10409, R"({"missionId":1})", ""},
                 {10409, R"({"missionId":"1"})", "body of command 10409: missionId"},
                 {10421, R"({"name":"a","clientFlag":1,"projectId":1})", "body of command 10421: softwareType,machineModel"},
                 {10409, "{\"missionId\":", "body of command 10409 isn't JSON"}}) {
            const int before = bench.farm.violations().size();
            QVERIFY(bench.wire->askRaw(cmd, body).val != 0); // answered all the same
            QCOMPARE(bench.farm.violations().mid(before), told.isEmpty() ? QStringList() : QStringList{told});
        }
    }
};

VN_TEST(TestState)
#include "tst_state.moc"
