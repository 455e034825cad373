#include "package/PackageWriter.h"
#include "package/Package.h"
#include <QCryptographicHash>
#include <QDirIterator>
#include <QJsonDocument>
#include <quazip.h>
#include <quazipfile.h>
#include <quazipnewinfo.h>
#include <sodium.h>

namespace
{
QByteArray sign(const QByteArray &message, const PackageWriter::Key &key)
{
    QByteArray signature(crypto_sign_BYTES, 0);
    const QByteArray secret = QByteArray::fromHex(key.secretHex);
    if (secret.size() != int(crypto_sign_SECRETKEYBYTES))
        return {};
    crypto_sign_detached(reinterpret_cast<unsigned char *>(signature.data()), nullptr,
                         reinterpret_cast<const unsigned char *>(message.constData()), quint64(message.size()),
                         reinterpret_cast<const unsigned char *>(secret.constData()));
    return signature.toBase64();
}

bool add(QuaZip *zip, const QString &name, const QByteArray &content)
{
    QuaZipFile out(zip);
    return out.open(QIODevice::WriteOnly, QuaZipNewInfo(name)) && out.write(content) == content.size() &&
           (out.close(), out.getZipError() == ZIP_OK);
}
} // namespace

PackageWriter::Key PackageWriter::makeKey(const QByteArray &seedHex)
{
    if (sodium_init() < 0)
        return {};
    QByteArray pub(crypto_sign_PUBLICKEYBYTES, 0), secret(crypto_sign_SECRETKEYBYTES, 0);
    const QByteArray seed = QByteArray::fromHex(seedHex);
    auto *p = reinterpret_cast<unsigned char *>(pub.data());
    auto *s = reinterpret_cast<unsigned char *>(secret.data());
    if (seed.size() == int(crypto_sign_SEEDBYTES))
        crypto_sign_seed_keypair(p, s, reinterpret_cast<const unsigned char *>(seed.constData()));
    else
        crypto_sign_keypair(p, s);
    return {pub.toHex(), secret.toHex()};
}

QJsonObject PackageWriter::vouch(const QByteArray &keyHex, const Key &by)
{
    return {{QStringLiteral("key"), QString::fromLatin1(keyHex)},
            {QStringLiteral("by"), QString::fromLatin1(by.publicHex)},
            {QStringLiteral("signature"), QString::fromLatin1(sign("vandrel update key " + keyHex, by))}};
}

QByteArray PackageWriter::signatureOf(const QByteArray &manifest, const Key &key)
{
    const QJsonObject signature{{QStringLiteral("key"), QString::fromLatin1(key.publicHex)},
                                {QStringLiteral("signature"), QString::fromLatin1(sign(manifest, key))}};
    return QJsonDocument(signature).toJson();
}

bool PackageWriter::pack(const QString &folder, const QJsonObject &head, const QStringList &keep, const Key &key,
                         const QString &file, QString *why)
{
    QuaZip zip(file);
    if (!zip.open(QuaZip::mdCreate)) {
        *why = file + QStringLiteral(" can't be written");
        return false;
    }
    zip.setUtf8Enabled(true);
    QJsonArray files;
    QDirIterator all(folder, QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        QFile from(all.next());
        const QString path = from.fileName().mid(folder.size() + 1);
        if (!Manifest::goodPath(path) || !from.open(QIODevice::ReadOnly)) {
            *why = path + QStringLiteral(" can't be packed");
            return false;
        }
        const QByteArray content = from.readAll();
        files.append(
            QJsonObject{{QStringLiteral("path"), path},
                        {QStringLiteral("size"), content.size()},
                        {QStringLiteral("sha256"),
                         QString::fromLatin1(QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex())},
                        {QStringLiteral("executable"), all.fileInfo().isExecutable()},
                        {QStringLiteral("keep"), keep.contains(path)}});
        if (!add(&zip, path, content)) {
            *why = path + QStringLiteral(" can't be packed");
            return false;
        }
    }
    QJsonObject manifest = head;
    manifest.insert(QStringLiteral("format"), 1);
    manifest.insert(QStringLiteral("files"), files);
    const QByteArray text = QJsonDocument(manifest).toJson();
    const bool good =
        add(&zip, Package::manifestName(), text) && add(&zip, Package::signatureName(), signatureOf(text, key));
    zip.close();
    if (!good || zip.getZipError() != ZIP_OK)
        *why = file + QStringLiteral(" can't be written");
    return good && zip.getZipError() == ZIP_OK;
}
