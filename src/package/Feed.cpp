#include "package/Feed.h"
#include "package/Manifest.h"
#include <QRegularExpression>

namespace
{
constexpr int MostText = 4000; // characters of a name or of notes

bool say(QString *why, const QString &words)
{
    *why = words;
    return false;
}
} // namespace

bool SoftwareOffer::goodId(const QString &id)
{
    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9_-]{1,64}\\z"));
    return plain.match(id).hasMatch();
}

bool SoftwareOffer::good() const
{
    return goodId(softwareId) && Manifest::compareVersions(version, version) == 0 && Manifest::goodPath(package) &&
           size >= 0;
}

QJsonObject SoftwareOffer::toJson() const
{
    return {{QStringLiteral("softwareId"), softwareId}, {QStringLiteral("name"), name},
            {QStringLiteral("version"), version},       {QStringLiteral("notes"), notes},
            {QStringLiteral("package"), package},       {QStringLiteral("versionType"), versionType},
            {QStringLiteral("force"), force},           {QStringLiteral("size"), double(size)}};
}

SoftwareOffer SoftwareOffer::fromJson(const QJsonObject &from)
{
    SoftwareOffer to;
    to.softwareId = from.value(QLatin1String("softwareId")).toString();
    to.name = from.value(QLatin1String("name")).toString(to.softwareId).left(MostText);
    to.version = from.value(QLatin1String("version")).toString();
    to.notes = from.value(QLatin1String("notes")).toString().left(MostText);
    to.package = from.value(QLatin1String("package")).toString();
    to.versionType = from.value(QLatin1String("versionType")).toInt();
    to.force = from.value(QLatin1String("force")).toInt();
    to.size = qint64(from.value(QLatin1String("size")).toDouble());
    return to;
}

bool Feed::read(const QByteArray &text, const QByteArray &signature, const QByteArray &builtIn, const QString &platform,
                const QString &mode, const QDateTime &now, Feed *to, QString *why)
{
    QJsonObject all;
    QDateTime expires;
    if (!Manifest::readSigned(text, signature, builtIn, &all, &expires, why))
        return false;
    const auto is = [&all](const char *key, const QString &value) {
        return all.value(QLatin1String(key)).toString() == value;
    };
    if (!is("program", QStringLiteral("feed")) || !is("platform", platform) || !is("mode", mode))
        return say(why, QStringLiteral("is another list than the one that was asked for"));
    if (expires.isValid() && expires < now)
        return say(why, QStringLiteral("was good until %1").arg(expires.toString(Qt::ISODate)));
    Feed found;
    found.all = all.value(QLatin1String("isAll")).toInt() == 1;
    const QJsonArray list = all.value(QLatin1String("versions")).toArray();
    if (list.size() > MostOffers)
        return say(why, QStringLiteral("has too many entries"));
    for (const QJsonValue &value : list) {
        const SoftwareOffer offer = SoftwareOffer::fromJson(value.toObject());
        if (!offer.good())
            return say(why, QStringLiteral("has an entry that can't be taken: ") + offer.softwareId);
        found.offers.append(offer);
    }
    *to = found;
    return true;
}
