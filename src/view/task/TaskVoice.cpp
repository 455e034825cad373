#include "view/task/TaskVoice.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/MsgTool.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include <QApplication>

TaskVoice::TaskVoice(TaskDesk *desk, QWidget *page) : QObject(page), m_page(page)
{
    connect(desk, &TaskDesk::told, this, &TaskVoice::told);
    connect(
        &m_news, &TaskNews::note, this,
        [this](const QString &title, const QString &text, bool, const QStringList &ids) { over(title, text, ids); });
}

bool TaskVoice::wanted() { return UserInfo::setting(Settings::TaskNotice).toInt() == 1; }
void TaskVoice::setWanted(bool on) { UserInfo::setSetting(Settings::TaskNotice, on ? 1 : 0); }

bool TaskVoice::inFront() const
{
    const QWidget *window = m_page->window();
    return window->isVisible() && !window->isMinimized() && qApp->applicationState() == Qt::ApplicationActive;
}

void TaskVoice::told(const TaskOutcome &outcome)
{
    const QString text = outcome.text();
    const QString title = TaskAct::text(outcome.act);
    // A window that isn't looked at gets no message in front of it: the system's note brings the user back.
    if (!outcome.good() && inFront())
        MsgTool::msgOk(m_page, text);
    else if (!outcome.good() || outcome.act == TaskAct::RerenderFailed || !inFront())
        TrayIcon::instance()->showInfoMsg(title, text, outcome.good() ? NoteMs : NewsMs);
    else
        Toast::show(m_page, text, {}, {}, NoteMs);
}

void TaskVoice::over(const QString &title, const QString &text, const QStringList &ids)
{
    emit somethingNew();
    if (!wanted())
        return;
    if (!inFront())
        return TrayIcon::instance()->showInfoMsg(title, text, NewsMs);
    const QString offer = ids.size() == 1 ? tr("查看") : QString();
    Toast::show(
        m_page, QStringLiteral("%1\n%2").arg(title, text), offer, [this, ids] { emit looked(ids.first()); }, NewsMs);
}
