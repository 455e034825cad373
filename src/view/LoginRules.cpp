#include "view/LoginRules.h"
#include <QJsonDocument>
#include <QUrlQuery>

QUrl LoginRules::pageUrl(const QString &base, const QString &language)
{
    QUrl url(base);
    QString path = url.path();
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    url.setPath(path + QStringLiteral("/xclient/loginPage"));
    QUrlQuery query(url.query());
    query.addQueryItem(QStringLiteral("version"), QStringLiteral("qn"));
    if (language == QLatin1String("en_us") || language == QLatin1String("zh_en"))
        query.addQueryItem(QStringLiteral("en"), QStringLiteral("true"));
    url.setQuery(query);
    return url;
}

namespace
{
QString flag(bool on) { return on ? QStringLiteral("true") : QStringLiteral("false"); }
QString compact(const QJsonObject &obj) { return QString::fromUtf8(QJsonDocument(obj).toJson(QJsonDocument::Compact)); }
bool marked(const QJsonObject &obj, const char *key)
{
    const QJsonValue value = obj.value(QLatin1String(key));
    return value.isBool() ? value.toBool() : value.toString() == QLatin1String("true");
}
void setMarks(QJsonObject *obj, bool remember, bool autoLogin)
{
    obj->insert(QStringLiteral("rememberPsd"), flag(remember));
    obj->insert(QStringLiteral("autoLogin"), flag(autoLogin));
}
} // namespace

QString LoginRules::infosForPage(const QString &stored, bool autoRelogin, Marks *marks)
{
    QJsonObject obj = QJsonDocument::fromJson(stored.toUtf8()).object();
    *marks = {marked(obj, "rememberPsd"), marked(obj, "autoLogin")};
    if (obj.isEmpty())
        return stored;
    if (!obj.contains(QLatin1String("password"))) {
        obj.insert(QStringLiteral("password"), QString());
        setMarks(&obj, false, false);
        *marks = {};
    }
    if (autoRelogin)
        setMarks(&obj, true, true);
    return compact(obj);
}

bool LoginRules::infosFromPage(const QString &saved, bool autoRelogin, const Marks &marks, QString *info)
{
    QJsonObject obj = QJsonDocument::fromJson(saved.toUtf8()).object();
    if (obj.value(QLatin1String("failNum")).toVariant().toInt() != 0)
        return false;
    *info = saved;
    if (autoRelogin && !obj.isEmpty()) {
        setMarks(&obj, marks.rememberPsd, marks.autoLogin);
        *info = compact(obj);
    }
    return true;
}

LoginRules::Relogin LoginRules::relogin(int reason)
{
    Relogin plan;
    plan.automatic = reason == 112 || reason == 1000100;
    plan.changeUser = plan.automatic ? 0 : 1;
    plan.forgetDrives = !plan.automatic;
    plan.showText = !plan.automatic && reason > 1000100;
    return plan;
}

QJsonObject LoginRules::confirmBody(bool slave, int masterUserId)
{
    return slave ? QJsonObject{{QStringLiteral("resultPushParent"), 1}, {QStringLiteral("masterUserId"), masterUserId}}
                 : QJsonObject();
}
