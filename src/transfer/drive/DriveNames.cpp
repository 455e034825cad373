#include "transfer/drive/DriveNames.h"
#include "common/platform/Platform.h"
#include "common/ResultPath.h"
#include "common/UserInfo.h"

namespace
{
// Endings of a download's own files.
QString withoutOwnEnding(const QString &name)
{
    for (const char *ending : {".xtemp", ".vd"}) {
        if (name.endsWith(QLatin1String(ending), Qt::CaseInsensitive))
            return name.left(name.size() - int(qstrlen(ending)));
    }
    return {};
}

QString storable(const QString &name)
{
    if (!platform::isWindows())
        return name;
    const QString safe = ResultPath::safeName(name);
    return name.startsWith('.') && safe.startsWith(QLatin1String("_.")) ? safe.mid(1) : safe;
}
} // namespace

LocalNames::LocalNames(const QStringList &all)
{
    for (const QString &name : all)
        m_all.insert(fold(storable(name)));
}

QString LocalNames::fold(const QString &name)
{
    return platform::isWindows() ? name.normalized(QString::NormalizationForm_C).toCaseFolded() : name;
}

QString LocalNames::numbered(const QString &name, int number)
{
    const int dot = name.lastIndexOf('.');
    const QString mark = QStringLiteral(" (%1)").arg(number);
    return dot > 0 ? name.left(dot) + mark + name.mid(dot) : name + mark;
}

QString LocalNames::take(const QString &name)
{
    QString wanted = storable(name);
    const QString base = withoutOwnEnding(wanted);
    if (!base.isEmpty() && m_all.contains(fold(base)))
        wanted += '_';
    QString free = wanted;
    for (int number = 2; m_taken.contains(fold(free)); ++number)
        free = numbered(wanted, number);
    m_taken.insert(fold(free));
    return free;
}

QString driveName(const QString &localName)
{
    static const QString refused = QStringLiteral("\\/:*?\"<>|");
    QString name = localName;
    for (QChar &c : name) {
        if (c < ' ' || refused.contains(c))
            c = '_';
    }
    return name;
}

DriveExclude::DriveExclude(const QString &patterns)
{
    for (const QString &piece : patterns.split(';')) {
        QString pattern = piece.trimmed();
        const bool folders = pattern.endsWith('/');
        if (folders)
            pattern.chop(1);
        if (pattern.isEmpty())
            continue;
        const QRegularExpression expression(QRegularExpression::wildcardToRegularExpression(pattern),
                                            QRegularExpression::CaseInsensitiveOption |
                                                QRegularExpression::DotMatchesEverythingOption);
        if (expression.isValid())
            m_patterns.append({expression, folders});
    }
}

DriveExclude DriveExclude::ofSettings() { return DriveExclude(UserInfo::setting(Settings::DriveExclude).toString()); }

bool DriveExclude::leavesOut(const QString &name, bool folder) const
{
    return std::any_of(m_patterns.begin(), m_patterns.end(), [&](const auto &pattern) {
        return (folder || !pattern.second) && pattern.first.match(name).hasMatch();
    });
}
