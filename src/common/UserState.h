#pragma once
// What UserInfo keeps between calls, under its one lock. Only UserInfo's own sources include this. The lock is held for
// memory only: no file is read or written under it, so the window's thread never waits for a disk behind it.
#include <bitset>
#include <mutex>
#include <QHash>
#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <shared_mutex>

struct UserState {
    static constexpr int permCount = 20;

    struct Account {
        int userId = 0, feeUserId = 0, leadId = 0, userType = 0, hashType = 2;
        QJsonArray leadIds, feeUserIds;
        QString username, hashPrefix;
        bool needMasterCheck = false;
        std::bitset<permCount> perms = std::bitset<permCount>().set();
        QString sessionToken, auth;
    };
    // Values of one INI file as they were read; an invalid value stands for a missing key.
    struct Ini {
        QHash<QString, QVariant> values;
        quint64 generation = 0; // counts writes and clearings, so that a slow reader doesn't bring an old value back
    };

    std::shared_mutex mutex;
    QStringList arguments;
    QString baseDir, allUserDir, tempDir, registryPath, userDir, programDir;
    Account account;
    QString language, brand; // of the registry store; empty: not read yet
    int masterUserId = 0;
    Ini machine, user;

    static UserState &get();
};

using ReadLock = std::shared_lock<std::shared_mutex>;
using WriteLock = std::unique_lock<std::shared_mutex>;
