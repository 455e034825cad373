#pragma once
// What the tests of windows share: handlers that keep what they are asked, and hands that find and press things.
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "db/DoneDAO.h"
#include "support/BusinessPeer.h"
#include <QApplication>
#include <QLabel>
#include <QPushButton>

// Stand for the session's handlers; each call is kept as a line of words.
class ResolveSpy : public QObject, public ResolveCalls
{
public:
    ResolveSpy() { Seam<ResolveCalls>::attach(this, this); }
    ~ResolveSpy() override { Seam<ResolveCalls>::detach(this); }
    QStringList calls;
    QList<db_resolve> added;
    QStringList take() { return std::exchange(calls, {}); }
    void addFile(QList<db_resolve> list) override { added << list; }
    void reAddFile(qlonglong key) override { calls << QString("again %1").arg(key); }
    void readFile(int page, int size, QString search) override
    {
        calls << QString("read %1 %2 %3").arg(page).arg(size).arg(search).trimmed();
    }
    void showPage(ScenePage wanted) override
    {
        const QString sort = wanted.sort.isEmpty() ? QString() : wanted.sort + (wanted.down ? " down" : " up");
        const QString holding = wanted.holding ? QString("holding %1").arg(wanted.holding) : QString();
        calls << QString("read %1 %2 %3 %4 %5").arg(wanted.page).arg(wanted.size).arg(wanted.search, sort, holding).simplified();
    }
    void delResolve(qlonglong key) override { calls << QString("del %1").arg(key); }
    void delResolveByTask(int id) override { calls << QString("delTask %1").arg(id); }
    void paraSet(qlonglong key) override { calls << QString("para %1").arg(key); }
    void changeResolveState(qlonglong key, int type, QString order) override
    {
        calls << QString("change %1 %2 %3").arg(key).arg(type).arg(order).trimmed();
    }
    void saveDataSet(db_resolve) override { calls << "save"; }
    void commitResolve(qlonglong key, bool batch, QString) override { calls << QString("commit %1 %2").arg(key).arg(batch); }
    void seeError(int type, qlonglong key) override { calls << QString("error %1 %2").arg(type).arg(key); }
    void reswait(int type) override { calls << QString("wait %1").arg(type); }
    void fileOk(QString, qlonglong) override {}
    void readDone(int kind, QString search, int page, int size) override
    {
        calls << QString("done %1 %2 %3 %4").arg(kind).arg(search).arg(page).arg(size).simplified();
        DoneDAO::instance()->readPage(kind, search, page, size);
    }
    void removeDone(QList<qlonglong> ids) override { DoneDAO::instance()->remove(ids); }
};

class DownSpy : public QObject, public DownCalls
{
public:
    DownSpy() { Seam<DownCalls>::attach(this, this); }
    ~DownSpy() override { Seam<DownCalls>::detach(this); }
    QStringList calls;
    QList<QJsonObject> pushes;
    void missionResult(int mid, bool, bool) override { calls << QString("result %1").arg(mid); }
    void coverResult(int mid, int cover) override { calls << QString("cover %1 %2").arg(mid).arg(cover); }
    void resultPush(QJsonObject obj) override { pushes << obj; }
    void rootConfirmed(QString root) override { calls << "root " + root; }
    void readFile(int page) override { calls << QString("read %1").arg(page); }
    void readMissionFile(qlonglong pri, int page) override { calls << QString("files %1 %2").arg(pri).arg(page); }
    void reDown(qlonglong pri) override { calls << QString("re %1").arg(pri); }
    void pauseDown(qlonglong pri) override { calls << QString("pause %1").arg(pri); }
    void delDown(qlonglong pri) override { calls << QString("del %1").arg(pri); }
    void priDown(qlonglong pri) override { calls << QString("pri %1").arg(pri); }
};

class UpSpy : public QObject, public UpCalls
{
public:
    UpSpy() { Seam<UpCalls>::attach(this, this); }
    ~UpSpy() override { Seam<UpCalls>::detach(this); }
    QStringList calls;
    void pauseUp(QString order, int, int, bool) override { calls << "pause " + order; }
    void delUp(QString order, int) override { calls << "del " + order; }
    void reUp(QString order) override { calls << "re " + order; }
    void readFile(QString order, int page) override { calls << QString("files %1 %2").arg(order).arg(page); }
};

inline db_resolve scene(qlonglong rkey, int state, const QString &path = {}, int mission = 0)
{
    db_resolve res;
    res.rkey = res.pri = rkey;
    res.state = state;
    res.lpath = path.isEmpty() ? QString("/scenes/shot_%1.tgd").arg(rkey) : path;
    res.missionid = mission;
    res.ordernum = QString("2026%1").arg(rkey);
    res.project = "valley";
    return res;
}

template <class Window> Window *topLevel()
{
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *found = qobject_cast<Window *>(widget); found && found->isVisible())
            return found;
    return nullptr;
}

// Keys and focus go to the active window alone.
inline void activate(QWidget *window)
{
    window->activateWindow();
    if (!QTest::qWaitForWindowActive(window))
        qWarning("the window isn't active");
}

inline QPushButton *buttonOf(QWidget *window, const QString &text)
{
    for (auto *button : window->findChildren<QPushButton *>())
        if (button->text() == text)
            return button;
    return nullptr;
}

inline bool press(QWidget *window, const QString &text)
{
    QPushButton *button = window ? buttonOf(window, text) : nullptr;
    if (!button || !button->isEnabled())
        return false;
    button->click();
    return true;
}

// The message that is open, or an empty text; answering closes it.
inline QString message() { return topLevel<MsgBox>() ? topLevel<MsgBox>()->text() : QString(); }
inline bool answer(const QString &text)
{
    MsgBox *box = topLevel<MsgBox>();
    const bool pressed = press(box, text);
    return pressed && QTest::qWaitFor([] { return !topLevel<MsgBox>(); });
}

// An account in a folder of its own, with these grants taken away.
inline void account(int userId, const QJsonArray &denied = {})
{
    UserInfo::clearCache();
    UserInfo::init({"VandrelQN"});
    UserInfo::initUser({{"userId", userId}, {"username", "frieda"}});
    UserInfo::setRolePerm({{"grants", denied}, {"result", 1}});
}
