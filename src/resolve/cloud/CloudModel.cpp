#include "resolve/cloud/CloudModel.h"
#include "common/facts/Rset.h"
#include <QJsonArray>
#include <QJsonDocument>

namespace
{
// Width and height stand beside each other, as a pair, or in an object of their own.
QJsonObject output(QJsonObject one)
{
    const QJsonValue size = one.value(QLatin1String("reslution"));
    const QJsonArray pair = size.toArray();
    const QJsonValue found[] = {size.isArray() ? pair.at(0) : size.toObject().value(QLatin1String("width")),
                                size.isArray() ? pair.at(1) : size.toObject().value(QLatin1String("height"))};
    const QString sides[] = {QStringLiteral("width"), QStringLiteral("height")};
    for (int i = 0; i < 2; ++i)
        if (!one.contains(sides[i]) && found[i].isDouble())
            one.insert(sides[i], found[i]);
    const auto is = [&one](const char *key) { return one.value(QLatin1String(key)).toVariant().toInt() != 0; };
    if (!one.contains(QLatin1String("selected")) &&
        (one.contains(QLatin1String("enable")) || one.contains(QLatin1String("disable"))))
        one.insert(QStringLiteral("selected"),
                   is("disable") || (one.contains(QLatin1String("enable")) && !is("enable")) ? 0 : 1);
    return one;
}
} // namespace

db_resolve CloudModel::opened(db_resolve res)
{
    const QString model = QStringLiteral("modelParameters");
    QJsonObject rdata = QJsonDocument::fromJson(res.rdata.toUtf8()).object(), all = rdata.value(model).toObject();
    for (const char *key : {"layers", "Rops", "cameras"}) {
        const QLatin1String name(key);
        QJsonArray list = all.value(name).toArray();
        for (int i = 0; i < list.size(); ++i)
            if (list.at(i).isObject())
                list.replace(i, output(list.at(i).toObject()));
        if (!list.isEmpty())
            all.insert(name, list);
    }
    if (rdata.value(model).isObject())
        rdata.insert(model, output(all));
    if (!rdata.contains(QLatin1String("softwareType")))
        rdata.insert(QStringLiteral("softwareType"), res.filetype);
    res.rdata = QString::fromUtf8(QJsonDocument(rdata).toJson(QJsonDocument::Compact));
    Rset rset(res.rset);
    rset.set("hasClone", 1);
    res.rset = rset.text();
    return res;
}
