#include "resolve/Preflight.h"
#include "common/Delivery.h"
#include "common/ThreadPool.h"
#include "common/UserInfo.h"
#include "io/SourceFile.h"
#include "io/WebAsk.h"
#include <algorithm>
#include <QCryptographicHash>
#include <QFileInfo>
#include <QPointer>

namespace
{
constexpr int StaleAccess = 203; // the address is asked for anew

qint64 pace()
{
    const qint64 reached = UserInfo::setting(Settings::MeasuredUp).toInt(), limit = UserInfo::upSpeed();
    return 1024 * (limit > 0 && reached > 0 ? std::min(reached, limit) : reached);
}
} // namespace

Preflight::Preflight(const QList<qlonglong> &rkeys, int answerMs)
    : m_rkeys(rkeys), m_answerMs(answerMs), m_telling(this), m_disk(this), m_work(this)
{
    qRegisterMetaType<PreflightFigures>();
    m_telling.setSingleShot(true);
    m_telling.setInterval(TellMs);
    connect(&m_telling, &QTimer::timeout, this, [this] { emit changed(m_figures); });
    m_disk.setSingleShot(true);
    m_disk.setInterval(DiskMs);
    connect(&m_disk, &QTimer::timeout, this, [this] {
        m_figures.trouble = tr("磁盘没有应答，仍在等待");
        emit changed(m_figures);
    });
}

void Preflight::start()
{
    ThreadPool::instance()->addWork(this);
    QMetaObject::invokeMethod(this, &Preflight::measure, Qt::QueuedConnection);
}

void Preflight::tell()
{
    if (!m_telling.isActive())
        m_telling.start();
}

void Preflight::measure()
{
    m_figures.perSecond = pace();
    m_disk.start();
    const auto moved = [this](int looked) {
        if (m_figures.measured)
            return;
        m_disk.start();
        m_figures.trouble.clear();
        m_figures.files = looked;
        tell();
    };
    m_work.start([this, keys = m_rkeys, way = Delivery::here(), alive = QPointer<QObject>(this),
                  moved](const StopToken &stop) -> DiskWork::Result {
        const auto told = [&](int looked) { way.post(alive, [moved, looked] { moved(looked); }); };
        const auto files = std::make_shared<PreflightFiles>(PreflightFiles::look(keys, stop, told));
        return [this, files] { measured(*files); };
    });
}

void Preflight::measured(const PreflightFiles &files)
{
    m_disk.stop();
    m_files = files;
    m_known.fill(Known::No, files.files.size());
    m_figures.scenes = files.scenes;
    m_figures.gone = files.gone;
    m_figures.resultFolder = files.resultFolder;
    m_figures.freeBytes = files.freeBytes;
    m_figures.cut = files.cut;
    m_figures.measured = true;
    m_figures.trouble.clear();
    folders();
    pump();
}

// What changes when files are found: sums, and the folders that still miss some.
void Preflight::folders()
{
    m_figures.files = m_files.files.size() + m_files.missing.size();
    m_figures.missing = m_files.missing.size();
    m_figures.found = m_files.found;
    m_figures.copies = m_files.copies;
    m_figures.bytes = m_files.bytes;
    m_figures.copyBytes = m_files.copyBytes;
    QHash<QString, PreflightFolder> byName;
    for (const PreflightFiles::Missing &one : qAsConst(m_files.missing)) {
        const int slash = one.path.lastIndexOf(QLatin1Char('/'));
        PreflightFolder &folder = byName[(one.scene ? QStringLiteral("*") : QString()) + one.path.left(slash)];
        folder.folder = one.path.left(slash);
        folder.findable = !one.scene;
        if (folder.files++ < Examples)
            folder.examples << one.path.mid(slash + 1);
    }
    m_figures.folders = byName.values();
    std::sort(m_figures.folders.begin(), m_figures.folders.end(), [](const auto &a, const auto &b) {
        return a.files != b.files ? a.files > b.files : a.folder < b.folder;
    });
    m_figures.folders = m_figures.folders.mid(0, MostFolders);
    tell();
}

