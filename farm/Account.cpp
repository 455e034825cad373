#include "Account.h"
#include "Core.h"
#include "drive/Drive.h"
#include <QDateTime>
#include <QJsonDocument>
#include <QUuid>

namespace farm
{

namespace
{
QString stamp() { return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")); }

QString freshToken() { return QUuid::createUuid().toString(QUuid::WithoutBraces); }

QString text(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QJsonObject object(const QString &text) { return QJsonDocument::fromJson(text.toUtf8()).object(); }

struct Plugin {
    const char *name;
    const char *version;
};
struct Software {
    int type;
    const char *name;
    QStringList versions; // the first one is the default environment's
    QList<Plugin> plugins;
};

const QList<Software> &known()
{
    static const QList<Software> all = {
        {1,
         "Maya",
         {"maya2018", "maya2016", "maya2022"},
         {{"mtoa", "3.1.0"}, {"mtoa", "1.4.2"}, {"vrayformaya", "3.60.04"}, {"redshift", "2.6.30"}, {"yeti", "2.2.6"}}},
        {3,
         "3ds Max",
         {"3ds max 2018", "3ds max 2016"},
         {{"vray", "3.60.03"}, {"vray", "2.40.03"}, {"CoronaRender", "1.7"}, {"ForestPack", "5.3"}}},
        {4, "Houdini", {"houdini-17.5.460", "houdini-16.5.634"}, {{"htoa", "4.0.1"}}},
        {5, "Cinema 4D", {"Cinema 4D R19", "Cinema 4D R21"}, {{"octane", "4.0"}}},
        {6, "SketchUp", {"SketchUp 2017"}, {}},
        {7, "Clarisse", {"Clarisse 3.6"}, {}},
        {8, "Terragen", {"Terragen 4.5"}, {}},
    };
    return all;
}

QJsonObject pluginRow(const Plugin &plugin)
{
    return {{"name", QLatin1String(plugin.name)}, {"version", QLatin1String(plugin.version)}};
}

QJsonObject defaultCombo(int software, int projectId)
{
    for (const Software &one : known()) {
        if (one.type != software)
            continue;
        const QString version = one.versions.first();
        QJsonArray plugins;
        if (!one.plugins.isEmpty())
            plugins.append(pluginRow(one.plugins.first()));
        return {{"id", projectId * 100 + software},
                {"name", version},
                {"software", version},
                {"plugins", plugins},
                {"startGpu", 0},
                {"isDefault", 1},
                {"env_block", QJsonObject{{"software", version}, {"plugins", plugins}}}};
    }
    return {};
}

int comboAt(const QJsonArray &combos, int id)
{
    for (int i = 0; i < combos.size(); ++i) {
        if (combos.at(i).toObject().value("id").toInt() == id)
            return i;
    }
    return -1;
}

QJsonArray withDefault(const QJsonArray &combos, int id) // one is the default, no other
{
    QJsonArray out;
    for (const QJsonValue &value : combos) {
        QJsonObject one = value.toObject();
        one.insert("isDefault", one.value("id").toInt() == id ? 1 : 0);
        out.append(one);
    }
    return out;
}
} // namespace

Account::Account(Core &core) : m_core(core) { load(); }

void Account::load()
{
    m_access = m_core.db.meta(QStringLiteral("access"));
    m_transfer = m_core.db.meta(QStringLiteral("transfer"));
    if (m_access.isEmpty() || m_transfer.isEmpty())
        rotateTokens();
    const QString balance = m_core.db.meta(QStringLiteral("balance"));
    m_balance = balance.isEmpty() ? 1000.0 : balance.toDouble();
    m_config = ::farm::object(m_core.db.meta(QStringLiteral("config")));
    m_lists = ::farm::object(m_core.db.meta(QStringLiteral("lists")));
    if (m_lists.isEmpty()) {
        m_lists = {
            {"next", 100},
            {"projects", QJsonArray{QJsonObject{{"id", 1}, {"name", QStringLiteral("默认项目")}, {"isDefault", 1}}}}};
        addNotice(3, QStringLiteral("欢迎使用本机渲染农场"));
    }
}

QString Account::newSession()
{
    const QString token = freshToken();
    m_core.db.run(QStringLiteral("delete from session where made < ?"),
                  {QDateTime::currentMSecsSinceEpoch() - 7LL * 86400000});
    m_core.db.run(QStringLiteral("insert into session(token, auth, made) values(?, '', ?)"),
                  {token, QDateTime::currentMSecsSinceEpoch()});
    return token;
}

QString Account::login(const QString &session, const QString &user, const QString &password, QString *problem)
{
    if (m_core.faults.happens(QStringLiteral("login-fail")) ||
        (user != m_core.options.user && user != m_core.options.secondUser) || password != m_core.options.password) {
        *problem = QStringLiteral("账号或密码错误");
        return {};
    }
    const QString known =
        m_core.db.value(QStringLiteral("select token from session where token = ?"), {session}).toString();
    if (!session.isEmpty() && known.isEmpty()) {
        *problem = QStringLiteral("会话已失效，请重试");
        return {};
    }
    const QString auth = freshToken();
    if (!session.isEmpty() && !m_core.db.run(QStringLiteral("update session set auth = ?, user = ? where token = ?"),
                                             {auth, user == m_core.options.user ? UserId : SecondUserId, session})) {
        *problem = QStringLiteral("内部错误");
        return {};
    }
    return auth;
}

bool Account::sessionLoggedIn(const QString &session) const
{
    return !m_core.db.value(QStringLiteral("select auth from session where token = ?"), {session}).toString().isEmpty();
}

int Account::sessionUser(const QString &session) const
{
    const int user = m_core.db.value(QStringLiteral("select user from session where token = ?"), {session}).toInt();
    return user == SecondUserId ? user : UserId;
}

QString Account::nameOf(int user) const
{
    return user == SecondUserId ? m_core.options.secondUser : m_core.options.user;
}

QJsonArray Account::users(int but) const
{
    QJsonArray rows;
    for (int user : {UserId, SecondUserId}) {
        if (user != but)
            rows.append(QJsonObject{{"id", user}, {"name", nameOf(user)}});
    }
    return rows;
}

bool Account::knownToken(const QString &token) const
{
    return !token.isEmpty() &&
           m_core.db.value(QStringLiteral("select 1 from session where token = ? or auth = ?"), {token, token})
               .isValid();
}

QString Account::accessToken(int farm) const
{
    return farm == 1 ? m_access : QStringLiteral("%1-%2").arg(m_access).arg(farm);
}

QString Account::transferToken(int farm) const
{
    return farm == 1 ? m_transfer
                     : QUuid::createUuidV5(QUuid(m_transfer), QString::number(farm)).toString(QUuid::WithoutBraces);
}

QByteArray Account::transferBytes(int farm) const
{
    return QByteArray::fromHex(transferToken(farm).toLatin1().replace('-', ""));
}

void Account::rotateTokens()
{
    m_access = freshToken();
    m_transfer = freshToken();
    m_core.db.setMeta(QStringLiteral("access"), m_access);
    m_core.db.setMeta(QStringLiteral("transfer"), m_transfer);
}

QJsonObject Account::object(int user) const
{
    QJsonObject whole = config();
    const QJsonObject facts{{"userId", user},
                            {"feeUserId", UserId},
                            {"leadId", user == UserId ? 0 : UserId},
                            {"leadIds", QJsonArray()},
                            {"username", nameOf(user)},
                            {"nickname", nameOf(user)},
                            {"hashType", 1},
                            {"userType", 0},
                            {"hashPrefix", QStringLiteral("qn")},
                            {"balance", m_balance}};
    for (auto it = facts.begin(); it != facts.end(); ++it)
        whole.insert(it.key(), it.value());
    const QJsonObject drive = m_core.drive->entry();
    for (const char *key : {"defaultFarmId", "skydriveFarms"})
        whole.insert(QLatin1String(key), drive.value(QLatin1String(key)));
    return whole;
}

QJsonObject Account::config() const
{
    const int willing = m_core.options.autoSubmit ? 1 : 0;
    QJsonObject whole{{"autoSubmit", willing},
                      {"ignoreWarn", willing},
                      {"autoPushResult", 1},
                      {"frameFirst", 0},
                      {"timeout", 0},
                      {"killTimeout", 0},
                      {"parseTime", 0},
                      {"killParseTime", 0},
                      {"mayaResultRootPathEnum", 0},
                      {"repairType", 0},
                      {"mayaSplitByLayer", 0},
                      {"submitUpload", 0},
                      {"priorityStrategy", 0},
                      {"submitConfig", 0},
                      {"needMasterCheck", 0},
                      {"blocksCount", 1},
                      {"projectName", QString()},
                      {"machineType", QString()}};
    for (auto it = m_config.begin(); it != m_config.end(); ++it)
        whole.insert(it.key(), it.value());
    return whole;
}

bool Account::saveConfig(const QJsonObject &saved)
{
    for (auto it = saved.begin(); it != saved.end(); ++it)
        m_config.insert(it.key(), it.value());
    return m_core.db.setMeta(QStringLiteral("config"), text(m_config));
}

void Account::setBalance(double balance)
{
    m_balance = balance;
    m_core.db.setMeta(QStringLiteral("balance"), QString::number(balance, 'f', 4));
}

void Account::addNotice(int type, const QString &content)
{
    QJsonArray notices = m_lists.value(QLatin1String("notices")).toArray();
    const int id = m_lists.value(QLatin1String("next")).toInt(100);
    m_lists.insert(QStringLiteral("next"), id + 1);
    notices.prepend(QJsonObject{
        {"id", id}, {"type", type}, {"status", 0}, {"content", content}, {"time", stamp()}, {"url", QString()}});
    while (notices.size() > 200)
        notices.removeLast();
    m_lists.insert(QStringLiteral("notices"), notices);
    saveLists();
}

QJsonObject Account::notices(int page) const
{
    const QJsonArray all = m_lists.value(QLatin1String("notices")).toArray();
    QJsonArray some;
    for (int i = qMax(0, page) * 20; i < all.size() && some.size() < 20; ++i)
        some.append(all.at(i));
    return {{"pageSize", (all.size() + 19) / 20},
            {"pageList", some},
            {"rows", some},
            {"time", all.isEmpty() ? QString() : all.first().toObject().value("time").toString()}};
}

void Account::setNotice(const QJsonObject &change)
{
    QStringList ids = change.value("ids").toVariant().toString().split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QJsonValue &id : change.value("ids").toArray())
        ids += QString::number(id.toInt());
    if (change.contains("id"))
        ids += change.value("id").toVariant().toString();
    const int status = change.value("status").toInt(1); // 0 new, 1 seen, 2 removed
    QJsonArray kept;
    for (const QJsonValue &one : m_lists.value(QLatin1String("notices")).toArray()) {
        QJsonObject notice = one.toObject();
        if (ids.contains(QString::number(notice.value("id").toInt()))) {
            if (status == 2)
                continue;
            notice.insert("status", status);
        }
        kept.append(notice);
    }
    m_lists.insert(QStringLiteral("notices"), kept);
    saveLists();
}

bool Account::saveLists() { return m_core.db.setMeta(QStringLiteral("lists"), text(m_lists)); }

QString Account::projectName(int id) const
{
    for (const QJsonValue &one : projects()) {
        if (one.toObject().value("id").toInt() == id)
            return one.toObject().value("name").toString();
    }
    return {};
}

int Account::addProject(const QString &name, int *id)
{
    QJsonArray all = projects();
    for (const QJsonValue &one : qAsConst(all)) {
        if (one.toObject().value("name").toString() == name)
            return 2;
    }
    if (name.trimmed().isEmpty())
        return 1;
    *id = m_lists.value(QLatin1String("next")).toInt(100);
    m_lists.insert(QStringLiteral("next"), *id + 1);
    all.append(QJsonObject{{"id", *id}, {"name", name}, {"isDefault", 0}});
    m_lists.insert(QStringLiteral("projects"), all);
    return saveLists() ? 0 : 1;
}

void Account::addProjects(const QStringList &names)
{
    QJsonArray all = projects();
    int next = m_lists.value(QLatin1String("next")).toInt(100);
    for (const QString &name : names)
        all.append(QJsonObject{{"id", next++}, {"name", name}, {"isDefault", 0}});
    m_lists.insert(QStringLiteral("next"), next);
    m_lists.insert(QStringLiteral("projects"), all);
    saveLists();
}

int Account::removeProject(int id)
{
    QJsonArray all = projects();
    for (int i = 0; i < all.size(); ++i) {
        if (all.at(i).toObject().value("id").toInt() != id)
            continue;
        if (all.at(i).toObject().value("isDefault").toInt() == 1)
            return 4;
        all.removeAt(i);
        m_lists.insert(QStringLiteral("projects"), all);
        return saveLists() ? 0 : 1;
    }
    return 1;
}

QJsonObject Account::projectConfig(int projectId, int software) const
{
    QJsonObject saved =
        m_lists.value(QLatin1String("combos")).toObject().value(comboKey(projectId, software)).toObject();
    if (!saved.contains("combos"))
        saved.insert("combos", QJsonArray{defaultCombo(software, projectId)});
    if (!saved.contains("extraConfig"))
        saved.insert("extraConfig", QJsonObject{{"outputPath", QString()}, {"workPath", QString()}});
    saved.insert("projectId", projectId);
    saved.insert("software_type", software);
    saved.insert("workPath", saved.value("extraConfig").toObject().value("workPath").toString());
    saved.insert("outputPath", saved.value("extraConfig").toObject().value("outputPath").toString());
    return saved;
}

bool Account::saveProjectConfig(int projectId, int software, const QJsonObject &config)
{
    QJsonObject all = m_lists.value(QLatin1String("combos")).toObject();
    all.insert(comboKey(projectId, software), config);
    m_lists.insert(QStringLiteral("combos"), all);
    return saveLists();
}

int Account::saveCombo(const QJsonObject &body, bool fresh, int *id)
{
    const int projectId = body.value("projectId").toInt(), software = body.value("software_type").toInt();
    if (projectName(projectId).isEmpty() || software <= 0 || body.value("software").toString().isEmpty())
        return 1;
    QJsonObject config = projectConfig(projectId, software), combo;
    QJsonArray combos = config.value("combos").toArray();
    for (const char *key : {"name", "software", "plugins", "startGpu", "isDefault", "env_block"}) {
        if (body.contains(QLatin1String(key)))
            combo.insert(QLatin1String(key), body.value(QLatin1String(key)));
    }
    int at = -1;
    if (fresh) {
        *id = m_lists.value(QLatin1String("next")).toInt(100);
        m_lists.insert(QStringLiteral("next"), *id + 1);
        at = combos.size();
        combos.append(combo);
    } else {
        *id = body.value("id").toInt();
        at = comboAt(combos, *id);
        if (at < 0)
            return 1;
    }
    combo.insert("id", *id);
    combos.replace(at, combo);
    config.insert("combos", combo.value("isDefault").toInt() == 1 ? withDefault(combos, *id) : combos);
    return saveProjectConfig(projectId, software, config) ? 0 : 1;
}

int Account::setDefaultCombo(const QJsonObject &body)
{
    const int projectId = body.value("projectId").toInt(), software = body.value("software_type").toInt();
    QJsonObject config = projectConfig(projectId, software);
    const QJsonArray combos = config.value("combos").toArray();
    if (projectName(projectId).isEmpty() || comboAt(combos, body.value("id").toInt()) < 0)
        return 1;
    config.insert("combos", withDefault(combos, body.value("id").toInt()));
    return saveProjectConfig(projectId, software, config) ? 0 : 1;
}

int Account::savePaths(const QJsonObject &body)
{
    const int projectId = body.value("projectId").toInt(), software = body.value("software_type").toInt();
    if (projectName(projectId).isEmpty() || software <= 0)
        return 1;
    QJsonObject config = projectConfig(projectId, software);
    QJsonObject extra = config.value("extraConfig").toObject();
    const QJsonObject given = body.value("extraConfig").toObject();
    for (auto it = given.begin(); it != given.end(); ++it)
        extra.insert(it.key(), it.value());
    for (const char *key : {"outputPath", "workPath"}) {
        if (body.contains(QLatin1String(key)))
            extra.insert(QLatin1String(key), body.value(QLatin1String(key)));
    }
    config.insert("extraConfig", extra);
    return saveProjectConfig(projectId, software, config) ? 0 : 1;
}

int Account::removeCombo(const QJsonObject &body)
{
    const int projectId = body.value("projectId").toInt(), software = body.value("software_type").toInt();
    QJsonObject config = projectConfig(projectId, software);
    QJsonArray combos = config.value("combos").toArray();
    const int at = comboAt(combos, body.value("id").toInt());
    if (projectName(projectId).isEmpty() || at < 0)
        return 1;
    combos.removeAt(at);
    config.insert("combos", combos);
    return saveProjectConfig(projectId, software, config) ? 0 : 1;
}

QJsonArray Account::machines()
{
    return {QJsonObject{{"id", 1},
                        {"clientId", 1},
                        {"farmId", FarmId},
                        {"name", QStringLiteral("本机")},
                        {"machineModel", QStringLiteral("local-cpu")},
                        {"cpu", QStringLiteral("CPU")},
                        {"memory", QStringLiteral("16G")},
                        {"gpu", 0},
                        {"isDefault", 1}},
            QJsonObject{{"id", 2},
                        {"clientId", 1},
                        {"farmId", FarmId},
                        {"name", QStringLiteral("本机GPU")},
                        {"machineModel", QStringLiteral("local-gpu")},
                        {"cpu", QStringLiteral("CPU")},
                        {"memory", QStringLiteral("16G")},
                        {"gpu", 1},
                        {"isDefault", 0}}};
}

QJsonArray Account::softwares(int software)
{
    QJsonArray all;
    for (const Software &one : known())
        if (software <= 0 || one.type == software)
            all.append(QJsonObject{{"id", one.type},
                                   {"softwareType", one.type},
                                   {"name", QLatin1String(one.name)},
                                   {"versions", QJsonArray::fromStringList(one.versions)}});
    return all;
}

QJsonArray Account::plugins(int software)
{
    QJsonArray all;
    for (const Software &one : known()) {
        if (software > 0 && one.type != software)
            continue;
        for (const Plugin &plugin : one.plugins) {
            QJsonObject row = pluginRow(plugin);
            row.insert("softwareType", one.type);
            all.append(row);
        }
    }
    return all;
}

} // namespace farm
