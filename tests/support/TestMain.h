#pragma once
// Shared main of the test binaries. A test file declares one or more QObject classes with private slots, ends with
//   VN_TEST(TestOfSomething)
//   #include "tst_something.moc"
// and TestMain.cpp runs them all. HOME and the XDG folders point into a temporary folder before anything runs, so that
// a test never sees or leaves files of the person who runs it. Arguments are passed to every class (-functions lists).
#include <functional>
#include <QtTest>

// How long a test waits for what must come. It only costs time where something is broken, and a machine that stands still
// for some seconds, since another job has its disk or its processor, must not be taken for that.
constexpr int Patience = 30000;
#undef QTRY_COMPARE
#define QTRY_COMPARE(expr, expected) QTRY_COMPARE_WITH_TIMEOUT(expr, expected, Patience)
#undef QTRY_VERIFY
#define QTRY_VERIFY(expr) QTRY_VERIFY_WITH_TIMEOUT(expr, Patience)
#undef QTRY_VERIFY2
#define QTRY_VERIFY2(expr, text) QTRY_VERIFY2_WITH_TIMEOUT(expr, text, Patience)
template <class Condition> bool comes(Condition condition) { return QTest::qWaitFor(condition, Patience); }

using TestMaker = std::function<QObject *()>;
int addTestClass(const char *name, TestMaker maker);
#define VN_TEST(Class) static const int registered_##Class = addTestClass(#Class, [] { return static_cast<QObject *>(new Class); });

// Runs when all classes of the binary are through: for what the process has once, such as the thread pool.
int atTestEnd(std::function<void()> end);

// The temporary folder that stands for HOME in this run; gone when the binary ends.
QString testHome();
// The folder of real scene files that the environment variable VN_SCENES names, or an empty text where this machine has none.
QString sceneFolder();
