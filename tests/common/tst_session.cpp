#include "common/CommonConfig.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "support/Row.h"
#include "support/TestMain.h"
#include <QTranslator>

class TestSession : public QObject
{
    Q_OBJECT
private slots:
    void addresses_data()
    {
        columns<QByteArray, QString>("service", "seen"); // seen: host, REST base, bs, login
        const auto row = [](const char *name, const char *service, const char *seen) { addRow(name, QByteArray(service), QString(seen)); };
        row("no file", "", "127.0.0.1 http://127.0.0.1 http://127.0.0.1 http://127.0.0.1");
        row("bare host", "qnbs=farm.local\n", "farm.local http://farm.local http://farm.local http://farm.local");
        row("port", "qnbs=http://127.0.0.1:8080/\n", "127.0.0.1 http://127.0.0.1:8080 http://127.0.0.1:8080 http://127.0.0.1:8080");
        row("secure with path", "qnbs=https://farm.local:8443/api\nlogin=login.local:81/\n",
            "farm.local https://farm.local:8443/api https://farm.local:8443/api http://login.local:81");
        row("sixth version", "qnbs=http://[::1]:90\nbs=http://b\n", "::1 http://[::1]:90 http://b http://[::1]:90");
    }
    void addresses()
    {
        QFETCH(QByteArray, service);
        QFile file(m_program.filePath("service.ini"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[server]\n" + service);
        file.close();
        UserInfo::setProgramDir(m_program.path());
        Session::clearAddresses();
        QTEST(QStringList({Session::qnIP(), Session::qnhttp(), Session::bsAddress(), Session::address("login")}).join(' '), "seen");
        UserInfo::setProgramDir({});
        Session::clearAddresses();
    }

    void servicePort()
    {
        UserInfo::init({"client"});
        QFile file(UserInfo::baseDir() + "/service");
        for (const auto &row :
             {qMakePair(QByteArray("29110\r\n"), 29110), qMakePair(QByteArray("70000"), 0), qMakePair(QByteArray("x"), 0)}) {
            QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(row.first);
            file.close();
            QCOMPARE(int(Session::localServicePort()), row.second);
        }
        file.remove();
        QCOMPARE(int(Session::localServicePort()), 0);
    }

    // A row out of order would hide from the search.
    void everyNumberFindsItsRow()
    {
        int commands = 0, errors = 0, actions = 0;
        for (int number = 0; number < 12000; ++number)
            commands += Session::cmdName(number) != QString::number(number);
        for (int number = 100; number < 1090000; number = number == 1000 ? 1000000 : number + 1) {
            errors += Session::errorText(number) != QString::number(number);
            actions += Session::actionText(number) != QString::number(number);
        }
        QCOMPARE(commands, 52);
        QCOMPARE(errors, 81);
        QCOMPARE(actions, 48 + 27 - 1); // one lies above the range
    }

    void textsAreTranslated()
    {
        struct Reversing : QTranslator {
            bool isEmpty() const override { return false; }
            QString translate(const char *context, const char *text, const char *, int) const override
            {
                return qstrcmp(context, "Session") == 0 ? "<" + QString::fromUtf8(text) + ">" : QString();
            }
        } translator;
        QCoreApplication::installTranslator(&translator);
        const QString name = Session::cmdName(10000), action = Session::actionText(1043002);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(name, QString("<心跳>"));
        QCOMPARE(action, QString("<暂停渲染><失败，><农场不可用>"));
    }

    void commonConfig()
    {
        CommonConfig::clear();
        QCOMPARE(CommonConfig::get().blocksCount, 0);
        CommonConfig::fromJson({{"parseTime", 60}, {"submitConfig", 1}, {"projectName", "p"}, {"timeout", "12"}});
        QCOMPARE(CommonConfig::get().blocksCount, -4);
        QCOMPARE(CommonConfig::get().repairType, 0);
        QCOMPARE(CommonConfig::get().timeout, 12);

        CommonConfig changed = CommonConfig::get();
        changed.parseTime = 90;
        const QJsonObject body = changed.saveBody();
        QCOMPARE(body.size(), 14);
        QVERIFY(!body.contains("projectName"));
        QCOMPARE(CommonConfig::get().parseTime, 60); // a refused save changes nothing
        CommonConfig::overlay(body);
        QCOMPARE(CommonConfig::get().parseTime, 90);
        QCOMPARE(CommonConfig::get().submitConfig, 1); // what isn't saved stays
        QCOMPARE(CommonConfig::get().projectName, QString("p"));
        CommonConfig::clear();
    }

private:
    QTemporaryDir m_program;
};

VN_TEST(TestSession)
#include "tst_session.moc"
