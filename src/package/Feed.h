#pragma once
// The list of software packages on offer, as the update server gives it: JSON, signed like a manifest.
//   <update>/feed/<linux|windows>/<mode>.json, and its signature beside it in <mode>.sig
//   {"format": 1, "program": "feed", "platform", "mode", "expires", "isAll": 0 | 1,
//    "versions": [{"softwareId", "name", "version", "versionType": 0 release | 1 beta, "force": 0 | 1, "notes",
//                  "size": bytes of the package, "package": path below <update>}], "keys": as in a manifest}
// isAll 1: the list is complete, what isn't on it is no longer offered. Values without a state; any thread.
#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>

struct SoftwareOffer {
    QString softwareId, name, version, notes, package;
    int versionType = 0, force = 0;
    qint64 size = 0;

    // Whether it can be asked for at all: an id that can stand in a file name, four numbers, a path that stays inside.
    bool good() const;
    QJsonObject toJson() const;
    static SoftwareOffer fromJson(const QJsonObject &from);
    static bool goodId(const QString &id); // letters, digits, "-" and "_"; at most 64
};

struct Feed {
    static constexpr int MostOffers = 1000;
    static constexpr qint64 MostBytes = 4 * 1024 * 1024;
    bool all = false;
    QList<SoftwareOffer> offers;

    // why: a sentence when false, and nothing of the feed is to be used.
    static bool read(const QByteArray &text, const QByteArray &signature, const QByteArray &builtIn,
                     const QString &platform, const QString &mode, const QDateTime &now, Feed *to, QString *why);
};
