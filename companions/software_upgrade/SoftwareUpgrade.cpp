#include "SoftwareUpgrade.h"
#include "Fetch.h"
#include "package/Package.h"
#include "Updater.h"
#include <cstdio>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>

namespace
{
const QByteArray builtIn = QByteArrayLiteral(VN_UPDATE_KEY);
constexpr int TellMs = 250;

void print(const QJsonObject &line)
{
    std::printf("%s\n", QJsonDocument(line).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

SoftwareUpgrade::SoftwareUpgrade(const QStringList &given)
    : m_platform(given.value(0)), m_client(given.value(1)), m_folder(given.value(2)), m_mode(given.value(3))
{
    QStringList words = given.mid(4);
    if (words.value(0) == QLatin1String("-proxy")) {
        m_proxyHost = words.value(1);
        m_proxyPort = words.value(2).toInt();
        words = words.mid(3);
    }
    if (words.value(0) == QLatin1String("fetch")) {
        m_fetch = true;
        m_id = words.value(1);
        m_version = words.value(2);
        words = words.mid(3);
    }
    m_good = words.isEmpty() && !m_folder.isEmpty() && SoftwareOffer::goodId(m_mode) &&
             (m_platform == QLatin1String("windows") || m_platform == QLatin1String("linux")) &&
             (!m_fetch || SoftwareOffer::goodId(m_id));
}

int SoftwareUpgrade::answer(QJsonObject line, bool good) const
{
    line.insert(QStringLiteral("success"), good);
    print(line);
    return good ? 0 : 1;
}

int SoftwareUpgrade::refuse(const QString &why) const { return answer({{QStringLiteral("msg"), why}}, false); }

int SoftwareUpgrade::run()
{
    if (!m_good) {
        refuse(QStringLiteral("windows|linux VERSION FOLDER MODE [-proxy HOST PORT] [fetch SOFTWAREID VERSION]"));
        return 2;
    }
    if (!QDir().mkpath(m_folder + QStringLiteral("/packages")))
        return refuse(m_folder + QStringLiteral(" can't be made"));
    if (!readFeed())
        return refuse(m_why);
    return m_fetch ? fetch() : offers();
}

bool SoftwareUpgrade::get(const QString &below, const QString &file, qint64 most, bool tell)
{
    Fetch fetch;
    fetch.setForward(m_proxyHost, m_proxyPort);
    fetch.setMost(most);
    QElapsedTimer clock;
    clock.start();
    if (tell)
        fetch.setProgress([this, &clock](qint64 got, qint64 size) {
            if (clock.elapsed() < TellMs)
                return;
            clock.restart();
            print({{QStringLiteral("softwareId"), m_id},
                   {QStringLiteral("version"), m_version},
                   {QStringLiteral("got"), double(got)},
                   {QStringLiteral("size"), double(size)}});
        });
    const QString base = Updater::serverOf(QCoreApplication::applicationDirPath());
    if (fetch.file(QUrl(base + QLatin1Char('/') + below), file))
        return true;
    m_why = fetch.why();
    return false;
}

bool SoftwareUpgrade::readFeed()
{
    const QString file = m_folder + QStringLiteral("/feed.json"), sign = m_folder + QStringLiteral("/feed.sig");
    for (const QString &old : {file, sign}) { // a list isn't gone on with
        QFile::remove(old);
        QFile::remove(old + QStringLiteral(".part"));
    }
    const QString below = QStringLiteral("feed/%1/%2.").arg(m_platform, m_mode);
    const QString asked = QStringLiteral("?client=") + m_client;
    if (!get(below + QStringLiteral("json") + asked, file, Feed::MostBytes, false) ||
        !get(below + QStringLiteral("sig") + asked, sign, Feed::MostBytes, false))
        return false;
    QString why;
    if (Feed::read(content(file), content(sign), builtIn, m_platform, m_mode, QDateTime::currentDateTimeUtc(), &m_feed,
                   &why))
        return true;
    m_why = QStringLiteral("the list of packages ") + why;
    return false;
}

int SoftwareUpgrade::offers()
{
    QJsonArray versions;
    for (const SoftwareOffer &offer : m_feed.offers)
        versions.append(offer.toJson());
    return answer({{QStringLiteral("isAll"), m_feed.all ? 1 : 0}, {QStringLiteral("versions"), versions}}, true);
}

int SoftwareUpgrade::fetch()
{
    for (const SoftwareOffer &offer : m_feed.offers) {
        if (offer.softwareId != m_id || offer.version != m_version)
            continue;
        const QString file = QStringLiteral("%1/packages/%2-%3.vnp").arg(m_folder, m_id, m_version);
        if (!get(offer.package, file, offer.size > 0 ? offer.size : Fetch::MostBytes, true))
            return refuse(m_why);
        Package package(file);
        QString why;
        const bool good = package.open(builtIn) && package.manifest().fits(QStringLiteral("software"), m_platform, {},
                                                                           QDateTime::currentDateTimeUtc(), &why);
        if (good && package.manifest().softwareId == m_id && package.manifest().version == m_version)
            return answer({{QStringLiteral("softwareId"), m_id},
                           {QStringLiteral("version"), m_version},
                           {QStringLiteral("file"), file}},
                          true);
        QFile::remove(file);
        if (!package.why().isEmpty())
            why = package.why();
        return refuse(why.isEmpty() ? QStringLiteral("the package holds something else") : why);
    }
    return refuse(QStringLiteral("%1 %2 isn't on offer any more").arg(m_id, m_version));
}
