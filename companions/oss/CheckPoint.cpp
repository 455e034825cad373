#include "CheckPoint.h"
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

void CheckPoint::load(const QString &path)
{
    uploadId.clear();
    parts.clear();
    QFile from(path);
    constexpr qint64 Ceiling = 4 * 1024 * 1024; // 10,000 parts take about 500 KiB
    if (path.isEmpty() || !from.open(QIODevice::ReadOnly) || from.size() > Ceiling)
        return;
    const QJsonObject stored = QJsonDocument::fromJson(from.readAll()).object();
    const auto number = [&stored](const char *key) { return qint64(stored.value(QLatin1String(key)).toDouble(-1)); };
    if (number("version") != Version || stored.value(QLatin1String("object")).toString() != object ||
        stored.value(QLatin1String("file")).toString() != file || number("size") != size ||
        number("modified") != modified || number("partSize") != partSize)
        return;
    const qint64 last = (size + partSize - 1) / partSize;
    const QJsonObject list = stored.value(QLatin1String("parts")).toObject();
    for (auto it = list.begin(); it != list.end(); ++it) {
        const int part = it.key().toInt();
        if (part < 1 || part > last || it.value().toString().isEmpty()) {
            parts.clear();
            return;
        }
        parts.insert(part, it.value().toString().toUtf8());
    }
    uploadId = stored.value(QLatin1String("uploadId")).toString();
}

bool CheckPoint::save(const QString &path) const
{
    if (path.isEmpty())
        return true;
    QJsonObject list;
    for (auto it = parts.begin(); it != parts.end(); ++it)
        list.insert(QString::number(it.key()), QString::fromUtf8(it.value()));
    const QJsonObject all{{QStringLiteral("version"), Version},   {QStringLiteral("object"), object},
                          {QStringLiteral("file"), file},         {QStringLiteral("size"), size},
                          {QStringLiteral("modified"), modified}, {QStringLiteral("partSize"), partSize},
                          {QStringLiteral("uploadId"), uploadId}, {QStringLiteral("parts"), list}};
    QSaveFile to(path);
    if (!to.open(QIODevice::WriteOnly))
        return false;
    to.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    to.write(QJsonDocument(all).toJson(QJsonDocument::Compact));
    return to.commit();
}

void CheckPoint::remove(const QString &path)
{
    if (!path.isEmpty())
        QFile::remove(path);
}
