#include "view/Leaving.h"
#include "common/ui/Background.h"
#include "common/ui/MsgTool.h"
#include "common/ui/TrayIcon.h"
#include "db/ResolveDAO.h"
#include <QCoreApplication>
#include <QPointer>

void Leaving::ask(QWidget *over, std::function<void()> go, const QString &opening)
{
    const QString accept = opening.isEmpty() ? QCoreApplication::translate("Leaving", "退出")
                                             : QCoreApplication::translate("Leaving", "重新启动");
    Background::run(
        over, [] { return ResolveDAO::instance()->underWay(); },
        [over, go, opening, accept](const QPair<int, int> &counts) {
            QStringList words;
            if (!opening.isEmpty())
                words << opening;
            if (counts.first > 0)
                words << QCoreApplication::translate("Leaving",
                                                     "还有 %1 个场景正在解析，退出后将中断，下次启动时重新解析。")
                             .arg(counts.first);
            if (counts.second > 0)
                words << QCoreApplication::translate("Leaving", "还有 %1 个场景未上传完，下次启动时继续上传。")
                             .arg(counts.second);
            if (words.isEmpty())
                return go();
            if (opening.isEmpty())
                words << QCoreApplication::translate("Leaving", "确定退出程序吗？");
            if (!over->isVisible() || over->isMinimized())
                TrayIcon::instance()->showCurWid(); // who leaves from the tray sees the question in its window
            MsgTool::ask(over, words.join(QLatin1Char('\n')), go)->setAcceptText(accept);
        });
}
