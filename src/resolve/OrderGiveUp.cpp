#include "resolve/OrderGiveUp.h"
#include "common/facts/Command.h"
#include "db/ResolveDAO.h"
#include "io/NetTcp.h"
#include <QDebug>
#include <QJsonObject>

OrderGiveUp::OrderGiveUp(QObject *parent) : QObject(parent) {}

void OrderGiveUp::linkLost() { m_asked.clear(); }

void OrderGiveUp::tick()
{
    if (!NetTcp::isLogin())
        return;
    for (int mission : ResolveDAO::instance()->givenUp()) {
        Asked &asked = m_asked[mission];
        if (asked.since.isValid()) {
            if (!asked.since.hasExpired(asked.pauseMs))
                continue;
            asked.pauseMs = qMin(asked.pauseMs * 2, int(SlowestMs));
        }
        asked.since.start();
        NetTcp::instance()->nvds(
            Command::module(Command::GiveUpOrder), Command::GiveUpOrder, QJsonObject{{"missionId", mission}},
            [this, mission](int val, const QJsonDocument &) { replied(mission, val); }, this);
    }
}

void OrderGiveUp::replied(int mission, int val)
{
    qDebug().noquote() << "OrderGiveUp::replied" << mission << val;
    if (Command::good(Command::GiveUpOrder, val) && ResolveDAO::instance()->forgetGivenUp(mission))
        m_asked.remove(mission);
}
