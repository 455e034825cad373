#include "Fetch.h"
#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <utility>

bool Fetch::file(const QUrl &from, const QString &to)
{
    if (from.scheme() != QLatin1String("http") && from.scheme() != QLatin1String("https")) {
        m_why = from.toString() + QStringLiteral(" is no address to fetch from");
        return false;
    }
    const QString part = to + QStringLiteral(".part");
    for (int attempt = 1; attempt <= Tries; ++attempt) {
        const Result result = once(from, part);
        if (result == Done) {
            QFile::remove(to);
            if (QFile::rename(part, to))
                return true;
            m_why = to + QStringLiteral(" can't be written");
            return false;
        }
        if (result == Never)
            break;
    }
    return false;
}

Fetch::Result Fetch::once(const QUrl &from, const QString &part)
{
    QFile to(part);
    if (!to.open(QIODevice::WriteOnly | QIODevice::Append)) {
        m_why = part + QStringLiteral(": ") + to.errorString();
        return Never;
    }
    const qint64 had = to.size();
    QUrl address = from;
    QNetworkRequest request;
    if (!m_host.isEmpty() && m_port > 0) {
        address.setHost(m_host);
        address.setPort(m_port);
        request.setPeerVerifyName(from.host()); // behind the forward stands the server itself
        request.setRawHeader("Host", from.authority(QUrl::FullyEncoded | QUrl::RemoveUserInfo).toLatin1());
    }
    request.setUrl(address);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::SameOriginRedirectPolicy);
    if (had > 0)
        request.setRawHeader("Range", "bytes=" + QByteArray::number(had) + '-');
    QNetworkAccessManager manager;
    QNetworkReply *reply = manager.get(request);
    QEventLoop loop;
    QTimer silent;
    silent.setSingleShot(true);
    Result result = Again;
    bool begun = false;
    const auto take = [&] {
        silent.start(SilentMs);
        const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        if (status != 200 && status != 206)
            return;
        if (!std::exchange(begun, true) && status == 200) // the server begins anew
            to.resize(0);
        const QByteArray piece = reply->readAll();
        if (to.size() + piece.size() > m_most || to.write(piece) != piece.size() || !to.flush()) {
            m_why = part + QStringLiteral(": no room, or more than a package has");
            result = Never;
            reply->abort();
        } else if (m_told && !piece.isEmpty()) {
            const qint64 length = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
            m_told(to.size(), status == 206 ? had + length : length);
        }
    };
    QObject::connect(reply, &QNetworkReply::readyRead, &loop, take);
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QObject::connect(&silent, &QTimer::timeout, reply, &QNetworkReply::abort);
    QTimer::singleShot(WholeMs, reply, &QNetworkReply::abort);
    silent.start(SilentMs);
    loop.exec();
    if (result != Never)
        take();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (result == Never) { // it would only take up room that is lacking
        to.remove();
        return Never;
    }
    if (reply->error() == QNetworkReply::NoError && (status == 200 || status == 206))
        return Done;
    m_why = from.toString(QUrl::RemoveUserInfo) + QStringLiteral(": ") + reply->errorString();
    if (status == 416) { // there is nothing beyond what we have: begin anew once
        to.resize(0);
        return Again;
    }
    if (status < 400 || status >= 500)
        return Again;
    to.remove(); // it isn't there any more
    return Never;
}
