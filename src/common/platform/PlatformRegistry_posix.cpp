// The settings hives as one INI file. It is read whole, changed and replaced under a lock file, so that two programs
// writing at once lose nothing and a crash leaves the old or the new file.
#include "common/platform/Platform.h"
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace platform
{
namespace
{
using Values = std::vector<std::pair<std::string, std::string>>;
using Sections = std::vector<std::pair<std::string, Values>>;

std::string folderOf(const char *variable, const char *underHome)
{
    const char *set = std::getenv(variable);
    if (set && *set == '/')
        return set;
    const char *home = std::getenv("HOME");
    return std::string(home ? home : "/tmp") + underHome;
}

bool makePath(const std::string &folder)
{
    for (std::size_t at = 1; at != std::string::npos && at < folder.size();) {
        at = folder.find('/', at + 1);
        if (mkdir(folder.substr(0, at).c_str(), 0700) != 0 && errno != EEXIST)
            return false;
    }
    return true;
}

std::string hiveFolder() { return folderOf("XDG_CONFIG_HOME", "/.config") + "/brontel"; }

// Bytes that would end a line, a name or a section are written as %XX.
std::string escaped(const std::string &text, const char *special)
{
    std::string out;
    for (unsigned char c : text) {
        char code[4];
        if (c < 0x20 || c == '%' || std::string(special).find(char(c)) != std::string::npos) {
            std::snprintf(code, sizeof code, "%%%02X", c);
            out += code;
        } else {
            out += char(c);
        }
    }
    return out;
}

std::string unescaped(const std::string &text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned value = 0;
        if (text[i] == '%' && i + 2 < text.size() && std::sscanf(text.c_str() + i + 1, "%2x", &value) == 1) {
            out += char(value);
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string sectionName(Hive hive, std::string key)
{
    std::replace(key.begin(), key.end(), '/', '\\');
    while (!key.empty() && key.back() == '\\')
        key.pop_back();
    return (hive == Hive::CurrentUser ? "HKEY_CURRENT_USER\\" : "HKEY_LOCAL_MACHINE\\") + key;
}

bool readAll(const std::string &path, std::string &text)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return errno == ENOENT;
    char part[8192];
    ssize_t got;
    while ((got = read(fd, part, sizeof part)) > 0)
        text.append(part, std::size_t(got));
    close(fd);
    return got == 0;
}

bool readFile(Sections &sections)
{
    std::string text;
    if (!readAll(hiveFolder() + "/registry.ini", text))
        return false;
    for (std::size_t from = 0; from < text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        const std::string line = text.substr(from, end - from);
        from = end + 1;
        const std::size_t equals = line.find('=');
        if (line.size() > 2 && line.front() == '[' && line.back() == ']')
            sections.push_back({unescaped(line.substr(1, line.size() - 2)), {}});
        else if (equals != std::string::npos && !sections.empty())
            sections.back().second.push_back({unescaped(line.substr(0, equals)), unescaped(line.substr(equals + 1))});
    }
    return true;
}

bool writeFile(const Sections &sections)
{
    std::string text;
    for (const auto &section : sections) {
        if (section.second.empty())
            continue;
        text += "[" + escaped(section.first, "[]") + "]\n";
        for (const auto &value : section.second)
            text += escaped(value.first, "[]=") + "=" + escaped(value.second, "") + "\n";
    }
    const std::string path = hiveFolder() + "/registry.ini", fresh = path + ".new";
    const int fd = open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t put = write(fd, text.data() + done, text.size() - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            break;
        done += std::size_t(put);
    }
    const bool whole = done == text.size() && fsync(fd) == 0;
    close(fd);
    if (whole && rename(fresh.c_str(), path.c_str()) == 0)
        return true;
    unlink(fresh.c_str());
    return false;
}

// Runs change on the sections under the lock; change says whether there is something to write.
template <class Change> bool changeFile(Change change)
{
    if (!makePath(hiveFolder()))
        return false;
    const int lock = open((hiveFolder() + "/registry.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock < 0)
        return false;
    while (flock(lock, LOCK_EX) != 0 && errno == EINTR) {
    }
    Sections sections;
    const bool done = readFile(sections) && change(sections) && writeFile(sections);
    close(lock);
    return done;
}

template <class List> auto findText(List &list, const std::string &name)
{
    return std::find_if(list.begin(), list.end(), [&](const auto &entry) { return sameText(entry.first, name); });
}

std::string autoStartFile(const std::string &name)
{
    std::string plain = name;
    std::replace(plain.begin(), plain.end(), '/', '_');
    return folderOf("XDG_CONFIG_HOME", "/.config") + "/autostart/" + plain + ".desktop";
}

// The program of a command whose path may hold blanks: the longest start that names a file.
std::string quotedCommand(const std::string &command)
{
    std::size_t end = command.size();
    struct stat info;
    while (end != std::string::npos && (stat(command.substr(0, end).c_str(), &info) != 0 || !S_ISREG(info.st_mode)))
        end = end == 0 ? std::string::npos : command.rfind(' ', end - 1);
    if (end == std::string::npos)
        end = std::min(command.find(' '), command.size());
    std::string quoted = "\"";
    for (char c : command.substr(0, end)) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            quoted += "\\\\"; // once for the entry's text, once for the quoted word
        quoted += c == '%' ? "%%" : std::string(1, c);
    }
    return quoted + "\"" + command.substr(end);
}
} // namespace

std::optional<std::string> regGet(Hive hive, const std::string &key, const std::string &name)
{
    Sections sections;
    readFile(sections);
    const auto section = findText(sections, sectionName(hive, key));
    if (section == sections.end())
        return std::nullopt;
    const auto value = findText(section->second, name);
    return value == section->second.end() ? std::nullopt : std::optional<std::string>(value->second);
}

bool regSet(Hive hive, const std::string &key, const std::string &name, const std::string &text)
{
    return changeFile([&](Sections &sections) {
        auto section = findText(sections, sectionName(hive, key));
        if (section == sections.end())
            section = sections.insert(sections.end(), {sectionName(hive, key), {}});
        const auto value = findText(section->second, name);
        if (value == section->second.end())
            section->second.push_back({name, text});
        else
            value->second = text;
        return true;
    });
}

bool regDelete(Hive hive, const std::string &key, const std::string &name)
{
    return changeFile([&](Sections &sections) {
        const auto section = findText(sections, sectionName(hive, key));
        if (section == sections.end())
            return false;
        const auto value = findText(section->second, name);
        if (value == section->second.end())
            return false;
        section->second.erase(value);
        return true;
    });
}

std::vector<std::string> regNames(Hive hive, const std::string &key)
{
    Sections sections;
    readFile(sections);
    std::vector<std::string> names;
    const auto section = findText(sections, sectionName(hive, key));
    if (section != sections.end()) {
        for (const auto &value : section->second)
            names.push_back(value.first);
    }
    return names;
}

std::vector<std::string> regSubkeys(Hive hive, const std::string &key)
{
    Sections sections;
    readFile(sections);
    std::vector<std::string> names;
    const std::string start = sectionName(hive, key) + "\\";
    for (const auto &section : sections) {
        if (section.first.size() <= start.size() || !sameText(section.first.substr(0, start.size()), start))
            continue;
        const std::size_t end = section.first.find('\\', start.size());
        const std::string name =
            section.first.substr(start.size(), end == std::string::npos ? end : end - start.size());
        if (std::none_of(names.begin(), names.end(), [&](const std::string &old) { return sameText(old, name); }))
            names.push_back(name);
    }
    return names;
}

bool autoStartSet(const std::string &name, const std::string &command)
{
    const std::string path = autoStartFile(name);
    if (!makePath(path.substr(0, path.rfind('/'))))
        return false;
    std::FILE *file = std::fopen(path.c_str(), "we");
    if (!file)
        return false;
    const bool written = std::fprintf(file, "[Desktop Entry]\nType=Application\nName=%s\nExec=%s\nX-Command=%s\n",
                                      name.c_str(), quotedCommand(command).c_str(), command.c_str()) > 0;
    return (std::fclose(file) == 0) && written;
}

bool autoStartRemove(const std::string &name) { return unlink(autoStartFile(name).c_str()) == 0; }

std::optional<std::string> autoStartGet(const std::string &name)
{
    std::string text;
    readAll(autoStartFile(name), text);
    const std::size_t at = text.find("\nX-Command=");
    if (at == std::string::npos)
        return std::nullopt;
    const std::size_t from = at + 11;
    return text.substr(from, text.find('\n', from) - from);
}
} // namespace platform
