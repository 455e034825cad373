#include "common/ui/kit/Command.h"
#include "common/Session.h"
#include "io/NetTcp.h"
#include <memory>
#include <QCoreApplication>
#include <QTimer>

QString Command::codeText(int code)
{
    const QString text = Session::errorText(code);
    const bool none = text.isEmpty() || text == QString::number(code);
    return QStringLiteral("%1 (%2)")
        .arg(none ? QCoreApplication::translate("Command", "服务器拒绝了请求") : text)
        .arg(code);
}

QString Command::Answer::text() const
{
    return kind == Good      ? QString()
           : kind == Refused ? codeText(code)
                             : QCoreApplication::translate("Command", "服务器没有响应，请检查网络后重试");
}

void Command::ask(QObject *guard, int cmd, const QJsonObject &body, std::function<void(const Answer &)> then,
                  const QList<int> &good, int deadlineMs)
{
    // The timer is the guard of the reply: with it goes whoever waits.
    auto *wait = new QTimer(guard);
    wait->setSingleShot(true);
    QObject::connect(wait, &QTimer::timeout, guard, [wait, then] {
        wait->deleteLater();
        then(Answer());
    });
    wait->start(deadlineMs);
    NetTcp::instance()->nvds(
        cmd / 100, cmd, body,
        [=](int code, const QJsonDocument &doc) {
            if (!wait->isActive())
                return;
            wait->stop();
            wait->deleteLater();
            Answer answer;
            answer.code = code;
            answer.doc = doc;
            answer.kind = (good.isEmpty() ? code == cmd * 100 : good.contains(code)) ? Answer::Good : Answer::Refused;
            then(answer);
        },
        wait);
}
