#include "S3Client.h"
#include "OssErrors.h"
#include "SourceFile.h"
#include <algorithm>
#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <QCryptographicHash>
#include <QUrl>
#include <QXmlStreamReader>
#include <thread>

namespace
{
constexpr int Tries = 4, FirstRestMs = 500;
constexpr int AnswerCeiling = 8 * 1024 * 1024; // of an answer's text
constexpr long ConnectSeconds = 10, SilentSeconds = 25;

struct Transfer {
    const std::atomic_bool *stop = nullptr;
    SourceFile *file = nullptr;
    int source = OssError::Done;       // what its last read ended with
    qint64 from = 0, size = 0, at = 0; // of the file
    QByteArray text;
    const S3Client::Moved *moved = nullptr;
    QByteArray answer;
    QMap<QByteArray, QByteArray> heads;
};

size_t readBody(char *to, size_t size, size_t count, void *transfer)
{
    auto *one = static_cast<Transfer *>(transfer);
    const qint64 most = std::min(qint64(size * count), one->size - one->at);
    if (most <= 0)
        return 0;
    if (!one->file) {
        std::copy_n(one->text.constData() + one->at, most, to);
        one->at += most;
        return size_t(most);
    }
    qint64 got = 0;
    one->source = one->file->read(one->from + one->at, to, most, &got);
    if (got <= 0) // the file has become shorter
        return CURL_READFUNC_ABORT;
    one->at += got;
    return size_t(got);
}

int seekBody(void *transfer, curl_off_t offset, int origin)
{
    if (origin != SEEK_SET)
        return CURL_SEEKFUNC_CANTSEEK;
    static_cast<Transfer *>(transfer)->at = offset;
    return CURL_SEEKFUNC_OK;
}

size_t takeAnswer(char *from, size_t size, size_t count, void *transfer)
{
    auto *one = static_cast<Transfer *>(transfer);
    if (one->answer.size() + int(size * count) > AnswerCeiling)
        return 0;
    one->answer.append(from, int(size * count));
    return size * count;
}

size_t takeHead(char *from, size_t size, size_t count, void *transfer)
{
    const QByteArray line = QByteArray(from, int(size * count)).trimmed();
    const int colon = line.indexOf(':');
    if (colon > 0)
        static_cast<Transfer *>(transfer)->heads.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
    return size * count;
}

int progress(void *transfer, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent)
{
    auto *one = static_cast<Transfer *>(transfer);
    if (one->moved && *one->moved)
        (*one->moved)(sent);
    return one->stop->load() ? 1 : 0;
}

int codeOf(CURLcode result)
{
    switch (result) {
    case CURLE_OK:
        return OssError::Done;
    case CURLE_ABORTED_BY_CALLBACK: // not stopped: the source gave no more bytes
        return OssError::FileChanged;
    case CURLE_COULDNT_RESOLVE_HOST:
        return OssError::HostUnknown;
    case CURLE_COULDNT_CONNECT:
        return OssError::Refused;
    case CURLE_OPERATION_TIMEDOUT:
        return OssError::TimedOut;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
        return OssError::TlsFailed;
    case CURLE_READ_ERROR:
        return OssError::FileChanged;
    case CURLE_URL_MALFORMAT:
    case CURLE_UNSUPPORTED_PROTOCOL:
        return OssError::UnknownStore;
    default:
        return OssError::ConnectionLost;
    }
}

bool passes(int code)
{
    return code == OssError::ConnectionLost || code == OssError::TimedOut || code == OssError::StoreBusy ||
           code == OssError::Refused;
}

// The text of the first element of that name; empty where there is none.
QString element(const QByteArray &xml, const QString &name)
{
    QXmlStreamReader reader(xml);
    while (!reader.atEnd())
        if (reader.readNext() == QXmlStreamReader::StartElement && reader.name() == name)
            return reader.readElementText(QXmlStreamReader::SkipChildElements);
    return {};
}

int md5Of(SourceFile *file, qint64 from, qint64 size, QByteArray *md5)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    QByteArray piece(int(std::min<qint64>(size, 1 << 20)), 0);
    for (const qint64 end = from + size; from < end;) {
        qint64 got = 0;
        const int code = file->read(from, piece.data(), std::min<qint64>(end - from, piece.size()), &got);
        if (code != OssError::Done)
            return code;
        if (got <= 0)
            return OssError::FileChanged;
        hash.addData(piece.constData(), int(got));
        from += got;
    }
    *md5 = hash.result().toBase64();
    return OssError::Done;
}
} // namespace

