#include "support/TestMain.h"
#include <QTemporaryDir>
#ifdef QT_WIDGETS_LIB
#include "common/ui/SingleApp.h"
using TestAppBase = SingleApp;
#else
#include <QCoreApplication>
using TestAppBase = QCoreApplication;
#endif

#if defined(__SANITIZE_THREAD__)
void tsanDelivered(QObject *receiver);
void tsanDone(QObject *receiver);
#else
static void tsanDelivered(QObject *) {}
static void tsanDone(QObject *) {}
#endif

class TestApp : public TestAppBase
{
public:
    using TestAppBase::TestAppBase;
    bool notify(QObject *receiver, QEvent *event) override
    {
        tsanDelivered(receiver);
        const bool taken = TestAppBase::notify(receiver, event);
        tsanDone(receiver); // its address alone is used: it may be gone
        return taken;
    }
};

namespace
{
struct TestClass {
    const char *name;
    TestMaker make;
};
QList<TestClass> &classes()
{
    static QList<TestClass> list;
    return list;
}
QList<std::function<void()>> &ends()
{
    static QList<std::function<void()>> list;
    return list;
}
QString home;
} // namespace

int addTestClass(const char *name, TestMaker maker)
{
    classes().append({name, std::move(maker)});
    return classes().size();
}

int atTestEnd(std::function<void()> end)
{
    ends().append(std::move(end));
    return ends().size();
}

QString testHome() { return home; }

QString sceneFolder()
{
    const QString named = qEnvironmentVariable("VN_SCENES");
    return !named.isEmpty() && QFileInfo(named).isDir() ? QDir(named).absolutePath() : QString();
}

int main(int argc, char **argv)
{
    QTemporaryDir folder;
    home = folder.path();
    qputenv("HOME", home.toUtf8());
    qputenv("XDG_CONFIG_HOME", (home + "/.config").toUtf8());
    qputenv("XDG_DATA_HOME", (home + "/.local/share").toUtf8());
    // Never the key ring of the person who runs it.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    TestApp app(argc, argv);
    app.setApplicationName(QStringLiteral("VandrelQN"));
    int failed = 0, ran = 0;
    for (const TestClass &one : classes()) {
        if (const QByteArray only = qgetenv("VN_ONLY"); !only.isEmpty() && !only.split(',').contains(one.name))
            continue;
        QScopedPointer<QObject> test(one.make());
        failed += QTest::qExec(test.data(), argc, argv);
        ++ran;
    }
    for (const std::function<void()> &end : ends())
        end();
    return ran == 0 ? 1 : qMin(failed, 125);
}
