#pragma once
// The account's common settings, kept on the server: one record per process, read from the 10309 reply, written back
// with 10303. Until 10309 has answered every field reads 0. get() gives a copy and may be called from any thread.
#include <QJsonObject>
#include <QString>

struct CommonConfig {
    int autoSubmit = 0, autoPushResult = 0, ignoreWarn = 0, frameFirst = 0, timeout = 0, killTimeout = 0;
    int parseTime = 0, killParseTime = 0, mayaResultRootPathEnum = 0, repairType = 0, mayaSplitByLayer = 0;
    int submitUpload = 0, priorityStrategy = 0, submitConfig = 0, blocksCount = 0; // -4 when the JSON lacks it
    QString projectName, machineType;
    QJsonObject raw; // the whole object as it came

    static CommonConfig get();
    static void fromJson(const QJsonObject &object); // replaces the record
    static void overlay(const QJsonObject &saved);   // lays a saved object over the whole one, after 1030300
    static void clear();
    QJsonObject saveBody() const; // the body of 10303
};
