#include "common/ui/PullMsg.h"
#include "common/facts/Command.h"
#include "common/UserInfo.h"
#include "io/Ask.h"

namespace
{
constexpr int PullMs = 10000, RoundMs = 20000, BalanceMs = 1000;

// Times are milliseconds as a number or a text that sorts by itself; both compare as text of equal length.
QString timeText(const QJsonValue &value)
{
    return value.isDouble() ? QString::number(qint64(value.toDouble())).rightJustified(19, QLatin1Char('0'))
                            : value.toString();
}
} // namespace

QJsonArray PullMsg::listOf(const QJsonDocument &doc)
{
    if (doc.isArray())
        return doc.array();
    const QJsonObject obj = doc.object();
    for (const char *key : {"pageList", "list", "rows", "data", "notices"})
        if (obj.value(QLatin1String(key)).isArray())
            return obj.value(QLatin1String(key)).toArray();
    return obj.contains(QLatin1String("content")) ? QJsonArray{obj} : QJsonArray();
}

void PullMsg::start()
{
    if (m_pull)
        return;
    m_pull = new QTimer(this);
    connect(m_pull, &QTimer::timeout, this, &PullMsg::pullOut);
    m_pull->start(PullMs);
    pullOut();
    QTimer::singleShot(BalanceMs, this, &PullMsg::balanceHandle);
}

void PullMsg::pullOut()
{
    Ask(Command::Notices, {{QStringLiteral("page"), 0}})
        .any([this](int, const QJsonDocument &doc) { noticeReply(doc); })
        .send(this);
}

void PullMsg::noticeReply(const QJsonDocument &doc)
{
    m_notices = listOf(doc);
    QString latest = timeText(doc.object().value(QLatin1String("time")));
    for (const QJsonValue &notice : qAsConst(m_notices))
        latest = qMax(latest, timeText(notice.toObject().value(QLatin1String("time"))));
    if (!latest.isEmpty() &&
        latest > UserInfo::userValue(QStringLiteral("MsgCenter"), QStringLiteral("latest")).toString()) {
        UserInfo::setUserValue(QStringLiteral("MsgCenter"), QStringLiteral("latest"), latest);
        emit newMsgCenter(1);
    }
    if (!m_round && !m_notices.isEmpty())
        noticeOut();
}

void PullMsg::noticeOut()
{
    if (m_notices.isEmpty())
        return;
    if (!m_round) {
        m_round = new QTimer(this);
        connect(m_round, &QTimer::timeout, this, &PullMsg::noticeOut);
        m_round->start(RoundMs);
    }
    if (m_index >= m_notices.size())
        m_index = 0;
    emit changeNotice(m_notices.at(m_index++).toObject());
}

void PullMsg::balanceHandle() { emit queryMoney(); }
