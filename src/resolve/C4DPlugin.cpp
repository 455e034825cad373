#include "resolve/C4DPlugin.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include <algorithm>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QThread>

namespace
{
QMutex onlyOne; // analyses that start together would copy over each other
constexpr int Looks = 50, LookMs = 100;

QByteArray md5(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Md5);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

bool inPlace(const QJsonObject &copy)
{
    const QByteArray wanted = md5(copy.value(QLatin1String("src")).toString());
    return !wanted.isEmpty() && md5(copy.value(QLatin1String("dest")).toString()) == wanted;
}

bool bring(const QString &source, const QString &destination)
{
    if (QFileInfo::exists(destination)) {
        const QByteArray wanted = md5(source);
        if (!wanted.isEmpty() && md5(destination) == wanted)
            return true;
        if (!QFile::remove(destination))
            return false;
    }
    return QDir().mkpath(QFileInfo(destination).path()) && QFile::copy(source, destination);
}
} // namespace

QJsonArray C4DPlugin::install(const QString &source, const QString &folder)
{
    QMutexLocker lock(&onlyOne);
    QJsonArray failed;
    const QDir base(source);
    QDirIterator walk(source, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        QString destination;
        if (path.contains(QLatin1String("vcmain.pyp")))
            destination = folder + QLatin1String("/plugins/") + base.relativeFilePath(path);
        else if (path.contains(QLatin1String("libmmd.dll")))
            destination = folder + QLatin1Char('/') + walk.fileName();
        if (destination.isEmpty() || bring(path, destination))
            continue;
        qWarning().noquote() << "C4DPlugin::install can't copy" << path << "to" << destination;
        failed.append(QJsonObject{{QStringLiteral("src"), path}, {QStringLiteral("dest"), destination}});
    }
    return failed;
}

bool C4DPlugin::elevated(const QJsonArray &list)
{
    QMutexLocker lock(&onlyOne);
    const QJsonObject order{{QStringLiteral("soft"), QStringLiteral("c4d")}, {QStringLiteral("copy"), list}};
    const QByteArray text = QJsonDocument(order).toJson(QJsonDocument::Compact);
    // Beside the program as well where that is allowed: an elevated account may not see this user's folders.
    const bool here = VFunc::writeWhole(UserInfo::userDir() + QLatin1String("/c4dcopy"), text);
    const bool beside = QFileInfo(UserInfo::programDir()).isWritable() &&
                        VFunc::writeWhole(UserInfo::programDir() + QLatin1String("/c4dcopy"), text);
    if (!here && !beside)
        return false;
    const QString target = list.first().toObject().value(QLatin1String("dest")).toString();
    if (VFunc::runAs(QCoreApplication::applicationFilePath(), QStringLiteral("c4dcopy"), target) <= 0)
        return false;
    // Allowed isn't done: without its script the software would wait for ever.
    for (int i = 0; i < Looks; ++i) {
        if (std::all_of(list.begin(), list.end(), [](const QJsonValue &one) { return inPlace(one.toObject()); }))
            return true;
        QThread::msleep(LookMs);
    }
    qWarning().noquote() << "C4DPlugin::elevated the files were not copied" << QString::fromUtf8(text);
    return false;
}
