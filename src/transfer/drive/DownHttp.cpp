#include "transfer/drive/DownHttp.h"
#include "common/platform/Platform.h"
#include "io/NetWork.h"
#include "transfer/drive/DriveRest.h"
#include "transfer/TransHandler.h"
#include <QDebug>
#include <QFileInfo>
#include <QThreadStorage>

namespace
{
constexpr int MostStalled = 3;
constexpr qint64 ReadBlock = 1048576, MostRefusal = 64 * 1024;

// One a thread: its connections are kept for the files that follow.
QNetworkAccessManager *manager()
{
    static QThreadStorage<QNetworkAccessManager *> all;
    if (!all.hasLocalData())
        all.setLocalData(new QNetworkAccessManager);
    return all.localData();
}

qint64 sizeOf(const QByteArray &header)
{
    bool good = false;
    const int slash = header.lastIndexOf('/');
    const qint64 size = slash < 0 ? -1 : header.mid(slash + 1).trimmed().toLongLong(&good);
    return good && size >= 0 && size <= DriveRest::MaxSize ? size : -1;
}

// Where a range begins, as the header tells it; -1: it doesn't.
qint64 startOf(const QByteArray &header)
{
    QByteArray text = header.trimmed();
    if (text.startsWith("bytes"))
        text = text.mid(5).trimmed();
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

DownHttp::DownHttp(std::shared_ptr<TransShare> share) : TransWork(std::move(share)) { m_transType = 3; }

DownHttp::~DownHttp() { dropRanges(); }

void DownHttp::setSource(int fileType, const QString &root, bool same)
{
    m_fileType = fileType;
    m_root = root;
    m_same = same;
}

void DownHttp::downReq(db_downfile file)
{
    if (over())
        return;
    m_down = file;
    if (m_same && standsAlready())
        return finishDown(TransSet::Done);
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

bool DownHttp::initDown()
{
    makeTimers();
    setTotal(m_down.size);
    m_partial = std::make_unique<PartialFile>(m_down.lpath, m_root);
    if (m_down.size < PartialFile::TrailFrom && !platform::isWindows())
        m_partial->setSyncedByOwner();
    if (const int bad = m_partial->open(m_down.size)) {
        m_partial.reset();
        failDown(bad);
        return false;
    }
    feedSpeed(m_partial->position());
    m_asked = m_partial->position();
    if (m_partial->position() == m_down.size) {
        fileHash();
        return false;
    }
    if (!m_down.hash.isEmpty())
        m_partial->trail(closed);
    if (m_down.size > RangeStep && !m_keepTimer) {
        m_keepTimer = new QTimer(this);
        connect(m_keepTimer, &QTimer::timeout, this, [this] {
            if (const int bad = over() || !m_partial ? 0 : m_partial->keep())
                failDown(bad);
        });
        m_keepTimer->start(PartialFile::KeepMs);
    }
    return true;
}

// As many ranges as may be in hand; before the size is certain only one.
void DownHttp::request()
{
    while (!over() && !m_whole && m_asked < m_down.size && m_ranges.size() < (m_sized ? InHand : 1)) {
        Range range;
        range.from = m_asked;
        range.to = qMin(m_asked + RangeStep, m_down.size - 1);
        QNetworkRequest request{QUrl(m_serverUrl + DriveRest::dataPath(DriveRest::lastId(m_down.path), m_fileType))};
        if (NetWork *net = NetWork::instance())
            net->setClientHeads(request);
        request.setRawHeader("Range", "bytes=" + QByteArray::number(range.from) + '-' + QByteArray::number(range.to));
        request.setRawHeader("Accept-Encoding", "identity"); // ranges are of the file's own bytes
        range.reply = manager()->get(request);
        connect(range.reply, &QNetworkReply::readyRead, this, &DownHttp::readyRead);
        connect(range.reply, &QNetworkReply::finished, this, &DownHttp::replyFinish);
        m_asked = range.to + 1;
        m_ranges.append(range);
    }
    startWait(WaitMs);
}

void DownHttp::dropRanges()
{
    const QList<Range> ranges = std::exchange(m_ranges, {});
    for (const Range &range : ranges) {
        range.reply->disconnect(this);
        range.reply->abort();
        range.reply->deleteLater();
    }
    m_headRead = false;
}

void DownHttp::readyRead()
{
    if (over() || m_ranges.isEmpty() || sender() != m_ranges.first().reply)
        return;
    startWait(WaitMs);
    if (m_ranges.first().reply->error() == QNetworkReply::NoError && takeHead())
        takeBytes();
}

bool DownHttp::takeHead()
{
    if (m_headRead)
        return true;
    QNetworkReply *reply = m_ranges.first().reply;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status == 0 || refusedByCode())
        return false;
    if (status != 206 && status != 200) {
        qWarning().noquote() << "DownHttp::takeHead status" << status << m_down.lpath;
        failDown(TransSet::AccessFailed);
        return false;
    }
    m_headRead = true;
    m_whole = status == 200;
    const QByteArray told = reply->rawHeader("X-Content-Range");
    const qint64 start = m_whole ? 0 : startOf(told);
    if (!m_whole && start >= 0 && start != m_ranges.first().from) {
        qWarning().noquote() << "DownHttp::takeHead X-Content-Range" << told << "instead of" << m_ranges.first().from;
        failDown(TransSet::BadStart);
        return false;
    }
    if (m_down.hash.isEmpty())
        m_down.hash = hashOf(reply->rawHeader("ETag"));
    qint64 size = m_whole ? reply->header(QNetworkRequest::ContentLengthHeader).toLongLong() : sizeOf(told);
    if (size <= 0)
        size = m_down.size;
    if (!m_sized && !takeSize(size))
        return false;
    m_skip = m_whole ? m_partial->position() : 0;
    m_left = m_whole ? m_down.size : m_ranges.first().to - m_ranges.first().from + 1;
    return true;
}

// The size that the drive tells wins. What was begun under another one belongs to another file.
bool DownHttp::takeSize(qint64 size)
{
    m_sized = true;
    if (size == m_down.size)
        return true;
    qWarning().noquote() << "DownHttp::takeSize 后台size和磁盘size不同" << m_down.size << size << m_down.lpath;
    m_down.size = size;
    m_down.hash = hashOf(m_ranges.first().reply->rawHeader("ETag"));
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
    QNetworkReply *reply = m_ranges.first().reply;
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool json = reply->rawHeader("Content-Type").contains("json");
    if (status == 206 || (status == 200 && (!json || m_down.size > MostRefusal)))
        return false;
    if (!reply->isFinished())
        return status == 200 ? reply->bytesAvailable() < MostRefusal : true; // judged when it's whole
    const FuncBody body = FuncBody::fromBytes(reply->peek(MostRefusal));
    if (status == 200 && (body.code == 0 || reply->bytesAvailable() == m_down.size))
        return false; // a file that happens to be JSON
    stale = body.code == TransSet::StaleToken || status == 203;
    const int code = body.code != 0 ? body.code : int(reply->error());
    if (stale)
        m_share->post([farm = m_down.farmid](TransHandler &handler) { handler.dropFarm(farm); });
    failDown(code != 0 ? code : int(TransSet::AccessFailed));
    return true;
}

void DownHttp::takeBytes()
{
    QNetworkReply *reply = m_ranges.first().reply;
    m_block.resize(int(qMin<qint64>(ReadBlock, reply->bytesAvailable())));
    while (!over() && reply->bytesAvailable() > 0) {
        m_block.resize(int(qMin<qint64>(ReadBlock, reply->bytesAvailable())));
        const qint64 got = reply->read(m_block.data(), m_block.size());
        if (got <= 0)
            break;
        if (got > m_left) { // more than was asked for: nothing of it can be trusted
            qWarning().noquote() << "DownHttp::takeBytes more bytes than asked for" << m_down.lpath;
            dropRanges();
            m_partial->discard();
            m_partial.reset();
            return failDown(TransSet::BadStart);
        }
        m_left -= got;
        const qint64 skipped = qMin(m_skip, got);
        m_skip -= skipped;
        received += got - skipped;
        if (got > skipped) {
            m_stalled = 0;
            if (const int bad = m_partial->write(m_block.constData() + skipped, got - skipped))
                return failDown(bad);
        }
    }
    if (!over())
        feedSpeed(m_partial->position());
}

void DownHttp::replyFinish()
{
    // Those behind the first are looked at when it's their turn.
    while (!over() && !m_ranges.isEmpty() && m_ranges.first().reply->isFinished()) {
        QNetworkReply *reply = m_ranges.first().reply;
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status == 0 || (reply->error() != QNetworkReply::NoError && status < 300))
            return error(reply->error());
        if (!takeHead())
            return;
        takeBytes();
        if (over())
            return;
        reply->deleteLater();
        m_ranges.removeFirst();
        m_headRead = false;
        if (m_partial->position() == m_down.size) {
            fileHash();
            return;
        }
        if (m_left > 0) {
            tooLittle();
            return;
        }
    }
    if (!over())
        request();
}

// A body that is shorter than its range: what follows it is asked for anew.
void DownHttp::tooLittle()
{
    dropRanges();
    m_whole = false;
    m_asked = m_partial->position();
    if (++m_stalled >= MostStalled) {
        qWarning().noquote() << "DownHttp::tooLittle no bytes at" << m_asked << m_down.lpath;
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

bool DownHttp::fileHash()
{
    stopWait();
    const int result = m_partial->finish(m_down.hash, closed);
    if (result == 0)
        finishDown(TransSet::Done);
    else if (result == PartialFile::Stopped)
        finishDown(TransSet::Dropped);
    else
        failDown(result);
    return result == 0;
}

void DownHttp::finishDown(int kind)
{
    if (m_keepTimer)
        m_keepTimer->stop();
    dropRanges();
    m_partial.reset();
    if (kind != TransSet::Done)
        qDebug().noquote() << "DownHttp::finishDown"
                           << QStringLiteral("关闭下载:%1_%2").arg(m_workKey, TransSet::errorText(m_down.error));
    TransWork::finishDown(kind);
}

void DownHttp::dropPartial()
{
    end();
    if (m_keepTimer)
        m_keepTimer->stop();
    dropRanges();
    m_partial.reset();
    PartialFile::removeBoth(m_down.lpath, m_root);
}
