#include "transfer/TransWork.h"
#include "db/DownloadDAO.h"
#include "db/UploadDAO.h"
#include "transfer/TransFrame.h"
#include "transfer/TransHandler.h"
#include <numeric>
#include <QDebug>
#include <QHostAddress>

TransWork::TransWork(std::shared_ptr<TransShare> share) : m_share(std::move(share)) {}

TransWork::~TransWork()
{
    closed = true;
    if (m_lookup >= 0)
        QHostInfo::abortHostLookup(m_lookup);
    dropSocket();
    delete m_file;
}

void TransWork::setServer(const QString &url, const QString &token)
{
    m_serverUrl = url;
    m_token = token;
    m_tokenBytes = TransFrame::tokenBytes(token);
}

void TransWork::setSignMd5(const QString &sign, const QString &md5, int transType)
{
    m_sign = sign.left(8);
    m_md5 = md5;
    m_transType = transType;
    if (!oneOfMany())
        qDebug().noquote() << "TransWork::setSignMd5" << QStringLiteral("%1_%2").arg(m_sign, m_md5);
}

void TransWork::setKey(const QString &key, quint64 serial)
{
    m_workKey = key;
    m_serial = serial;
}

void TransWork::takeTicket(const QString &url, const QString &token)
{
    if (over())
        return;
    if (!token.isEmpty())
        setServer(url, token);
    initDownWork(token);
}

void TransWork::dropPartial()
{
    end();
    TransHandler::clearDownTmp(m_down);
}

void TransWork::finishUp(int kind)
{
    if (end())
        emit UpWorkFinished(m_up, kind);
}

void TransWork::finishDown(int kind)
{
    if (end())
        emit DownWorkFinished(m_down, kind);
}

bool TransWork::end()
{
    if (m_ended)
        return false;
    m_ended = true;
    m_up.speed = qMax<qint64>(0, m_untold); // of a file that is over within its first second this is all of it
    stopWait();
    if (m_speedTimer)
        m_speedTimer->stop();
    dropSocket();
    if (m_file)
        m_file->close();
    return true;
}

void TransWork::dropSocket()
{
    if (!m_socket)
        return;
    // Called from the socket's own signals too, so it goes later; nothing of it is heard any more.
    m_socket->disconnect();
    m_socket->flush();
    m_socket->abort();
    m_socket->deleteLater();
    m_socket = nullptr;
}

void TransWork::timeOut()
{
    if (over())
        return;
    if (m_transType == 0 || m_transType == 2)
        failUp(TransSet::TimedOut);
    else
        failDown(TransSet::TimedOut);
}

bool TransWork::passesUp(int code)
{
    switch (code) {
    case 101404:
    case 7000403:
    case 7000402:
    case 7000405:
        return true;
    default:
        return passesDown(code);
    }
}

bool TransWork::passesDown(int code)
{
    return code == TransSet::DriveFailed || code == 100001 || code == 100007 || code == 100005 ||
           code == TransSet::TimedOut;
}

void TransWork::failUp(int code, bool soft)
{
    if (over())
        return;
    qWarning().noquote() << "TransWork::failUp" << m_workKey << m_up.lpath << TransSet::errorText(code);
    m_up.state = TransSet::UpError;
    m_up.error = code;
    finishUp(soft || passesUp(code) ? TransSet::Transient : TransSet::Hard);
}

void TransWork::failDown(int code)
{
    if (over())
        return;
    qWarning().noquote() << "TransWork::failDown" << m_workKey << m_down.lpath << TransSet::errorText(code);
    m_down.state = TransSet::DownError;
    m_down.error = code;
    finishDown(passesDown(code) ? TransSet::Transient : TransSet::Hard);
}

void TransWork::makeTimers()
{
    if (m_waitTimer)
        return;
    m_waitTimer = new QTimer(this);
    m_waitTimer->setSingleShot(true);
    connect(m_waitTimer, &QTimer::timeout, this, &TransWork::timeOut);
    m_speedTimer = new QTimer(this);
    m_speedTimer->setInterval(1000);
    connect(m_speedTimer, &QTimer::timeout, this, &TransWork::upSpeedOut);
}

