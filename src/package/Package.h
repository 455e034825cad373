#pragma once
// A package file: a ZIP archive of "manifest.json", "manifest.sig" and the files that the manifest names, nothing else.
// open() believes nothing before the signature is good; unpack() believes no size and no content before the hash is.
#include "package/Manifest.h"
#include <QStringList>

class Package
{
public:
    explicit Package(const QString &file) : m_file(file) {}
    bool open(const QByteArray &builtInKey); // reads and checks the manifest and the list of entries
    const Manifest &manifest() const { return m_manifest; }
    // Writes those files whose paths are wanted (all where the list is empty) below folder, which must not hold one of
    // them yet, each name with the suffix. Stops at the first that isn't what the manifest says.
    bool unpack(const QString &folder, const QString &suffix = {}, const QStringList &wanted = {});
    QString why() const { return m_why; }

    static constexpr qint64 MostRatio = 200; // unpacked to packed bytes of the whole
    static QString manifestName() { return QStringLiteral("manifest.json"); }
    static QString signatureName() { return QStringLiteral("manifest.sig"); }

private:
    bool fail(const QString &words);
    QString m_file, m_why;
    Manifest m_manifest;
};
