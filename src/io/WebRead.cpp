#include "io/WebRead.h"
#include <curl/curl.h>
#include <mutex>
#include <QHash>
#include <QNetworkProxy>
#include <QPointer>
#include <QSocketNotifier>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QThreadStorage>
#include <QTimer>

namespace
{
constexpr long ReadAtOnce = 262144; // of a socket

QNetworkReply::NetworkError errorOf(CURLcode result)
{
    switch (result) {
    case CURLE_OK:
        return QNetworkReply::NoError;
    case CURLE_COULDNT_RESOLVE_HOST:
        return QNetworkReply::HostNotFoundError;
    case CURLE_COULDNT_RESOLVE_PROXY:
        return QNetworkReply::ProxyNotFoundError;
    case CURLE_PROXY:
        return QNetworkReply::ProxyConnectionRefusedError;
    case CURLE_COULDNT_CONNECT:
        return QNetworkReply::ConnectionRefusedError;
    case CURLE_OPERATION_TIMEDOUT:
        return QNetworkReply::TimeoutError;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
        return QNetworkReply::SslHandshakeFailedError;
    case CURLE_URL_MALFORMAT:
        return QNetworkReply::ProtocolUnknownError;
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_UNSUPPORTED_PROTOCOL: // what no version of HTTP begins with: the rest of an answer that was longer than
                                     // told
        return QNetworkReply::RemoteHostClosedError;
    default:
        return QNetworkReply::UnknownNetworkError;
    }
}

QNetworkReply::NetworkError errorOf(int status)
{
    switch (status) {
    case 401:
        return QNetworkReply::AuthenticationRequiredError;
    case 403:
        return QNetworkReply::ContentAccessDenied;
    case 404:
        return QNetworkReply::ContentNotFoundError;
    case 405:
        return QNetworkReply::ContentOperationNotPermittedError;
    case 407:
        return QNetworkReply::ProxyAuthenticationRequiredError;
    case 409:
        return QNetworkReply::ContentConflictError;
    case 410:
        return QNetworkReply::ContentGoneError;
    case 500:
        return QNetworkReply::InternalServerError;
    case 501:
        return QNetworkReply::OperationNotImplementedError;
    case 503:
        return QNetworkReply::ServiceUnavailableError;
    default:
        return status < 400   ? QNetworkReply::NoError
               : status < 500 ? QNetworkReply::UnknownContentError
                              : QNetworkReply::UnknownServerError;
    }
}

void setProxy(CURL *easy, const QUrl &url)
{
    const QList<QNetworkProxy> proxies = QNetworkProxyFactory::proxyForQuery(QNetworkProxyQuery(url));
    const QNetworkProxy proxy = proxies.value(0, QNetworkProxy(QNetworkProxy::NoProxy));
    const bool socks = proxy.type() == QNetworkProxy::Socks5Proxy;
    if (!socks && proxy.type() != QNetworkProxy::HttpProxy && proxy.type() != QNetworkProxy::HttpCachingProxy) {
        curl_easy_setopt(easy, CURLOPT_PROXY, ""); // nor one that the environment names
        return;
    }
    curl_easy_setopt(easy, CURLOPT_PROXY, proxy.hostName().toUtf8().constData());
    curl_easy_setopt(easy, CURLOPT_PROXYPORT, long(proxy.port()));
    curl_easy_setopt(easy, CURLOPT_PROXYTYPE, long(socks ? CURLPROXY_SOCKS5_HOSTNAME : CURLPROXY_HTTP));
    curl_easy_setopt(easy, CURLOPT_HTTPPROXYTUNNEL, long(proxy.type() == QNetworkProxy::HttpProxy));
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (!proxy.user().isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_PROXYUSERNAME, proxy.user().toUtf8().constData());
        curl_easy_setopt(easy, CURLOPT_PROXYPASSWORD, proxy.password().toUtf8().constData());
    }
}

// What the program trusts elsewhere, for an encrypted address.
QByteArray trusted()
{
    static std::mutex mutex;
    static QList<QSslCertificate> known;
    static QByteArray text;
    QList<QSslCertificate> now = QSslConfiguration::defaultConfiguration().caCertificates();
    if (now.isEmpty()) // the system's, which the toolkit looks up as it needs them
        now = QSslConfiguration::systemCaCertificates();
    const std::lock_guard<std::mutex> lock(mutex);
    if (now != known) {
        text.clear();
        for (const QSslCertificate &one : now)
            text += one.toPem();
        known = now;
    }
    return text;
}

void setTrust(CURL *easy)
{
    const QByteArray all = trusted();
    curl_blob blob{const_cast<char *>(all.constData()), size_t(all.size()), CURL_BLOB_COPY};
    curl_easy_setopt(easy, CURLOPT_CAINFO_BLOB, &blob);
}
} // namespace

// The connections of a thread, and what is asked over them.
class WebLink
{
public:
    static WebLink &ofThread()
    {
        static QThreadStorage<WebLink *> all;
        if (!all.hasLocalData())
            all.setLocalData(new WebLink);
        return *all.localData();
    }

    WebLink()
    {
        static std::once_flag once;
        std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
        m_multi = curl_multi_init();
        curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &WebLink::watch);
        curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
        curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &WebLink::remind);
        curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
    }
    ~WebLink()
    {
        curl_multi_cleanup(m_multi);
        qDeleteAll(m_readers);
        qDeleteAll(m_writers);
    }

    void add(WebRead *read)
    {
        m_reads.append(read);
        curl_multi_add_handle(m_multi, read->m_easy);
    }
    void remove(WebRead *read)
    {
        m_reads.removeOne(read);
        curl_multi_remove_handle(m_multi, read->m_easy);
    }

    static size_t arrived(char *from, size_t size, size_t count, void *reader)
    {
        auto *read = static_cast<WebRead *>(reader);
        if (read->m_bytes.size() >= WebRead::Window) {
            read->m_paused = true;
            return CURL_WRITEFUNC_PAUSE;
        }
        read->m_bytes.append(from, int(size * count));
        read->m_grown = true;
        return size * count;
    }

