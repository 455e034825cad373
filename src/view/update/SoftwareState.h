#pragma once
// versionConfig.ini: which software is installed, what is on offer, since when a forced version has been. Two JSON
// lists and an object, as texts; what can't be read counts as empty. Nothing that is run is ever read from here: what
// to do after an installation stands in the signed package alone. Values; reading and writing block.
#include "package/Feed.h"
#include <QMap>

struct SoftwareState {
    struct Installed {
        QString version, updatetime; // "yyyy-MM-dd"
    };
    QMap<QString, Installed> current;  // by softwareId
    QList<SoftwareOffer> versions;     // on offer
    QMap<QString, qint64> forcedSince; // "id/version" -> ms since the epoch
    static constexpr qint64 PutOffMs = qint64(24) * 60 * 60 * 1000;

    static SoftwareState read(const QString &folder);
    bool write(const QString &folder) const;

    // Takes over what the server offers: all of it replaces what was known, else it's added to it. Forced ones that are
    // new get their time.
    void offer(const QList<SoftwareOffer> &fresh, bool all, qint64 now);
    QList<SoftwareOffer> updates() const; // those that are newer than what is installed, or not installed
    void installed(const SoftwareOffer &one, const QString &today);
    // A forced one that is among the updates: when it can't be put off any longer. -1: there is none.
    qint64 forcedAt() const;
    static QString file(const QString &folder) { return folder + QStringLiteral("/versionConfig.ini"); }
};
