#include "package/Package.h"
#include "common/platform/Platform.h"
#include "package/Steps.h"
#include <QCryptographicHash>
#include <QFileInfo>
#include <QHash>
#include <quazip.h>
#include <quazipfile.h>
#include <quazipfileinfo.h>

namespace
{
constexpr qint64 MostManifest = 16 * 1024 * 1024;

QByteArray entry(QuaZip *zip, const QString &name)
{
    QuaZipFile in(zip);
    if (!zip->setCurrentFile(name, QuaZip::csSensitive) || !in.open(QIODevice::ReadOnly))
        return {};
    const QByteArray text = in.read(MostManifest + 1);
    return text.size() > MostManifest ? QByteArray() : text;
}

bool isLink(const QuaZipFileInfo64 &info) { return ((info.externalAttr >> 16) & 0170000) == 0120000; }
} // namespace

bool Package::fail(const QString &words)
{
    m_why = QFileInfo(m_file).fileName() + QStringLiteral(": ") + words;
    return false;
}

bool Package::open(const QByteArray &builtInKey)
{
    QuaZip zip(m_file);
    if (!zip.open(QuaZip::mdUnzip))
        return fail(QStringLiteral("isn't an archive, or was cut"));
    QString why;
    if (!Manifest::read(entry(&zip, manifestName()), entry(&zip, signatureName()), builtInKey, &m_manifest, &why))
        return fail(why);
    QHash<QString, qint64> wanted;
    for (const ManifestFile &file : m_manifest.files)
        wanted.insert(file.path, file.size);
    qint64 packed = 0, unpacked = 0;
    for (bool more = zip.goToFirstFile(); more; more = zip.goToNextFile()) {
        QuaZipFileInfo64 info;
        if (!zip.getCurrentFileInfo(&info))
            return fail(QStringLiteral("has a broken list of entries"));
        if (info.name == manifestName() || info.name == signatureName())
            continue;
        const auto known = wanted.find(info.name);
        if (isLink(info) || known == wanted.end() || known.value() != qint64(info.uncompressedSize))
            return fail(QStringLiteral("has an entry that the manifest doesn't: ") + info.name);
        wanted.erase(known);
        packed += qint64(info.compressedSize);
        unpacked += qint64(info.uncompressedSize);
    }
    if (!wanted.isEmpty())
        return fail(QStringLiteral("lacks ") + wanted.begin().key());
    if (unpacked > MostRatio * qMax<qint64>(packed, 1024))
        return fail(QStringLiteral("unpacks to far more than it is"));
    return true;
}

bool Package::unpack(const QString &folder, const QString &suffix, const QStringList &wanted)
{
    qint64 sum = 0;
    for (const ManifestFile &file : m_manifest.files)
        sum += file.size;
    const qint64 free = platform::freeSpace(folder.toStdString());
    constexpr qint64 Reserve = 64 * 1024 * 1024;
    if (free >= 0 && free < sum + Reserve)
        return fail(QStringLiteral("needs %1 MiB, %2 are free").arg(sum >> 20).arg(free >> 20));
    QuaZip zip(m_file);
    if (!zip.open(QuaZip::mdUnzip))
        return fail(QStringLiteral("isn't an archive any more"));
    for (const ManifestFile &file : m_manifest.files) {
        if (!wanted.isEmpty() && !wanted.contains(file.path))
            continue;
        const QString target = folder + QLatin1Char('/') + file.path + suffix;
        QuaZipFile in(&zip);
        if (!zip.setCurrentFile(file.path, QuaZip::csSensitive) || !in.open(QIODevice::ReadOnly))
            return fail(QStringLiteral("can't be read at ") + file.path);
        QCryptographicHash hash(QCryptographicHash::Sha256);
        qint64 got = 0;
        const bool written = Steps::makeFolder(QFileInfo(target).absolutePath()) &&
                             Steps::write(target, file.executable, [&](bool *good) {
                                 const QByteArray piece = in.read(1 << 20);
                                 got += piece.size();
                                 hash.addData(piece);
                                 *good = got <= file.size && in.getZipError() == UNZ_OK;
                                 return piece;
                             });
        if (!written && got <= file.size && in.getZipError() == UNZ_OK)
            return fail(Steps::why());
        if (!written || got != file.size || hash.result().toHex() != file.sha256) {
            Steps::removeFile(target);
            return fail(QStringLiteral("isn't what its manifest says at ") + file.path);
        }
    }
    return true;
}
