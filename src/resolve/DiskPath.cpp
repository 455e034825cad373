#include "resolve/DiskPath.h"
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>

namespace
{
const QRegularExpression &marks(int kinds)
{
    static const QRegularExpression frames(QStringLiteral("%\\d*d"));
    static const QRegularExpression tiles(QStringLiteral("<UDIM>|#{4,}"), QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression both(frames.pattern() + QLatin1Char('|') + tiles.pattern(),
                                         QRegularExpression::CaseInsensitiveOption);
    return kinds == DiskPath::Frames ? frames : kinds == DiskPath::Tiles ? tiles : both;
}

// What stands for a mark: "%04d" is a number of at least four digits, any other mark is any text in a file's name; in a
// folder's, where any text would lead over the whole disk, a number.
QString stand(const QString &mark, bool folder)
{
    if (!mark.startsWith(QLatin1Char('%')))
        return folder ? QStringLiteral("-?\\d+") : QStringLiteral(".*");
    const int digits = mark.midRef(1, mark.size() - 2).toInt();
    return QStringLiteral("-?\\d{%1,}").arg(qBound(1, digits, 32));
}

QRegularExpression nameRule(const QString &name, int kinds, bool folder)
{
    QString rule;
    int at = 0;
    for (auto it = marks(kinds).globalMatch(name); it.hasNext();) {
        const QRegularExpressionMatch mark = it.next();
        rule += QRegularExpression::escape(name.mid(at, mark.capturedStart() - at)) + stand(mark.captured(), folder);
        at = mark.capturedEnd();
    }
    rule += QRegularExpression::escape(name.mid(at));
    return QRegularExpression(QRegularExpression::anchoredPattern(rule), QRegularExpression::CaseInsensitiveOption);
}

bool isDrive(const QString &path) { return path.size() > 1 && path.at(1) == QLatin1Char(':') && path.at(0).isLetter(); }

QString joined(const QString &folder, const QString &name)
{
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

// A path with a drive names nothing here, and would be taken for a relative one.
bool foreign(const QString &path)
{
#ifdef Q_OS_WIN
    Q_UNUSED(path)
    return false;
#else
    return isDrive(path);
#endif
}
} // namespace

DiskPath::DiskPath(const QString &sceneFile, const StopToken &stop)
    : m_folder(QFileInfo(sceneFile).absolutePath()), m_stop(stop)
{
}

QString DiskPath::slashes(const QString &path)
{
    QString result = path;
    result.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return result;
}

bool DiskPath::isAbsolute(const QString &path)
{
    return path.startsWith(QLatin1Char('/')) || path.startsWith(QLatin1Char('\\')) || isDrive(path);
}

bool DiskPath::isPattern(const QString &path, int kinds) { return marks(kinds).match(path).hasMatch(); }

QString DiskPath::absolute(const QString &path, const QString &folder) const
{
    const QString turned = slashes(path.trimmed());
    const QString whole = isAbsolute(turned) ? turned : joined(folder.isEmpty() ? m_folder : folder, turned);
    const int root = rootLength(whole);
    QStringList pieces;
    for (const QString &piece : whole.mid(root).split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        if (piece == QLatin1String("..")) {
            if (!pieces.isEmpty()) // above the root there is nothing
                pieces.removeLast();
        } else if (piece != QLatin1String(".")) {
            pieces.append(piece);
        }
    }
    return whole.left(root) + pieces.join(QLatin1Char('/'));
}

const DiskPath::Listing &DiskPath::listing(const QString &folder)
{
    const auto known = m_listings.constFind(folder);
    if (known != m_listings.constEnd())
        return *known;
    Listing list;
    for (QDirIterator it(folder, QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
         it.hasNext() && !m_stop.stopped();) {
        it.next();
        (it.fileInfo().isDir() ? list.folders : list.files).append(it.fileName());
    }
    list.folders.sort();
    list.files.sort();
    for (const QStringList *names : {&list.folders, &list.files}) {
        for (const QString &name : *names)
            list.spelling.insert(name.toCaseFolded(), name);
    }
    return *m_listings.insert(folder, list);
}

QString DiskPath::spelled(const QString &folder, const QString &name)
{
    const QString path = joined(folder, name);
    if (QFileInfo::exists(path))
        return path;
    const QString other = listing(folder).spelling.value(name.toCaseFolded());
    return other.isEmpty() ? QString() : joined(folder, other);
}

int DiskPath::rootLength(const QString &path)
{
    if (isDrive(path))
        return qMin(3, path.size());
    if (!path.startsWith(QLatin1String("//")))
        return 1;
    const int server = path.indexOf(QLatin1Char('/'), 2);
    const int share = server < 0 ? -1 : path.indexOf(QLatin1Char('/'), server + 1);
    return share < 0 ? path.size() : share + 1;
}

QString DiskPath::folderOnDisk(const QString &folder)
{
    const auto known = m_folders.constFind(folder);
    if (known != m_folders.constEnd())
        return *known;
    QString result = folder;
    if (!QFileInfo(folder).isDir()) {
        const int root = rootLength(folder);
        result = folder.left(root);
        for (const QString &piece : folder.mid(root).split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
            result = spelled(result, piece);
            if (result.isEmpty())
                break;
        }
    }
    return *m_folders.insert(folder, result);
}

QString DiskPath::find(const QString &absolutePath, bool folderToo)
{
    if (absolutePath.isEmpty() || foreign(absolutePath) || m_stop.stopped())
        return {};
    const auto good = [folderToo](const QFileInfo &info) { return info.isFile() || (folderToo && info.exists()); };
    if (good(QFileInfo(absolutePath)))
        return absolutePath;
#ifdef Q_OS_WIN
    return {};
#else
    const int slash = absolutePath.lastIndexOf(QLatin1Char('/'));
    const QString folder = folderOnDisk(slash <= 0 ? QStringLiteral("/") : absolutePath.left(slash));
    const QString path = folder.isEmpty() ? QString() : spelled(folder, absolutePath.mid(slash + 1));
    return !path.isEmpty() && good(QFileInfo(path)) ? path : QString();
#endif
}

QStringList DiskPath::match(const QString &absolutePattern, int kinds)
{
    if (foreign(absolutePattern) || !isPattern(absolutePattern, kinds))
        return {};
    const int root = rootLength(absolutePattern);
    QStringList found{absolutePattern.left(root)};
    const QStringList pieces = absolutePattern.mid(root).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (int i = 0; i < pieces.size(); ++i) {
        const bool last = i + 1 == pieces.size();
        const QString &piece = pieces.at(i);
        const bool pattern = isPattern(piece, kinds);
        const QRegularExpression rule = pattern ? nameRule(piece, kinds, !last) : QRegularExpression();
        QStringList next;
        for (const QString &folder : qAsConst(found)) {
            if (m_stop.stopped())
                return {};
            if (!pattern || (!last && QFileInfo(joined(folder, piece)).isDir())) { // a folder may be called "100%done"
                const QString path = last ? find(joined(folder, piece)) : folderOnDisk(joined(folder, piece));
                if (!path.isEmpty())
                    next.append(path);
                continue;
            }
            const Listing &list = listing(folder);
            for (const QString &name : last ? list.files : list.folders) {
                if (next.size() < MaxMatches && rule.match(name).hasMatch())
                    next.append(joined(folder, name));
            }
        }
        found = next;
    }
    return pieces.isEmpty() ? QStringList() : found;
}

QStringList DiskPath::filesIn(const QString &folder, const QString &ending)
{
    const QString onDisk = foreign(folder) ? QString() : folderOnDisk(folder);
    QStringList result;
    if (onDisk.isEmpty())
        return result;
    for (const QString &name : listing(onDisk).files) {
        if (name.endsWith(ending, Qt::CaseInsensitive))
            result.append(joined(onDisk, name));
    }
    return result;
}
