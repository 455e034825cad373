#include "resolve/SlaveSeat.h"
#include "common/UserInfo.h"
#include "db/ResolveDAO.h"
#include "io/WebAsk.h"
#include "resolve/OrderMessage.h"
#include <QDateTime>
#include <QDebug>
#include <QJsonDocument>
#include <QUuid>

namespace
{
constexpr int HandOverMs = 30000, PollMs = 10000;

QJsonValue feeAccount()
{
    const QJsonArray saved = UserInfo::feeUserIds();
    if (!saved.isEmpty())
        return saved;
    return UserInfo::leadId() != 0 ? UserInfo::leadId() : UserInfo::userId();
}

// Keys are seconds: two seats of a master have equal ones soon enough, so each tells which seat it is.
QString seatName()
{
    const QString group = QStringLiteral("Server"), key = QStringLiteral("seat");
    QString name = UserInfo::allValue(group, key).toString();
    if (name.isEmpty()) {
        name = QUuid::createUuid().toString(QUuid::Id128);
        UserInfo::setAllValue(group, key, name);
    }
    return name;
}

void setState(qlonglong rkey, int state, int error = 0)
{
    ResolveDAO::instance()->setState(rkey, state, error, QDateTime::currentMSecsSinceEpoch());
}
} // namespace

int SlaveSeat::approvalState(int masterState)
{
    if (masterState >= 110 && masterState <= 113)
        return 116;
    return masterState == 118 ? 119 : masterState == -1 ? 117 : 0;
}

void SlaveSeat::step()
{
    const db_resolve row = ResolveDAO::instance()->nextToCommit(true);
    if (row.rkey == 0)
        return;
    setState(row.rkey, 108);
    Request request;
    request.url = UserInfo::master() + "/model/analysis";
    request.bareAddress = true;
    QJsonObject body = OrderMessage::handOver(row, feeAccount(), UserInfo::needMasterCheck());
    body["seat"] = seatName();
    request.byte = QJsonDocument(body).toJson(QJsonDocument::Compact);
    const auto open = [rkey = row.rkey] { return ResolveDAO::instance()->read(rkey).state == 108; };
    WebAsk::post(request)
        .within(HandOverMs)
        .answered([rkey = row.rkey, open](const FuncBody &rep) {
            qDebug().noquote() << "SlaveSeat::step" << rkey << QString::fromUtf8(rep.raw);
            if (!open())
                return;
            if (rep.result == 1)
                return setState(rkey, 115);
            ResolveDAO::instance()->saveMessage(rkey, rep.msg);
            setState(rkey, 109, rep.code);
        })
        .failed([rkey = row.rkey, open] {
            if (open())
                setState(rkey, 107); // the master can't be reached: the next scan tries again
        })
        .send(this);
}

void SlaveSeat::poll()
{
    for (const db_resolve &row : ResolveDAO::instance()->waitingApproval()) {
        if (m_polled.contains(row.rkey))
            continue;
        m_polled.insert(row.rkey);
        Request request;
        request.url =
            UserInfo::master() + QStringLiteral("/model/checkSlave?rkey=%1&seat=%2").arg(row.rkey).arg(seatName());
        request.bareAddress = true;
        WebAsk::get(request)
            .within(PollMs)
            .answered([this, rkey = row.rkey](const FuncBody &rep) {
                m_polled.remove(rkey);
                if (!rep.data.isEmpty())
                    answered(rkey, rep.data);
            })
            .failed([this, rkey = row.rkey] { m_polled.remove(rkey); })
            .send(this);
    }
}

void SlaveSeat::answered(qlonglong rkey, const QJsonObject &data)
{
    ResolveDAO *dao = ResolveDAO::instance();
    const db_resolve row = dao->read(rkey);
    if (row.rkey == 0 || (row.state != 115 && row.state != 116))
        return;
    const int state = approvalState(data.value("state").toInt());
    const int fok = data.value("fok").toInt(), fsum = data.value("fsum").toInt();
    if (fok != row.fok || fsum != row.fsum)
        dao->setCounts(rkey, fok, fsum);
    if (state == 0 || state == row.state)
        return;
    setState(rkey, state);
    if (state == 119)
        dao->remove(rkey);
}
