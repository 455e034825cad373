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
using SceneState::Act;

constexpr int HandOverMs = 30000, PollMs = 10000;
constexpr int Gone = -1; // the master has no such row

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
    QString name = UserInfo::setting(Settings::Seat).toString();
    if (name.isEmpty()) {
        name = QUuid::createUuid().toString(QUuid::Id128);
        UserInfo::setSetting(Settings::Seat, name);
    }
    return name;
}
} // namespace

Act SlaveSeat::approval(int masterState)
{
    if (SceneState::InUpload.contains(masterState))
        return Act::Approve;
    return masterState == SceneState::DoneForSeat ? Act::EndAtMaster : masterState == Gone ? Act::Reject : Act::None;
}

void SlaveSeat::step()
{
    for (qlonglong rkey : ResolveDAO::instance()->keysIn({SceneState::Submitting}))
        if (!m_handing.contains(rkey)) // what the master said couldn't be written
            ResolveDAO::instance()->step(rkey, Act::SubmitAgain);
    const db_resolve row = ResolveDAO::instance()->nextToCommit(true);
    if (row.rkey == 0 || ResolveDAO::instance()->step(row.rkey, Act::Submit) <= 0)
        return;
    m_handing.insert(row.rkey);
    Request request;
    request.url = UserInfo::master() + "/model/analysis";
    request.bareAddress = true;
    QJsonObject body = OrderMessage::handOver(row, feeAccount(), UserInfo::needMasterCheck());
    body["seat"] = seatName();
    request.byte = QJsonDocument(body).toJson(QJsonDocument::Compact);
    const auto open = [rkey = row.rkey] { return ResolveDAO::instance()->read(rkey).state == SceneState::Submitting; };
    WebAsk::post(request)
        .within(HandOverMs)
        .answered([this, rkey = row.rkey, open](const FuncBody &rep) {
            m_handing.remove(rkey);
            qDebug().noquote() << "MODEL ANALYSIS" << rkey << QString::fromUtf8(rep.raw);
            if (!open())
                return;
            if (rep.result == 1) {
                ResolveDAO::instance()->step(rkey, Act::HandOver);
                return;
            }
            ResolveDAO::instance()->saveMessage(rkey, rep.msg);
            ResolveDAO::instance()->step(rkey, Act::Refuse, 0, rep.code);
        })
        .failed([this, rkey = row.rkey] {
            m_handing.remove(rkey);
            qDebug().noquote() << "MODEL ANALYSIS" << rkey << "no answer";
            // The master can't be reached: the next scan tries again.
            ResolveDAO::instance()->step(rkey, Act::SubmitAgain);
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
    if (!SceneState::possible(Act::EndAtMaster, row.state))
        return;
    const Act act = approval(data.value("state").toInt());
    const int fok = data.value("fok").toInt(), fsum = data.value("fsum").toInt();
    if (fok != row.fok || fsum != row.fsum)
        dao->setCounts(rkey, fok, fsum);
    if (SceneState::possible(act, row.state) && dao->step(rkey, act) > 0 && act == Act::EndAtMaster)
        dao->remove(rkey);
}
