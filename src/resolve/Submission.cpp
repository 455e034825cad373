#include "resolve/Submission.h"
#include "common/facts/AnalysisError.h"
#include "common/facts/Command.h"
#include "common/facts/FileStates.h"
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
using SceneState::Act;
constexpr int LatestMs = 600000; // a late answer still counts, the server has the order

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
    // A write that failed, or a reply that came to nothing: nobody would move such a row any more.
    for (qlonglong rkey : ResolveDAO::instance()->keysIn({SceneState::Submitting}))
        if (!m_sent.contains(rkey) && !m_accepted.contains(rkey))
            ResolveDAO::instance()->step(rkey, Act::SubmitAgain);
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
        dao->step(row.rkey, Act::Refuse, 0, AnalysisError::BadResult);
        return;
    }
    if (dao->step(row.rkey, Act::Submit) <= 0)
        return;
    keepRoots(row);
    Sent sent;
    sent.attempt = ++m_attempts;
    sent.since.start();
    sent.files = order.files;
    m_sent.insert(row.rkey, sent);
    Ask(Command::Order, order.body)
        .within(LatestMs)
        .any([this, rkey = row.rkey, attempt = sent.attempt](int val, const QJsonDocument &doc) {
            replied(rkey, attempt, val, doc.object());
        })
        .lost([this, rkey = row.rkey, attempt = sent.attempt](Ask::Loss why) { lost(rkey, attempt, why); })
        .send(this);
}

void Submission::timeOut()
{
    for (auto it = m_sent.begin(); it != m_sent.end(); ++it) {
        if (it->late || it->since.elapsed() < m_replyMs)
            continue;
        qWarning().noquote() << "Submission::timeOut" << it.key() << "no reply within" << m_replyMs << "ms";
        it->late = ResolveDAO::instance()->step(it.key(), Act::Refuse, 0, AnalysisError::TimedOut) >= 0;
    }
}

// Without a link the server may have it or not: it is told again. After its time-out the row waits for the user.
void Submission::lost(qlonglong rkey, int attempt, Ask::Loss why)
{
    if (m_sent.value(rkey).attempt != attempt)
        return;
    m_sent.remove(rkey);
    if (why != Ask::TimeOut && !m_accepted.contains(rkey))
        ResolveDAO::instance()->step(rkey, Act::SubmitAgain);
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
    if (!SceneState::possible(Act::Accept, row.state))
        return;
    if (!Command::good(Command::Order, val)) {
        qWarning().noquote() << "Submission::replied" << rkey << row.ordernum << val;
        dao->step(rkey, Act::Refuse, 0, val);
        return;
    }
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
    accepted.filetype = reply.value("sourceFileType").toVariant().toInt();
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
        up.state = FileStates::UpWait;
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

// The rows come before the state: a queue that sees the order waiting with no rows takes the order for finished.
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
    return dao->setFileType(rkey, accepted.filetype) && dao->setCounts(rkey, 0, rows) &&
           dao->setSizes(rkey, accepted.bytes, 0) && dao->step(rkey, Act::Accept) >= 0;
}
