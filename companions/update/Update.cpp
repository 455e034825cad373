#include "Update.h"
#include "common/platform/Platform.h"
#include "Fetch.h"
#include "package/TreeSwap.h"
#include "Updater.h"
#include <cstdio>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QThread>

namespace
{
constexpr int CloseMs = 30000, UpMs = 60000, LookMs = 200, ElevatedMs = 30 * 60 * 1000;
constexpr int SwapTries = 20; // a scanner may hold a file for a moment
const QByteArray builtIn = QByteArrayLiteral(VN_UPDATE_KEY);
const QString AtLogOn = QStringLiteral("VandrelQN update");

QString parentOf(const QString &tree) { return QFileInfo(tree).absolutePath(); }
} // namespace

Update::Update(const QStringList &given) : m_tree(QCoreApplication::applicationDirPath())
{
    // "-version 1.2.3.4" may come as one word or as two.
    QStringList words;
    for (const QString &word : given)
        words += word.startsWith(QLatin1String("-version ")) || word.startsWith(QLatin1String("-proxy "))
                     ? word.split(QLatin1Char(' '), Qt::SkipEmptyParts)
                     : QStringList{word};
    while (!words.isEmpty()) {
        const QString word = words.takeFirst();
        const auto next = [&words] { return words.isEmpty() ? QString() : words.takeFirst(); };
        if (word == QLatin1String("-version"))
            m_version = next();
        else if (word == QLatin1String("-proxy"))
            m_proxyHost = next(), m_proxyPort = next().toInt();
        else if (word == QLatin1String("--file"))
            m_package = QFileInfo(next()).absoluteFilePath();
        else if (word == QLatin1String("--tree"))
            m_tree = QDir::cleanPath(QFileInfo(next()).absoluteFilePath());
        else if (word == QLatin1String("--recover"))
            m_act = Recover;
        else if (word == QLatin1String("--back"))
            m_act = Back;
        else if (word == QLatin1String("--no-start"))
            m_start = false;
        else if (m_version.isEmpty() && Manifest::compareVersions(word, word) == 0)
            m_version = word;
        else
            m_act = Wrong;
    }
    if (m_act == Install && m_package.isEmpty() && Manifest::compareVersions(m_version, m_version) != 0)
        m_act = Wrong;
}

QString Update::client() const
{
    return m_tree + (platform::isWindows() ? QStringLiteral("/VandrelQN.exe") : QStringLiteral("/VandrelQN"));
}

bool Update::told(bool good, const QString &words) const
{
    std::fprintf(good ? stdout : stderr, "%s\n", qPrintable(words));
    std::fflush(good ? stdout : stderr);
    QFile log(m_tree + QStringLiteral(".update.log"));
    constexpr qint64 Most = 1024 * 1024;
    if (log.size() > Most)
        log.remove();
    if (log.open(QIODevice::Append))
        log.write(QDateTime::currentDateTime().toString(Qt::ISODate).toUtf8() + (good ? " " : " ! ") +
                  words.toUtf8().simplified() + '\n');
    return good;
}

int Update::failed(const QString &words) const { return told(false, words) ? 0 : 1; }
int Update::done(const QString &words) const { return told(true, words) ? 0 : 1; }
bool Update::say(const QString &words) const { return told(false, words); }

int Update::run()
{
    if (m_act == Wrong) {
        say(QStringLiteral(
            "update: VERSION | -version VERSION [-proxy HOST PORT] | --file PACKAGE | --recover | --back, "
            "and --tree DIR, --no-start"));
        return 2;
    }
    if (mustLeave())
        return leave();
    const bool ours = QFileInfo(parentOf(m_tree)).isWritable();
    const int result = ours || platform::isWindows() ? work() : elevate();
    if (result != 0 && m_start && m_act != Recover)
        startClient(); // it closed for this
    return result;
}

bool Update::mustLeave() const
{
    const QString here = QCoreApplication::applicationDirPath() + QLatin1Char('/');
    return (platform::isWindows() || qEnvironmentVariableIsSet("VN_UPDATE_AWAY")) &&
           here.startsWith(m_tree + QLatin1Char('/'));
}

