#pragma once
// Where data lies, who is logged in and what the user set. All static, callable from any thread. Values of the INI
// files are read on first use and cached; a setter changes the cache at once and has the file written behind it
// (IniWriter); clearCache() (logout) forgets everything but the machine's folders. A crash leaves the old file or the
// new one.
#include "common/facts/Settings.h"
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariant>

class UserInfo
{
public:
    // Folders and defaults of the machine config. args: the program's words ("slaveAlone" moves the data to
    // <baseDir>/slave). Also keeps args for arguments(). Empties <temp>.
    static void init(const QStringList &args = {});
    static void initUser(const QJsonObject &account); // the 10309 reply; makes <userDir> and its marker files
    static void clearCache();
    static QStringList arguments();
    static bool hasArgument(const QString &word);

    static QString baseDir();
    static QString allUserDir();
    static QString userDir(); // empty until initUser
    // Folders of the accounts that ever logged in on this machine, this user's; also before init.
    static QStringList accountDirs();
    static QString tempDir();
    static QString dumpDir(); // makes the folder
    static QString registryPath();
    static QString programDir(); // folder of the executable
    static void
    setProgramDir(const QString &dir); // another place of service.ini and scripts; empty: back to the executable's

    static void setUserValue(const QString &group, const QString &key, const QVariant &value);
    static QVariant userValue(const QString &group, const QString &key, const QVariant &fallback = {});
    static bool hasUserValue(const QString &group, const QString &key);
    static void setAllValue(const QString &group, const QString &key, const QVariant &value);
    static QVariant allValue(const QString &group, const QString &key, const QVariant &fallback = {});
    static bool hasAllValue(const QString &group, const QString &key);
    static QVariant serviceValue(const QString &group, const QString &key, const QVariant &fallback = {});
    static QVariant iniValue(const QString &dir, const QString &name, const QString &group, const QString &key,
                             const QVariant &fallback = {});
    static bool setIniValue(const QString &dir, const QString &name, const QString &group, const QString &key,
                            const QVariant &value);

    // A key of the machine or account config by the table of settings: always within its range.
    static QVariant setting(Settings::Key key);
    static void setSetting(Settings::Key key, const QVariant &value);

    // Machine config. Speeds in KiB/s, 0 unlimited.
    static bool isWan();
    static QString lanWan(); // "Lan" or "Wan": the suffix of host, ip and port keys in server replies
    static int upProxyPort();
    static int upSpeed();
    static void setUpSpeed(int kib);
    static int downSpeed();
    static void setDownSpeed(int kib);
    static int upTh();
    static int downTh();
    static QString role();
    static bool isSlave();
    static bool isMaster();
    static QString master();     // "http://host:port"
    static QString masterHost(); // host alone
    static int clientPort();
    static QString apiToken(); // Server/apiToken; empty: callers from other machines need none
    static QString resolveOs();
    static bool caps();
    static int resolveThread();
    static void setResolveThread(int count);
    static bool fastMaya();
    static bool cloud();
    static QString softwarePath(const QString &software); // group SoftwarePath, key without regard to case
    static QString pathCase(const QString &path, bool force = false);

    // Account config.
    static QString resultDir(); // written back on first read
    static void setResultDir(const QString &dir);
    static int resultCheck();
    static QString resultRule();
    static int autoSendResult(); // 1 automatic download; written back on first read
    static int outRoot();
    static int resolveType();
    static int mayaCache();
    static int upDSpeed();
    static int upHash();
    static int viewFarmId();

    // The account.
    static int userId();
    static int feeUserId();
    static int leadId();
    static QJsonArray leadIds();
    static QString username();
    static int hashType(); // 2 for every account
    static int userType();
    static QString hashPrefix();
    static int masterUserId();
    static void setMasterUserId(int id);
    static QJsonArray
    feeUserIds(); // fee accounts of the login reply, else those saved in the account config; may be empty
    static bool needMasterCheck();
    static void setRolePerm(const QJsonObject &reply);
    static bool perm(int flag);    // 0 to 19
    static bool denied(int grant); // an entry of "grants" took this right away
    // Rights of the session, by name: the flag that each reads is settled in the implementation.
    static bool canAnalyse();
    static bool canUpload();
    static bool canSetParameters();

    // Header "token" of REST calls: the text of setAuth, before that the token of 10308.
    static void setSessionToken(const QString &token);
    static QString sessionToken();
    static void setAuth(const QString &text);
    static QString token();

    // Registry store.
    static QString language();   // "zh_cn", "en_us" or "zh_en"
    static int languageNumber(); // 0 Chinese, 1 English
    static void setLanguage(const QString &word);
    static QString thirdInfo();  // brand word
    static QString thirdGroup(); // product group, from the application's name
};