void TransWork::startWait(int ms)
{
    makeTimers();
    m_waitTimer->start(ms);
}

void TransWork::stopWait()
{
    if (m_waitTimer)
        m_waitTimer->stop();
}

void TransWork::feedSpeed(qint64 position)
{
    makeTimers();
    if (!m_speedTimer->isActive())
        m_speedTimer->start();
    m_untold = m_untold < 0 ? 0 : m_untold + qMax<qint64>(0, position - m_position);
    m_position = position;
    if (m_speedBase == 0)
        m_speedBase = position;
    m_speedWindow[0] = qMax<qint64>(0, position - m_speedBase);
}

void TransWork::upSpeedOut()
{
    if (over())
        return;
    const qint64 speed = std::accumulate(m_speedWindow.begin(), m_speedWindow.end(), qint64(0)) / SpeedSamples;
    std::copy_backward(m_speedWindow.begin(), m_speedWindow.end() - 1, m_speedWindow.end());
    m_speedWindow[0] = 0;
    // A file never shows as complete before the server has confirmed it.
    const bool whole = m_position > 0 && m_position == m_total;
    reportProgress(whole ? m_position - 1 : m_position, whole ? 0 : speed);
    m_speedBase = m_position;
    m_untold = qMin<qint64>(m_untold, 0);
}

void TransWork::reportProgress(qint64 position, qint64 speed)
{
    if (m_transType == 0) {
        const qlonglong task = m_up.missid, pri = m_up.pri;
        m_share->post([=](TransHandler &handler) { handler.pushSpeed(task, pri, speed, position); });
        UploadDAO::instance()->tellSpeed(pri, position, m_total, speed);
    } else if (m_transType == 1) {
        DownloadDAO::instance()->tellSpeed(m_down.pri, position, m_total, speed);
    } else {
        const bool up = m_transType == 2;
        const qlonglong batch = up ? m_up.ordernum.toLongLong() : m_down.missPri, pri = up ? m_up.pri : m_down.pri;
        m_share->post([=](TransHandler &handler) { handler.pushSpeed(batch, pri, speed, position); });
    }
}

void TransWork::resolveHost(const QString &name, std::function<void(QString)> then)
{
    m_hostName = name;
    if (!QHostAddress(name).isNull())
        return then(name);
    if (const QString known = m_share->cachedHost(name); !known.isEmpty())
        return then(known);
    if (name.isEmpty())
        return then({});
    // Whichever comes first, the name service or the bound, answers; the other then finds nothing to do.
    auto open = std::make_shared<bool>(true);
    const auto answer = [this, open, then](const QString &ip) {
        if (!*open)
            return;
        *open = false;
        m_lookup = -1;
        if (!over())
            then(ip);
    };
    m_lookup = QHostInfo::lookupHost(name, this, [this, name, answer](const QHostInfo &info) {
        QString ip;
        for (const QHostAddress &address : info.addresses()) {
            if (ip.isEmpty() || address.protocol() == QAbstractSocket::IPv4Protocol)
                ip = address.toString();
            if (address.protocol() == QAbstractSocket::IPv4Protocol)
                break;
        }
        if (ip.isEmpty())
            qWarning().noquote() << "TransWork::resolveHost" << name << info.errorString();
        else
            m_share->cacheHost(name, ip);
        answer(ip);
    });
    QTimer::singleShot(HostMs, this, [answer] { answer({}); });
}

bool TransWork::askTicket(int farmId)
{
    return m_share->post([farmId, key = m_workKey, serial = m_serial](TransHandler &handler) {
        handler.getTicket(farmId, key, serial);
    });
}

bool TransWork::askFarmHost(int farmId)
{
    return m_share->post([farmId, key = m_workKey, serial = m_serial](TransHandler &handler) {
        handler.getFarmHost(farmId, key, serial);
    });
}
