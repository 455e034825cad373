// The account of the session, its rights and tokens, and what the registry store says.
#include "common/platform/SafeFile.h"
#include "common/UserInfo.h"
#include "common/UserState.h"
#include "common/VFunc.h"
#include <iterator>
#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QRegularExpression>

namespace
{
// Flag that each entry of "grants" clears; entries 2, 11 and 15 clear none.
constexpr int clearedBy[] = {-1, 0, -1, 5, 7, 6, 8, 9, 10, 11, 12, -1, 13, 15, 16, -1, 17, 18, 19, 1, 2, 3, 14, 4};
constexpr int downloadFlag = 12; // also cleared for subordinate seats

// Of the flags that come with an order's first steps: 0 is upload (entry 1), 1 analyse (entry 19), 2 parameters (entry
// 20).
enum RightFlag { UploadFlag = 0, AnalyseFlag = 1, ParameterFlag = 2 };

template <class Member> Member locked(Member UserState::Account::*member)
{
    UserState &state = UserState::get();
    ReadLock lock(state.mutex);
    return state.account.*member;
}

// Numbers come as numbers or as text.
int number(const QJsonObject &object, const char *key)
{
    const QJsonValue value = object[QLatin1String(key)];
    return value.isString() ? value.toString().toInt() : value.isBool() ? int(value.toBool()) : value.toInt();
}

void writeMark(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        qWarning().noquote() << "UserInfo::writeMark not written:" << path << file.errorString();
}
} // namespace

void UserInfo::initUser(const QJsonObject &account)
{
    UserState::Account fresh;
    fresh.userId = number(account, "userId");
    fresh.feeUserId = number(account, "feeUserId");
    fresh.leadId = number(account, "leadId");
    fresh.leadIds = account[QLatin1String("leadIds")].toArray();
    fresh.feeUserIds = account[QLatin1String("feeUserIds")].toArray();
    fresh.username = account[QLatin1String("username")].toString();
    fresh.userType = number(account, "userType");
    fresh.hashPrefix = account[QLatin1String("hashPrefix")].toString();
    fresh.needMasterCheck = number(account, "needMasterCheck") != 0;
    fresh.hashType = 2; // whatever the reply says

    const QString userDir = baseDir() + QLatin1Char('/') + QString::number(fresh.userId);
    {
        UserState &state = UserState::get();
        WriteLock lock(state.mutex);
        fresh.perms = state.account.perms;
        fresh.sessionToken = state.account.sessionToken;
        fresh.auth = state.account.auth;
        state.account = fresh;
        state.userDir = userDir;
        state.user.values.clear();
        ++state.user.generation;
    }
    QDir().mkpath(userDir);
    platform::makePrivate(userDir.toStdString(), true);
    writeMark(allUserDir() + QStringLiteral("/PluginManDir"), userDir.toUtf8());
    // A name may hold what a file name can't.
    const QString name =
        QString(fresh.username)
            .replace(QRegularExpression(QStringLiteral("[\\\\/:*?\"<>|\\x00-\\x1f]")), QStringLiteral("_"));
    writeMark(QStringLiteral("%1/%2_%3").arg(allUserDir(), QString::number(fresh.userId), name.left(80)), {});
}

void UserInfo::clearCache()
{
    UserState &state = UserState::get();
    WriteLock lock(state.mutex);
    state.account = UserState::Account();
    state.userDir.clear();
    state.language.clear();
    state.brand.clear();
    for (UserState::Ini *ini : {&state.user, &state.machine}) {
        ini->values.clear();
        ++ini->generation;
    }
}

int UserInfo::userId() { return locked(&UserState::Account::userId); }
int UserInfo::feeUserId() { return locked(&UserState::Account::feeUserId); }
int UserInfo::leadId() { return locked(&UserState::Account::leadId); }
QJsonArray UserInfo::leadIds() { return locked(&UserState::Account::leadIds); }
QString UserInfo::username() { return locked(&UserState::Account::username); }
int UserInfo::hashType() { return locked(&UserState::Account::hashType); }
int UserInfo::userType() { return locked(&UserState::Account::userType); }
QString UserInfo::hashPrefix() { return locked(&UserState::Account::hashPrefix); }
bool UserInfo::needMasterCheck() { return locked(&UserState::Account::needMasterCheck); }

