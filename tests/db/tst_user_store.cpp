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
        QVERIFY(!(QFile::permissions(dao.filePath()) & (QFile::ReadOther | QFile::ReadGroup)));
    }
};
VN_TEST(TestUserStore)
#include "tst_user_store.moc"
