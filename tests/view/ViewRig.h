#pragma once
// What the tests of windows share: hands that find and press things.
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "support/BusinessPeer.h"
#include "support/Spies.h"
#include <QApplication>
#include <QLabel>
#include <QPushButton>

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

inline QString allText(QWidget *window)
{
    QStringList words;
    for (auto *label : window->findChildren<QLabel *>())
        if (label->isVisibleTo(window))
            words << label->text();
    return words.join('|');
}

// The message that is open, or an empty text; answering closes it.
inline QString message() { return topLevel<MsgBox>() ? topLevel<MsgBox>()->text() : QString(); }
inline bool answer(const QString &text)
{
    MsgBox *box = topLevel<MsgBox>();
    const bool pressed = press(box, text);
    return pressed && comes([] { return !topLevel<MsgBox>(); });
}

// An account in a folder of its own, with these grants taken away.
inline void account(int userId, const QJsonArray &denied = {})
{
    UserInfo::clearCache();
    UserInfo::init({"VandrelQN"});
    UserInfo::initUser({{"userId", userId}, {"username", "frieda"}});
    UserInfo::setRolePerm({{"grants", denied}, {"result", 1}});
}
