#include "view/SceneDelete.h"
#include "common/facts/Command.h"
#include "common/ui/MsgTool.h"
#include "db/Calls.h"
#include "io/Ask.h"
#include <QCoreApplication>
#include <QWidget>

void SceneDelete::run(QWidget *over, qlonglong rkey, int missionId, int answerMs)
{
    const auto gone = [rkey] { Seam<ResolveCalls>::post([rkey](ResolveCalls &queue) { queue.delResolve(rkey); }); };
    if (missionId == 0) { // no order yet
        gone();
        return;
    }
    Ask(Command::GiveUpOrder, {{QStringLiteral("missionId"), missionId}})
        .within(answerMs)
        .whenLinked()
        .any([gone](int, const QJsonDocument &) { gone(); })
        .lost([over](Ask::Loss) {
            MsgTool::msgOk(over, QCoreApplication::translate("Resolve", "服务器没有响应，任务未删除，请稍后重试"));
        })
        .send(over);
}
