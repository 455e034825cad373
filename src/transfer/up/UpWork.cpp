#include "transfer/up/UpWork.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "db/UploadDAO.h"
#include "io/SourceFile.h"
#include "io/WebAsk.h"
#include "transfer/TransHandler.h"
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QThread>

namespace
{
constexpr int Unauthorized = 401;
}

UpWork::UpWork(std::shared_ptr<TransShare> share, bool retry, int backPort)
    : UpSource(std::move(share)), m_retry(retry), m_backPort(backPort)
{
}

void UpWork::upReq(db_upfile file)
{
    if (over())
        return;
    m_up = file;
    if (!oneOfMany())
        qDebug().noquote() << "UpWork::upReq" << QStringLiteral("开启上传:%1").arg(m_workKey);
    if (!initUp())
        return;
    m_file = new QFile(m_sendPath);
    const SourceFile known{m_key, m_diskKey, m_up.size, m_up.modtime};
    Request request;
    request.url = known.question(m_serverUrl, m_up.missid, m_eTag, m_md5);
    request.quiet = oneOfMany();
    WebAsk::get(request)
        .within(AnswerMs)
        .answered([this](const FuncBody &rep) { asked(rep); })
        .refused([this](const FuncBody &rep) {
            busyMs = rep.busyMs;
            FuncBody body = FuncBody::fromBytes(rep.raw);
            if (rep.httpStatus == Unauthorized)
                body.code = TransSet::StaleToken;
            asked(body.code == TransSet::StaleToken ? body : FuncBody());
        })
        .lost([this](const QString &) { asked({}); })
        .send(this);
}

bool UpWork::initUp()
{
    if (m_transType != 2) // what lies on the drive lies there as it is
        m_zipPath = zipPathOf(m_up);
    if (!m_zipPath.isEmpty())
        m_partPath = QStringLiteral("%1.%2_%3.tmp").arg(m_zipPath).arg(m_serial).arg(quintptr(this), 0, 16);
    return UpSource::initUp();
}

void UpWork::asked(const FuncBody &rep)
{
    if (over())
        return;
    if (rep.object.isEmpty() && rep.code == 0)
        return startWait(FailedAskMs);
    switch (rep.code) {
    case SourceFile::Here:
        return finishUp(TransSet::Done);
    case SourceFile::NotHere:
        return locate(rep.data);
    case TransSet::StaleToken:
        m_share->post([farm = m_up.farmid](TransHandler &handler) { handler.dropFarm(farm); });
        return failUp(TransSet::StaleToken, true);
    case SourceFile::OrderOver:
        qWarning().noquote() << "UpWork::asked the order takes no more files" << m_up.ordernum;
        Seam<ResolveCalls>::post([task = m_up.missid](ResolveCalls &resolve) { resolve.delResolveByTask(task); });
        return failUp(rep.code);
    default:
        return failUp(rep.code == 0 ? int(TransSet::DriveFailed) : rep.code);
    }
}

void UpWork::locate(const QJsonObject &data)
{
    if (m_backPort != 0)
        return connectSocket(QStringLiteral("127.0.0.1"), m_backPort);
    const QString side = UserInfo::lanWan();
    QString host = data.value(QStringLiteral("host") + side).toString();
    if (host.isEmpty())
        host = data.value(QStringLiteral("ip") + side).toString();
    const int port = data.value(QStringLiteral("port") + side).toVariant().toInt();
    startWait(HostWaitMs);
    if (host.isEmpty() || port <= 0 || port > 65535) {
        if (!askFarmHost(m_up.farmid))
            failUp(TransSet::DriveFailed);
        return;
    }
    resolveHost(host, [this, port](const QString &ip) {
        if (ip.isEmpty())
            failUp(TransSet::SocketBase + QAbstractSocket::HostNotFoundError, true);
        else
            connectSocket(ip, port);
    });
}

void UpWork::farmHostFound(QString host, int port)
{
    if (over() || m_socket)
        return;
    if (host.isEmpty() || port <= 0 || port > 65535)
        return failUp(TransSet::DriveFailed);
    resolveHost(host, [this, port](const QString &ip) {
        if (ip.isEmpty())
            failUp(TransSet::SocketBase + QAbstractSocket::HostNotFoundError, true);
        else
            connectSocket(ip, port);
    });
}

void UpWork::connectSocket(const QString &host, int port)
{
    m_host = host;
    m_port = port;
    if (!m_socket) {
        m_socket = new QTcpSocket(this);
        connect(m_socket, &QTcpSocket::connected, this, &UpWork::connected);
        connect(m_socket, &QTcpSocket::readyRead, this, &UpWork::readData);
        connect(m_socket, &QTcpSocket::bytesWritten, this, &UpWork::pump);
        connect(m_socket, &QTcpSocket::errorOccurred, this, &UpWork::errorRecord);
    }
    startWait(AnswerMs);
    if (m_socket->state() == QAbstractSocket::UnconnectedState)
        m_socket->connectToHost(QHostAddress(host), quint16(port), QIODevice::ReadWrite);
}

void UpWork::errorRecord(QAbstractSocket::SocketError error)
{
    m_share->forgetHost(m_hostName); // it may have moved
    failUp(TransSet::SocketBase + int(error));
}

QString UpWork::zipPathOf(const db_upfile &file)
{
    if (!file.lpath.endsWith(QLatin1String(".max"), Qt::CaseInsensitive))
        return {};
    QString name =
        file.id != 0 ? QString::number(file.id) : SourceFile::relative(QFileInfo(file.lpath).absoluteFilePath());
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QStringLiteral("%1/%2_%3_%4.zip")
        .arg(UserInfo::userDir(), QString::number(file.farmid), file.ordernum, name);
}

void UpWork::removeZips(const QString &order)
{
    const QDir dir(UserInfo::userDir());
    for (const QString &name : dir.entryList(
             {QStringLiteral("*_%1_*.zip").arg(order), QStringLiteral("*_%1_*.zip.*tmp").arg(order)}, QDir::Files))
        QFile::remove(dir.filePath(name));
}

void UpWork::removeParts()
{
    const QDir dir(UserInfo::userDir());
    for (const QString &name : dir.entryList({QStringLiteral("*.zip.*tmp")}, QDir::Files))
        QFile::remove(dir.filePath(name));
}

void UpWork::removeZip()
{
    if (m_zipPath.isEmpty() || closed) // a worker that was taken leaves the copy to the next one
        return;
    if (m_file && m_file->fileName() == m_zipPath)
        m_file->close();
    if (QFile::remove(m_zipPath))
        qDebug().noquote() << "UpWork::removeZip" << QStringLiteral("删除压缩文件:%1").arg(m_zipPath);
}

void UpWork::finishUp(int kind)
{
    if (!end())
        return;
    if (m_limitTimer)
        m_limitTimer->stop();
    qDebug().noquote() << "UpWork::finishUp"
                       << QStringLiteral("关闭上传:%1_%2").arg(m_workKey, TransSet::errorText(m_up.error));
    const bool wrongHash = m_up.error == 13010203 && kind != TransSet::Done;
    if (kind == TransSet::Done || wrongHash)
        removeZip();
    if (wrongHash) {
        m_up.hash.clear();
        emit updateFile(3, m_up);
    }
    emit UpWorkFinished(m_up, kind);
}
