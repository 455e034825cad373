#include "UploadJob.h"
#include "OssErrors.h"
#include <chrono>
#include <QUrl>
#include <thread>
#include <vector>

namespace
{
constexpr int Looks = 5, LookAgainMs = 300;
constexpr int MetaCeiling = 1500; // stores take 2 KiB of metadata, names and all
} // namespace

UploadJob::UploadJob(const QJsonObject &message, int sourceLimitMs) : m_sourceLimitMs(sourceLimitMs)
{
    const auto text = [&message](const char *key) { return message.value(QLatin1String(key)).toString(); };
    m_file = text("file");
    m_link = text("linkName");
    m_rule = text("rule");
    m_checkPath = text("checkPoint");
    m_key = text("key");
    m_eTag = text("ETag");
    m_cover = message.value(QLatin1String("cover")).toInt() == 1;
    m_doubt = message.value(QLatin1String("backerror")).toInt() == 203 ||
              message.value(QLatin1String("resumable")).toInt() == 1;
    m_wantedPart = qint64(qBound(0.0, message.value(QLatin1String("partSize")).toDouble(), double(MostPart)));
    m_threads = qBound(1, message.value(QLatin1String("threadNum")).toInt(2), 8);
    m_error = StoreDescription::read(message, &m_store);
    if (m_error == OssError::Done && (m_file.isEmpty() || m_rule.isEmpty() || m_key.isEmpty()))
        m_error = OssError::BadMessage;
}

qint64 UploadJob::partSize(qint64 wanted, qint64 fileSize)
{
    constexpr qint64 MiB = 1024 * 1024;
    const qint64 needed = (fileSize + MostParts - 1) / MostParts;
    return qMax(qMax(wanted, LeastPart), (needed + MiB - 1) / MiB * MiB);
}

qint64 UploadJob::sent() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    qint64 sum = m_whole.load();
    for (qint64 one : m_moving)
        sum += one;
    return qMin(sum, m_check.size);
}

QString UploadJob::lastError() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_words;
}

int UploadJob::fail(int code, const QString &words)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_words = code == OssError::SourceSilent ? m_file : words;
    return code;
}

S3Client::Meta UploadJob::meta() const
{
    S3Client::Meta all{{"mtime", QByteArray::number(m_check.modified)}};
    if (!m_eTag.isEmpty())
        all.insert("hash", QUrl::toPercentEncoding(m_eTag));
    if (!m_link.isEmpty())
        all.insert("link-name", QUrl::toPercentEncoding(m_link).left(MetaCeiling));
    return all;
}

int UploadJob::unchanged()
{
    SourceFile source(&m_stop, m_sourceLimitMs);
    SourceFile::Facts now;
    const int code = source.look(m_file, &now);
    if (code != OssError::Done)
        return fail(code, m_file);
    return now == SourceFile::Facts{m_check.size, m_check.modified} ? OssError::Done
                                                                    : fail(OssError::FileChanged, m_file);
}

qint64 UploadJob::sizeOf(int number) const
{
    return qMin(m_check.partSize, m_check.size - (number - 1) * m_check.partSize);
}

int UploadJob::run()
{
    if (m_error != OssError::Done)
        return m_error;
    SourceFile source(&m_stop, m_sourceLimitMs);
    SourceFile::Facts facts;
    int code = source.open(m_file);
    if (code == OssError::Done)
        code = source.look(m_file, &facts);
    if (code != OssError::Done)
        return fail(code, m_file);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_check.object =
            m_store.endpoint + QLatin1Char('/') + m_store.bucket + QLatin1Char('/') + m_store.prefix + m_key;
        m_check.file = m_file;
        m_check.size = facts.size;
        m_check.modified = facts.modified;
        m_check.partSize = partSize(m_wantedPart, facts.size);
    }
    S3Client store(m_store, &m_stop);
    S3Client::Head there;
    code = store.head(m_key, &there);
    const bool blind = code == OssError::AccessDenied; // keys that may only write
    if (code != OssError::Done && !blind)
        return fail(code, store.lastError());
    // The object carries what a file is known by: its time, and its hash where one is known. A size alone tells
    // nothing.
    if (!m_cover && there.there && there.size == m_check.size && there.meta == meta()) {
        m_whole = m_check.size;
        CheckPoint::remove(m_checkPath);
        return OssError::Done;
    }
    code = m_check.size <= m_check.partSize ? sendWhole(&store) : sendParts(&store);
    if (code != OssError::Done)
        return code;
    if (!blind)
        code = confirm(&store);
    if (code == OssError::Done || code == OssError::ObjectDiffers)
        CheckPoint::remove(m_checkPath);
    if (code != OssError::Done)
        return code;
    return unchanged();
}

// The object is there, whole. A store may show it a moment after it has taken it.
int UploadJob::confirm(S3Client *store)
{
    S3Client::Head there;
    for (int look = 1;; ++look) {
        const int code = store->head(m_key, &there);
        if (code != OssError::Done)
            return fail(code, store->lastError());
        if (there.there && there.size == m_check.size)
            return code;
        if (look == Looks)
            return fail(OssError::ObjectDiffers, QStringLiteral("%1 for %2 bytes").arg(there.size).arg(m_check.size));
        std::this_thread::sleep_for(std::chrono::milliseconds(LookAgainMs));
        if (m_stop)
            return OssError::Stopped;
    }
}