// A copy of this program goes on, and doesn't wait for this one to end: it tries its renames for some seconds.
int Update::leave()
{
    const QString away = m_tree + QStringLiteral(".updater");
    QString program;
    if (!Updater::copyTo(away, &program))
        return failed(QStringLiteral("%1 can't be written, nothing was changed").arg(away));
    QStringList words = QCoreApplication::arguments().mid(1);
    if (!words.contains(QStringLiteral("--tree")))
        words << QStringLiteral("--tree") << m_tree;
    if (QProcess::startDetached(program, words, away))
        return 0;
    return failed(QStringLiteral("%1 can't be started").arg(program));
}

int Update::work()
{
    QLockFile lock(m_tree + QStringLiteral(".update.lock"));
    lock.setStaleLockTime(0); // a long download is no sign of death
    if (!lock.tryLock(5000))
        return failed(QStringLiteral("another update of %1 is running").arg(m_tree));
    TreeSwap swap(m_tree);
    if (swap.state() == TreeSwap::Ready && !clientGone())
        return 1;
    if (!swap.recover())
        return failed(swap.why());
    rememberMe(false);
    if (m_act == Recover)
        return done(QStringLiteral("%1 is whole").arg(m_tree));
    return m_act == Back ? back() : install();
}

int Update::elevate()
{
    QStringList words{QStringLiteral("--no-start"), QStringLiteral("--tree"), m_tree};
    QString file = m_package;
    if (m_act == Recover) {
        words << QStringLiteral("--recover");
    } else if (m_act == Back) {
        words << QStringLiteral("--back");
    } else {
        if (file.isEmpty() && (file = fetched()).isEmpty())
            return 1;
        words << QStringLiteral("--file") << file;
    }
    for (QString &word : words)
        word = QLatin1Char('"') + word + QLatin1Char('"');
    const TreeSwap before(m_tree);
    platform::runElevated(QCoreApplication::applicationFilePath().toStdString(),
                          words.join(QLatin1Char(' ')).toStdString(), parentOf(m_tree).toStdString(), ElevatedMs);
    if (file != m_package)
        QFile::remove(file);
    const TreeSwap now(m_tree);
    if (m_act == Install)
        return now.state() == TreeSwap::Trial
                   ? (tryOut(now.version()) ? 0 : 1)
                   : (say(QStringLiteral("nothing was changed, see %1.update.log").arg(m_tree)), 1);
    if (m_act == Back && m_start && now.state() != TreeSwap::Trial)
        startClient();
    return now.state() == before.state() && m_act == Back ? 1 : 0;
}

int Update::back()
{
    if (!clientGone())
        return 1;
    TreeSwap swap(m_tree);
    if (!swap.back())
        return failed(swap.why());
    if (m_start)
        startClient();
    return done(QStringLiteral("the earlier program is back"));
}

QString Update::fetched()
{
    const QString base = Updater::serverOf(m_tree);
    const bool beside = QFileInfo(parentOf(m_tree)).isWritable();
    const QString place = beside ? parentOf(m_tree) : QDir::tempPath();
    const QString stem = QFileInfo(m_tree).fileName() + QStringLiteral(".update-");
    const QString name = stem + m_version + QStringLiteral(".vnp");
    // What is left of another version's download is of no use.
    for (const QString &old : QDir(place).entryList({stem + QStringLiteral("*.vnp*")}, QDir::Files))
        if (!old.startsWith(name))
            QFile::remove(place + QLatin1Char('/') + old);
    Fetch fetch;
    fetch.setForward(m_proxyHost, m_proxyPort);
    const QString file = place + QLatin1Char('/') + name;
    const QString from = QStringLiteral("%1/packages/%2/VandrelQN-%3.vnp").arg(base, Updater::system(), m_version);
    if (fetch.file(QUrl(from), file))
        return file;
    say(fetch.why());
    return {};
}

int Update::install()
{
    const TreeSwap swap(m_tree);
    // A kill came after the swap: there is nothing left to install.
    if (swap.state() == TreeSwap::Trial && !m_version.isEmpty() && swap.version() == m_version)
        return tryOut(m_version) ? 0 : 1;
    QString file = m_package;
    if (file.isEmpty() && (file = fetched()).isEmpty())
        return 1;
    const bool placed = place(file);
    if (m_package.isEmpty())
        QFile::remove(file);
    const QString version = TreeSwap(m_tree).version();
    return placed && (!m_start || tryOut(version)) ? 0 : 1;
}

