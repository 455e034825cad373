#include "common/LinkScheme.h"
#include "common/platform/Platform.h"
#include "common/VFunc.h"
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QStandardPaths>

namespace
{
const char *const Key = "Software\\Classes\\vandrel";
const QString Mime = QStringLiteral("x-scheme-handler/vandrel");

bool setValue(const std::string &key, const char *name, const std::string &value)
{
    const auto now = platform::regGet(platform::Hive::CurrentUser, key, name);
    return (now && *now == value) || platform::regSet(platform::Hive::CurrentUser, key, name, value);
}

bool tellRegistry(const QString &program)
{
    const std::string command =
        QStringLiteral("\"%1\" \"%2\"").arg(QDir::toNativeSeparators(program), "%1").toStdString();
    return setValue(Key, "", "URL:VandrelQN") && setValue(Key, "URL Protocol", "") &&
           setValue(std::string(Key) + "\\shell\\open\\command", "", command);
}
} // namespace

int LinkScheme::task(const QString &link)
{
    static const QRegularExpression form(QStringLiteral("\\Avandrel://task/([1-9]\\d{0,8})/?\\z"),
                                         QRegularExpression::CaseInsensitiveOption);
    return form.match(link.trimmed()).captured(1).toInt();
}

// The entry's own rules: a quoted word, in it a backslash before these, and each backslash written twice.
QString LinkScheme::desktopEntry(const QString &program)
{
    QString word = program;
    word.replace(QRegularExpression(QStringLiteral("([\"`$\\\\])")), QStringLiteral("\\\\1"))
        .replace(QLatin1String("\\"), QLatin1String("\\\\"))
        .replace(QLatin1Char('%'), QLatin1String("%%"));
    return QStringLiteral(
               "[Desktop Entry]\nType=Application\nName=VandrelQN\nNoDisplay=true\nExec=\"%1\" %2\nMimeType=%3;\n")
        .arg(word, QStringLiteral("%u"), Mime);
}

bool LinkScheme::announce(const QString &program)
{
    if (platform::isWindows())
        return tellRegistry(program);
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::ApplicationsLocation);
    const QString name = QStringLiteral("vandrelqn-links.desktop"), path = folder + QLatin1Char('/') + name;
    const QByteArray wanted = desktopEntry(program).toUtf8();
    QFile now(path);
    if (now.open(QIODevice::ReadOnly) && now.readAll() == wanted)
        return true;
    now.close();
    if (!QDir().mkpath(folder) || !VFunc::writeWhole(path, wanted)) {
        qWarning().noquote() << "LinkScheme::announce can't write" << path;
        return false;
    }
    // Systems without these tools look into the folder themselves.
    VFunc::startDetached(QStringLiteral("update-desktop-database"), {folder});
    VFunc::startDetached(QStringLiteral("xdg-mime"), {QStringLiteral("default"), name, Mime});
    return true;
}
