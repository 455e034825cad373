#include "common/ui/kit/ServerCall.h"
#include "common/facts/Command.h"
#include "common/Session.h"
#include "io/Ask.h"
#include <QCoreApplication>

QString ServerCall::codeText(int code)
{
    const QString text = Session::errorText(code);
    const bool none = text.isEmpty() || text == QString::number(code);
    return QStringLiteral("%1 (%2)")
        .arg(none ? QCoreApplication::translate("ServerCall", "服务器拒绝了请求") : text)
        .arg(code);
}

QString ServerCall::Answer::text() const
{
    return kind == Good      ? QString()
           : kind == Refused ? codeText(code)
                             : QCoreApplication::translate("ServerCall", "服务器没有响应，请检查网络后重试");
}

void ServerCall::ask(QObject *guard, int cmd, const QJsonObject &body, std::function<void(const Answer &)> then,
                     const QList<int> &good, int deadlineMs)
{
    const QList<int> fine = good.isEmpty() ? QList<int>{Command::success(cmd)} : good;
    Ask(cmd, body)
        .within(deadlineMs)
        .any([=](int code, const QJsonDocument &doc) {
            then(Answer{fine.contains(code) ? Answer::Good : Answer::Refused, code, doc});
        })
        .lost([=](Ask::Loss) { then(Answer()); })
        .send(guard);
}
