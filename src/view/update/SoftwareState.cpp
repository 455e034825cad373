#include "view/update/SoftwareState.h"
#include "package/Manifest.h"
#include <QJsonDocument>
#include <QSettings>

namespace
{
QString keyOf(const SoftwareOffer &offer) { return offer.softwareId + QLatin1Char('/') + offer.version; }

// A beta is nobody's duty.
bool forced(const SoftwareOffer &offer) { return offer.force == 1 && offer.versionType == 0; }

QString text(const QJsonDocument &doc) { return QString::fromUtf8(doc.toJson(QJsonDocument::Compact)); }
} // namespace

SoftwareState SoftwareState::read(const QString &folder)
{
    const QSettings ini(file(folder), QSettings::IniFormat);
    const auto doc = [&ini](const char *key) {
        return QJsonDocument::fromJson(ini.value(QLatin1String(key)).toString().toUtf8());
    };
    SoftwareState state;
    for (const QJsonValue &value : doc("currentversions").array()) {
        const QJsonObject one = value.toObject();
        const QString id = one.value(QLatin1String("softwareId")).toString();
        if (SoftwareOffer::goodId(id))
            state.current.insert(id, {one.value(QLatin1String("version")).toString(),
                                      one.value(QLatin1String("updatetime")).toString()});
    }
    for (const QJsonValue &value : doc("versions").array()) {
        const SoftwareOffer offer = SoftwareOffer::fromJson(value.toObject());
        if (offer.good())
            state.versions.append(offer);
    }
    const QJsonObject since = doc("forcedSince").object();
    for (auto it = since.begin(); it != since.end(); ++it)
        state.forcedSince.insert(it.key(), qint64(it.value().toDouble()));
    return state;
}

bool SoftwareState::write(const QString &folder) const
{
    QJsonArray installed, offers;
    for (auto it = current.begin(); it != current.end(); ++it)
        installed.append(QJsonObject{{QStringLiteral("softwareId"), it.key()},
                                     {QStringLiteral("version"), it->version},
                                     {QStringLiteral("updatetime"), it->updatetime}});
    for (const SoftwareOffer &offer : versions) {
        QJsonObject one = offer.toJson();
        one.insert(QStringLiteral("actions"), QJsonArray()); // they come with the package
        offers.append(one);
    }
    QJsonObject since;
    for (auto it = forcedSince.begin(); it != forcedSince.end(); ++it)
        since.insert(it.key(), double(it.value()));
    QSettings ini(file(folder), QSettings::IniFormat);
    ini.setValue(QStringLiteral("currentversions"), text(QJsonDocument(installed)));
    ini.setValue(QStringLiteral("versions"), text(QJsonDocument(offers)));
    ini.setValue(QStringLiteral("forcedSince"), text(QJsonDocument(since)));
    ini.sync();
    return ini.status() == QSettings::NoError;
}

void SoftwareState::offer(const QList<SoftwareOffer> &fresh, bool all, qint64 now)
{
    if (all)
        versions.clear();
    for (const SoftwareOffer &one : fresh) {
        for (int i = versions.size() - 1; i >= 0; --i)
            if (keyOf(versions.at(i)) == keyOf(one))
                versions.removeAt(i);
        versions.append(one);
    }
    QMap<QString, qint64> since;
    for (const SoftwareOffer &one : updates())
        if (forced(one)) {
            const qint64 known = forcedSince.value(keyOf(one), now);
            since.insert(keyOf(one), known > now ? now : known); // a clock that was set back
        }
    forcedSince = since;
}

QList<SoftwareOffer> SoftwareState::updates() const
{
    QList<SoftwareOffer> found;
    for (const SoftwareOffer &one : versions) {
        const QString have = current.value(one.softwareId).version;
        // A package older than what is there would be refused; what can't be compared is replaced.
        if (have != one.version && Manifest::compareVersions(one.version, have) != -1)
            found.append(one);
    }
    return found;
}

void SoftwareState::installed(const SoftwareOffer &one, const QString &today)
{
    current.insert(one.softwareId, {one.version, today});
    for (int i = versions.size() - 1; i >= 0; --i)
        if (keyOf(versions.at(i)) == keyOf(one))
            versions.removeAt(i);
    forcedSince.remove(keyOf(one));
}

qint64 SoftwareState::forcedAt() const
{
    qint64 first = -1;
    for (const SoftwareOffer &one : updates())
        if (forced(one) && forcedSince.contains(keyOf(one))) {
            const qint64 at = forcedSince.value(keyOf(one)) + PutOffMs;
            first = first < 0 ? at : qMin(first, at);
        }
    return first;
}
