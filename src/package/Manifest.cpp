#include "package/Manifest.h"
#include <QJsonDocument>
#include <QRegularExpression>
#include <sodium.h>

namespace
{
bool verifies(const QByteArray &message, const QByteArray &signature, const QByteArray &hexKey)
{
    const QByteArray key = QByteArray::fromHex(hexKey);
    return sodium_init() >= 0 && key.size() == int(crypto_sign_PUBLICKEYBYTES) &&
           signature.size() == int(crypto_sign_BYTES) &&
           crypto_sign_verify_detached(reinterpret_cast<const unsigned char *>(signature.constData()),
                                       reinterpret_cast<const unsigned char *>(message.constData()),
                                       quint64(message.size()),
                                       reinterpret_cast<const unsigned char *>(key.constData())) == 0;
}

QString word(const QJsonObject &of, const char *key) { return of.value(QLatin1String(key)).toString(); }

bool say(QString *why, const QString &words)
{
    *why = words;
    return false;
}
} // namespace

QSet<QByteArray> Manifest::trusted(const QByteArray &builtIn, const QJsonArray &keys)
{
    QSet<QByteArray> known;
    if (QByteArray::fromHex(builtIn).size() == int(crypto_sign_PUBLICKEYBYTES))
        known.insert(builtIn.toLower());
    constexpr int MostKeys = 100;
    for (bool more = true; more && known.size() < MostKeys;) {
        more = false;
        for (const QJsonValue &value : keys) {
            const QJsonObject one = value.toObject();
            const QByteArray key = word(one, "key").toLatin1().toLower(), by = word(one, "by").toLatin1().toLower();
            if (known.contains(key) || !known.contains(by))
                continue;
            if (verifies("vandrel update key " + key, QByteArray::fromBase64(word(one, "signature").toLatin1()), by)) {
                known.insert(key);
                more = true;
            }
        }
    }
    return known;
}

bool Manifest::goodPath(const QString &path)
{
    static const QRegularExpression odd(QStringLiteral("[\\x00-\\x1f\\\\:*?\"<>|]"));
    static const QRegularExpression reserved(QStringLiteral("^(con|prn|aux|nul|com[0-9]|lpt[0-9])(\\..*)?$"),
                                             QRegularExpression::CaseInsensitiveOption);
    if (path.isEmpty() || path.size() > 240 || path.contains(odd))
        return false;
    for (const QString &piece : path.split(QLatin1Char('/')))
        if (piece.isEmpty() || piece == QLatin1String(".") || piece == QLatin1String("..") ||
            piece.endsWith(QLatin1Char('.')) || piece.endsWith(QLatin1Char(' ')) || reserved.match(piece).hasMatch())
            return false;
    return true;
}

int Manifest::compareVersions(const QString &one, const QString &other)
{
    const QStringList a = one.split(QLatin1Char('.')), b = other.split(QLatin1Char('.'));
    if (a.size() != 4 || b.size() != 4)
        return -2;
    for (int i = 0; i < 4; ++i) {
        bool aOk = false, bOk = false;
        const uint x = a.at(i).toUInt(&aOk), y = b.at(i).toUInt(&bOk);
        if (!aOk || !bOk)
            return -2;
        if (x != y)
            return x < y ? -1 : 1;
    }
    return 0;
}

bool Manifest::readSigned(const QByteArray &text, const QByteArray &signature, const QByteArray &builtIn,
                          QJsonObject *to, QDateTime *expires, QString *why)
{
    const QJsonObject all = QJsonDocument::fromJson(text).object();
    const QJsonObject sign = QJsonDocument::fromJson(signature).object();
    const QByteArray key = word(sign, "key").toLatin1().toLower();
    if (!trusted(builtIn, all.value(QLatin1String("keys")).toArray()).contains(key))
        return say(why, QStringLiteral("isn't signed by a known key"));
    if (!verifies(text, QByteArray::fromBase64(word(sign, "signature").toLatin1()), key))
        return say(why, QStringLiteral("the signature is wrong"));
    if (all.value(QLatin1String("format")).toInt() != 1)
        return say(why, QStringLiteral("has a format that this program doesn't know"));
    if (all.contains(QLatin1String("expires"))) {
        *expires = QDateTime::fromString(word(all, "expires"), Qt::ISODate);
        if (!expires->isValid())
            return say(why, QStringLiteral("the time limit can't be read"));
    }
    *to = all;
    return true;
}

bool Manifest::read(const QByteArray &text_, const QByteArray &signature_, const QByteArray &builtIn, Manifest *to,
                    QString *why)
{
    Manifest found;
    QJsonObject all;
    if (!readSigned(text_, signature_, builtIn, &all, &found.expires, why))
        return false;
    found.program = word(all, "program");
    found.platform = word(all, "platform");
    found.version = word(all, "version");
    found.softwareId = word(all, "softwareId");
    found.actions = all.value(QLatin1String("actions")).toArray();
    found.text = text_;
    found.signature = signature_;
    const QJsonArray list = all.value(QLatin1String("files")).toArray();
    if (list.isEmpty() || list.size() > MostFiles)
        return say(why, QStringLiteral("the package has no files, or too many"));
    QSet<QString> names, folders; // as a system that doesn't tell capitals sees them
    qint64 sum = 0;
    for (const QJsonValue &value : list) {
        const QJsonObject one = value.toObject();
        ManifestFile file;
        file.path = word(one, "path");
        file.size = qint64(one.value(QLatin1String("size")).toDouble(-1));
        file.sha256 = word(one, "sha256").toLatin1().toLower();
        file.executable = one.value(QLatin1String("executable")).toBool();
        file.keep = one.value(QLatin1String("keep")).toBool();
        const QString folded = file.path.toCaseFolded();
        if (!goodPath(file.path) || names.contains(folded))
            return say(why, QStringLiteral("the package has a path that can't be taken: ") + file.path);
        names.insert(folded);
        for (int slash = folded.indexOf(QLatin1Char('/')); slash > 0;
             slash = folded.indexOf(QLatin1Char('/'), slash + 1))
            folders.insert(folded.left(slash));
        sum += qMax<qint64>(0, file.size);
        if (file.size < 0 || sum > MostBytes || file.sha256.size() != 64)
            return say(why, QStringLiteral("the package has an entry that can't be taken: ") + file.path);
        found.files.append(file);
    }
    if (names.intersects(folders))
        return say(why, QStringLiteral("the package has a file and a folder of one name"));
    *to = found;
    return true;
}

bool Manifest::fits(const QString &forProgram, const QString &onPlatform, const QString &installed,
                    const QDateTime &now, QString *why) const
{
    if (program != forProgram || platform != onPlatform)
        return say(why, QStringLiteral("the package is for %1 on %2").arg(program, platform));
    if (expires.isValid() && expires < now)
        return say(why, QStringLiteral("the package was good until %1").arg(expires.toString(Qt::ISODate)));
    const int order = installed.isEmpty() ? 1 : compareVersions(version, installed);
    if (compareVersions(version, version) != 0 || order <= 0)
        return say(why, QStringLiteral("version %1 isn't newer than %2").arg(version, installed));
    return true;
}