void Preflight::find(const FolderMap &map)
{
    const auto begin = [this, map] {
        m_work.start([this, map, missing = m_files.missing](const StopToken &stop) -> DiskWork::Result {
            const auto found = PreflightFiles::find(missing, map, stop);
            if (!found.isEmpty())
                FolderMaps::add(map);
            return [this, found, map] { take(found, map); };
        });
    };
    QMetaObject::invokeMethod(this, begin, Qt::QueuedConnection);
}

void Preflight::take(const QHash<QString, PreflightFiles::File> &found, const FolderMap &map)
{
    const int before = m_files.missing.size();
    m_files.take(found);
    m_files.count();
    m_known.resize(m_files.files.size());
    std::fill(m_known.begin() + m_figures.files - before, m_known.end(), Known::No);
    folders();
    const auto below = [&map](const PreflightFiles::Missing &one) { return map.holds(one.path); };
    const int left = int(std::count_if(m_files.missing.cbegin(), m_files.missing.cend(), below));
    pump();
    emit looked(before - m_files.missing.size(), left);
    emit changed(m_figures);
}

void Preflight::askAgain()
{
    const auto begin = [this] {
        if (!m_figures.measured || !m_halted)
            return;
        m_halted = false;
        m_bad = m_next = 0;
        m_servers.clear();
        m_figures.trouble.clear();
        pump();
    };
    QMetaObject::invokeMethod(this, begin, Qt::QueuedConnection);
}

void Preflight::pump()
{
    while (!m_halted && m_open < Parallel && m_next < m_known.size()) {
        if (m_known.at(m_next) == Known::No && !ask(m_next))
            break;
        ++m_next;
    }
    m_figures.over = m_open == 0 && (m_halted || m_next >= m_known.size());
    if (m_figures.over && !m_halted && m_figures.asked < m_known.size())
        halt(tr("农场没有应答"), true); // some questions of many
    tell();
}

// False: not yet, or not at all.
bool Preflight::ask(int number)
{
    const PreflightFiles::File &file = m_files.files.at(number);
    if (file.farm <= 0) {
        halt(tr("下单后才知道由哪个农场渲染，暂时无法询问"), false);
        return false;
    }
    Server &server = m_servers[file.farm];
    if (server.url.isEmpty()) {
        if (std::exchange(server.asked, true))
            return false;
        NetWork::skydriveUrl(file.farm, this, [this, farm = file.farm](const QString &url) {
            m_servers[farm].url = url;
            if (url.isEmpty())
                halt(tr("无法连接农场"), true);
            pump();
        });
        return false;
    }
    const SourceFile known = SourceFile::of(QFileInfo(file.path).absoluteFilePath(), file.size, file.modified);
    const QByteArray mark = QCryptographicHash::hash(known.key.toUtf8(), QCryptographicHash::Md5).toHex();
    Request request;
    request.url = known.question(server.url, SourceFile::NoTask, QString(), QString::fromLatin1(mark));
    request.quiet = true;
    m_known[number] = Known::Asked;
    ++m_open;
    WebAsk::get(request)
        .within(m_answerMs)
        .answered([this, number](const FuncBody &rep) { answered(number, rep.object.isEmpty() ? 0 : rep.code); })
        .refused([this, number](const FuncBody &rep) { answered(number, rep.code); })
        .lost([this, number](const QString &) { unanswered(number); })
        .send(this);
    return true;
}

void Preflight::answered(int number, int code)
{
    if (code == StaleAccess) {
        m_servers.remove(m_files.files.at(number).farm);
        m_next = std::min(m_next, number);
        return unanswered(number);
    }
    if (code != SourceFile::Here && code != SourceFile::NotHere) {
        if (++m_bad >= Hopeless && !m_halted)
            halt(tr("农场在下单之前不回答 (%1)").arg(code), true);
        --m_open;
        m_known[number] = Known::No;
        return pump();
    }
    m_bad = 0;
    --m_open;
    m_known[number] = Known::Answered;
    ++m_figures.asked;
    if (code == SourceFile::Here) {
        ++m_figures.here;
        m_figures.hereBytes += m_files.files.at(number).size;
    }
    pump();
}

void Preflight::unanswered(int number)
{
    --m_open;
    m_known[number] = Known::No;
    if (++m_bad >= Hopeless && !m_halted)
        halt(tr("农场没有应答"), true);
    pump();
}

void Preflight::halt(const QString &why, bool again)
{
    m_halted = true;
    m_figures.trouble = why;
    m_figures.again = again;
}
