#pragma once
// The farm's one account, with a sub-account that tasks can be handed to, and what hangs on it: password, settings,
// balance, notices, projects with their environments, and the tokens of the road (session token of the link -> login
// token of the page; access token -> transfer token).
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace farm
{

class Core;

class Account
{
public:
    explicit Account(Core &core);

    // Session tokens. A session is good for 10309 once the page has logged in with it.
    QString newSession();
    QString login(const QString &session, const QString &user, const QString &password,
                  QString *problem); // the login token
    bool sessionLoggedIn(const QString &session) const;
    int sessionUser(const QString &session) const; // who logged in with it
    bool knownToken(const QString &token) const;   // session or login token, as the header "token" carries it

    // Each farm has its own.
    QString accessToken(int farm = 1) const;
    QString transferToken(int farm = 1) const; // a UUID
    QByteArray transferBytes(int farm = 1) const;
    void rotateTokens();

    QJsonObject object(int user) const; // the answer of 10309
    QString nameOf(int user) const;
    QJsonArray users(int but = 0) const; // {id, name} of the account and its sub-account
    QJsonObject config() const;          // the common settings alone
    bool saveConfig(const QJsonObject &saved);
    double balance() const { return m_balance; }
    void setBalance(double balance);
    void charge(double cost) { setBalance(m_balance - cost); }

    void addNotice(int type, const QString &content); // 1 task done, 2 in arrears, 3 recharged
    QJsonObject notices(int page) const;
    void setNotice(const QJsonObject &change); // 10313: ids with what becomes of them

    // Projects and environments; each answer is the result code's last two digits.
    QJsonArray projects() const { return m_lists.value(QLatin1String("projects")).toArray(); }
    QString projectName(int id) const;
    int addProject(const QString &name, int *id);
    void addProjects(const QStringList &names);
    int removeProject(int id);
    QJsonObject projectConfig(int projectId, int software) const;
    bool hasProject(int id) const { return !projectName(id).isEmpty(); }
    int saveCombo(const QJsonObject &body, bool fresh, int *id);
    int setDefaultCombo(const QJsonObject &body);
    int removeCombo(const QJsonObject &body);
    int savePaths(const QJsonObject &body);
    static QJsonArray machines();
    static QJsonArray softwares(int software); // 0: of all
    static QJsonArray plugins(int software);

private:
    void load();
    bool saveLists();
    bool saveProjectConfig(int projectId, int software, const QJsonObject &config);
    QString comboKey(int projectId, int software) const { return QStringLiteral("%1_%2").arg(projectId).arg(software); }

    Core &m_core;
    QString m_access, m_transfer;
    double m_balance = 0;
    QJsonObject m_lists; // "projects", "combos" by project and software, "notices", "next" free id
    QJsonObject m_config;
};

} // namespace farm
