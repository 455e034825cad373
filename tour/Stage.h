#pragma once
// What the windows of the tour stand on: a farm of its own, a real login to it, the account's stores, first empty, then
// filled with rows in every state that nobody works on. Its home is a folder that goes with it. Main thread.
#include "db/Records.h"
#include "Farm.h"
#include <functional>
#include <memory>
#include <QTemporaryDir>
#include <QTranslator>

class Login;
class MainWindow;
class Resolve;
class Transfer;

class Stage
{
public:
    enum Fill { Empty, Full };
    Stage();
    ~Stage();
    bool open(const QString &language); // false: error() tells
    bool login();
    void fill();
    QString error() const { return m_error; }
    Fill filled() const { return m_fill; }

    MainWindow *window() const;
    Login *loginWindow() const { return m_login.get(); }
    Resolve *resolve() const;
    Transfer *transfer() const;
    QString home() const { return m_home.path(); }
    Farm &farm() { return m_farm; }
    db_resolve scene(int state) const;   // of the store, with its parameters; a made up one where there is none
    static QString longName(int number); // of a file: 180 characters
    static QStringList farmWords();      // what the farm says in its own language
    static bool wait(const std::function<bool()> &until, int ms = 20000);
    static void settle(int ms); // the event loop runs

private:
    void fillScenes();
    void fillTransfers();

    QTemporaryDir m_home;
    Farm m_farm;
    FarmOptions m_options;
    QTranslator m_translator;
    std::unique_ptr<Login> m_login;
    QString m_error;
    Fill m_fill = Empty;
};
