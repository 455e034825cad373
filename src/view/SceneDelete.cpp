#include "view/SceneDelete.h"
#include "common/ui/MsgTool.h"
#include "db/Calls.h"
#include "io/NetTcp.h"
#include <QCoreApplication>
#include <QTimer>
#include <QWidget>

void SceneDelete::run(QWidget *over, qlonglong rkey, int missionId, int answerMs)
{
    const auto gone = [rkey] { Seam<ResolveCalls>::post([rkey](ResolveCalls &queue) { queue.delResolve(rkey); }); };
    if (missionId == 0) { // no order yet
        gone();
        return;
    }
    auto *answer = new QTimer(over);
    answer->setSingleShot(true);
    QObject::connect(answer, &QTimer::timeout, over, [over, answer] {
        answer->deleteLater();
        MsgTool::msgOk(over, QCoreApplication::translate("Resolve", "服务器没有响应，任务未删除，请稍后重试"));
    });
    answer->start(answerMs);
    NetTcp::instance()->nvds(
        104, 10417, QJsonObject{{QStringLiteral("missionId"), missionId}},
        [answer, gone](int, const QJsonDocument &) {
            answer->stop();
            answer->deleteLater();
            gone();
        },
        answer);
}
