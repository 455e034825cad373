#include "common/ResultPath.h"
#include "common/CommonConfig.h"
#include "common/platform/SafeFile.h"
#include "common/ResultRoots.h"
#include "common/Seam.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "common/WindowCalls.h"
#include <QCoreApplication>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QMutex>
#include <QRegularExpression>

namespace
{
const QString illegalCharacters = QStringLiteral("<>:\"|?*");
constexpr qint64 firstMilliseconds = 100000000000; // smaller times are seconds

QMutex lookupMutex;
VFunc::ProjectOutput projectLookup;

QString text(const QJsonObject &obj, const QString &key)
{
    const QVariant value = obj.value(key).toVariant();
    return value.type() == QVariant::Double ? QString::number(value.toLongLong()) : value.toString();
}

QString firstText(const QJsonObject &obj, const QString &key, const QString &other)
{
    const QString value = text(obj, key);
    return value.isEmpty() ? text(obj, other) : value;
}

// A value that becomes one piece of a path.
QString onePiece(QString value)
{
    for (QChar &c : value) {
        if (c == '/' || c == '\\' || c == ':')
            c = '_';
    }
    return value.trimmed();
}

std::string raw(const QString &text) { return text.toStdString(); }

bool isReserved(const QString &name)
{
    static const QRegularExpression words(QStringLiteral("^(con|prn|aux|nul|conin\\$|conout\\$|(com|lpt)[0-9¹²³])$"),
                                          QRegularExpression::CaseInsensitiveOption |
                                              QRegularExpression::UseUnicodePropertiesOption);
    return words.match(name.section('.', 0, 0).trimmed()).hasMatch();
}

bool climbs(const QString &piece)
{
    int dots = 0;
    for (const QChar c : piece) {
        if (c != '.' && c != ' ')
            return false;
        dots += c == '.';
    }
    return dots > 1;
}

bool hasDrive(const QString &path) { return path.size() > 1 && path.at(1) == ':' && path.at(0).isLetter(); }

QString refuse(QString *reason, const QString &why)
{
    if (reason)
        *reason = why;
    return {};
}

QString projectOutput(const QJsonObject &obj)
{
    QJsonObject extra = obj.value("extraConfig").toObject();
    if (extra.isEmpty())
        extra = QJsonDocument::fromJson(obj.value("extraConfig").toString().toUtf8()).object();
    QString path = firstText(extra, "outputPath", "outputPath");
    if (path.isEmpty())
        path = text(obj, "outputPath");
    if (!path.isEmpty())
        return path;
    VFunc::ProjectOutput lookup;
    {
        QMutexLocker lock(&lookupMutex);
        lookup = projectLookup;
    }
    return lookup ? lookup(obj.value("projectId").toVariant().toInt(), text(obj, "projectName"),
                           obj.value("softwareType").toVariant().toInt())
                  : QString();
}

QString rootOfKind(const QJsonObject &obj, ResultPath::RootKind kind)
{
    static const char *const words[] = {"person dir:", "project dir:", "src dir:"};
    QString dir = kind == ResultPath::Personal  ? UserInfo::resultDir()
                  : kind == ResultPath::Project ? projectOutput(obj)
                                                : text(obj, "clientResultRootPath");
    dir.replace('\\', '/');
    if (!dir.isEmpty())
        dir = QDir::cleanPath(dir);
    qDebug().noquote() << "ResultPath::rootOfKind" << words[kind] << dir;
    return dir;
}
} // namespace

QString ResultPath::safeName(const QString &name)
{
    QString out = name;
    for (QChar &c : out) {
        if (c < ' ' || c == QChar(0x7f) || c == '/' || c == '\\' || illegalCharacters.contains(c))
            c = '_';
    }
    for (int i = out.size() - 1; i >= 0 && (out.at(i) == '.' || out.at(i) == ' '); --i)
        out[i] = '_';
    if (isReserved(out) || out.startsWith('.')) // what starts with a dot is hidden, and read by other programs
        out.prepend('_');
    if (out.endsWith(QStringLiteral(".xtemp"), Qt::CaseInsensitive) ||
        out.endsWith(QStringLiteral(".vd"), Qt::CaseInsensitive))
        out.append('_');
    return out;
}

