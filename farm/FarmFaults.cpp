#include "FarmFaults.h"
#include <QMutexLocker>

namespace
{
struct Known {
    const char *name;
    const char *value;
    const char *what;
    bool suffix;
};
const Known known[] = {
    {"drop-reply", "1", "the command is carried out, its reply isn't sent", true},
    {"ignore", "1", "the command is neither carried out nor answered", true},
    {"delay-reply", "MS", "the reply waits that long", true},
    {"refuse", "CODE", "answered with the code, nothing is done", true},
    {"bad-json", "1", "the reply's body isn't JSON", true},
    {"cut-on", "1", "the link is cut when the command arrives, before it is carried out", true},
    {"cut-after", "1", "the link is cut after the command was carried out, before the reply", true},
    {"bad-magic", "1", "business replies start with a wrong magic", false},
    {"split-business", "1", "business packages leave byte by byte", false},
    {"flood", "COUNT", "every reply is preceded by COUNT pushes of no meaning, in one write", false},
    {"cut-business", "BYTES", "a business link is cut after that many bytes to the client", false},
    {"refuse-business", "1", "business connections are closed at once", false},
    {"refuse-http", "1", "HTTP connections are closed at once", false},
    {"refuse-file", "1", "file server connections are closed at once", false},
    {"http-status", "CODE", "HTTP requests are answered with that status", false},
    {"http-delay", "MS", "HTTP answers wait that long", false},
    {"http-silent", "1", "HTTP requests are never answered; with a suffix those whose path ends so", true},
    {"split-http", "1", "HTTP answers leave byte by byte", false},
    {"instant", "CODE", "/sourceFiles answers that code", false},
    {"stale-access", "1", "/sourceFiles answers code 203", false},
    {"file-host", "TEXT", "/sourceFiles names that host of the file server; none: it names no place", false},
    {"farm-status", "CODE", "/bs/farm answers that status", false},
    {"role-fail", "1", "/storage-secret-token/role gives no token", false},
    {"login-fail", "1", "the login page's request is refused", false},
    {"update-version", "TEXT", "/getUpdateVersion.htm answers that text", false},
    {"cut-upload", "BYTES", "a file connection is cut after that many bytes of file data from the client", false},
    {"cut-download", "BYTES", "a file connection is cut after that many bytes of file data to the client", false},
    {"short-head", "1", "a file server reply is only 31 bytes", false},
    {"split-file", "1", "file server replies leave byte by byte, behind the first 32 bytes", false},
    {"delay-file", "MS", "file server replies wait that long", false},
    {"hold-file", "BYTES",
     "asks wait for their replies once that many bytes have come over a connection, until this is cleared", false},
    {"long-reply", "BYTES", "a file server reply has a body of that many blanks", false},
    {"start-past", "BYTES", "the ask is answered with a start point that many past the end", false},
    {"ask-code", "CODE", "upload asks are answered with that code", false},
    {"data-code", "CODE", "upload chunks are answered with that code and not kept", false},
    {"drop-chunk", "1", "upload chunks are answered as kept and thrown away", false},
    {"commit-code", "CODE", "upload commits are answered with that code", false},
    {"refuse-frame", "1", "frames are refused: phase -1, command 79999", false},
    {"refuse-frame-other", "1", "frames are refused: phase -1, the frame's own command", false},
    {"stage", "CODE,CODE...:MS", "a committed file passes through these stages, each for that long", false},
    {"hash-fail", "1", "a commit answers 13010203 and the bytes are thrown away", false},
    {"download-code", "CODE", "download asks are answered with that code", false},
    {"wrong-hash", "1", "10800 tells a wrong hash", false},
    {"corrupt-download", "1", "one byte of the file sent is wrong", false},
    {"slow-download", "BYTES", "file data leaves at that many bytes a second", false},
    {"slow-upload", "BYTES", "file data is read at that many bytes a second", false},
    {"render-fail", "1", "a frame fails", false},
    {"fail-chance", "PERCENT", "so many of a hundred frames fail, the same ones in every run", false},
    {"node-vanish", "MS", "the node of a frame that starts is lost for that long, the frame waits again", false},
    {"log-bytes", "BYTES", "the log of a frame that starts is filled up to that size", false},
    {"no-preview", "1", "10407 and 10801 answer that there is no picture", false},
    {"prepare-fail", "1", "a task fails between its upload and its render", false},
    {"deny", "N,N...", "rights that 10314 takes away", false},
    {"hold-render", "1", "nothing is rendered", false},
    {"no-push", "1", "finished results aren't pushed", false},
    {"drive-full", "1", "the drive has no room left", false},
    {"drive-half-listing", "1", "a listing ends in its middle", false},
    {"drive-ring", "1", "a folder is listed as its own child; 2: its disk is", false},
    {"drive-family-above", "1", "the ancestors of an entry are told without itself", false},
    {"drive-name", "TEXT", "a listing tells its first entry under that name", false},
    {"drive-no-json", "1", "a listing isn't JSON", false},
    {"drive-status", "CODE", "requests of the drive and the analysis are answered with that HTTP status", false},
    {"drive-drop-reply", "1", "they are carried out and the connection is cut in place of an answer", false},
    {"drive-stale", "1", "they are answered with code 203: the access token has expired", false},
    {"drive-busy", "SECONDS", "a range is answered with 503, and when to come again", false},
    {"drive-stale-data", "STATUS", "a range is answered with that status: the access token has expired", false},
    {"drive-listed-size", "BYTES", "a listing tells sizes that are that many bytes too big", false},
    {"drive-piece-200", "1", "a range is answered with its bytes, but as if they were the whole", false},
    {"drive-packed", "1", "the bytes of a range are packed, which nobody asked for", false},
    {"stale-status", "STATUS", "an old access token is answered with that status", false},
    {"drive-no-range", "1", "a range is answered with 200 and the whole file", false},
    {"drive-wrong-range", "1", "X-Content-Range tells another place", false},
    {"drive-no-etag", "1", "a range is answered without ETag", false},
    {"drive-wrong-total", "BYTES", "X-Content-Range tells a size that is that much less, and there is no ETag", false},
    {"drive-short-body", "BYTES", "the bytes of a range are that many too few", false},
    {"drive-corrupt", "1", "the first byte of a range is wrong", false},
    {"hold-analysis", "1", "no analysis goes on", false},
    {"analysis-broken", "TEXT", "an analysis breaks down with that error", false},
    {"analysis-details", "N", "an analysis ends with these details: 1 warnings, 2 failed, 3 parameters missing", false},
    {"analysis-place", "PORT", "/masterInfo names that port", false},
    {"analysis-no-json", "1", "questions about an analysis are answered with a page", false},
    {"analysis-forgets", "1", "no analysis is known under its key", false},
    {"analysis-word", "TEXT", "the state of an analysis is told as that word", false},
    {"analysis-refuse", "TEXT", "the analysis service refuses with that text", false},
    {"single-login", "0", "0: a second login of the account leaves the first alone", false},
    {"kick", "REASON", "a link is kicked for that reason as soon as it has logged in", false},
};

const Known *find(const QString &name)
{
    for (const Known &one : known) {
        const QString word = QString::fromLatin1(one.name);
        if (name == word || (one.suffix && name.startsWith(word + QLatin1Char('.'))))
            return &one;
    }
    return nullptr;
}
} // namespace

