#include "resolve/OrderGiveUp.h"
#include "common/facts/Command.h"
#include "db/ResolveDAO.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include <QDebug>

OrderGiveUp::OrderGiveUp(QObject *parent) : QObject(parent) {}

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
        Ask(Command::GiveUpOrder, {{"missionId", mission}})
            .any([this, mission](int val, const QJsonDocument &) { replied(mission, val); })
            .lost([this, mission](Ask::Loss why) {
                if (why != Ask::TimeOut)
                    m_asked.remove(mission); // asked again with the next login
            })
            .send(this);
    }
}

void OrderGiveUp::replied(int mission, int val)
{
    qDebug().noquote() << "OrderGiveUp::replied" << mission << val;
    if (Command::good(Command::GiveUpOrder, val) && ResolveDAO::instance()->forgetGivenUp(mission))
        m_asked.remove(mission);
}
