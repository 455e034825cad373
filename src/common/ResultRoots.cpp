#include "common/ResultRoots.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMutex>
#include <QStringList>

namespace
{
#ifdef Q_OS_WIN
constexpr Qt::CaseSensitivity pathCase = Qt::CaseInsensitive;
#else
constexpr Qt::CaseSensitivity pathCase = Qt::CaseSensitive;
#endif

QMutex mutex;
QString loadedFrom; // the account's folder that `roots` belongs to
QStringList roots;  // the oldest first

QString clean(const QString &path)
{
    QString slashed = path;
    slashed.replace('\\', '/');
    return slashed.isEmpty() ? slashed : QDir::cleanPath(slashed);
}

bool isBelow(const QString &target, const QString &root)
{
    return target.startsWith(root.endsWith('/') ? root : root + '/', pathCase);
}

// Under the mutex.
void load()
{
    const QString folder = UserInfo::userDir();
    if (folder == loadedFrom)
        return;
    loadedFrom = folder;
    roots.clear();
    QFile file(folder + "/resultRoots.json");
    if (folder.isEmpty() || !file.open(QIODevice::ReadOnly))
        return;
    for (const QJsonValue &value : QJsonDocument::fromJson(file.readAll()).array()) {
        if (QDir::isAbsolutePath(value.toString()))
            roots.append(clean(value.toString()));
    }
}
} // namespace

bool ResultRoots::knows(const QString &root)
{
    const QString wanted = clean(root);
    if (wanted.compare(clean(UserInfo::resultDir()), pathCase) == 0)
        return true;
    QMutexLocker lock(&mutex);
    load();
    return roots.contains(wanted, pathCase);
}

bool ResultRoots::add(const QString &root)
{
    const QString wanted = clean(root);
    if (!QDir::isAbsolutePath(wanted))
        return false;
    QMutexLocker lock(&mutex);
    load();
    if (roots.contains(wanted, pathCase))
        return true;
    roots.append(wanted);
    while (roots.size() > Most)
        roots.removeFirst();
    const QByteArray text = QJsonDocument(QJsonArray::fromStringList(roots)).toJson();
    const bool kept = !loadedFrom.isEmpty() && VFunc::writeWhole(loadedFrom + "/resultRoots.json", text);
    qDebug().noquote() << "ResultRoots::add" << wanted << (kept ? "" : "not kept");
    return kept;
}

QString ResultRoots::of(const QString &target)
{
    const QString wanted = clean(target);
    QString longest = clean(UserInfo::resultDir());
    if (!isBelow(wanted, longest))
        longest.clear();
    QMutexLocker lock(&mutex);
    load();
    for (const QString &root : qAsConst(roots)) {
        if (root.size() > longest.size() && isBelow(wanted, root))
            longest = root;
    }
    return longest;
}