bool FarmFaults::set(const QString &name, const QString &value)
{
    if (!find(name))
        return false;
    QMutexLocker lock(&m_mutex);
    if (value.isEmpty()) {
        m_faults.remove(name);
        return true;
    }
    const int at = value.lastIndexOf(QLatin1Char('@'));
    bool counted = false;
    const int left = at < 0 ? -1 : value.mid(at + 1).toInt(&counted);
    m_faults.insert(name, counted ? Fault{value.left(at), left} : Fault{value, -1});
    return true;
}

bool FarmFaults::set(const QString &nameIsValue)
{
    const int at = nameIsValue.indexOf(QLatin1Char('='));
    return set(at < 0 ? nameIsValue : nameIsValue.left(at), at < 0 ? QStringLiteral("1") : nameIsValue.mid(at + 1));
}

void FarmFaults::clear()
{
    QMutexLocker lock(&m_mutex);
    m_faults.clear();
}

QString FarmFaults::take(const QString &name)
{
    QMutexLocker lock(&m_mutex);
    const auto it = m_faults.find(name);
    if (it == m_faults.end() || it->left == 0)
        return QString();
    const QString value = it->value;
    ++m_happened[name];
    if (it->left > 0 && --it->left == 0)
        m_faults.erase(it);
    return value;
}

QString FarmFaults::peek(const QString &name) const
{
    QMutexLocker lock(&m_mutex);
    const auto it = m_faults.constFind(name);
    return it == m_faults.cend() ? QString() : it->value;
}

qint64 FarmFaults::number(const QString &name, qint64 fallback)
{
    const QString value = take(name);
    return value.isNull() ? fallback : value.toLongLong();
}

int FarmFaults::happened(const QString &name) const
{
    QMutexLocker lock(&m_mutex);
    return m_happened.value(name);
}

QStringList FarmFaults::help()
{
    QStringList lines;
    for (const Known &one : known)
        lines += QStringLiteral("%1%2=%3")
                     .arg(QLatin1String(one.name), QLatin1String(one.suffix ? ".CMD" : ""), QLatin1String(one.value))
                     .leftJustified(28) +
                 QLatin1String(one.what);
    return lines;
}
