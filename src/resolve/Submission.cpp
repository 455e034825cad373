#include "resolve/Submission.h"
#include "common/ResultRoots.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "io/NetTcp.h"
#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{
constexpr int Success = 1040000;
constexpr int WrongData = 10012, TimedOut = 10002; // of the analysis errors, whose texts fit
constexpr int WaitingUpload = 10;

qint64 now() { return QDateTime::currentMSecsSinceEpoch(); }

// Where the farm may put the results of this order: it's believed later only about folders that stand here.
void keepRoots(const db_resolve &row)
{
    const QJsonObject rset = QJsonDocument::fromJson(row.rset.toUtf8()).object();
    const QJsonObject config = rset.value("projectConfig").toObject();
    for (const QJsonValue &root : {rset.value("clientResultRootPath"), config.value("outputPath"),
                                   config.value("extraConfig").toObject().value("outputPath")}) {
        if (!root.toString().isEmpty())
            ResultRoots::add(root.toString());
    }
}
} // namespace

Submission::Submission(QObject *parent) : QObject(parent) {}

void Submission::step()
{
    timeOut();
    for (qlonglong rkey : m_accepted.keys())
        if (store(rkey, m_accepted.value(rkey)))
            m_accepted.remove(rkey);
    if (!NetTcp::isLogin())
        return;
    const db_resolve row = ResolveDAO::instance()->nextToCommit(false);
    if (row.rkey != 0)
        send(row);
}

void Submission::send(const db_resolve &row)
{
    ResolveDAO *dao = ResolveDAO::instance();
    OrderMessage::Options options;
    options.noFiles = UserInfo::hasArgument("nofile");
    options.nowMs = now();
    options.pathCase = [](const QString &path) { return UserInfo::pathCase(path); };
    const OrderMessage order = OrderMessage::build(row, options);
    if (!order.valid) {
        qWarning().noquote() << "Submission::send" << row.rkey << row.lpath
                             << "the result of the analysis can't be read";
        dao->setState(row.rkey, 109, WrongData, now());
        return;
    }
    if (!dao->setState(row.rkey, 108, 0, now()))
        return;
    keepRoots(row);
    Sent sent;
    sent.attempt = ++m_attempts;
    sent.since.start();
    sent.files = order.files;
    m_sent.insert(row.rkey, sent);
    NetTcp::instance()->nvds(
        104, 10400, order.body,
        [this, rkey = row.rkey, attempt = sent.attempt](int val, const QJsonDocument &doc) {
            replied(rkey, attempt, val, doc.object());
        },
        this);
}

void Submission::timeOut()
{
    for (auto it = m_sent.begin(); it != m_sent.end(); ++it) {
        if (it->late || it->since.elapsed() < m_replyMs)
            continue;
        it->late = true;
        qWarning().noquote() << "Submission::timeOut" << it.key() << "no reply within" << m_replyMs << "ms";
        if (ResolveDAO::instance()->read(it.key()).state == 108)
            ResolveDAO::instance()->setState(it.key(), 109, TimedOut, now());
    }
}

void Submission::linkLost()
{
    for (qlonglong rkey : m_sent.keys())
        if (ResolveDAO::instance()->read(rkey).state == 108 && !m_accepted.contains(rkey))
            ResolveDAO::instance()->setState(rkey, 107, 0, now());
    m_sent.clear();
}

void Submission::forget(qlonglong rkey)
{
    m_sent.remove(rkey);
    m_accepted.remove(rkey);
}

void Submission::replied(qlonglong rkey, int attempt, int val, const QJsonObject &reply)
{
    if (m_sent.value(rkey).attempt != attempt)
        return;
    const QList<OrderMessage::File> files = m_sent.take(rkey).files;
    ResolveDAO *dao = ResolveDAO::instance();
    const db_resolve row = dao->read(rkey);
    if (row.rkey == 0 || (row.state != 108 && row.state != 109))
        return;
    if (val != Success) {
        qWarning().noquote() << "Submission::replied" << rkey << row.ordernum << val;
        dao->setState(rkey, 109, val, now());
        return;
    }
    dao->setFileType(rkey, reply.value("sourceFileType").toVariant().toInt());
    const Accepted accepted = uploadRows(row, files, reply);
    if (!store(rkey, accepted))
        m_accepted.insert(rkey, accepted);
}

Submission::Accepted Submission::uploadRows(const db_resolve &row, const QList<OrderMessage::File> &files,
                                            const QJsonObject &reply) const
{
    const QString order = reply.value("orderNum").toVariant().toString();
    if (!order.isEmpty() && order != row.ordernum)
        qWarning().noquote() << "Submission::uploadRows" << row.ordernum << "is answered as" << order;
    const int mission = reply.value("missionId").toVariant().toInt();
    Accepted accepted;
    for (const OrderMessage::File &file : files) {
        if (file.path.isEmpty())
            continue;
        db_upfile up;
        up.id = int(file.id);
        // The row is found by the number that the scene's own row has.
        up.ordernum = row.ordernum;
        up.missid = mission != 0 ? mission : row.missionid;
        up.farmid = reply.value("farmId").toVariant().toInt();
        up.lpath = OrderMessage::uploadPath(file.path);
        up.state = WaitingUpload;
        const QFileInfo info(VFunc::followLinks(up.lpath));
        if (info.isFile()) {
            up.modtime = info.lastModified().toMSecsSinceEpoch();
            up.size = info.size();
        }
        accepted.bytes += up.size;
        accepted.rows << up;
    }
    qDebug().noquote() << "10400 ret file arr" << files.size();
    qDebug().noquote() << "10400 ret uL arr" << accepted.rows.size();
    return accepted;
}

// The rows come before the state: a queue that sees 110 with no rows takes the order for finished.
bool Submission::store(qlonglong rkey, const Accepted &accepted)
{
    ResolveDAO *dao = ResolveDAO::instance();
    const db_resolve row = dao->read(rkey);
    if (row.rkey == 0)
        return true;
    // Rows of an earlier try carry ids that the new order doesn't know.
    UploadDAO *uploads = UploadDAO::instance();
    if (uploads->count(row.ordernum) != 0 && !uploads->removeOrder(row.ordernum))
        return false;
    const int rows = uploads->addOrder(accepted.rows);
    if (rows < 0) {
        qWarning().noquote() << "Submission::store" << row.ordernum << "rows not stored, tried again";
        return false;
    }
    dao->setCounts(rkey, 0, rows);
    dao->setSizes(rkey, accepted.bytes, 0);
    return dao->setState(rkey, 110, 0, now());
}