bool Update::place(const QString &file)
{
    TreeSwap swap(m_tree);
    Package package(file);
    if (!package.open(builtIn))
        return say(package.why());
    const Manifest &manifest = package.manifest();
    QString why;
    // A tree that no package made is of the version that this program is.
    const QString installed = swap.installed().isEmpty() ? QStringLiteral(VN_VERSION) : swap.installed();
    if (!manifest.fits(QStringLiteral("VandrelQN"), Updater::system(), installed, QDateTime::currentDateTimeUtc(),
                       &why))
        return say(why);
    if (!m_version.isEmpty() && manifest.version != m_version)
        return say(QStringLiteral("the package is version %1, not %2").arg(manifest.version, m_version));
    if (!swap.prepare(&package))
        return say(swap.why());
    if (!clientGone())
        return false;
    rememberMe(true);
    bool swapped = swap.swap();
    for (int more = 1; !swapped && more < SwapTries && platform::isWindows(); ++more) {
        QThread::msleep(LookMs);
        swapped = swap.recover() && swap.state() == TreeSwap::Trial;
    }
    if (!swapped)
        return say(swap.why());
    rememberMe(false);
    return told(true, QStringLiteral("version %1 is in place").arg(manifest.version));
}

bool Update::tryOut(const QString &version)
{
    if (comesUp())
        return told(true, QStringLiteral("version %1 has started").arg(version));
    TreeSwap swap(m_tree);
    if (!QFileInfo(parentOf(m_tree)).isWritable())
        platform::runElevated(QCoreApplication::applicationFilePath().toStdString(),
                              QStringLiteral("\"--no-start\" \"--back\" \"--tree\" \"%1\"").arg(m_tree).toStdString(),
                              parentOf(m_tree).toStdString(), ElevatedMs);
    else if (!swap.back())
        return say(swap.why());
    return say(QStringLiteral("version %1 doesn't start, the earlier one is back").arg(version));
}

// Only a client of this very tree: others of that name may be another user's.
bool Update::clientRuns() const { return platform::existProcess("VandrelQN") && Updater::runs(client()); }

bool Update::clientGone()
{
    QElapsedTimer clock;
    for (clock.start(); clientRuns(); QThread::msleep(LookMs))
        if (clock.elapsed() > CloseMs)
            return say(QStringLiteral("%1 is still running, it is replaced when it has ended").arg(client()));
    return true;
}

// Not looking for updates again, or a server that names the wrong version would have it turn in a ring.
void Update::startClient(qint64 *pid) const
{
    if (platform::isWindows()) // by the shell, which isn't elevated as this program is
        QProcess::startDetached(QStringLiteral("explorer"), {QDir::toNativeSeparators(client())});
    else
        QProcess::startDetached(client(), {QStringLiteral("notupdate")}, m_tree, pid);
}

bool Update::comesUp()
{
    constexpr int ShellMs = 10000; // that the shell may take
    for (int attempt = 0; attempt < TreeSwap::MostStarts; ++attempt) {
        qint64 pid = 0;
        startClient(&pid);
        if (pid == 0 && !platform::isWindows())
            continue;
        QElapsedTimer clock;
        bool lives = true;
        for (clock.start(); lives && clock.elapsed() < UpMs;) {
            QThread::msleep(LookMs);
            lives = pid == 0 && (clientRuns() || clock.elapsed() < ShellMs);
            for (const platform::Process &one : platform::processes())
                lives = lives || (pid != 0 && one.pid == pid && !one.dead);
            if (TreeSwap(m_tree).state() != TreeSwap::Trial) // looked at last: it may say so and end
                return true;
        }
        if (lives)
            return true; // it waits for its user, say at a question of the system; its next starts are counted
    }
    return false;
}

// Only where two renames make the swap can a power cut leave no program at all.
void Update::rememberMe(bool on) const
{
    const QString self = QCoreApplication::applicationFilePath();
    if (self.startsWith(m_tree + QLatin1Char('/')))
        return;
    const bool was = platform::autoStartGet(AtLogOn.toStdString()).has_value();
    const QString line = QStringLiteral("\"%1\" --recover --tree \"%2\"").arg(self, m_tree);
    if (on && (platform::isWindows() || qEnvironmentVariableIsSet("VN_UPDATE_AWAY")))
        platform::autoStartSet(AtLogOn.toStdString(), line.toStdString());
    else if (!on && was)
        platform::autoStartRemove(AtLogOn.toStdString());
}
