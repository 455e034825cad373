#pragma once
// What a package says of itself, and whether it may be believed. The text is JSON, signed as it stands (Ed25519):
//   {"format": 1, "program", "platform": "linux" | "windows", "version": "1.2.3.4", "expires": ISO time or absent,
//    "softwareId": text or absent, "actions": [...] (only of software packages),
//    "files": [{"path", "size", "sha256", "executable": bool, "keep": bool}],
//    "keys": [{"key", "by", "signature"}]}
// keep: a file of that name that is there already stays. keys: further keys of the publisher, each vouched for by one
// that is trusted already ("vandrel update key " + key signed by "by"). The signature file:
//   {"key": 64 hex digits, "signature": base64}. Values without a state; any thread.
#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QString>

struct ManifestFile {
    QString path; // relative, with "/"
    qint64 size = 0;
    QByteArray sha256; // hex
    bool executable = false, keep = false;
};

struct Manifest {
    static constexpr int MostFiles = 20000;
    static constexpr qint64 MostBytes = qint64(4) * 1024 * 1024 * 1024; // unpacked
    QString program, platform, version, softwareId;
    QDateTime expires; // invalid: never
    QJsonArray actions;
    QList<ManifestFile> files;
    QByteArray text, signature; // as they were read, to be kept beside what was installed

    // Reads and checks signature and shape. why: a sentence when false, and nothing of the manifest is to be used.
    static bool read(const QByteArray &text, const QByteArray &signature, const QByteArray &builtIn, Manifest *to,
                     QString *why);
    // The signed text's own words: signed by a known key, of a format and a time limit that can be read. Manifests and
    // feeds alike.
    static bool readSigned(const QByteArray &text, const QByteArray &signature, const QByteArray &builtIn,
                           QJsonObject *to, QDateTime *expires, QString *why);
    // Whether it may be installed where `installed` stands (empty: nothing yet) at this time.
    bool fits(const QString &forProgram, const QString &onPlatform, const QString &installed, const QDateTime &now,
              QString *why) const;
    // A relative path that stays within its folder and means the same on every system.
    static bool goodPath(const QString &path);
    static int compareVersions(const QString &one, const QString &other); // four numbers; -2: not versions
    static QSet<QByteArray> trusted(const QByteArray &builtIn, const QJsonArray &keys);
};
