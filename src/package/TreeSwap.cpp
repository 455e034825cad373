#include "package/TreeSwap.h"
#include "common/platform/Platform.h"
#include "package/Steps.h"
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace
{
const char *const words[] = {"nothing", "making", "ready", "trial", "clearing"};
constexpr qint64 MostCarried = qint64(1) << 30; // bytes of files that a program's tree may hold beside its own
constexpr int MostCarriedFiles = 5000;

QString ownManifest() { return QStringLiteral(".") + Package::manifestName(); }
QString ownSignature() { return QStringLiteral(".") + Package::signatureName(); }

QJsonObject objectIn(const QString &file)
{
    QFile from(file);
    return from.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(from.readAll()).object() : QJsonObject();
}

bool exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}
} // namespace

TreeSwap::TreeSwap(const QString &tree)
    : m_tree(tree), m_new(tree + QStringLiteral(".new")), m_old(tree + QStringLiteral(".old")),
      m_file(tree + QStringLiteral(".update.json"))
{
    load();
}

bool TreeSwap::fail(const QString &text)
{
    m_why = text;
    return false;
}

bool TreeSwap::load()
{
    const QJsonObject all = objectIn(m_file);
    const QString word = all.value(QLatin1String("state")).toString();
    m_state = Nothing;
    for (int i = Nothing; i <= Clearing; ++i)
        if (word == QLatin1String(words[i]))
            m_state = State(i);
    m_version = all.value(QLatin1String("version")).toString();
    m_refused = all.value(QLatin1String("refused")).toString();
    m_starts = all.value(QLatin1String("starts")).toInt();
    return !all.isEmpty();
}

bool TreeSwap::save(State state)
{
    const QJsonObject all{{QStringLiteral("state"), QLatin1String(words[state])},
                          {QStringLiteral("version"), m_version},
                          {QStringLiteral("refused"), m_refused},
                          {QStringLiteral("starts"), m_starts}};
    if (!Steps::writeWhole(m_file, QJsonDocument(all).toJson(QJsonDocument::Compact)))
        return fail(Steps::why());
    m_state = state;
    return true;
}

QString TreeSwap::versionIn(const QString &tree) const
{
    return objectIn(tree + QLatin1Char('/') + ownManifest()).value(QLatin1String("version")).toString();
}

QString TreeSwap::installed() const { return versionIn(m_tree); }
// The manifest is the last file that is written into it.
bool TreeSwap::complete() const { return !m_version.isEmpty() && versionIn(m_new) == m_version; }

bool TreeSwap::recover()
{
    load();
    if (!exists(m_tree)) { // between the two renames
        const bool forward = m_state == Ready && complete();
        if (!Steps::rename(forward ? m_new : m_old, m_tree))
            return fail(Steps::why());
    }
    switch (m_state) {
    case Ready:
        if (installed() != m_version)
            return swap();
        // Swapped, but not yet told.
        if (exists(m_new) && !Steps::rename(m_new, m_old))
            return fail(Steps::why());
        return save(Trial);
    case Trial:
        // back() was cut short after its swap: the tree that is tried isn't here.
        if (installed() != m_version)
            return back();
        return !exists(m_new) || Steps::removeTree(m_new) || fail(Steps::why());
    case Making:
    case Clearing:
        return clear();
    case Nothing:
        break;
    }
    return true;
}

bool TreeSwap::clear()
{
    return (Steps::removeTree(m_old) && Steps::removeTree(m_new)) ? save(Nothing) : fail(Steps::why());
}

bool TreeSwap::carryOver(const Manifest &next)
{
    const auto seen = [](const QString &path) { return platform::isWindows() ? path.toCaseFolded() : path; };
    QSet<QString> replaced; // what the new package brings or the old one brought
    for (const ManifestFile &file : next.files)
        if (!file.keep || !exists(m_tree + QLatin1Char('/') + file.path))
            replaced.insert(seen(file.path));
    const QJsonArray before =
        objectIn(m_tree + QLatin1Char('/') + ownManifest()).value(QLatin1String("files")).toArray();
    for (const QJsonValue &value : before) {
        const QJsonObject file = value.toObject();
        if (!file.value(QLatin1String("keep")).toBool())
            replaced.insert(seen(file.value(QLatin1String("path")).toString()));
    }
    replaced << ownManifest() << ownSignature();
    qint64 bytes = 0;
    int count = 0;
    QDirIterator all(m_tree, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString from = all.next();
        const QString path = from.mid(m_tree.size() + 1);
        if (replaced.contains(seen(path)) || (all.fileInfo().isDir() && !all.fileInfo().isSymLink()))
            continue;
        bytes += all.fileInfo().isSymLink() ? 0 : all.fileInfo().size();
        if (++count > MostCarriedFiles || bytes > MostCarried)
            return fail(m_tree + QStringLiteral(" holds too much beside the program, it isn't replaced"));
        const QString to = m_new + QLatin1Char('/') + path;
        if (exists(to) && !Steps::removeFile(to))
            return fail(Steps::why());
        if (!Steps::makeFolder(QFileInfo(to).absolutePath()) || !Steps::linkOrCopy(from, to) ||
            !Steps::syncFolder(QFileInfo(to).absolutePath()))
            return fail(Steps::why());
    }
    return true;
}