QString ResultPath::safeRelative(const QString &path, QString *reason)
{
    QString given = path;
    given.replace('\\', '/');
    if (given.startsWith('/'))
        return refuse(reason, QStringLiteral("an absolute path"));
    if (hasDrive(given))
        return refuse(reason, QStringLiteral("a drive letter"));
    QStringList pieces;
    for (const QString &piece : given.split('/')) {
        if (piece.isEmpty() || piece == QLatin1String("."))
            continue;
        if (climbs(piece))
            return refuse(reason, QStringLiteral("a piece that leaves the folder"));
        if (hasDrive(piece))
            return refuse(reason, QStringLiteral("a drive letter"));
        pieces.append(safeName(piece));
    }
    if (pieces.isEmpty() || given.endsWith('/'))
        return refuse(reason, QStringLiteral("no file name"));
    return pieces.join('/');
}

bool ResultPath::isSafeTarget(const QString &target)
{
    if (!QDir::isAbsolutePath(target) || target.contains('\\'))
        return false;
    const bool share = target.startsWith(QLatin1String("//"));
    const QStringList pieces = target.mid(share ? 2 : hasDrive(target) ? 3 : 1).split('/');
    for (const QString &piece : pieces) {
        if (piece.isEmpty() || piece == QLatin1String(".") || climbs(piece) || piece.contains(QChar(0)))
            return false;
    }
    return safeName(pieces.last()) == pieces.last();
}

bool ResultPath::flag(const QJsonObject &row, const QString &key) { return row.value(key).toVariant().toInt() == 1; }

QString ResultPath::rowPath(const QString &root, const QJsonObject &row, QString *reason)
{
    const bool whole = flag(row, "isBlock") || flag(row, "autoPush") || flag(row, "isKeyframe");
    const QString path = text(row, "path").replace('\\', '/');
    if (whole) {
        const QString relative = safeRelative(path, reason);
        return relative.isEmpty() ? QString() : root + '/' + relative;
    }
    const QString name = path.section('/', -1);
    if (name.isEmpty() || name == QLatin1String(".") || climbs(name))
        return refuse(reason, QStringLiteral("no file name"));
    return root + '/' + text(row, "id") + '/' + safeName(name);
}

QString ResultPath::submitDay(const QJsonObject &values)
{
    const QString told = firstText(values, "createTime", "time").trimmed();
    bool number = false;
    const qint64 stamp = told.toLongLong(&number);
    if (number && stamp > 0)
        return QDateTime::fromMSecsSinceEpoch(stamp < firstMilliseconds ? stamp * 1000 : stamp).toString("yyyyMMdd");
    return QDate::fromString(told.left(10).replace('/', '-'), Qt::ISODate).toString("yyyyMMdd");
}

QString ResultPath::ruleFolder(const QString &rule, const QJsonObject &values)
{
    static const QRegularExpression separators(QStringLiteral("[/\\\\,]+"));
    const QString num = onePiece(text(values, "num"));
    const QString fallback = QStringLiteral("%1_%2").arg(num, onePiece(firstText(values, "missionName", "name")));
    QStringList pieces;
    for (QString piece : rule.split(separators, Qt::SkipEmptyParts)) {
        // One pass over the tokens: a project that is named like one must not be replaced again.
        static const QRegularExpression token(QStringLiteral("%(project|submit|order)%"));
        QString out;
        int from = 0;
        for (auto it = token.globalMatch(piece); it.hasNext();) {
            const QRegularExpressionMatch match = it.next();
            const QString word = match.captured(1);
            out += piece.mid(from, match.capturedStart() - from);
            out += word == QLatin1String("order")    ? num
                   : word == QLatin1String("submit") ? submitDay(values)
                                                     : onePiece(text(values, "projectName"));
            from = match.capturedEnd();
        }
        out += piece.mid(from);
        if (!out.trimmed().isEmpty())
            pieces.append(out.trimmed());
    }
    QString reason;
    const QString folder = safeRelative(pieces.isEmpty() ? fallback : pieces.join('/'), &reason);
    if (folder.isEmpty())
        qWarning().noquote() << "ResultPath::ruleFolder refused folder:" << pieces.join('/') << reason;
    return folder;
}

