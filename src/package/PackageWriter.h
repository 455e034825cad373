#pragma once
// The publisher's side: keys, signed packages. Not part of the client. Failures leave a sentence in why.
#include "package/Manifest.h"
#include <QJsonObject>

namespace PackageWriter
{
struct Key {
    QByteArray publicHex, secretHex; // 64 and 128 digits
};
Key makeKey(const QByteArray &seedHex = {}); // 64 digits make the same key again; without them a random one
QByteArray signatureOf(const QByteArray &manifest, const Key &key); // the text of manifest.sig
// An entry of "keys": trust in `key`, told by `by`.
QJsonObject vouch(const QByteArray &keyHex, const Key &by);
// head: program, platform, version and whatever else the manifest is to say; its files are made from the folder's
// (links aren't followed). Files named in keep get that mark.
bool pack(const QString &folder, const QJsonObject &head, const QStringList &keep, const Key &key, const QString &file,
          QString *why);
} // namespace PackageWriter