int UploadJob::sendWhole(S3Client *store)
{
    SourceFile source(&m_stop, m_sourceLimitMs);
    int code = source.open(m_file);
    if (code != OssError::Done)
        return fail(code, m_file);
    code = store->put(m_key, &source, m_check.size, meta(), [this](qint64 bytes) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_moving[1] = bytes;
    });
    return code == OssError::Done ? code : fail(code, store->lastError());
}

int UploadJob::resume(S3Client *store)
{
    CheckPoint known = m_check;
    known.load(m_checkPath);
    int code = OssError::Done;
    if (known.begun() && m_doubt) {
        QMap<int, QByteArray> there;
        code = store->parts(m_key, known.uploadId, &there);
        // Forgotten, or a store that doesn't list parts: what can't be checked isn't built upon.
        if (code == OssError::UploadForgotten || code == OssError::UnexpectedAnswer) {
            known.uploadId.clear();
            code = OssError::Done;
        } else if (code == OssError::Done) {
            for (const int number : known.parts.keys())
                if (there.value(number) != known.parts.value(number))
                    known.parts.remove(number);
        }
    }
    if (code == OssError::Done && !known.begun()) {
        known.parts.clear();
        code = store->begin(m_key, meta(), &known.uploadId);
    }
    if (code != OssError::Done)
        return fail(code, store->lastError());
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_check = known;
        m_next = 1;
        m_moving.clear();
        m_whole = 0;
        for (const int number : known.parts.keys())
            m_whole += sizeOf(number);
    }
    return known.save(m_checkPath) ? OssError::Done : fail(OssError::CheckPointFailed, m_checkPath);
}

int UploadJob::sendParts(S3Client *store)
{
    for (int round = 1;; ++round) {
        int code = resume(store);
        if (code == OssError::Done)
            code = sendMissing();
        if (code != OssError::Done && code != OssError::UploadForgotten)
            return code;
        if (const int now = code == OssError::Done ? unchanged() : int(OssError::Done); now != OssError::Done) {
            if (now == OssError::FileChanged) {
                store->abort(m_key, m_check.uploadId);
                CheckPoint::remove(m_checkPath);
            }
            return now;
        }
        if (code == OssError::Done) {
            code = store->complete(m_key, m_check.uploadId, m_check.parts);
            if (code == OssError::Done)
                return code;
            fail(code, store->lastError());
        }
        // A store may forget an upload that lay for long, and a completion whose answer was lost can't be had twice.
        if (code != OssError::UploadForgotten)
            return code;
        CheckPoint::remove(m_checkPath);
        S3Client::Head there;
        if (store->head(m_key, &there) == OssError::Done && there.there && there.size == m_check.size &&
            there.meta == meta())
            return OssError::Done;
        if (round == 2)
            return code;
    }
}

int UploadJob::sendMissing()
{
    std::atomic_int result{OssError::Done};
    std::vector<std::thread> workers;
    for (int i = 0; i < m_threads; ++i)
        workers.emplace_back([this, &result] {
            const int code = partWorker();
            int done = OssError::Done;
            if (code != OssError::Done)
                result.compare_exchange_strong(done, code); // the first one tells
        });
    for (std::thread &worker : workers)
        worker.join();
    if (result != OssError::Done)
        return result;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const qint64 all = (m_check.size + m_check.partSize - 1) / m_check.partSize;
    return m_check.parts.size() == all ? OssError::Done : OssError::UnexpectedAnswer;
}

int UploadJob::partWorker()
{
    SourceFile source(&m_stop, m_sourceLimitMs);
    int code = source.open(m_file);
    if (code != OssError::Done)
        return fail(code, m_file);
    S3Client store(m_store, &m_stop);
    const qint64 all = (m_check.size + m_check.partSize - 1) / m_check.partSize;
    for (;;) {
        int number = 0;
        QString uploadId;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            while (m_check.parts.contains(m_next))
                ++m_next;
            if (m_next > all)
                return OssError::Done;
            number = m_next++;
            uploadId = m_check.uploadId;
            m_moving[number] = 0;
        }
        QByteArray eTag;
        const auto moved = [this, number](qint64 bytes) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_moving[number] = bytes;
        };
        code =
            store.part(m_key, uploadId, number, &source, (number - 1) * m_check.partSize, sizeOf(number), moved, &eTag);
        if (code == OssError::Done)
            code = takePart(number, eTag);
        else
            fail(code, store.lastError());
        if (code != OssError::Done) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_next = int(all) + 1; // the others end after what they're sending
            return code;
        }
    }
}

int UploadJob::takePart(int number, const QByteArray &eTag)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_moving.remove(number);
    m_whole += sizeOf(number);
    m_check.parts.insert(number, eTag);
    if (m_check.save(m_checkPath))
        return OssError::Done;
    m_words = m_checkPath;
    return OssError::CheckPointFailed;
}
