#include "view/AccountFacts.h"
#include "common/facts/Command.h"
#include "common/UserInfo.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include <QDebug>

namespace
{
double money = 0;
}

AccountFacts::AccountFacts(QObject *parent) : QObject(parent)
{
    connect(NetTcp::instance(), &NetTcp::loginChanged, this, [this](bool on) {
        if (on)
            ask();
    });
}

double AccountFacts::balance() { return money; }

QString AccountFacts::balanceText(const QJsonValue &value)
{
    return QString::number(value.toVariant().toDouble(), 'f', 2);
}

void AccountFacts::ask()
{
    Ask(Command::AllowPush).send();
    Ask(Command::Rights)
        .any([this](int, const QJsonDocument &doc) {
            UserInfo::setRolePerm(doc.object());
            emit rolePermChanged();
        })
        .send(this);
}

void AccountFacts::queryMoney()
{
    Ask(Command::Balance)
        .any([this](int, const QJsonDocument &doc) {
            const QJsonObject obj = doc.object();
            const QJsonValue amount = obj.contains(QLatin1String("balance")) ? obj.value(QLatin1String("balance"))
                                                                             : obj.value(QLatin1String("money"));
            if (!amount.isUndefined() && !amount.isNull())
                moneyOk(obj.value(QLatin1String("level")).toVariant().toString(),
                        obj.value(QLatin1String("discount")).toVariant().toString(), amount.toVariant().toString());
        })
        .send(this);
}

void AccountFacts::moneyOk(QString level, QString dis, QString amount)
{
    qDebug().noquote() << "AccountFacts::moneyOk" << level << dis;
    changeBalance(QJsonObject{{QStringLiteral("balance"), amount}, {QStringLiteral("username"), UserInfo::username()}});
}

void AccountFacts::changeBalance(QJsonObject obj)
{
    const QString text = balanceText(obj.value(QLatin1String("balance")));
    money = text.toDouble();
    emit balanceChanged(text, money);
    const QString name = obj.value(QLatin1String("username")).toString();
    if (!name.isEmpty())
        emit nameChanged(name);
}
