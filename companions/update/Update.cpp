#include "Update.h"
#include "common/platform/Platform.h"
#include "Fetch.h"
#include "package/TreeSwap.h"
#include <cstdio>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QSettings>
#include <QThread>

namespace
{
constexpr int CloseMs = 30000, UpMs = 60000, LookMs = 200;
const QByteArray builtIn = QByteArrayLiteral(VN_UPDATE_KEY);

QString system() { return platform::isWindows() ? QStringLiteral("windows") : QStringLiteral("linux"); }
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

int Update::say(int result, const QString &words) const
{
    std::fprintf(result == 0 ? stdout : stderr, "%s\n", qPrintable(words));
    QFile log(m_tree + QStringLiteral(".update.log"));
    constexpr qint64 Most = 1024 * 1024;
    if (log.size() > Most)
        log.remove();
    if (log.open(QIODevice::Append))
        log.write(QDateTime::currentDateTime().toString(Qt::ISODate).toUtf8() + ' ' + words.toUtf8() + '\n');
    return result;
}

int Update::run()
{
    if (m_act == Wrong)
        return say(
            2, QStringLiteral("update: VERSION | -version VERSION [-proxy HOST PORT] | --file PACKAGE | --recover | "
                              "--back, and --tree DIR, --no-start"));
    QLockFile lock(m_tree + QStringLiteral(".update.lock"));
    if (!lock.tryLock(5000))
        return say(1, QStringLiteral("another update of %1 is running").arg(m_tree));
    TreeSwap swap(m_tree);
    if (!swap.recover())
        return say(1, swap.why());
    if (m_act == Recover)
        return say(0, QStringLiteral("%1 is whole").arg(m_tree));
    if (m_act == Back) {
        waitForClient();
        if (!swap.back())
            return say(1, swap.why());
        if (m_start)
            QProcess::startDetached(client(), {});
        return say(0, QStringLiteral("the earlier program is back"));
    }
    return install();
}

bool Update::fetch(const QString &to)
{
    const QSettings addresses(m_tree + QStringLiteral("/service.ini"), QSettings::IniFormat);
    QString base = addresses.value(QStringLiteral("server/update")).toString();
    if (base.isEmpty())
        base = addresses.value(QStringLiteral("server/qnbs"), QStringLiteral("http://127.0.0.1")).toString();
    if (!base.contains(QLatin1String("://")))
        base.prepend(QLatin1String("http://"));
    while (base.endsWith(QLatin1Char('/')))
        base.chop(1);
    Fetch fetch;
    fetch.setForward(m_proxyHost, m_proxyPort);
    if (fetch.file(QUrl(QStringLiteral("%1/packages/%2/VandrelQN-%3.vnp").arg(base, system(), m_version)), to))
        return true;
    say(1, fetch.why());
    return false;
}

int Update::install()
{
    QString file = m_package;
    if (file.isEmpty()) {
        file = m_tree + QStringLiteral(".update.vnp");
        if (!fetch(file))
            return 1;
    }
    TreeSwap swap(m_tree);
    Package package(file);
    QString why;
    const bool good = package.open(builtIn) &&
                      package.manifest().fits(QStringLiteral("VandrelQN"), system(), swap.installed(),
                                              QDateTime::currentDateTimeUtc(), &why) &&
                      (m_version.isEmpty() || package.manifest().version == m_version);
    if (!good) {
        if (m_package.isEmpty())
            QFile::remove(file);
        return say(1, package.why().isEmpty() ? (why.isEmpty() ? QStringLiteral("the package is another version") : why)
                                              : package.why());
    }
    const bool ready = swap.prepare(&package);
    if (m_package.isEmpty())
        QFile::remove(file);
    if (!ready)
        return say(1, swap.why());
    waitForClient();
    if (!swap.swap())
        return say(1, swap.why());
    say(0, QStringLiteral("version %1 is in place").arg(package.manifest().version));
    if (!m_start || tryNew())
        return 0;
    TreeSwap now(m_tree);
    if (!now.back())
        return say(1, now.why());
    QProcess::startDetached(client(), {QStringLiteral("notupdate")});
    return say(1, QStringLiteral("version %1 doesn't start, the earlier one is back").arg(package.manifest().version));
}

// The client that asked for the update is on its way out.
void Update::waitForClient() const
{
    QElapsedTimer clock;
    for (clock.start(); clock.elapsed() < CloseMs && platform::existProcess("VandrelQN");)
        QThread::msleep(LookMs);
}

bool Update::tryNew()
{
    for (int attempt = 0; attempt < TreeSwap::MostStarts; ++attempt) {
        qint64 pid = 0;
        if (!QProcess::startDetached(client(), {}, m_tree, &pid))
            continue;
        QElapsedTimer clock;
        bool lives = true;
        for (clock.start(); lives && clock.elapsed() < UpMs;) {
            QThread::msleep(LookMs);
            TreeSwap now(m_tree);
            if (now.state() == TreeSwap::Nothing)
                return true; // it has come up, and said so
            lives = false;
            for (const platform::Process &one : platform::processes())
                lives = lives || (one.pid == pid && !one.dead);
        }
        if (lives)
            return true; // it waits for its user, say at a question of the system; its next starts are counted
    }
    return false;
}
