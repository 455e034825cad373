// vnpack: what a publisher of updates does with keys and packages; tools/release.sh puts it together.
//   vnpack key FILE                       makes a key; the secret half lies in FILE, for this user's eyes alone
//   vnpack public FILE                    the public half, as VN_UPDATE_KEY wants it
//   vnpack package KEYFILE FOLDER OUT HEAD.json [--keep PATH]...
//                                         HEAD: program, platform, version, and what else the manifest says
//   vnpack sign KEYFILE TEXT OUT          the signature of a list of packages
//   vnpack vouch KEYFILE PUBLICKEY        an entry of "keys": further packages may be signed by PUBLICKEY
#include "package/PackageWriter.h"
#include <cstdio>
#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>
#include <QStringList>

namespace
{
int fail(const QString &words)
{
    std::fprintf(stderr, "vnpack: %s\n", qPrintable(words));
    return 1;
}

bool read(const QString &file, QByteArray *to)
{
    QFile from(file);
    if (!from.open(QIODevice::ReadOnly))
        return fail(file + QStringLiteral(": ") + from.errorString()) == 0;
    *to = from.readAll();
    return true;
}

bool write(const QString &file, const QByteArray &text, bool secret)
{
    QSaveFile to(file);
    const bool open =
        to.open(QIODevice::WriteOnly) && (!secret || to.setPermissions(QFile::ReadOwner | QFile::WriteOwner));
    if (open && to.write(text) == text.size() && to.commit())
        return true;
    return fail(file + QStringLiteral(": ") + to.errorString()) == 0;
}

bool readKey(const QString &file, PackageWriter::Key *key)
{
    QByteArray text;
    if (!read(file, &text))
        return false;
    const QJsonObject all = QJsonDocument::fromJson(text).object();
    key->publicHex = all.value(QLatin1String("public")).toString().toLatin1();
    key->secretHex = all.value(QLatin1String("secret")).toString().toLatin1();
    return (key->publicHex.size() == 64 && key->secretHex.size() == 128) ||
           fail(file + QStringLiteral(" is no key file")) == 0;
}

int makeKey(const QString &file)
{
    if (QFile::exists(file))
        return fail(file + QStringLiteral(" is there already; programs out there believe the old key"));
    const PackageWriter::Key key = PackageWriter::makeKey();
    const QJsonObject all{{QStringLiteral("public"), QString::fromLatin1(key.publicHex)},
                          {QStringLiteral("secret"), QString::fromLatin1(key.secretHex)}};
    return write(file, QJsonDocument(all).toJson(), true) ? 0 : 1;
}

int pack(const PackageWriter::Key &key, const QString &folder, const QString &out, const QString &headFile,
         QStringList rest)
{
    QByteArray text;
    if (!read(headFile, &text))
        return 1;
    const QJsonObject head = QJsonDocument::fromJson(text).object();
    const QString version = head.value(QLatin1String("version")).toString();
    if (Manifest::compareVersions(version, version) != 0)
        return fail(headFile + QStringLiteral(": the version isn't four numbers"));
    QStringList keep;
    while (rest.size() >= 2 && rest.takeFirst() == QLatin1String("--keep"))
        keep << rest.takeFirst();
    QString why;
    return PackageWriter::pack(folder, head, keep, key, out, &why) ? 0 : fail(why);
}
} // namespace

int main(int argc, char **argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    const QString act = words.value(0);
    if (act == QLatin1String("key") && words.size() == 2)
        return makeKey(words.at(1));
    PackageWriter::Key key;
    const bool known = act == QLatin1String("public") || act == QLatin1String("package") ||
                       act == QLatin1String("sign") || act == QLatin1String("vouch");
    if (!known || words.size() < (act == QLatin1String("public") ? 2 : 3)) {
        std::fprintf(stderr, "vnpack key FILE | public FILE | package KEYFILE FOLDER OUT HEAD.json [--keep PATH]... | "
                             "sign KEYFILE TEXT OUT | vouch KEYFILE PUBLICKEY\n");
        return 2;
    }
    if (!readKey(words.at(1), &key))
        return 1;
    if (act == QLatin1String("public")) {
        std::printf("%s\n", key.publicHex.constData());
        return 0;
    }
    if (act == QLatin1String("vouch")) {
        std::printf("%s", QJsonDocument(PackageWriter::vouch(words.at(2).toLatin1(), key)).toJson().constData());
        return 0;
    }
    if (act == QLatin1String("package") && words.size() >= 5)
        return pack(key, words.at(2), words.at(3), words.at(4), words.mid(5));
    QByteArray text;
    if (act != QLatin1String("sign") || words.size() != 4 || !read(words.at(2), &text))
        return 2;
    return write(words.at(3), PackageWriter::signatureOf(text, key), false) ? 0 : 1;
}
