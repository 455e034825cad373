#include "resolve/cloud/CloudReply.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/SceneState.h"
#include <QCoreApplication>
#include <QDateTime>
#include <QJsonDocument>
#include <QUrl>

namespace
{
constexpr qlonglong LastMs = 253402300799000; // the year 9999
constexpr int LongestText = 100000;           // of an error or of warnings
constexpr int MostResult = 32 << 20;          // of what an analysis found: more fits no order

QJsonValue field(const FuncBody &rep, const char *name)
{
    const QLatin1String key(name);
    return rep.object.contains(key) ? rep.object.value(key) : rep.data.value(key);
}

qlonglong timeOf(const QJsonValue &value)
{
    if (value.isDouble()) // ms
        return qBound<qlonglong>(0, value.toVariant().toLongLong(), LastMs);
    QDateTime time = QDateTime::fromString(value.toString(), QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    if (!time.isValid())
        time = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    return time.isValid() ? qMax<qlonglong>(0, time.toMSecsSinceEpoch()) : 0;
}

QString textOf(const QJsonValue &value)
{
    QString text = value.toVariant().toString();
    if (value.isArray()) {
        QStringList lines;
        for (const QJsonValue &one : value.toArray())
            lines << textOf(one);
        text = lines.join(QStringLiteral("\r\n"));
    } else if (value.isObject()) {
        text = QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    }
    return text.left(LongestText);
}
} // namespace

bool CloudReply::refuses(const FuncBody &rep)
{
    return !rep.object.contains(QLatin1String("details")) && rep.refuses();
}

CloudReply::State CloudReply::state(const FuncBody &rep)
{
    State state;
    state.word = field(rep, "status").toString();
    state.start = timeOf(field(rep, "start"));
    state.end = timeOf(field(rep, "end"));
    static const QStringList working{QStringLiteral("Queue"), QStringLiteral("Preparing"), QStringLiteral("Running"),
                                     QStringLiteral("Stopped")};
    if (working.contains(state.word))
        state.status = Status::Working;
    else if (state.word == QLatin1String("Idle"))
        state.status = Status::Idle;
    else if (!state.word.isEmpty())
        state.status = Status::Unknown;
    return state;
}

bool CloudReply::result(const FuncBody &rep, db_resolve *res)
{
    const QJsonValue details = field(rep, "details"), content = field(rep, "content");
    bool number = false;
    const int outcome = details.toVariant().toString().toInt(&number);
    if (!number || outcome < 0 || outcome > 3)
        return false;
    using namespace SceneState;
    static const int states[] = {Clean, Warned, Failed, Incomplete};
    db_resolve ended = *res;
    ended.state = states[outcome];
    ended.error = 0;
    ended.errstr.clear();
    if (rep.raw.size() > MostResult) {
        ended.state = Failed;
        ended.error = AnalysisError::BadResult;
        ended.errstr =
            QCoreApplication::translate("CloudReply", "解析结果过大（%1 MB），无法使用").arg(rep.raw.size() >> 20);
        *res = ended;
        return true;
    }
    const QJsonObject found =
        content.isString() ? QJsonDocument::fromJson(content.toString().toUtf8()).object() : content.toObject();
    if (outcome == 2) {
        ended.errstr = textOf(content.isUndefined() || content.isNull() ? field(rep, "error") : content);
        *res = ended;
        return true;
    }
    if (found.isEmpty() && outcome != 3) { // nothing that could be rendered
        ended.state = Failed;
        ended.error = AnalysisError::BadResult;
    } else {
        ended.rdata = QString::fromUtf8(QJsonDocument(found).toJson(QJsonDocument::Compact));
    }
    for (const QJsonValue &told :
         {found.value(QLatin1String("warnings")), found.value(QLatin1String("errstr")), field(rep, "error")})
        if (ended.errstr.isEmpty() && outcome == 1)
            ended.errstr = textOf(told);
    *res = ended;
    return true;
}

QString CloudReply::error(const FuncBody &rep) { return textOf(field(rep, "error")).trimmed(); }

QString CloudReply::endpoint(const FuncBody &rep, const QString &base)
{
    for (const QJsonValue &value : rep.array) {
        const QJsonObject pair = value.toObject();
        const QString host = pair.value(QLatin1String("host")).toString();
        const int port = pair.value(QLatin1String("port")).toVariant().toInt();
        QUrl url(base);
        url.setHost(host);
        url.setPort(port);
        if (!host.isEmpty() && port > 0 && port < 65536 && url.isValid())
            return url.toString(QUrl::FullyEncoded);
    }
    return {};
}