S3Client::S3Client(StoreDescription store, const std::atomic_bool *stop)
    : m_store(std::move(store)), m_stop(stop), m_curl(curl_easy_init())
{
}

S3Client::~S3Client() { curl_easy_cleanup(m_curl); }

bool S3Client::rest(int ms) const
{
    for (int waited = 0; waited < ms; waited += 50) {
        if (m_stop->load())
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return !m_stop->load();
}

int S3Client::once(const char *verb, const QByteArray &url, const Body &body, const Items &heads, const Moved &moved,
                   Answer *answer)
{
    Transfer transfer;
    transfer.stop = m_stop;
    transfer.file = body.file;
    transfer.from = body.from;
    transfer.text = body.text;
    transfer.size = body.file ? body.size : body.text.size();
    transfer.moved = &moved;

    curl_easy_reset(m_curl);
    const auto freeList = [](curl_slist *list) { curl_slist_free_all(list); };
    std::unique_ptr<curl_slist, decltype(freeList)> list(nullptr, freeList);
    const auto add = [&list](const QByteArray &line) {
        list.reset(curl_slist_append(list.release(), line.constData()));
    };
    // The library takes the payload's hash for the signature from this head.
    add("x-amz-content-sha256: UNSIGNED-PAYLOAD");
    if (!m_store.sessionToken.isEmpty())
        add("x-amz-security-token: " + m_store.sessionToken);
    add("Expect:");
    for (const auto &head : heads)
        add(head.first + ": " + head.second);

    const QByteArray keys = m_store.accessKey + ':' + m_store.secretKey;
    const QByteArray sign = "aws:amz:" + m_store.region.toUtf8() + ":s3";
    curl_easy_setopt(m_curl, CURLOPT_URL, url.constData());
    curl_easy_setopt(m_curl, CURLOPT_PATH_AS_IS, 1L);
    // A studio's own store may have a certificate that only the studio vouches for.
    if (const QByteArray own = qgetenv("SSL_CERT_FILE"); !own.isEmpty())
        curl_easy_setopt(m_curl, CURLOPT_CAINFO, own.constData());
    curl_easy_setopt(m_curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_curl, CURLOPT_AWS_SIGV4, sign.constData());
    curl_easy_setopt(m_curl, CURLOPT_USERPWD, keys.constData());
    curl_easy_setopt(m_curl, CURLOPT_HTTPHEADER, list.get());
    curl_easy_setopt(m_curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_curl, CURLOPT_CONNECTTIMEOUT, ConnectSeconds);
    curl_easy_setopt(m_curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(m_curl, CURLOPT_LOW_SPEED_TIME, SilentSeconds);
    curl_easy_setopt(m_curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(m_curl, CURLOPT_XFERINFOFUNCTION, progress);
    curl_easy_setopt(m_curl, CURLOPT_XFERINFODATA, &transfer);
    curl_easy_setopt(m_curl, CURLOPT_WRITEFUNCTION, takeAnswer);
    curl_easy_setopt(m_curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(m_curl, CURLOPT_HEADERFUNCTION, takeHead);
    curl_easy_setopt(m_curl, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(m_curl, CURLOPT_BUFFERSIZE, 256 * 1024L);
    curl_easy_setopt(m_curl, CURLOPT_UPLOAD_BUFFERSIZE, 1024 * 1024L);
    if (qstrcmp(verb, "HEAD") == 0) {
        curl_easy_setopt(m_curl, CURLOPT_NOBODY, 1L);
    } else if (qstrcmp(verb, "PUT") == 0 || qstrcmp(verb, "POST") == 0) {
        curl_easy_setopt(m_curl, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(m_curl, CURLOPT_READFUNCTION, readBody);
        curl_easy_setopt(m_curl, CURLOPT_READDATA, &transfer);
        curl_easy_setopt(m_curl, CURLOPT_SEEKFUNCTION, seekBody);
        curl_easy_setopt(m_curl, CURLOPT_SEEKDATA, &transfer);
        curl_easy_setopt(m_curl, CURLOPT_INFILESIZE_LARGE, curl_off_t(transfer.size));
        curl_easy_setopt(m_curl, CURLOPT_CUSTOMREQUEST, verb);
    } else {
        curl_easy_setopt(m_curl, CURLOPT_CUSTOMREQUEST, verb);
    }
    const CURLcode result = curl_easy_perform(m_curl);
    if (result != CURLE_OK) {
        m_error = QString::fromUtf8(curl_easy_strerror(result));
        if (m_stop->load())
            return OssError::Stopped;
        return transfer.source == OssError::Done ? codeOf(result) : transfer.source;
    }
    curl_easy_getinfo(m_curl, CURLINFO_RESPONSE_CODE, &answer->status);
    answer->text = transfer.answer;
    answer->heads = transfer.heads;
    return judge(*answer);
}

// A success may still carry an error in its text: the completion of an upload answers so.
int S3Client::judge(const Answer &answer)
{
    const bool good = answer.status >= 200 && answer.status < 300;
    if (good && !answer.text.contains("<Error>") && !answer.text.contains("<Error "))
        return OssError::Done;
    const QString word = element(answer.text, QStringLiteral("Code"));
    m_error = QStringLiteral("HTTP %1 %2").arg(answer.status).arg(word);
    static const QMap<QString, int> words{
        {QStringLiteral("RequestTimeTooSkewed"), OssError::ClockDiffers},
        {QStringLiteral("ExpiredToken"), OssError::KeysExpired},
        {QStringLiteral("TokenRefreshRequired"), OssError::KeysExpired},
        {QStringLiteral("NoSuchBucket"), OssError::BucketMissing},
        {QStringLiteral("NoSuchUpload"), OssError::UploadForgotten},
        {QStringLiteral("InvalidPart"), OssError::UploadForgotten},
        {QStringLiteral("InvalidPartOrder"), OssError::UploadForgotten},
        {QStringLiteral("SlowDown"), OssError::StoreBusy},
        {QStringLiteral("InternalError"), OssError::StoreBusy},
        {QStringLiteral("RequestTimeout"), OssError::StoreBusy},
        {QStringLiteral("BadDigest"), OssError::FileChanged},
        {QStringLiteral("NotImplemented"), OssError::UnexpectedAnswer},
        {QStringLiteral("AccessDenied"), OssError::AccessDenied},
        {QStringLiteral("InvalidToken"), OssError::KeysExpired},
    };
    if (words.contains(word))
        return words.value(word);
    if (answer.status == 401 || answer.status == 403)
        return OssError::AccessDenied;
    return good || answer.status >= 500 || answer.status == 429 ? OssError::StoreBusy : OssError::UnexpectedAnswer;
}

int S3Client::ask(const char *verb, const QString &key, Items query, const Body &body, const Items &heads,
                  const Moved &moved, Answer *answer)
{
    if (!m_curl)
        return OssError::UnexpectedAnswer;
    // The signature wants the items in their order; an item without a value still has its "=" there.
    std::sort(query.begin(), query.end());
    QByteArray url = m_store.url(key);
    for (int i = 0; i < query.size(); ++i)
        url += (i == 0 ? '?' : '&') + query.at(i).first +
               (query.at(i).second.isNull() ? QByteArray() : '=' + query.at(i).second.toPercentEncoding());
    for (int attempt = 1, restMs = FirstRestMs;; ++attempt, restMs *= 2) {
        *answer = Answer();
        const int code = once(verb, url, body, heads, moved, answer);
        if (!passes(code) || attempt == Tries)
            return code;
        if (!rest(restMs))
            return OssError::Stopped;
    }
}

S3Client::Items S3Client::metaHeads(const Meta &meta)
{
    Items heads;
    for (auto it = meta.begin(); it != meta.end(); ++it)
        heads.append({"x-amz-meta-" + it.key(), it.value()});
    return heads;
}

int S3Client::head(const QString &key, Head *to)
{
    Answer answer;
    int code = ask("HEAD", key, {}, {}, {}, {}, &answer);
    *to = Head();
    if (answer.status == 404)
        return OssError::Done;
    if (answer.status == 400 || answer.status == 401 || answer.status == 403) {
        // This answer has no text: the reason is told to a question that has one.
        Answer reason;
        const int told = ask("GET", key, {}, {}, {{"Range", "bytes=0-0"}}, {}, &reason);
        code = told == OssError::Done || reason.status == 404 ? code : told;
    }
    if (code != OssError::Done)
        return code;
    to->there = true;
    to->size = answer.heads.value("content-length").toLongLong();
    for (auto it = answer.heads.begin(); it != answer.heads.end(); ++it)
        if (it.key().startsWith("x-amz-meta-"))
            to->meta.insert(it.key().mid(11), it.value());
    return OssError::Done;
}

int S3Client::put(const QString &key, SourceFile *file, qint64 size, const Meta &meta, const Moved &moved)
{
    Items heads = metaHeads(meta);
    QByteArray md5;
    if (const int read = md5Of(file, 0, size, &md5); read != OssError::Done)
        return read;
    heads.append({"Content-MD5", md5});
    Answer answer;
    return ask("PUT", key, {}, {file, 0, size, {}}, heads, moved, &answer);
}

int S3Client::begin(const QString &key, const Meta &meta, QString *uploadId)
{
    Answer answer;
    const int code = ask("POST", key, {{"uploads", {}}}, {}, metaHeads(meta), {}, &answer);
    *uploadId = element(answer.text, QStringLiteral("UploadId"));
    return code == OssError::Done && uploadId->isEmpty() ? int(OssError::UnexpectedAnswer) : code;
}

int S3Client::part(const QString &key, const QString &uploadId, int number, SourceFile *file, qint64 from, qint64 size,
                   const Moved &moved, QByteArray *eTag)
{
    QByteArray md5;
    if (const int read = md5Of(file, from, size, &md5); read != OssError::Done)
        return read;
    Answer answer;
    const int code = ask("PUT", key, {{"partNumber", QByteArray::number(number)}, {"uploadId", uploadId.toUtf8()}},
                         {file, from, size, {}}, {{"Content-MD5", md5}}, moved, &answer);
    *eTag = answer.heads.value("etag");
    if (code == OssError::UnexpectedAnswer && answer.status == 404)
        return OssError::UploadForgotten;
    return code == OssError::Done && eTag->isEmpty() ? int(OssError::UnexpectedAnswer) : code;
}

int S3Client::parts(const QString &key, const QString &uploadId, QMap<int, QByteArray> *there)
{
    there->clear();
    for (int marker = 0;;) {
        Answer answer;
        const int code =
            ask("GET", key, {{"part-number-marker", QByteArray::number(marker)}, {"uploadId", uploadId.toUtf8()}}, {},
                {}, {}, &answer);
        if (code != OssError::Done)
            return answer.status == 404 ? int(OssError::UploadForgotten) : code;
        QXmlStreamReader reader(answer.text);
        Part part;
        bool more = false;
        while (!reader.atEnd()) {
            reader.readNext();
            if (reader.isStartElement() && reader.name() == QLatin1String("PartNumber"))
                part.number = reader.readElementText().toInt();
            else if (reader.isStartElement() && reader.name() == QLatin1String("ETag"))
                part.eTag = reader.readElementText().toUtf8();
            else if (reader.isStartElement() && reader.name() == QLatin1String("IsTruncated"))
                more = reader.readElementText() == QLatin1String("true");
            else if (reader.isEndElement() && reader.name() == QLatin1String("Part"))
                there->insert(part.number, part.eTag);
        }
        const int last = there->isEmpty() ? 0 : there->lastKey();
        if (!more || last <= marker) // a list that doesn't get on ends
            return reader.hasError() ? int(OssError::UnexpectedAnswer) : int(OssError::Done);
        marker = last;
    }
}

int S3Client::complete(const QString &key, const QString &uploadId, const QMap<int, QByteArray> &parts)
{
    QByteArray body = "<CompleteMultipartUpload xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">";
    for (auto it = parts.begin(); it != parts.end(); ++it)
        body += "<Part><PartNumber>" + QByteArray::number(it.key()) + "</PartNumber><ETag>" +
                QString::fromUtf8(it.value()).toHtmlEscaped().toUtf8() + "</ETag></Part>";
    body += "</CompleteMultipartUpload>";
    Answer answer;
    const int code = ask("POST", key, {{"uploadId", uploadId.toUtf8()}}, {nullptr, 0, 0, body},
                         {{"Content-Type", "application/xml"}}, {}, &answer);
    return code == OssError::UnexpectedAnswer && answer.status == 404 ? int(OssError::UploadForgotten) : code;
}

int S3Client::abort(const QString &key, const QString &uploadId)
{
    Answer answer;
    return ask("DELETE", key, {{"uploadId", uploadId.toUtf8()}}, {}, {}, {}, &answer);
}