ResultPath::RootKind ResultPath::rootKind(const QJsonObject &obj)
{
    const int maya = 1;
    const QVariant told = obj.value("resultRootPathEnum").toVariant();
    const int kind = told.isValid() && !told.isNull() ? told.toInt()
                     : obj.value("softwareType").toVariant().toInt() == maya
                         ? CommonConfig::get().mayaResultRootPathEnum
                         : UserInfo::outRoot();
    return kind == Project || kind == Scene ? RootKind(kind) : Personal;
}

QString ResultPath::root(const QJsonObject &obj, bool create, QString *missing, QString *unknown)
{
    const QString dir = rootOfKind(obj, rootKind(obj));
    // The folder that is set from the start is made; one that the user chose may lie on a drive that isn't there today.
    if (rootKind(obj) == Personal && dir.endsWith(QLatin1String("/ResultQN")))
        platform::Folder::reach(raw(QFileInfo(dir).path()), raw(QFileInfo(dir).fileName()), true);
    if (dir.isEmpty() || !QDir::isAbsolutePath(dir) || !QFileInfo(dir).isDir()) {
        qWarning().noquote() << "ResultPath::root no dir:" << dir;
        if (missing)
            *missing = dir.isNull() ? QStringLiteral("") : dir;
        return {};
    }
    const QString told = text(obj, "resultMiddleRulePath");
    const QString folder = ruleFolder(told.isEmpty() ? UserInfo::resultRule() : told, obj);
    if (folder.isEmpty())
        return {};
    if (create && !ResultRoots::knows(dir)) {
        qWarning().noquote() << "ResultPath::root a folder that nobody here named:" << dir;
        if (unknown)
            *unknown = dir;
        return {};
    }
    const QString path = (dir.endsWith('/') ? dir : dir + '/') + folder;
    if (create) {
        ResultRoots::add(dir); // files that wait stay good when the user sets another folder
        platform::Folder::Reason reason;
        if (!platform::Folder::reach(raw(dir), raw(folder), true, &reason))
            qWarning().noquote() << "ResultPath::root can't be made:" << path << QString::fromStdString(reason.text);
    }
    return path;
}

void ResultPath::tellMissing(const QJsonObject &obj, const QString &missing)
{
    const RootKind kind = rootKind(obj);
    const QString page = kind == Project ? QCoreApplication::translate("VFunc", "项目管理")
                                         : QCoreApplication::translate("VFunc", "通用设置");
    const QString message =
        QCoreApplication::translate("VFunc", "输出路径不存在，请至 %1 配置。\r\n").arg(page) + '"' + missing + '"';
    const int project = obj.value("projectId").toVariant().toInt();
    const int software = obj.value("softwareType").toVariant().toInt();
    Seam<WindowCalls>::post([=](WindowCalls &window) { window.rootMsg(message, kind, project, software); });
}

void ResultPath::askUnknown(const QJsonObject &obj, const QString &unknown)
{
    const QString task = firstText(obj, "missionName", "name");
    Seam<WindowCalls>::post([=](WindowCalls &window) { window.confirmRoot(unknown, task); });
}

QString VFunc::rootPath(const QJsonObject &obj, bool create)
{
    QString missing, unknown;
    const QString path = ResultPath::root(obj, create, &missing, &unknown);
    if (!missing.isNull())
        ResultPath::tellMissing(obj, missing);
    if (!unknown.isNull())
        ResultPath::askUnknown(obj, unknown);
    return path;
}

void VFunc::setProjectOutput(ProjectOutput lookup)
{
    QMutexLocker lock(&lookupMutex);
    projectLookup = std::move(lookup);
}
