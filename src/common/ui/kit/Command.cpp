#include "common/ui/kit/Command.h"
#include "common/Session.h"
#include "io/Ask.h"
#include <QCoreApplication>

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
    const auto answered = [=](bool right) {
        return [=](int code, const QJsonDocument &doc) {
            Answer answer;
            answer.code = code;
            answer.doc = doc;
            answer.kind = (good.isEmpty() ? right : good.contains(code)) ? Answer::Good : Answer::Refused;
            then(answer);
        };
    };
    Ask(cmd, body)
        .within(deadlineMs)
        .whenLinked()
        .answered(answered(true))
        .refused(answered(false))
        .lost([then](Ask::Loss) { then(Answer()); })
        .send(guard);
}
