#include "support/TestMain.h"
#include <QTemporaryDir>
#ifdef QT_WIDGETS_LIB
#include <QApplication>
using TestAppBase = QApplication;
#else
#include <QCoreApplication>
using TestAppBase = QCoreApplication;
#endif

#if defined(__SANITIZE_THREAD__)
void tsanDelivered(QObject *receiver);
#else
static void tsanDelivered(QObject *) {}
#endif

class TestApp : public TestAppBase
{
public:
    using TestAppBase::TestAppBase;
    bool notify(QObject *receiver, QEvent *event) override
    {
        tsanDelivered(receiver);
        return TestAppBase::notify(receiver, event);
    }
};

namespace {
struct TestClass { const char *name; TestMaker make; };
QList<TestClass> &classes() { static QList<TestClass> list; return list; }
QString home;
}

int addTestClass(const char *name, TestMaker maker)
{
    classes().append({name, std::move(maker)});
    return classes().size();
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
    TestApp app(argc, argv);
    app.setApplicationName(QStringLiteral("VandrelQN"));
    int failed = 0, ran = 0;
    for (const TestClass &one : classes()) {
        if (const QByteArray only = qgetenv("VN_ONLY"); !only.isEmpty() && only != one.name)
            continue;
        QScopedPointer<QObject> test(one.make());
        failed += QTest::qExec(test.data(), argc, argv);
        ++ran;
    }
    return ran == 0 ? 1 : qMin(failed, 125);
}
