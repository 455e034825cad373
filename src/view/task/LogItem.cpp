#include "view/task/LogItem.h"
#include "common/ThreadPool.h"
#include "task/SubLog.h"
#include "view/frames/LogView.h"
#include <QApplication>
#include <QCoreApplication>

namespace
{
struct Words {
    Q_DECLARE_TR_FUNCTIONS(LogItem)
};
} // namespace

bool LogItem::possible(const SubTask &sub) { return sub.status != SubTask::Queued || !sub.startTime.isEmpty(); }

Column<SubTask> LogItem::column()
{
    Column<SubTask> one(QStringLiteral("log"), Words::tr("日志"), 88);
    one.text([](const SubTask &sub) { return possible(sub) ? Words::tr("查看日志") : QString(); })
        .tint([](const SubTask &) { return Tint::Running; })
        .link()
        .unsorted()
        .atLeast(88)
        .giving(1);
    return one;
}

LogView *LogItem::open(QWidget *over, const QString &task, const SubTask &sub, std::function<bool()> runs)
{
    const QString file = SubLog::fileOf(task, sub.id);
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *view = qobject_cast<LogView *>(widget); view && view->path() == file) {
            view->showNormal();
            view->raise();
            view->activateWindow();
            return view;
        }
    LogView *view = LogView::open(over, QStringLiteral("%1_%2").arg(task, sub.frames()), file);
    auto *log = new SubLog({task, sub.id, sub.farmId, sub.log, sub.startTime}, file);
    ThreadPool::instance()->addWork(log);
    QObject::connect(log, &SubLog::grown, view, &LogView::grown);
    QObject::connect(log, &SubLog::anew, view, &LogView::begunAnew);
    // The row may end while a fetch is under way: one more brings the last lines.
    QObject::connect(log, &SubLog::fetched, view,
                     [view, runs, ended = false](qint64, const QString &why, int still) mutable {
                         view->tell(why);
                         if (ended && why.isEmpty())
                             view->over();
                         ended = still >= 0 ? still == 0 : !runs();
                     });
    QObject::connect(view, &QObject::destroyed, log, &QObject::deleteLater);
    view->setSource([log](qint64) { log->call([](SubLog &one) { one.more(); }); });
    return view;
}
