#include "view/set/EnvRules.h"
#include "common/facts/SoftwareType.h"
#include <QCoreApplication>
#include <QRegularExpression>

namespace
{
// Rows of a reply, wherever it keeps them.
QJsonArray rowsOf(const QJsonDocument &reply)
{
    if (reply.isArray())
        return reply.array();
    const QJsonObject obj = reply.object();
    for (const char *key : {"rows", "list", "plugins", "versions", "softwares", "data"}) {
        const QJsonValue value = obj.value(QLatin1String(key));
        if (value.isArray())
            return value.toArray();
        if (value.isObject())
            return rowsOf(QJsonDocument(value.toObject()));
    }
    return {};
}

QString textOf(const QJsonObject &obj, const char *key) { return obj.value(QLatin1String(key)).toVariant().toString(); }

bool isWide(QChar c) { return c.unicode() >= 0x4e00 && c.unicode() <= 0x9fff; }
} // namespace

QString EnvRules::nameFault(const QString &name)
{
    if (name.isEmpty())
        return QCoreApplication::translate("ProjectNew", "项目名不能为空！");
    int length = 0;
    for (const QChar c : name)
        length += isWide(c) ? 2 : 1;
    if (length > LongestName)
        return QCoreApplication::translate("ProjectNew", "请输入少于20个汉字或40个英文字符！");
    static const QRegularExpression whole(QStringLiteral("\\A[\\x{4e00}-\\x{9fff}A-Za-z0-9]+\\z"));
    if (!whole.match(name).hasMatch())
        return QCoreApplication::translate("ProjectNew", "项目名称只能由中文、字母和数字组成！");
    return {};
}

bool EnvRules::rendererChosen(int softwareType, const QJsonArray &plugins)
{
    const bool maya = softwareType == SoftwareType::Maya;
    if (!maya && softwareType != SoftwareType::Max)
        return true;
    static const QRegularExpression mayaOnes(QStringLiteral("vrayformaya|mtoa|redshift|renderman"));
    static const QRegularExpression maxOnes(QStringLiteral("vray|CoronaRender|Krakatoa"));
    for (const QJsonValue &value : plugins) {
        const QString name = textOf(value.toObject(), "name");
        if ((maya ? mayaOnes.match(name.toLower()) : maxOnes.match(name)).hasMatch())
            return true;
    }
    return false;
}

QStringList EnvRules::versions(const QJsonDocument &reply)
{
    QStringList out;
    for (const QJsonValue &value : rowsOf(reply)) {
        const QJsonObject row = value.toObject();
        if (row.value(QLatin1String("versions")).isArray()) {
            for (const QJsonValue &one : row.value(QLatin1String("versions")).toArray())
                out << (one.isObject() ? textOf(one.toObject(), "software") : one.toVariant().toString());
            continue;
        }
        QString text = value.toVariant().toString();
        for (const char *key : {"software", "version", "name"})
            if (text.isEmpty())
                text = textOf(row, key);
        out << text;
    }
    out.removeAll(QString());
    out.removeDuplicates();
    return out;
}

QJsonArray EnvRules::plugins(const QJsonDocument &reply)
{
    QJsonArray out;
    const auto add = [&out](const QString &name, const QString &version) {
        const QJsonObject one{{QStringLiteral("name"), name}, {QStringLiteral("version"), version}};
        if (!name.isEmpty() && !contains(out, pluginKey(one)))
            out.append(one);
    };
    for (const QJsonValue &value : rowsOf(reply)) {
        const QJsonObject row = value.toObject();
        const QJsonArray several = row.value(QLatin1String("versions")).toArray();
        for (const QJsonValue &one : several)
            add(textOf(row, "name"), one.toVariant().toString());
        if (several.isEmpty())
            add(textOf(row, "name"), textOf(row, "version"));
    }
    return out;
}

QString EnvRules::pluginText(const QJsonObject &plugin)
{
    return QStringLiteral("%1 %2").arg(textOf(plugin, "name"), textOf(plugin, "version")).trimmed();
}

QString EnvRules::pluginKey(const QJsonObject &plugin)
{
    return QStringLiteral("%1_%2").arg(textOf(plugin, "name"), textOf(plugin, "version"));
}

bool EnvRules::contains(const QJsonArray &plugins, const QString &key)
{
    for (const QJsonValue &value : plugins)
        if (pluginKey(value.toObject()) == key)
            return true;
    return false;
}

QJsonArray EnvRules::with(const QJsonArray &chosen, const QJsonObject &plugin)
{
    QJsonArray out;
    for (const QJsonValue &value : chosen)
        if (textOf(value.toObject(), "name") != textOf(plugin, "name"))
            out.append(value);
    out.append(plugin);
    return out;
}

QJsonArray EnvRules::without(const QJsonArray &chosen, const QString &key)
{
    QJsonArray out;
    for (const QJsonValue &value : chosen)
        if (pluginKey(value.toObject()) != key)
            out.append(value);
    return out;
}

QString EnvRules::spanText(double seconds)
{
    const qlonglong whole = qlonglong(seconds);
    if (whole < 60)
        return {};
    QStringList parts;
    const auto part = [&parts](qlonglong count, const char *text) {
        if (count > 0)
            parts << QCoreApplication::translate("CommonSet", text).arg(count);
    };
    part(whole / 3600, QT_TRANSLATE_NOOP("CommonSet", "%1 小时"));
    part(whole / 60 % 60, QT_TRANSLATE_NOOP("CommonSet", "%1 分"));
    part(whole % 60, QT_TRANSLATE_NOOP("CommonSet", "%1 秒"));
    return parts.join(QLatin1Char(' '));
}
