#include "DriveForms.h"
#include "Rest.h"
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <vector>

namespace farm
{

namespace
{
struct Form {
    Form(const char *method, const char *path, const char *query, const char *body)
        : method(method), query(query), body(body), path(QLatin1String(path))
    {
        this->path.optimize();
    }
    const char *method, *query;
    const char *body; // "key:kind", kind n number, s text; null: none
    QRegularExpression path;
};
// Made once: a file of 4 GiB is asked for in 16,384 ranges.
const std::vector<Form> &forms()
{
    static const std::vector<Form> all{
        {"GET", "^/(files|resultFiles)/-?\\d+(/family)?$", "fileType", nullptr},
        {"GET", "^/(files|resultFiles)/-?\\d+/sub-files$", "fileType", nullptr},
        {"GET", "^/(files|resultFiles)/-?\\d+/sub-files$", "fileType page pageSize", nullptr},
        {"GET", "^/(files|resultFiles)/alike-files$", "fileType searchName ids", nullptr},
        {"GET", "^/files/\\d+/data$", "fileType", nullptr},
        {"GET", "^/(files|resultFiles)/\\d+/thumbnail$", "fileType size", nullptr},
        {"POST", "^/files$", "", "fileType:n name:s diskName:s parent:s"},
        {"PUT", "^/files/rename-files$", "", "fileType:n name:s diskName:s id:s"},
        {"PUT", "^/files/move-files$", "fileType targetParent ids", nullptr},
        {"DELETE", "^/files$", "fileType ids", nullptr},
        {"GET", "^/masterInfo$", "host port", nullptr},
        {"POST", "^/task$", "", "key:n root_path:s scene:s"},
        {"GET", "^/task/\\d+(/(result|error))?$", "", nullptr},
        {"PUT", "^/task/\\d+/(resume|stop)$", "", "*"},
    };
    return all;
}

QString bodyDeparture(const Form &form, const HttpRequest &request)
{
    const QByteArray kind = request.headers.value("content-type");
    if ((form.body || request.method == "PUT") && kind != "application/json")
        return QStringLiteral("Content-Type is '%1'").arg(QString::fromLatin1(kind));
    if (!form.body)
        return request.body.isEmpty() ? QString() : QStringLiteral("a body");
    if (*form.body == '*')
        return {};
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    const QStringList wanted = QString::fromLatin1(form.body).split(QLatin1Char(' '));
    for (const QString &one : wanted) {
        const QJsonValue value = body.value(one.section(QLatin1Char(':'), 0, 0));
        if (one.endsWith(QLatin1Char('n')) ? !value.isDouble() : !value.isString())
            return QStringLiteral("body without %1").arg(one);
    }
    return body.size() == wanted.size() ? QString() : QStringLiteral("more in its body than told");
}
} // namespace

QString DriveForms::departure(const HttpRequest &request, const QString &path)
{
    QStringList keys;
    for (const QByteArray &item : request.rawQuery.split('&')) {
        if (!item.isEmpty())
            keys << QString::fromLatin1(item.left(item.indexOf('=')));
        for (const char c : item)
            if (uchar(c) < 0x21 || uchar(c) > 0x7e || c == '+')
                return QStringLiteral("a query that isn't percent-encoded");
    }
    QString why = QStringLiteral("no such request");
    for (const Form &form : forms()) {
        if (request.method != form.method || !form.path.match(path).hasMatch())
            continue;
        if (keys.join(QLatin1Char(' ')) == QLatin1String(form.query))
            return bodyDeparture(form, request);
        why = QStringLiteral("query keys '%1'").arg(keys.join(QLatin1Char(' ')));
    }
    return why;
}

} // namespace farm
