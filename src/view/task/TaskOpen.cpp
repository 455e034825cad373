#include "view/task/TaskOpen.h"
#include "common/ui/TrayIcon.h"
#include "view/Shell.h"
#include <QWidget>

bool TaskOpen::open(Shell *shell, const QString &id)
{
    bool whole = false;
    const int mission = id.toInt(&whole);
    if (!whole || mission <= 0)
        return false;
    TrayIcon::instance()->showCurWid();
    emit shell->showPage(QStringLiteral("mission"));
    emit shell->openTask(mission);
    return true;
}
