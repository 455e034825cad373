#include "view/task/TaskOpen.h"
#include "common/ui/TrayIcon.h"
#include "view/Shell.h"
#include <QWidget>

bool TaskOpen::open(Shell *shell, const QString &id)
{
    bool whole = false;
    if (id.toLongLong(&whole) <= 0 || !whole)
        return false;
    TrayIcon::instance()->showCurWid();
    emit shell->showPage(QStringLiteral("mission"));
    emit shell->openTask(id);
    return true;
}
