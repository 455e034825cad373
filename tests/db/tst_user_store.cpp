#include "common/UserInfo.h"
#include "db/UserDAO.h"
#include "support/TestMain.h"

class TestUserStore : public QObject
{
    Q_OBJECT
private slots:
    void oneRowABrand()
    {
        UserInfo::init();
        UserDAO &dao = *UserDAO::instance();
        QCOMPARE(dao.info("Vandrel"), QString());
        QVERIFY(dao.saveInfo("Vandrel", "{\"a\":1}") && dao.saveInfo("Other", "x'y") && dao.saveInfo("Vandrel", "{\"a\":2}"));
        dao.close();
        QCOMPARE(dao.info("Vandrel"), QString("{\"a\":2}"));
        QCOMPARE(dao.info("Other"), QString("x'y"));
        // The password stands in the log beside it, too; an earlier version had made both readable.
        dao.close();
        const QString store = UserInfo::allUserDir() + "/user.db";
        const auto others = QFile::ReadOther | QFile::ReadGroup;
        QVERIFY(QFile::setPermissions(store, QFile::permissions(store) | others));
        QVERIFY(dao.saveInfo("Vandrel", "{\"a\":3}"));
        for (const QString &path : {store, store + "-wal", store + "-shm"})
            QVERIFY2(QFile::exists(path) && !(QFile::permissions(path) & others), qPrintable(path));
    }
};
VN_TEST(TestUserStore)
#include "tst_user_store.moc"
