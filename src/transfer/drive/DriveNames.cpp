#include "transfer/drive/DriveNames.h"
#include "common/FileNames.h"
#include "common/platform/Platform.h"
#include "common/platform/SafeFile.h"
#include "common/ResultPath.h"
#include "common/UserInfo.h"
#include <utility>

namespace
{
constexpr int MostBytes = 255; // of a name on a disk, and characters on Windows
constexpr int MostEnding = 32; // characters of an ending that a shortened name keeps
constexpr std::size_t FirstSlots = 64;
const char *const OwnEndings[] = {".xtemp", ".vd"}; // of a download's own files

int bytesOf(const QString &name) { return platform::isWindows() ? name.size() : int(FileNames::native(name).size()); }

// With a mark before its ending; the stem gives way where both don't fit.
QString fitted(const QString &name, const QString &mark)
{
    if (mark.isEmpty() && bytesOf(name) <= MostBytes)
        return name;
    const int dot = name.lastIndexOf('.');
    const bool ends = dot > 0 && name.size() - dot <= MostEnding;
    const QString ending = mark + (ends ? name.mid(dot) : QString());
    QString stem = ends ? name.left(dot) : name;
    while (!stem.isEmpty() && bytesOf(stem) + bytesOf(ending) > MostBytes) {
        const int bytes = bytesOf(stem) + bytesOf(ending) - MostBytes;
        stem.chop(qMax(1, bytes / 4)); // a character has four bytes at most
        if (!stem.isEmpty() && stem.at(stem.size() - 1).isHighSurrogate())
            stem.chop(1);
    }
    return stem + ending;
}
} // namespace

quint64 NameSet::markOf(const QString &text)
{
    quint64 mark = 14695981039346656037ull;
    for (QChar c : text)
        mark = (mark ^ c.unicode()) * 1099511628211ull;
    mark ^= mark >> 32;
    mark *= 0x9e3779b97f4a7c15ull;
    mark ^= mark >> 29;
    return mark == 0 ? 1 : mark; // 0: a free slot
}

std::size_t NameSet::slotOf(quint64 mark) const
{
    std::size_t at = mark & (m_slots.size() - 1);
    while (m_slots[at] != 0 && m_slots[at] != mark)
        at = (at + 1) & (m_slots.size() - 1);
    return at;
}

void NameSet::grow()
{
    const std::vector<quint64> old = std::exchange(m_slots, {});
    m_slots.resize(qMax(FirstSlots, old.size() * 2));
    for (quint64 mark : old) {
        if (mark != 0)
            m_slots[slotOf(mark)] = mark;
    }
}

bool NameSet::contains(const QString &text) const { return m_count > 0 && m_slots[slotOf(markOf(text))] != 0; }

bool NameSet::insert(const QString &text)
{
    if (m_count * 4 >= m_slots.size() * 3)
        grow();
    const quint64 mark = markOf(text);
    quint64 &slot = m_slots[slotOf(mark)];
    if (slot != 0)
        return false;
    slot = mark;
    ++m_count;
    return true;
}

LocalNames::Rules LocalNames::Rules::ofSystem() { return {platform::isWindows(), platform::isWindows()}; }

LocalNames::Rules LocalNames::Rules::ofFolder(const QString &folder)
{
    return {platform::isWindows(), platform::foldsCase(FileNames::native(folder))};
}

QString LocalNames::fold(const QString &name) const
{
    if (!m_rules.fold)
        return name;
    // Upper case first, which is where the toolkit makes several letters of one: some disks take "ß" for "SS".
    return name.normalized(QString::NormalizationForm_D)
        .toUpper()
        .toCaseFolded()
        .normalized(QString::NormalizationForm_D);
}

QString LocalNames::numbered(const QString &name, int number)
{
    return fitted(name, QStringLiteral(" (%1)").arg(number));
}

bool LocalNames::isFree(const QString &name, bool folder) const
{
    if (m_taken.contains(fold(name)))
        return false;
    // What stands there would be taken for the half of this one.
    return folder || std::none_of(std::begin(OwnEndings), std::end(OwnEndings), [&](const char *ending) {
               return m_taken.contains(fold(name + QLatin1String(ending)));
           });
}

QString LocalNames::take(const QString &name, bool folder)
{
    // What is called by a character that stands for a byte here is stored as its bytes.
    QString wanted = FileNames::text(name.toStdString());
    if (m_rules.windows) {
        const QString safe = ResultPath::safeName(wanted);
        wanted = wanted.startsWith('.') && safe.startsWith(QLatin1String("_.")) ? safe.mid(1) : safe;
    }
    for (const char *own : OwnEndings) {
        const QLatin1String ending(own);
        if (wanted.endsWith(ending, Qt::CaseInsensitive) && m_files.contains(fold(wanted.chopped(ending.size()))))
            wanted += '_';
    }
    wanted = fitted(wanted, {});
    QString free = wanted;
    for (int number = 2; !isFree(free, folder); ++number)
        free = numbered(wanted, number);
    m_taken.insert(fold(free));
    if (!folder)
        m_files.insert(fold(free));
    return free;
}

QString driveName(const QString &localName)
{
    static const QString refused = QStringLiteral("\\/:*?\"<>|");
    QString name = FileNames::plain(localName, '_');
    for (QChar &c : name) {
        if (refused.contains(c))
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