private:
    using Notifiers = QHash<curl_socket_t, QSocketNotifier *>;

    // Kept for the descriptor's next use: a disabled one watches nothing.
    void want(Notifiers *all, curl_socket_t socket, QSocketNotifier::Type type, bool wanted)
    {
        QSocketNotifier *&one = (*all)[socket];
        if (!one && wanted) {
            one = new QSocketNotifier(qintptr(socket), type);
            const int flag = type == QSocketNotifier::Read ? CURL_CSELECT_IN : CURL_CSELECT_OUT;
            QObject::connect(one, &QSocketNotifier::activated, one, [this, socket, flag] { act(socket, flag); });
        }
        if (one && one->isEnabled() != wanted)
            one->setEnabled(wanted);
    }

    static int watch(CURL *, curl_socket_t socket, int what, void *link, void *)
    {
        auto *self = static_cast<WebLink *>(link);
        self->want(&self->m_readers, socket, QSocketNotifier::Read, what == CURL_POLL_IN || what == CURL_POLL_INOUT);
        self->want(&self->m_writers, socket, QSocketNotifier::Write, what == CURL_POLL_OUT || what == CURL_POLL_INOUT);
        return 0;
    }

    static int remind(CURLM *, long ms, void *link)
    {
        QTimer &timer = static_cast<WebLink *>(link)->m_timer;
        if (ms < 0)
            timer.stop();
        else
            timer.start(int(ms));
        return 0;
    }

    void act(curl_socket_t socket, int flag)
    {
        int running = 0;
        curl_multi_socket_action(m_multi, socket, flag, &running);
        tell();
    }

    // Nothing is told before libcurl is out of its own work: who hears of it may ask and delete.
    void tell()
    {
        int left = 0;
        while (const CURLMsg *message = curl_multi_info_read(m_multi, &left)) {
            if (message->msg != CURLMSG_DONE)
                continue;
            const CURLcode result = message->data.result;
            char *read = nullptr;
            curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &read);
            reinterpret_cast<WebRead *>(read)->end(result);
        }
        QList<QPointer<WebRead>> changed;
        for (WebRead *read : qAsConst(m_reads)) {
            if (read->m_grown || read->m_finished)
                changed.append(read);
        }
        for (const QPointer<WebRead> &read : qAsConst(changed)) {
            if (read && read->m_finished)
                remove(read);
            if (read && std::exchange(read->m_grown, false))
                emit read->readyRead();
            if (read && read->m_finished)
                emit read->finished();
        }
    }

    QList<WebRead *> m_reads; // under way
    CURLM *m_multi = nullptr;
    QTimer m_timer;
    Notifiers m_readers, m_writers;
};

WebRead::WebRead(const QNetworkRequest &request, QObject *parent) : QObject(parent)
{
    WebLink &link = WebLink::ofThread();
    m_easy = curl_easy_init();
    curl_slist *lines = nullptr;
    const QList<QByteArray> names = request.rawHeaderList();
    for (const QByteArray &name : names) {
        const QByteArray value = request.rawHeader(name);
        lines = curl_slist_append(lines, (name + (value.isEmpty() ? ";" : ": " + value)).constData());
    }
    m_headers = lines;
    const QUrl url = request.url();
    curl_easy_setopt(m_easy, CURLOPT_URL, url.toEncoded(QUrl::RemoveFragment).constData());
    curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, lines);
    curl_easy_setopt(m_easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(m_easy, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(m_easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_easy, CURLOPT_QUICK_EXIT, 1L); // a name that is being looked up holds nobody up
    curl_easy_setopt(m_easy, CURLOPT_BUFFERSIZE, ReadAtOnce);
    curl_easy_setopt(m_easy, CURLOPT_WRITEFUNCTION, &WebLink::arrived);
    curl_easy_setopt(m_easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_PRIVATE, this);
    m_bytes.reserve(ReadAtOnce + CURL_MAX_WRITE_SIZE);
    setProxy(m_easy, url);
    if (url.scheme() == QLatin1String("https"))
        setTrust(m_easy);
    link.add(this);
}

WebRead::~WebRead()
{
    WebLink::ofThread().remove(this);
    curl_easy_cleanup(m_easy);
    curl_slist_free_all(static_cast<curl_slist *>(m_headers));
}

int WebRead::status() const
{
    long status = 0;
    curl_easy_getinfo(m_easy, CURLINFO_RESPONSE_CODE, &status);
    return int(status);
}

QByteArray WebRead::head(const char *name) const
{
    curl_header *line = nullptr;
    return curl_easy_header(m_easy, name, 0, CURLH_HEADER, -1, &line) == CURLHE_OK ? QByteArray(line->value)
                                                                                   : QByteArray();
}

void WebRead::take(QByteArray *to)
{
    to->resize(0); // its room is used for what comes next
    to->swap(m_bytes);
    if (std::exchange(m_paused, false) && !m_finished)
        curl_easy_pause(m_easy, CURLPAUSE_CONT);
}

void WebRead::end(int result)
{
    m_finished = true;
    m_error = result == CURLE_OK ? errorOf(status()) : errorOf(CURLcode(result));
    m_errorString = result == CURLE_OK ? QString() : QString::fromUtf8(curl_easy_strerror(CURLcode(result)));
}
