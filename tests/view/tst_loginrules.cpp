// What the login decides, without a window.
#include "support/TestMain.h"
#include "view/LoginRules.h"
#include <QJsonDocument>

using namespace LoginRules;

class TestLoginRules : public QObject
{
    Q_OBJECT
private:
    static QJsonObject object(const QString &text) { return QJsonDocument::fromJson(text.toUtf8()).object(); }
private slots:
    void address_data()
    {
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("url");
        QTest::newRow("plain") << "http://farm.example"
                               << "zh_cn"
                               << "http://farm.example/xclient/loginPage?version=qn";
        QTest::newRow("port, slash") << "https://farm.example:8443/"
                                     << "zh_cn"
                                     << "https://farm.example:8443/xclient/loginPage?version=qn";
        QTest::newRow("query is kept") << "http://h:1?auto=1"
                                       << "zh_cn"
                                       << "http://h:1/xclient/loginPage?auto=1&version=qn";
        QTest::newRow("query, English") << "http://h:1?auto=1"
                                        << "en_us"
                                        << "http://h:1/xclient/loginPage?auto=1&version=qn&en=true";
        QTest::newRow("other English word") << "http://h"
                                            << "zh_en"
                                            << "http://h/xclient/loginPage?version=qn&en=true";
        QTest::newRow("below a path") << "http://h/sub//"
                                      << "zh_cn"
                                      << "http://h/sub/xclient/loginPage?version=qn";
    }
    void address()
    {
        QFETCH(QString, base);
        QFETCH(QString, language);
        QFETCH(QString, url);
        QCOMPARE(pageUrl(base, language).toString(), url);
    }

    void storedRecord_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<bool>("relogin");
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("remember");
        QTest::addColumn<QString>("autoLogin");
        QTest::addColumn<bool>("keptRemember");
        QTest::addColumn<bool>("keptAuto");
        const QString whole = R"({"username":"f","password":"x","rememberPsd":"true","autoLogin":"false"})";
        QTest::newRow("as stored") << whole << false << "x"
                                   << "true"
                                   << "false" << true << false;
        QTest::newRow("while reconnecting both on") << whole << true << "x"
                                                    << "true"
                                                    << "true" << true << false;
        QTest::newRow("no password") << R"({"username":"f","rememberPsd":"true","autoLogin":"true"})" << false << ""
                                     << "false"
                                     << "false" << false << false;
        QTest::newRow("no password, reconnecting") << R"({"username":"f"})" << true << ""
                                                   << "true"
                                                   << "true" << false << false;
    }
    void storedRecord()
    {
        QFETCH(QString, stored);
        QFETCH(bool, relogin);
        QFETCH(QString, password);
        QFETCH(QString, remember);
        QFETCH(QString, autoLogin);
        Marks marks;
        const QJsonObject page = object(infosForPage(stored, relogin, &marks));
        QVERIFY(page.contains("password"));
        QCOMPARE(page["username"].toString(), QString("f"));
        QCOMPARE(page["password"].toString(), password);
        QCOMPARE(page["rememberPsd"].toString(), remember);
        QCOMPARE(page["autoLogin"].toString(), autoLogin);
        QTEST(marks.rememberPsd, "keptRemember");
        QTEST(marks.autoLogin, "keptAuto");
    }
    void damagedRecord_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::newRow("nothing") << "";
        QTest::newRow("not JSON") << "{\"username\":";
        QTest::newRow("a list") << "[1,2]";
        QTest::newRow("an empty object") << "{}";
    }
    void damagedRecord()
    {
        QFETCH(QString, stored);
        Marks marks{true, true};
        QCOMPARE(infosForPage(stored, true, &marks), stored);
        QVERIFY(!marks.rememberPsd && !marks.autoLogin);
    }

    void pageSaves_data()
    {
        QTest::addColumn<QString>("saved");
        QTest::addColumn<bool>("relogin");
        QTest::addColumn<bool>("goesOn");
        QTest::addColumn<QString>("remember");
        QTest::newRow("good") << R"({"failNum":0,"rememberPsd":"false","autoLogin":"false"})" << false << true << "false";
        QTest::newRow("no failNum") << R"({"rememberPsd":"false"})" << false << true << "false";
        QTest::newRow("failed") << R"({"failNum":2})" << false << false << "";
        QTest::newRow("failed, as text") << R"({"failNum":"1"})" << false << false << "";
        QTest::newRow("failed while reconnecting") << R"({"failNum":1})" << true << false << "";
        QTest::newRow("marks of before come back") << R"({"failNum":0,"rememberPsd":"false","autoLogin":"true"})" << true << true << "true";
    }
    void pageSaves()
    {
        QFETCH(QString, saved);
        QFETCH(bool, relogin);
        QString info;
        QTEST(infosFromPage(saved, relogin, {true, false}, &info), "goesOn");
        if (info.isEmpty())
            return;
        QTEST(object(info)["rememberPsd"].toString(), "remember");
        if (relogin)
            QCOMPARE(object(info)["autoLogin"].toString(), QString("false"));
    }
};

VN_TEST(TestLoginRules)
#include "tst_loginrules.moc"
