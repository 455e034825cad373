#include "common/platform/Platform.h"
#include <algorithm>
#include <cstring>

namespace platform
{
namespace
{
char lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

std::string lowered(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), lower);
    return text;
}

// Appends value with at least width digits; false when there is no room.
bool putNumber(char *out, std::size_t room, std::size_t &at, std::int64_t value, int width)
{
    char digits[24];
    int count = 0;
    do {
        digits[count++] = char('0' + value % 10);
        value /= 10;
    } while (value > 0 && count < 20);
    while (count < width)
        digits[count++] = '0';
    if (at + std::size_t(count) >= room)
        return false;
    while (count > 0)
        out[at++] = digits[--count];
    return true;
}

bool putText(char *out, std::size_t room, std::size_t &at, const char *text)
{
    const std::size_t length = std::strlen(text);
    if (at + length >= room)
        return false;
    std::memcpy(out + at, text, length);
    at += length;
    return true;
}

struct Civil {
    std::int64_t year;
    int month, day;
};

// Days since 1970 to a date, by whole 400-year eras that begin on 1 March.
Civil civilOf(std::int64_t days)
{
    days += 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const int dayOfEra = int(days - era * 146097);
    const int yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int shifted = (5 * dayOfYear + 2) / 153;
    const int month = shifted < 10 ? shifted + 3 : shifted - 9;
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, dayOfYear - (153 * shifted + 2) / 5 + 1};
}
} // namespace

bool sameText(const std::string &a, const std::string &b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return lower(x) == lower(y); });
}

std::string bareName(const std::string &program)
{
    std::string name = program.substr(program.find_last_of("/\\") + 1);
    if (name.size() > 4 && sameText(name.substr(name.size() - 4), ".exe"))
        name.resize(name.size() - 4);
    return name;
}

std::vector<std::string> splitWords(const std::string &line)
{
    std::vector<std::string> words;
    std::string word;
    bool quoted = false, started = false;
    for (char c : line) {
        if (c == '"') {
            quoted = !quoted;
            started = true;
        } else if (!quoted && (c == ' ' || c == '\t')) {
            if (started)
                words.push_back(word);
            word.clear();
            started = false;
        } else {
            word += c;
            started = true;
        }
    }
    if (started)
        words.push_back(word);
    return words;
}

ElevatedCommand elevatedCommand(const std::string &file, const std::string &parameters, bool targetWritable,
                                bool windows)
{
    ElevatedCommand command;
    if (windows) {
        command.verb = "runas";
        command.program = file;
        std::replace(command.program.begin(), command.program.end(), '/', '\\');
        command.parameters = parameters;
        return command;
    }
    command.words = splitWords(parameters);
    command.program = file;
    if (!targetWritable) {
        command.verb = "pkexec";
        command.program = "pkexec";
        command.words.insert(command.words.begin(), file);
    }
    return command;
}

std::string joinFacts(const std::vector<std::string> &facts)
{
    std::string text;
    for (const std::string &fact : facts)
        text += "[" + fact + "]";
    return text;
}

bool adapterSkipped(const std::string &description)
{
    const std::string text = lowered(description);
    for (const char *word : {"vmware", "tunnel", "tunneling", "loopback", "pseudo", "isatap"}) {
        if (text.find(word) != std::string::npos)
            return true;
    }
    return false;
}

std::size_t crashName(char *out, std::size_t room, std::int64_t epochMs, int utcOffsetSeconds, const char *version)
{
    const std::int64_t local = epochMs / 1000 + utcOffsetSeconds;
    const std::int64_t days = (local >= 0 ? local : local - 86399) / 86400;
    const int second = int(local - days * 86400);
    const Civil date = civilOf(days);
    std::size_t at = 0;
    const bool fits = putNumber(out, room, at, date.year, 4) && putText(out, room, at, ".") &&
                      putNumber(out, room, at, date.month, 2) && putText(out, room, at, ".") &&
                      putNumber(out, room, at, date.day, 2) && putText(out, room, at, "_") &&
                      putNumber(out, room, at, second / 3600, 2) && putText(out, room, at, ".") &&
                      putNumber(out, room, at, second / 60 % 60, 2) && putText(out, room, at, ".") &&
                      putNumber(out, room, at, second % 60, 2) && putText(out, room, at, "_") &&
                      putNumber(out, room, at, epochMs % 1000, 3) && putText(out, room, at, "_") &&
                      putText(out, room, at, version) && putText(out, room, at, ".dmp");
    if (!fits)
        return 0;
    out[at] = 0;
    return at;
}
} // namespace platform
