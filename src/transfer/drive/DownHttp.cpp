#include "transfer/drive/DownHttp.h"
#include "common/platform/Platform.h"
#include "io/NetWork.h"
#include "io/WebRead.h"
#include "transfer/drive/DriveRest.h"
#include "transfer/TransHandler.h"
#include <QDebug>
#include <QFileInfo>
#include <utility>

namespace
{
constexpr int MostStalled = 3, NoSuchRange = 416;
constexpr qint64 MostRefusal = 64 * 1024;

qint64 sizeOf(const QByteArray &header)
{
    bool good = false;
    const int slash = header.lastIndexOf('/');
    const qint64 size = slash < 0 ? -1 : header.mid(slash + 1).trimmed().toLongLong(&good);
    return good && size >= 0 && size <= DriveRest::MaxSize ? size : -1;
}

QByteArray rangeHeader(const WebRead *reply)
{
    const QByteArray own = reply->head("X-Content-Range");
    return own.isEmpty() ? reply->head("Content-Range") : own;
}

// Where a range begins, as the header tells it; -1: it doesn't.
qint64 startOf(const QByteArray &header)
{
    QByteArray text = header.trimmed();
    if (text.startsWith("bytes"))
        text = text.mid(text.startsWith("bytes=") ? 6 : 5).trimmed();
    bool good = false;
    const qint64 start = text.left(text.indexOf('-')).trimmed().toLongLong(&good);
    return good ? start : -1;
}

QString hashOf(QByteArray eTag)
{
    eTag.replace('"', "");
    const QByteArray hash = eTag.trimmed().toLower();
    const bool hex =
        std::all_of(hash.begin(), hash.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
    return hex && hash.size() == 32 ? QString::fromLatin1(hash) : QString();
}
} // namespace

DownHttp::DownHttp(std::shared_ptr<TransShare> share) : DownTarget(std::move(share)) { m_transType = 3; }

void DownHttp::setSource(int fileType, const QString &root, bool same, bool ask)
{
    m_fileType = fileType;
    m_root = root;
    m_same = same;
    m_ask = ask;
}

void DownHttp::downReq(db_downfile file)
{
    if (over())
        return;
    m_down = file;
    if (m_same && standsAlready()) {
        m_down.error = TransSet::AlreadyHere;
        return finishDown(TransSet::Done);
    }
    conflict = !over() && m_ask && QFileInfo::exists(m_down.lpath);
    if (conflict)
        return finishDown(TransSet::Dropped);
    if (!over() && initDown())
        request();
}

bool DownHttp::standsAlready()
{
    const QFileInfo there(m_down.lpath);
    if (!there.isFile() || there.size() != m_down.size)
        return false;
    return m_down.hash.isEmpty() || TransSet::fileHash(m_down.lpath, closed) == m_down.hash;
}

// A size that was told once, or under which the file failed, isn't kept for the next try.
void DownHttp::finishDown(int kind)
{
    if (m_listed >= 0 && (kind == TransSet::Hard || (kind != TransSet::Done && !m_confirmed)))
        m_down.size = m_listed;
    DownTarget::finishDown(kind);
}

bool DownHttp::syncedByOwner() const { return m_down.size < PartialFile::TrailFrom && !platform::isWindows(); }

bool DownHttp::initDown()
{
    const bool goesOn = DownTarget::initDown();
    m_asked = goesOn ? m_partial->position() : 0;
    return goesOn;
}

void DownHttp::request()
{
    while (!over() && !m_whole && m_asked < m_down.size && m_ranges.size() < (m_share->far ? 2 : 1)) {
        Range range;
        range.from = m_asked;
        range.to = qMin(m_asked + RangeStep, m_down.size - 1);
        QNetworkRequest request{QUrl(m_serverUrl + DriveRest::dataPath(DriveRest::lastId(m_down.path), m_fileType))};
        if (NetWork *net = NetWork::instance())
            net->setClientHeads(request);
        request.setRawHeader("Range", "bytes=" + QByteArray::number(range.from) + '-' + QByteArray::number(range.to));
        request.setRawHeader("Accept-Encoding", "identity"); // ranges are of the file's own bytes
        range.reply = new WebRead(request, this);
        connect(range.reply, &WebRead::readyRead, this, &DownHttp::readyRead);
        connect(range.reply, &WebRead::finished, this, &DownHttp::replyFinish);
        range.alone = m_ranges.isEmpty();
        range.asked.start();
        m_asked = range.to + 1;
        m_ranges.append(range);
    }
    startWait(WaitMs);
}

void DownHttp::dropRanges(int kept)
{
    while (m_ranges.size() > kept) {
        WebRead *reply = m_ranges.takeLast().reply;
        reply->disconnect(this); // it may be the one that is telling
        reply->deleteLater();
    }
    m_headRead = m_headRead && kept > 0;
}

// A byte a second would keep every wait from ending.
bool DownHttp::crawls()
{
    if (m_crawl.isValid() && received - m_crawlFrom < CrawlBytes)
        return m_crawl.hasExpired(CrawlMs);
    m_crawl.start();
    m_crawlFrom = received;
    return false;
}

void DownHttp::readyRead()
{
    if (over() || m_ranges.isEmpty() || sender() != m_ranges.first().reply)
        return;
    if (crawls())
        return failDown(TransSet::TimedOut);
    startWait(WaitMs);
    if (m_ranges.first().reply->error() == QNetworkReply::NoError && takeHead())
        takeBytes();
}

bool DownHttp::takeHead()
{
    if (m_headRead)
        return true;
    const WebRead *reply = m_ranges.first().reply;
    const int status = reply->status();
    if (status == 0 || refusedByCode())
        return false;
    if (status != 206 && status != 200 && status != NoSuchRange) {
        qWarning().noquote() << "DownHttp::takeHead status" << status << m_down.lpath;
        failDown(TransSet::AccessFailed);
        return false;
    }
    const QByteArray coding = reply->head("Content-Encoding").trimmed().toLower();
    if (!coding.isEmpty() && coding != "identity") {
        qWarning().noquote() << "DownHttp::takeHead packed though not asked for:" << coding << m_down.lpath;
        failDown(TransSet::AccessFailed);
        return false;
    }
    const QByteArray told = rangeHeader(reply);
    if (status == NoSuchRange) { // it has become shorter than what is here already, or than it was said to be
        const qint64 size = sizeOf(told);
        if (size >= 0 && size != m_down.size && !m_sized)
            return takeSize(size);
        discard();
        failDown(TransSet::AccessFailed);
        return false;
    }
    m_headRead = true;
    if (m_ranges.first().alone)
        m_share->far = m_ranges.first().asked.hasExpired(FarMs);
    m_whole = status == 200 && !isPiece(m_ranges.first(), told);
    if (m_whole)
        dropRanges(1); // it brings them too
    const qint64 start = m_whole ? 0 : startOf(told);
    if (!m_whole && start >= 0 && start != m_ranges.first().from) {
        qWarning().noquote() << "DownHttp::takeHead X-Content-Range" << told << "instead of" << m_ranges.first().from;
        failDown(TransSet::BadStart);
        return false;
    }
    if (m_down.hash.isEmpty())
        m_down.hash = hashOf(reply->head("ETag"));
    qint64 size = m_whole ? reply->head("Content-Length").toLongLong() : sizeOf(told);
    if (size <= 0)
        size = m_down.size;
    const QByteArray type = reply->head("Content-Type").toLower();
    if (m_whole && size != m_down.size && (type.isEmpty() || type.contains("html"))) {
        qWarning().noquote() << "DownHttp::takeHead a page in place of" << m_down.lpath;
        astray = true;
        failDown(TransSet::AccessFailed);
        return false;
    }
    if (!m_sized && !takeSize(size))
        return false;
    if (m_listed >= 0 && !m_confirmed && size != m_down.size) {
        qWarning().noquote() << "DownHttp::takeHead two sizes" << m_down.size << size << m_down.lpath;
        failDown(TransSet::BadStart);
        return false;
    }
    m_confirmed = true;
    m_skip = m_whole ? m_partial->position() : 0;
    m_left = m_whole ? m_down.size : m_ranges.first().to - m_ranges.first().from + 1;
    return true;
}

// Some servers say 200 to a range that they do obey: the length tells, or the header where there is none.
bool DownHttp::isPiece(const Range &range, const QByteArray &told) const
{
    const qint64 asked = range.to - range.from + 1;
    const QByteArray length = range.reply->head("Content-Length");
    return length.isEmpty() ? range.from > 0 && startOf(told) == range.from
                            : length.toLongLong() == asked && asked < m_down.size;
}

// The size that the drive tells wins. What was begun under another one belongs to another file.
bool DownHttp::takeSize(qint64 size)
{
    m_sized = true;
    if (size == m_down.size)
        return true;
    qWarning().noquote() << "DownHttp::takeSize 后台size和磁盘size不同" << m_down.size << size << m_down.lpath;
    m_listed = std::exchange(m_down.size, size);
    // Without a newer word on its content the listing's stands: the size may be what is wrong.
    if (const QString hash = hashOf(m_ranges.first().reply->head("ETag")); !hash.isEmpty())
        m_down.hash = hash;
    dropRanges();
    m_whole = false;
    m_partial->discard();
    if (initDown())
        request();
    return false;
}

// A refusal comes as JSON with a code, whatever its status.
bool DownHttp::refusedByCode()
{
    const WebRead *reply = m_ranges.first().reply;
    const int status = reply->status();
    const QByteArray type = reply->head("Content-Type").toLower();
    const bool good = status == 206 || status == 200, page = type.contains("html");
    if (status == 206 || status == NoSuchRange || (status == 200 && !page && !type.isEmpty() && !type.contains("json")))
        return false;
    if (good && qMax<qint64>(reply->head("Content-Length").toLongLong(), reply->bytes().size()) > MostRefusal)
        return false;
    if (!reply->isFinished())
        return true; // judged when it's whole
    const FuncBody body = FuncBody::fromBytes(reply->bytes().left(MostRefusal));
    const qint64 got = reply->bytes().size(), asked = m_ranges.first().to - m_ranges.first().from + 1;
    if (good && (got == m_down.size || got == asked || (body.code == 0 && !page)))
        return false; // a file that happens to be JSON, or a page
    astray = page || (status >= 300 && status < 400);
    stale = body.code == TransSet::StaleToken || status == 203 || status == 401;
    busyMs = FuncBody::busyFor(status, reply->head("Retry-After"));
    const int code = stale ? int(TransSet::StaleToken) : body.code != 0 ? body.code : int(reply->error());
    if (stale)
        m_share->post([farm = m_down.farmid](TransHandler &handler) { handler.dropFarm(farm); });
    failDown(code != 0 ? code : int(TransSet::AccessFailed));
    return true;
}

void DownHttp::takeBytes()
{
    WebRead *reply = m_ranges.first().reply;
    while (!over() && !reply->bytes().isEmpty()) {
        reply->take(&m_block);
        const qint64 got = m_block.size();
        if (got > m_left) { // more than was asked for: nothing of it can be trusted
            qWarning().noquote() << "DownHttp::takeBytes more bytes than asked for" << m_down.lpath;
            dropRanges();
            discard();
            return failDown(TransSet::BadStart);
        }
        m_left -= got;
        const qint64 skipped = qMin(m_skip, got);
        m_skip -= skipped;
        if (got > skipped && !take(m_block.constData() + skipped, got - skipped))
            return;
    }
    if (!over())
        feedSpeed(m_partial->position());
}

void DownHttp::replyFinish()
{
    // Those behind the first are looked at when it's their turn.
    while (!over() && !m_ranges.isEmpty() && m_ranges.first().reply->isFinished()) {
        WebRead *reply = m_ranges.first().reply;
        const int status = reply->status();
        if (status == 0 || (reply->error() != QNetworkReply::NoError && status < 300))
            return error(reply->error());
        if (!takeHead())
            return;
        takeBytes();
        if (over())
            return;
        reply->deleteLater();
        const qint64 got = m_partial->position() - m_ranges.takeFirst().from;
        m_headRead = false;
        if (m_partial->position() == m_down.size) {
            fileHash();
            return;
        }
        if (m_left > 0) {
            tooLittle(got);
            return;
        }
        m_stalled = m_scanty = 0;
    }
    if (!over())
        request();
}

// A body that is shorter than its range: what follows it is asked for anew.
void DownHttp::tooLittle(qint64 got)
{
    dropRanges();
    m_whole = false;
    m_asked = m_partial->position();
    m_stalled = got > 0 ? 0 : m_stalled + 1;
    m_scanty = got >= CrawlBytes ? 0 : m_scanty + 1;
    if (m_stalled >= MostStalled || m_scanty >= MostScanty) {
        qWarning().noquote() << "DownHttp::tooLittle bytes:" << got << "at" << m_asked << m_down.lpath;
        return failDown(TransSet::AccessFailed);
    }
    request();
}

void DownHttp::error(QNetworkReply::NetworkError error)
{
    if (over())
        return;
    if (!m_ranges.isEmpty())
        qWarning().noquote() << "DownHttp::error" << m_down.lpath << m_ranges.first().reply->errorString();
    // Without an answer the file isn't to blame: it's tried again when the drive can be reached.
    failDown(TransSet::SocketBase + int(error));
}
