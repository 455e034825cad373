// Modules 100, 103: link, login, account; modules 105, 106, 111: projects, environments, software, farm.
#include "Account.h"
#include "Business.h"
#include "Core.h"
#include "drive/Drive.h"
#include "ObjectStore.h"
#include "Rest.h"
#include "tasks/Renderer.h"
#include <QDebug>
#include <QTimer>

namespace farm
{

namespace
{
constexpr int pushesMs = 3000;
}

void Business::addAccount()
{
    add(10000, [](Link &, const QJsonDocument &) { return Answer{1000000, {}, {}, {}}; });
    add(10302, [this](Link &link, const QJsonDocument &) {
        return Answer{
            1030200, {{"balance", m_core.account->balance()}, {"username", m_core.account->nameOf(link.user)}}, {}, {}};
    });
    add(10303, [this](Link &, const QJsonDocument &doc) {
        const bool good = m_core.account->saveConfig(doc.object());
        return Answer{good ? 1030300 : 1030301, m_core.account->config(), {}, {}};
    });
    add(10306, [this](Link &link, const QJsonDocument &) {
        const QPointer<QTcpSocket> socket = link.socket;
        return Answer{1030600, {}, [this, socket] { welcome(linkOf(socket)); }, {}};
    });
    add(10307, [this](Link &link, const QJsonDocument &) {
        return Answer{1030700,
                      {{"userId", link.user},
                       {"username", m_core.account->nameOf(link.user)},
                       {"balance", m_core.account->balance()},
                       {"rows", m_core.account->users(link.user)}},
                      {},
                      {}};
    });
    add(10308, [this](Link &link, const QJsonDocument &) {
        link.session = m_core.account->newSession();
        const QString base = m_core.rest->address();
        const auto page = [&base](const char *word) { return base + QStringLiteral("/page/") + QLatin1String(word); };
        const QJsonObject links{{"loginLink", base + QStringLiteral("/xclient/loginPage?version=qn")},
                                {"resetpwdLink", page("password")},
                                {"balanceLink", page("balance")},
                                {"depositLink", page("deposit")},
                                {"registerLink", page("register")},
                                {"secret", page("secret")},
                                {"customerQQ", page("service")},
                                {"enterpriseQQ", page("service")},
                                {"personalCenterUrl", page("personal")},
                                {"rechargeCenterUrl", page("recharge")},
                                {"vipCenterUrl", page("vip")},
                                {"renderGuideUrl", page("guide")},
                                {"netTestUrl", page("network")}};
        QJsonObject body = links;
        body.insert("token", link.session);
        body.insert("links", links);
        return Answer{1030800, body, {}, {}};
    });
    add(10309, [this](Link &link, const QJsonDocument &doc) {
        if (!m_core.account->sessionLoggedIn(link.session)) {
            m_core.event(QStringLiteral("10309 without a page login"));
            return Answer{1030901, {}, {}, {}};
        }
        link.user = m_core.account->sessionUser(link.session);
        link.seat = doc.object().contains("masterUserId");
        if (!link.seat && m_core.faults.peek(QStringLiteral("single-login")) != QLatin1String("0")) {
            for (Link *other : QList<Link *>(m_links)) {
                if (other == &link || !other->loggedIn || other->seat || other->user != link.user)
                    continue;
                other->loggedIn = false;
                send(other, replyPackage(-1, 10001, 1000101, "{}"));
            }
        }
        link.loggedIn = true;
        ++m_core.counters.logins;
        emit m_core.loggedIn();
        for (const Task *task : m_core.tasks->all()) {
            if (task->user == link.user)
                m_outstanding.remove(task->id); // pushed again to this login
        }
        const QPointer<QTcpSocket> socket = link.socket;
        return Answer{1030900,
                      m_core.account->object(link.user),
                      [this, socket] {
                          // A client that never asks for pushes gets them all the same.
                          QTimer::singleShot(pushesMs, this, [this, socket] { welcome(linkOf(socket)); });
                      },
                      {}};
    });
    add(10310, [](Link &, const QJsonDocument &) { return Answer{1031000, {}, {}, {}}; });
    add(10311, [this](Link &, const QJsonDocument &doc) {
        return Answer{1031100, m_core.account->notices(doc.object().value("page").toInt()), {}, {}};
    });
    add(10312, [](Link &, const QJsonDocument &) { return Answer{1031200, {}, {}, {}}; });
    add(10313, [this](Link &, const QJsonDocument &doc) {
        m_core.account->setNotice(doc.object());
        return Answer{1031300, {{"status", 1}}, {}, {}};
    });
    add(10314, [this](Link &, const QJsonDocument &) {
        QJsonArray denied;
        for (const QString &one :
             m_core.faults.peek(QStringLiteral("deny")).split(QLatin1Char(','), Qt::SkipEmptyParts))
            denied.append(one.toInt());
        return Answer{1031400, {{"grants", denied}, {"result", 1}}, {}, {}};
    });
}

void Business::addLists()
{
    add(10500, [this](Link &, const QJsonDocument &doc) {
        int id = 0;
        const int n = m_core.account->addProject(doc.object().value("name").toString(), &id);
        return Answer{1050000 + n, {{"id", id}}, {}, {}};
    });
    add(10501, [this](Link &, const QJsonDocument &doc) {
        const QJsonObject body = doc.object();
        return Answer{1050100 + m_core.account->removeProject(
                                    body.value(body.contains("projectId") ? "projectId" : "id").toInt()),
                      {},
                      {},
                      {}};
    });
    add(10502, [this](Link &, const QJsonDocument &) {
        const QJsonArray all = m_core.account->projects();
        return Answer{1050200, {{"projects", all}, {"rows", all}}, {}, {}};
    });
    add(10504, [this](Link &, const QJsonDocument &doc) {
        int id = 0;
        return Answer{1050400 + m_core.account->saveCombo(doc.object(), true, &id), {{"id", id}}, {}, {}};
    });
    add(10505, [this](Link &, const QJsonDocument &doc) {
        return Answer{1050500 + m_core.account->removeCombo(doc.object()), {}, {}, {}};
    });
    add(10506, [this](Link &, const QJsonDocument &doc) {
        if (!m_core.account->hasProject(doc.object().value("projectId").toInt()))
            return Answer{1050601, {}, {}, {}};
        const QJsonObject config = m_core.account->projectConfig(doc.object().value("projectId").toInt(),
                                                                 doc.object().value("software_type").toInt());
        QJsonObject body = config;
        body.insert("projectSoftwareConfig", config);
        return Answer{1050600, body, {}, {}};
    });
    add(10507, [this](Link &, const QJsonDocument &doc) {
        return Answer{1050700 + m_core.account->setDefaultCombo(doc.object()), {}, {}, {}};
    });
    add(10508, [this](Link &, const QJsonDocument &doc) {
        int id = 0;
        return Answer{1050800 + m_core.account->saveCombo(doc.object(), false, &id), {{"id", id}}, {}, {}};
    });
    add(10509, [this](Link &, const QJsonDocument &doc) {
        return Answer{1050900 + m_core.account->savePaths(doc.object()), {}, {}, {}};
    });
    add(10600, [](Link &, const QJsonDocument &doc) {
        return Answer{1060000, {{"rows", Account::softwares(doc.object().value("softwareType").toInt())}}, {}, {}};
    });
    add(10601, [](Link &, const QJsonDocument &doc) {
        return Answer{1060100, {{"rows", Account::plugins(doc.object().value("softwareType").toInt())}}, {}, {}};
    });
    add(11100, [this](Link &, const QJsonDocument &doc) {
        const int farmId = doc.object().value("farmId").toInt();
        if (!m_core.drive->knows(farmId))
            return Answer{1110001, {}, {}, {}};
        const QString address = m_core.rest->address() + Drive::prefix(farmId);
        QJsonObject farm{{"farmId", farmId},
                         {"name", QStringLiteral("本机农场")},
                         {"addr", address},
                         {"addr-internal", address},
                         {"accessToken", m_core.account->accessToken(farmId)}};
        const QJsonObject store = m_core.objects->description();
        for (auto it = store.begin(); it != store.end(); ++it)
            farm.insert(it.key(), it.value());
        return Answer{1110000, farm, {}, {}};
    });
    add(11102, [](Link &, const QJsonDocument &) {
        return Answer{1110200, {{"machines", Account::machines()}, {"rows", Account::machines()}}, {}, {}};
    });
    add(11111, [this](Link &, const QJsonDocument &) {
        return Answer{1111100, {{"rows", m_core.account->users()}}, {}, {}};
    });
    add(11201, [this](Link &, const QJsonDocument &) { return Answer{1120198, m_core.drive->entry(), {}, {}}; });
    add(11202, [this](Link &, const QJsonDocument &doc) {
        return Answer{1120200, m_core.drive->room(qMax(1, doc.object().value("farmId").toInt())), {}, {}};
    });
}

} // namespace farm
