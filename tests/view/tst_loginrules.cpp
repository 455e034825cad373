// What the login decides, without a window.
#include "support/Row.h"
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
    void address()
    {
        for (const auto &[base, language, url] :
             Rows<QString, QString, QString>{{"https://h:8443/", "zh_cn", "https://h:8443/xclient/loginPage?version=qn"},
                                             {"http://h:1?auto=1", "zh_cn", "http://h:1/xclient/loginPage?auto=1&version=qn"},
                                             {"http://h:1?auto=1", "en_us", "http://h:1/xclient/loginPage?auto=1&version=qn&en=true"},
                                             {"http://h", "zh_en", "http://h/xclient/loginPage?version=qn&en=true"},
                                             {"http://h/sub//", "zh_cn", "http://h/sub/xclient/loginPage?version=qn"}})
            QCOMPARE(pageUrl(base, language).toString(), url);
    }

    void storedRecord_data()
    {
        columns<QString, bool, QString, QString, QString, bool, bool>("stored", "relogin", "password", "remember", "autoLogin",
                                                                      "keptRemember", "keptAuto");
        const QString whole = R"({"username":"f","password":"x","rememberPsd":"true","autoLogin":"false"})";
        addRow("as stored", whole, false, "x", "true", "false", true, false);
        addRow("while reconnecting both on", whole, true, "x", "true", "true", true, false);
        addRow("no password", R"({"username":"f","rememberPsd":"true","autoLogin":"true"})", false, "", "false", "false", false, false);
        addRow("no password, reconnecting", R"({"username":"f"})", true, "", "true", "true", false, false);
    }
    void storedRecord()
    {
        FETCH(QString, stored, bool, relogin, QString, password, QString, remember, QString, autoLogin);
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
    void damagedRecord()
    {
        for (const QString stored : {"", "{\"username\":", "[1,2]", "{}"}) {
            Marks marks{true, true};
            QCOMPARE(infosForPage(stored, true, &marks), stored);
            QVERIFY(!marks.rememberPsd && !marks.autoLogin);
        }
    }

    void pageSaves_data()
    {
        columns<QString, bool, bool, QString>("saved", "relogin", "goesOn", "remember");
        addRow("good", R"({"failNum":0,"rememberPsd":"false","autoLogin":"false"})", false, true, "false");
        addRow("no failNum", R"({"rememberPsd":"false"})", false, true, "false");
        addRow("failed", R"({"failNum":2})", false, false, "");
        addRow("failed, as text", R"({"failNum":"1"})", false, false, "");
        addRow("failed while reconnecting", R"({"failNum":1})", true, false, "");
        addRow("marks of before come back", R"({"failNum":0,"rememberPsd":"false","autoLogin":"true"})", true, true, "true");
    }
    void pageSaves()
    {
        FETCH(QString, saved, bool, relogin);
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
