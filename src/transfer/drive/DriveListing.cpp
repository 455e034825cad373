#include "transfer/drive/DriveListing.h"
#include "transfer/drive/DriveRest.h"
#include <algorithm>
#include <cmath>
#include <QDateTime>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

namespace
{
constexpr char FirstMark[] = "\"\xef\xbb\xbf";
constexpr int MostRest = 1 << 20, MostElement = 1 << 20, MostOpen = 64;

QString textOf(const QJsonObject &object, const char *key)
{
    const QVariant value = object.value(QLatin1String(key)).toVariant();
    if (value.type() != QVariant::Double)
        return value.toString();
    const double number = value.toDouble(); // not one that a fraction or a lost digit would make another's
    const bool whole = std::floor(number) == number && std::abs(number) <= DriveRest::MaxSize;
    return whole ? QString::number(number, 'f', 0) : QString();
}

// Halves of characters, which no disk and no store takes, give way.
QString nameOf(const QJsonObject &object)
{
    QString name = textOf(object, "name");
    if (name.isValidUtf16())
        return name;
    for (int i = 0; i < name.size(); ++i) {
        if (name.at(i).isHighSurrogate() && i + 1 < name.size() && name.at(i + 1).isLowSurrogate())
            ++i;
        else if (name.at(i).isSurrogate())
            name[i] = QChar::ReplacementCharacter;
    }
    return name;
}

qlonglong countOf(const QJsonObject &object, const char *key)
{
    bool good = false;
    const qlonglong count = textOf(object, key).toLongLong(&good);
    return good && count >= 0 ? count : -1;
}

// "2026-11-22 00:10:13" in the local time, as ms; -1: another form. The system looks at its time zone's file for each
// time that it turns, which would take longer than all the rest of an entry: an hour is asked for once.
qlonglong plainTime(const QString &text)
{
    static const char form[] = "0000-00-00 00:00:00";
    static thread_local QHash<qint64, qlonglong> hours;
    constexpr int MostHours = 10000;
    int part[6] = {}, at = 0;
    if (text.size() != int(qstrlen(form)))
        return -1;
    for (int i = 0; i < text.size(); ++i) {
        const int digit = text.at(i).unicode() - '0';
        if (form[i] != '0' && text.at(i) == QLatin1Char(form[i]))
            ++at;
        else if (form[i] == '0' && digit >= 0 && digit <= 9)
            part[at] = part[at] * 10 + digit;
        else
            return -1;
    }
    const QDate day(part[0], part[1], part[2]);
    if (!day.isValid() || part[3] > 23 || part[4] > 59 || part[5] > 59)
        return -1;
    const qint64 hour = day.toJulianDay() * 24 + part[3];
    auto known = hours.constFind(hour);
    if (known == hours.constEnd()) {
        if (hours.size() >= MostHours)
            hours.clear();
        known = hours.insert(hour, QDateTime(day, QTime(part[3], 0)).toMSecsSinceEpoch());
    }
    return *known + (part[4] * 60 + part[5]) * 1000;
}

// Milliseconds, seconds, or a text in the local time.
qlonglong timeOf(const QJsonObject &object, const char *key)
{
    constexpr qlonglong FirstMs = 100000000000;
    const QString text = textOf(object, key);
    if (text.isEmpty())
        return 0;
    bool number = false;
    const qlonglong value = text.toLongLong(&number);
    if (number)
        return value <= 0 ? 0 : value < FirstMs ? value * 1000 : value;
    if (const qlonglong plain = plainTime(text); plain >= 0)
        return plain;
    const QDateTime time = QDateTime::fromString(text, Qt::ISODateWithMs);
    return time.isValid() ? qMax<qlonglong>(0, time.toMSecsSinceEpoch()) : 0;
}

QString hashOf(const QJsonObject &object)
{
    for (const char *key : {"hash", "md5", "ETag", "etag"}) {
        const QString text = textOf(object, key).toLower();
        const auto hex = [](QChar c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
        if (text.size() == 32 && std::all_of(text.begin(), text.end(), hex))
            return text;
    }
    return {};
}

bool blank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
} // namespace

bool DriveListing::entry(const QJsonObject &object, SubFile *entry)
{
    entry->id = textOf(object, "id");
    entry->name = nameOf(object);
    entry->type = object.value(QLatin1String("type")).toVariant().toInt();
    const bool folder = entry->type == SubFile::Folder;
    const bool root = folder && entry->id == QLatin1String(SubFile::Root);
    if (!DriveRest::usableId(entry->id) || (entry->type != SubFile::File && !folder) ||
        !(root || DriveRest::usableName(entry->name)))
        return false;
    entry->size = countOf(object, "size");
    if (folder) // not every farm adds one up
        entry->size = qBound<qlonglong>(0, entry->size, DriveRest::MaxSize);
    if (entry->size < 0 || entry->size > DriveRest::MaxSize)
        return false;
    entry->parent = textOf(object, "parent");
    entry->createdAt = timeOf(object, "createdAt");
    entry->updatedAt = timeOf(object, "updatedAt");
    entry->diskName = textOf(object, "diskName");
    entry->resultId = textOf(object, "resultId");
    for (const char *key : {"ordernum", "orderNum", "num"}) {
        if (entry->ordernum.isEmpty())
            entry->ordernum = textOf(object, key);
    }
    entry->hash = hashOf(object);
    entry->containFile = countOf(object, "containFile");
    entry->containFolder = countOf(object, "containFolder");
    if (object.contains(QLatin1String("fileType")))
        entry->fileType = object.value(QLatin1String("fileType")).toVariant().toInt();
    else
        entry->fileType = entry->resultId.isEmpty() ? DriveRest::Input : DriveRest::Result;
    return true;
}

DriveListing::DriveListing(const QString &folder) : m_folder(folder) {}

void DriveListing::add(const QByteArray &bytes)
{
    const char *at = bytes.constData(), *const end = at + bytes.size();
    while (at < end && !m_broken)
        at = m_list ? inList(at, end) : outside(at, end);
    m_broken = m_broken || m_rest.size() > MostRest || m_element.size() > MostElement;
}

QVector<SubFile> DriveListing::take() { return std::exchange(m_fresh, {}); }

const char *DriveListing::text(const char *at, const char *end)
{
    for (; at < end; ++at) {
        if (m_escaped)
            m_escaped = false;
        else if (*at == '\\')
            m_escaped = true;
        else if (*at == '"') {
            m_text = false;
            return at + 1;
        }
    }
    return end;
}

// One element, or as much of it as there is.
const char *DriveListing::inList(const char *at, const char *end)
{
    if (m_element.isEmpty() && m_inner == 0 && !m_text)
        while (at < end && blank(*at))
            ++at;
    const char *const from = at;
    while (at < end) {
        if (m_text) {
            at = text(at, end);
            continue;
        }
        const char c = *at;
        if (m_inner == 0 && (c == ',' || c == ']')) {
            m_element.append(from, int(at - from));
            whole(m_element);
            m_element.resize(0);
            if (c == ']') {
                m_list = false;
                m_rest += c;
                m_open.chop(1);
            }
            return at + 1;
        }
        m_text = c == '"';
        m_inner += (c == '{' || c == '[') - (c == '}' || c == ']');
        ++at;
    }
    m_element.append(from, int(at - from));
    return end;
}

const char *DriveListing::outside(const char *at, const char *end)
{
    const char *const from = at;
    if (m_text) {
        at = text(at, end);
        m_rest.append(from, int(at - from));
        if (!m_text)
            m_key = m_rest.mid(m_keyAt, m_rest.size() - m_keyAt - 1);
        return at;
    }
    const char c = *at;
    m_rest += c;
    if (c == '"') {
        m_text = true;
        m_keyAt = m_rest.size();
    } else if (c == '{' || c == '[') {
        m_list = c == '[' && opensList();
        m_later = m_list && m_count > 0;
        m_data = m_data || (c == '{' && m_open == "{" && m_key == "data");
        m_open += c;
        m_broken = m_open.size() > MostOpen;
    } else if (c == '}' || c == ']') {
        m_open.chop(1);
        m_data = m_data && m_open.size() > 1;
    }
    return at + 1;
}

bool DriveListing::opensList() const
{
    const bool named = m_key == "files" || m_key == "resultFiles" || m_key == "list";
    return m_open == "{" ? named || m_key == "data" : m_open == "{{" && m_data && named;
}

void DriveListing::whole(const QByteArray &element)
{
    if (element.isEmpty() || m_later)
        return;
    ++m_count;
    QJsonParseError error;
    QByteArray text = element;
    if (element.contains(
            FirstMark)) // a name's first character, which the toolkit leaves out of a text that isn't escaped
        text.replace(FirstMark, "\"\\ufeff");
    const QJsonDocument read = QJsonDocument::fromJson(text, &error);
    if (error.error == QJsonParseError::NoError && read.isObject()) {
        SubFile one;
        if (DriveListing::entry(read.object(), &one))
            return accept(one);
    } else if (QJsonDocument::fromJson('[' + element + ']').isNull()) {
        m_broken = true; // neither a number nor a text: the answer isn't JSON
    }
    ++m_unusable;
}

void DriveListing::accept(const SubFile &entry)
{
    const bool own = m_folder.isEmpty() || (entry.id != m_folder && entry.id != QLatin1String(SubFile::Root));
    if (!own || !m_seen.insert(entry.id)) {
        ++m_unusable;
        return;
    }
    m_fresh.append(entry);
    const auto share = [](QString *kept, QString *text) {
        if (*kept == *text)
            *text = *kept;
        else
            *kept = *text;
    };
    share(&m_parent, &m_fresh.last().parent);
    share(&m_disk, &m_fresh.last().diskName);
}
