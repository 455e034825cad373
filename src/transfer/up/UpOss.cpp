#include "transfer/up/UpOss.h"
#include "common/facts/Command.h"
#include "common/UserInfo.h"
#include "db/UploadDAO.h"
#include "io/Ask.h"
#include "transfer/TransHandler.h"
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QJsonDocument>

UpOss::UpOss(std::shared_ptr<TransShare> share, const QJsonObject &store, const QByteArray &auth, int silenceMs)
    : UpSource(std::move(share)), m_store(store), m_silenceMs(silenceMs), m_auth(auth)
{
}

UpOss::~UpOss()
{
    if (m_started && !m_done)
        tell({{QStringLiteral("func"), QStringLiteral("pauseUpload")},
              {QStringLiteral("file"), m_sendPath},
              {QStringLiteral("rule"), m_md5}});
    delete m_link;
}

QString UpOss::checkPoint() const { return QStringLiteral("%1/%2.ucp").arg(UserInfo::userDir(), m_md5); }

void UpOss::removeOld()
{
    const QDateTime month = QDateTime::currentDateTime().addDays(-30);
    for (const QFileInfo &one : QDir(UserInfo::userDir()).entryInfoList({QStringLiteral("*.ucp")}, QDir::Files))
        if (one.lastModified() < month)
            QFile::remove(one.filePath());
}

void UpOss::removeUnwanted()
{
    constexpr int MostLooks = 200;        // what is left over goes by its age
    constexpr qint64 MostBytes = 4 << 20; // as large as the companion makes them
    const QFileInfoList all = QDir(UserInfo::userDir()).entryInfoList({QStringLiteral("*.ucp")}, QDir::Files);
    for (const QFileInfo &one : all.mid(0, MostLooks)) {
        QFile file(one.filePath());
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QJsonObject stored = QJsonDocument::fromJson(file.read(MostBytes)).object();
        file.close();
        if (!UploadDAO::instance()->wants(stored.value(QLatin1String("file")).toString()))
            QFile::remove(one.filePath());
    }
}

// The secret comes first in the text too: the companion looks at nothing else of a stranger's.
void UpOss::tell(const QJsonObject &message)
{
    const QByteArray text = QJsonDocument(message).toJson(QJsonDocument::Compact);
    m_link->send("{\"auth\":\"" + m_auth + "\"," + text.mid(1));
}

void UpOss::upReq(db_upfile file)
{
    if (over())
        return;
    m_up = file;
    qDebug().noquote() << "UpOss::upReq" << QStringLiteral("开启上传:%1").arg(m_workKey);
    if (!initUp())
        return;
    m_link = new LocalSocket(this);
    connect(m_link, &LocalSocket::received, this, &UpOss::readyRead);
    connect(m_link, &LocalSocket::failed, this, [this](int error) {
        if (!m_done) // behind its last word the companion may go
            failUp(TransSet::SocketBase + error, true);
    });
    m_link->init(m_store.take(QStringLiteral("socketPort")).toInt());

    QJsonObject message = m_store;
    message.insert(QStringLiteral("func"), QStringLiteral("upload"));
    message.insert(QStringLiteral("file"), m_sendPath);
    message.insert(QStringLiteral("linkName"), m_up.isLink ? m_up.lpath : QString());
    if (m_up.isLink)
        qDebug().noquote() << "UpOss::upReq" << QStringLiteral("传给oss symlink:") << m_up.lpath;
    if (UserInfo::hasArgument(QStringLiteral("oss_cover")))
        message.insert(QStringLiteral("cover"), 1);
    if (UserInfo::hasArgument(QStringLiteral("oss_resumable")))
        message.insert(QStringLiteral("resumable"), 1);
    message.insert(QStringLiteral("partSize"), PartSize);
    message.insert(QStringLiteral("threadNum"), Threads);
    message.insert(QStringLiteral("rule"), m_md5);
    message.insert(QStringLiteral("checkPoint"), checkPoint());
    message.insert(QStringLiteral("ETag"), m_eTag.isEmpty() ? m_up.hash : m_eTag);
    message.insert(QStringLiteral("key"), m_key);
    message.insert(QStringLiteral("diskKey"), m_diskKey);
    tell(message);
    m_started = true;
    startWait(m_silenceMs);
    feedSpeed(0);
}

void UpOss::readyRead(QByteArray data)
{
    constexpr int Head = 8;
    m_buffer += data;
    while (!over() && !m_done && m_buffer.size() >= Head) {
        bool good = false;
        const int length = m_buffer.left(Head).toInt(&good);
        if (!good || length < 0 || length > MessageCeiling)
            return failUp(TransSet::ShortHead);
        if (m_buffer.size() < Head + length)
            return;
        const QJsonObject message = QJsonDocument::fromJson(m_buffer.mid(Head, length)).object();
        m_buffer.remove(0, Head + length);
        take(message);
    }
}

void UpOss::take(const QJsonObject &message)
{
    startWait(m_silenceMs);
    if (message.value(QStringLiteral("rule")).toString() != m_md5)
        return;
    const QString func = message.value(QStringLiteral("func")).toString();
    if (func == QLatin1String("uploading"))
        feedSpeed(qBound<qint64>(0, message.value(QStringLiteral("upped")).toVariant().toLongLong(), m_total));
    else if (func == QLatin1String("uploadFinish"))
        finished(message.value(QStringLiteral("code")).toInt());
}

void UpOss::finished(int code)
{
    if (code != 200 && code != 1) {
        // Keys that have run out come anew with the next try, and a store that is busy or has forgotten half an upload
        // is no fault of the file.
        if (code == AccessDenied || code == KeysExpired)
            m_share->post([farm = m_up.farmid](TransHandler &handler) { handler.dropStore(farm); });
        return failUp(code, code == KeysExpired || code == StoreBusy || code == UploadForgotten);
    }
    m_done = true;
    stopWait();
    Ask(Command::ObjectStored, {{QStringLiteral("id"), m_up.id}, {QStringLiteral("farmId"), m_up.farmid}})
        .within(ReportMs)
        .answered([this](int, const QJsonDocument &) { finishUp(TransSet::Done); })
        .refused([this](int val, const QJsonDocument &) { failUp(val); })
        .lost([this](Ask::Loss) { failUp(TransSet::TimedOut); })
        .send(this);
}

void UpOss::finishUp(int kind)
{
    if (!end())
        return;
    if (kind != TransSet::Done && m_up.error == TransSet::TimedOut)
        m_up.error = TransSet::StaleToken; // kept in the row: the companion looks twice at what it has
    qDebug().noquote() << "UpOss::finishUp"
                       << QStringLiteral("关闭上传:%1_%2").arg(m_workKey, TransSet::errorText(m_up.error));
    emit UpWorkFinished(m_up, kind);
}
