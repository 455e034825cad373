// Where what the login page keeps is found again, with and without a store for secrets.
#include "common/ui/Background.h"
#include "common/ui/SecretStore.h"
#include "common/UserInfo.h"
#include "db/UserDAO.h"
#include "support/TestMain.h"
#include "view/LoginRecord.h"

namespace
{
class FakeStore : public SecretStore
{
public:
    static inline QMap<QString, QString> kept;
    static inline bool there = true;
    void read(const QString &name, const Answer &answer) override
    {
        answer(!there ? Unavailable : kept.contains(name) ? Good : Missing, there ? kept.value(name) : QString());
    }
    void write(const QString &name, const QString &text, const Answer &answer) override
    {
        if (there)
            kept[name] = text;
        answer(there ? Good : Unavailable, {});
    }
};
} // namespace

class TestLoginRecord : public QObject
{
    Q_OBJECT
    QString loaded()
    {
        QString found = "nothing came";
        bool came = false;
        LoginRecord::load(this, "Vandrel", [&](const QString &text) {
            found = text;
            came = true;
        });
        return comes([&] { return came; }) ? (Background::finish(), found) : found;
    }
    static QString row() { return UserDAO::instance()->info("Vandrel"); }
    static void save(const QString &text)
    {
        LoginRecord::save("Vandrel", text);
        Background::finish();
    }

private slots:
    void init()
    {
        UserInfo::init();
        SecretStore::setInstance(std::make_unique<FakeStore>());
        FakeStore::kept.clear();
        UserDAO::instance()->removeInfo("Vandrel");
    }
    void cleanupTestCase() { SecretStore::setInstance(nullptr); }

    void keptAndMovedOver()
    {
        // A row of an older version goes over once, and its bytes are no longer in the file.
        FakeStore::there = true;
        QVERIFY(UserDAO::instance()->saveInfo("Vandrel", "{\"password\":\"geheim-one\"}"));
        QCOMPARE(loaded(), QString("{\"password\":\"geheim-one\"}"));
        QCOMPARE(FakeStore::kept.value("login/Vandrel"), QString("{\"password\":\"geheim-one\"}"));
        QCOMPARE(row(), QString());
        UserDAO::instance()->close();
        for (const char *name : {"user.db", "user.db-wal"}) {
            QFile file(UserInfo::allUserDir() + "/" + QLatin1String(name));
            QVERIFY2(!file.open(QIODevice::ReadOnly) || !file.readAll().contains("geheim-one"), name);
        }
        QCOMPARE(loaded(), QString("{\"password\":\"geheim-one\"}"));
        save("two");
        QCOMPARE(loaded(), QString("two"));
        QCOMPARE(row(), QString());
        // The store goes away: the old place takes over, and is the newer one when the store is back.
        FakeStore::there = false;
        QCOMPARE(loaded(), QString());
        save("three");
        QCOMPARE(row(), QString("three"));
        QCOMPARE(loaded(), QString("three"));
        FakeStore::there = true;
        QCOMPARE(loaded(), QString("three"));
        QCOMPARE(FakeStore::kept.value("login/Vandrel"), QString("three"));
        QCOMPARE(row(), QString());
        // What was saved anew while the old row went over stays.
        QVERIFY(UserDAO::instance()->saveInfo("Vandrel", "four"));
        QVERIFY(UserDAO::instance()->removeInfo("Vandrel", "three"));
        QCOMPARE(row(), QString("four"));
    }

    // Where the system has none, or none answers, the login goes on; nothing is written in the clear elsewhere.
    void systemWithout()
    {
        SecretStore::setInstance(nullptr);
        SecretStore::Result told = SecretStore::Good;
        SecretStore::instance()->write("login/Test", "x", [&](SecretStore::Result result, const QString &) { told = result; });
        QTRY_COMPARE(told, SecretStore::Unavailable);
        LoginRecord::save("Vandrel", "plain");
        QTRY_COMPARE(row(), QString("plain"));
        QCOMPARE(loaded(), QString("plain"));
    }
};

VN_TEST(TestLoginRecord)
#include "tst_loginrecord.moc"
