#include "support/Row.h"
#include "support/TestMain.h"
#include "transfer/up/UpWork.h"
#include "transfer/up/VandrelCompress.h"
#include "UpRig.h"

// Scenes that travel as a ZIP copy.
class TestUpZip : public QObject
{
    Q_OBJECT
    QScopedPointer<UpRig> rig;
    QString scene;
    QByteArray content;
    db_upfile row;
    db_upfile rowOf() const
    {
        db_upfile one = UpRig::row(scene, 77);
        one.ordernum = rig->order;
        one.farmid = rig->farmId;
        return one;
    }
    QString zip() const { return UpWork::zipPathOf(row); }
private slots:
    void init()
    {
        rig.reset(new UpRig);
        QVERIFY(rig->good);
        content = QByteArray("a line of a scene that repeats\n").repeated(20000);
        for (quint32 i = 0; i < 40000; ++i)
            content += char((i * i * 2654435761u) >> 21);
        scene = rig->write("Scene.MAX", content);
        row = rowOf();
        QDir().mkpath(UserInfo::userDir());
    }
    void cleanup()
    {
        QCOMPARE(rig->farm.violations(), QStringList());
        rig.reset();
    }

    void travelsCompressed()
    {
        rig->fault("cut-upload", "5000@1");
        rig->add({row});
        rig->start({500, 200, 10000, 20}); // time to look at what is left
        QTRY_VERIFY(rig->saw(TransSet::UpError, 100001));
        QVERIFY(QFile::exists(zip())); // the copy waits for the next try
        const qint64 size = QFileInfo(zip()).size();
        QTRY_COMPARE(rig->state(), 0);
        QTRY_COMPARE(rig->stored(scene), UpRig::md5(content)); // as the farm has unpacked it
        QCOMPARE(rig->farm.counters().bytesUp, size);
        QVERIFY(size < content.size() && !QFile::exists(zip()));
    }

    // A copy that isn't this scene any more is never sent.
    void staleCopies_data()
    {
        QTest::addColumn<QString>("copy");
        addRow("older than the scene", "old");
        addRow("cut short", "torn");
        addRow("of another scene", "other");
    }
    void staleCopies()
    {
        QFETCH(QString, copy);
        const std::atomic_bool stop{false};
        QVERIFY(VandrelCompress::vandrelCompressOneFile(zip(), copy == "other" ? rig->write("b/Scene.MAX", "x") : scene, stop));
        if (copy == "torn")
            QFile(zip()).resize(QFileInfo(zip()).size() / 2);
        if (copy == "old") {
            content[5] = 'X';
            rig->write("Scene.MAX", content);
            row = rowOf();
            QFile file(zip());
            file.open(QIODevice::ReadWrite);
            file.setFileTime(QDateTime::currentDateTime().addSecs(-100), QFileDevice::FileModificationTime);
        }
        rig->add({row});
        rig->start();
        QTRY_COMPARE(rig->state(), 0);
        QTRY_COMPARE(rig->stored(scene), UpRig::md5(content));
    }

    void cannotBeMade()
    {
        QDir().mkpath(zip() + "/in the way"); // stands for a folder that can't be written
        rig->add({row});
        rig->start();
        QTRY_COMPARE(rig->state(), 113);
        QVERIFY(rig->saw(TransSet::UpError, 10017));
        QCOMPARE(rig->rows(), 1);
        QDir(zip()).removeRecursively();
    }

    // A copy that another worker is making isn't touched; what a former run left half made goes at the start.
    void namesOfItsOwn()
    {
        rig->write("../half.zip.7_5.tmp", "x");
        const QString left = UserInfo::userDir() + "/half.zip.7_5.tmp", others = zip() + ".tmp";
        QVERIFY(QFile::rename(rig->at + "/half.zip.7_5.tmp", left));
        rig->add({row});
        rig->start();
        QVERIFY(!QFile::exists(left));
        QFile half(others);
        QVERIFY(half.open(QIODevice::WriteOnly) && half.write("half made") == 9);
        half.close();
        QTRY_COMPARE(rig->state(), 0);
        QTRY_COMPARE(rig->stored(scene), UpRig::md5(content));
        QVERIFY(half.open(QIODevice::ReadOnly));
        QCOMPARE(half.readAll(), QByteArray("half made"));
        half.remove();
    }

    void deletedWithItsOrder()
    {
        rig->fault("hold-file", "0");
        rig->add({row});
        rig->start();
        QTRY_VERIFY(QFile::exists(zip()));
        QTRY_VERIFY(rig->happened("hold-file") > 0);
        const auto point = [](const char *name, const QString &file) {
            QFile one(UserInfo::userDir() + '/' + name);
            QVERIFY(one.open(QIODevice::WriteOnly));
            one.write(QJsonDocument(QJsonObject{{"file", file}}).toJson());
        };
        db_upfile other = row; // of an order that stays
        other.ordernum = "N2";
        other.lpath = "/other.bin";
        other.pri = 0;
        QCOMPARE(UploadDAO::instance()->addOrder({other}), 1);
        point("gone.ucp", row.lpath);
        point("kept.ucp", other.lpath);
        rig->queue->delUp(rig->order, rig->task);
        QVERIFY(!QFile::exists(zip()));
        QCOMPARE(QDir(UserInfo::userDir()).entryList({"*.ucp"}), QStringList("kept.ucp"));
    }
};

VN_TEST(TestUpZip)
#include "tst_up_zip.moc"