bool TreeSwap::prepare(Package *package)
{
    if (make(package))
        return true;
    const QString reason = m_why;
    if (m_state == Making) // what was made of it only takes room
        clear();
    return fail(reason);
}

bool TreeSwap::make(Package *package)
{
    const Manifest &manifest = package->manifest();
    if (refused(manifest.version))
        return fail(QStringLiteral("version %1 didn't start here").arg(manifest.version));
    // Where no record tells of them, folders of these names are somebody else's.
    if (m_state == Nothing && (exists(m_old) || exists(m_new)))
        return fail(QStringLiteral("%1 or %2 is there already").arg(m_old, m_new));
    m_version = manifest.version;
    m_starts = 0;
    if (!save(Making))
        return false;
    if (!Steps::removeTree(m_old) || !Steps::removeTree(m_new) || !Steps::makeFolder(m_new))
        return fail(Steps::why());
    if (!package->unpack(m_new))
        return fail(package->why());
    if (!carryOver(manifest))
        return false;
    QSet<QString> folders{m_new};
    for (const ManifestFile &file : manifest.files)
        for (QString one = QFileInfo(m_new + QLatin1Char('/') + file.path).path(); one.size() > m_new.size();
             one = QFileInfo(one).path())
            folders.insert(one);
    for (const QString &folder : folders)
        if (!Steps::syncFolder(folder))
            return fail(Steps::why());
    if (!Steps::writeWhole(m_new + QLatin1Char('/') + ownSignature(), manifest.signature) ||
        !Steps::writeWhole(m_new + QLatin1Char('/') + ownManifest(), manifest.text))
        return fail(Steps::why());
    return save(Ready);
}

bool TreeSwap::swap()
{
    if (m_state != Ready || !complete())
        return fail(QStringLiteral("there is no complete new tree"));
    bool possible = false;
    if (Steps::exchange(m_tree, m_new, &possible)) {
        if (!Steps::rename(m_new, m_old))
            return fail(Steps::why());
    } else if (possible) {
        return fail(Steps::why());
    } else if (!Steps::rename(m_tree, m_old)) {
        return fail(Steps::why());
    } else if (!Steps::rename(m_new, m_tree)) {
        const QString reason = Steps::why();
        Steps::rename(m_old, m_tree);
        return fail(reason);
    }
    return save(Trial);
}

int TreeSwap::countElsewhere(const QString &file, bool up)
{
    if (file.isEmpty())
        return -1;
    const QJsonObject was = objectIn(file);
    const bool same = was.value(QLatin1String("tree")).toString() == m_tree &&
                      was.value(QLatin1String("version")).toString() == m_version;
    const int starts = same ? was.value(QLatin1String("starts")).toInt() : 0;
    if (starts < 0)
        return starts;
    const int now = up ? -1 : starts + 1;
    const QJsonObject is{
        {QStringLiteral("tree"), m_tree}, {QStringLiteral("version"), m_version}, {QStringLiteral("starts"), now}};
    const bool kept = Steps::makeFolder(QFileInfo(file).absolutePath()) &&
                      Steps::writeWhole(file, QJsonDocument(is).toJson(QJsonDocument::Compact));
    return kept ? now : -1;
}

bool TreeSwap::countStart(const QString &elsewhere)
{
    if (m_state != Trial)
        return true;
    ++m_starts;
    if (!save(Trial))
        m_starts = countElsewhere(elsewhere, false);
    return m_starts <= MostStarts || !exists(m_old);
}

bool TreeSwap::passed(const QString &elsewhere)
{
    if (m_state == Trial) {
        const QString version = m_version, refusedBefore = m_refused;
        m_refused.clear();
        m_version.clear();
        // Told first: a kill while the old tree goes must not bring half of it back.
        if (!save(Clearing)) {
            m_version = version;
            m_refused = refusedBefore;
            countElsewhere(elsewhere, true);
            return false;
        }
    }
    return m_state != Clearing || clear();
}

bool TreeSwap::back()
{
    if (m_state != Trial)
        return fail(QStringLiteral("no update is on trial"));
    if (installed() == m_version) {
        if (!exists(m_old))
            return fail(QStringLiteral("there is no earlier program to go back to"));
        bool possible = false;
        if (!Steps::exchange(m_tree, m_old, &possible)) {
            if (possible || !Steps::rename(m_tree, m_new) || !Steps::rename(m_old, m_tree))
                return fail(Steps::why());
        }
    }
    m_refused = m_version;
    m_version.clear();
    return save(Clearing) && clear();
}