QJsonArray UserInfo::feeUserIds()
{
    const QJsonArray told = locked(&UserState::Account::feeUserIds);
    if (!told.isEmpty())
        return told;
    const QString saved = setting(Settings::FeeUserIds).toString();
    return QJsonDocument::fromJson(saved.toUtf8()).array();
}

int UserInfo::masterUserId()
{
    UserState &state = UserState::get();
    ReadLock lock(state.mutex);
    return state.masterUserId;
}

void UserInfo::setMasterUserId(int id)
{
    UserState &state = UserState::get();
    WriteLock lock(state.mutex);
    state.masterUserId = id;
}

void UserInfo::setRolePerm(const QJsonObject &reply)
{
    if (reply.isEmpty())
        return;
    std::bitset<UserState::permCount> perms;
    perms.set();
    const QJsonArray grants = reply[QLatin1String("grants")].toArray();
    for (const QJsonValue &grant : grants) {
        const int entry = grant.isString() ? grant.toString().toInt() : grant.toInt();
        if (entry >= 0 && entry < int(std::size(clearedBy)) && clearedBy[entry] >= 0)
            perms.reset(std::size_t(clearedBy[entry]));
    }
    if (number(reply, "result") == 0 || isSlave())
        perms.reset(downloadFlag);
    UserState &state = UserState::get();
    WriteLock lock(state.mutex);
    state.account.perms = perms;
}

bool UserInfo::perm(int flag)
{
    if (flag < 0 || flag >= UserState::permCount)
        return true;
    return locked(&UserState::Account::perms).test(std::size_t(flag));
}

bool UserInfo::denied(int grant)
{
    return grant >= 0 && grant < int(std::size(clearedBy)) && clearedBy[grant] >= 0 && !perm(clearedBy[grant]);
}

bool UserInfo::canAnalyse() { return perm(AnalyseFlag); }
bool UserInfo::canUpload() { return perm(UploadFlag); }
bool UserInfo::canSetParameters() { return perm(ParameterFlag); }

void UserInfo::setSessionToken(const QString &token)
{
    UserState &state = UserState::get();
    WriteLock lock(state.mutex);
    state.account.sessionToken = token;
}

QString UserInfo::sessionToken() { return locked(&UserState::Account::sessionToken); }

void UserInfo::setAuth(const QString &text)
{
    UserState &state = UserState::get();
    WriteLock lock(state.mutex);
    state.account.auth = text;
}

QString UserInfo::token()
{
    UserState &state = UserState::get();
    ReadLock lock(state.mutex);
    return state.account.auth.isEmpty() ? state.account.sessionToken : state.account.auth;
}

namespace
{
// A value of the registry store, read once. Asked for with every request, so it mustn't reach for the disk each time.
QString stored(QString UserState::*which, const QString &name, const QString &fallback)
{
    UserState &state = UserState::get();
    {
        ReadLock lock(state.mutex);
        if (!(state.*which).isEmpty())
            return state.*which;
    }
    QString value = VFunc::regGet(UserInfo::registryPath(), name).toString();
    if (value.isEmpty())
        value = fallback;
    WriteLock lock(state.mutex);
    if ((state.*which).isEmpty())
        state.*which = value;
    return state.*which;
}
} // namespace

QString UserInfo::language()
{
    const QString chinese = QStringLiteral("zh_cn");
    const QString word = stored(&UserState::language, QStringLiteral("Language"), chinese);
    return word == QLatin1String("en_us") || word == QLatin1String("zh_en") ? word : chinese;
}

int UserInfo::languageNumber() { return language() == QLatin1String("zh_cn") ? 0 : 1; }

void UserInfo::setLanguage(const QString &word)
{
    VFunc::regSet(registryPath(), QStringLiteral("Language"), word);
    UserState &state = UserState::get();
    WriteLock lock(state.mutex);
    state.language = word;
}

QString UserInfo::thirdInfo()
{
    return stored(&UserState::brand, QStringLiteral("ThirdPart"), QStringLiteral("Vandrel"));
}

// Sibling editions would add their own names here; the data folder and the single instance follow the group.
QString UserInfo::thirdGroup()
{
    return QCoreApplication::applicationName().toLower().contains(QLatin1String("qn")) ? QStringLiteral("VandrelQN")
                                                                                       : QString();
}
