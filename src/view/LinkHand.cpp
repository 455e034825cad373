#include "view/LinkHand.h"
#include "common/LinkScheme.h"
#include "common/ui/MsgTool.h"
#include "common/ui/TrayIcon.h"
#include "view/Login.h"
#include "view/MainWindow.h"
#include "view/task/TaskOpen.h"
#include <QDebug>
#include <utility>

LinkHand::LinkHand(Login *login) : m_login(login) { connect(login, &Login::sessionBegan, this, &LinkHand::ask); }

void LinkHand::take(const QString &link)
{
    if (link.isEmpty())
        return;
    const int task = LinkScheme::task(link);
    qDebug().noquote() << "LinkHand::take" << link.left(100) << task;
    if (task == 0 || m_box) // one question at a time: who sends many links gets no wall of them
        return;
    m_task = task;
    ask();
}

void LinkHand::ask()
{
    MainWindow *window = m_login->mainWindow();
    if (!window || m_task == 0)
        return;
    const int task = std::exchange(m_task, 0);
    TrayIcon::instance()->showCurWid();
    m_box = MsgTool::ask(window, tr("一个链接要打开任务 %1，是否打开？").arg(task),
                         [window, task] { TaskOpen::open(window->shell(), QString::number(task)); });
    connect(m_box, &MsgBox::answered, this, [this] { m_box = nullptr; });
}
