#pragma once
// What a project and an environment must be before the server is asked, and what its lists of software hold. Pure
// functions, any thread.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace EnvRules
{
constexpr int LongestName = 40; // letters; a Chinese character counts two

QString nameFault(const QString &name); // of a project; empty where it's good
// Whether these plug-ins hold a renderer; true for software that brings its own.
bool rendererChosen(int softwareType, const QJsonArray &plugins);

QStringList versions(const QJsonDocument &reply); // of 10600, each once, in their order
QJsonArray plugins(const QJsonDocument &reply);   // of 10601: {name, version}, each once
QString pluginText(const QJsonObject &plugin);    // "mtoa 1.4"
QString pluginKey(const QJsonObject &plugin);     // "mtoa_1.4"
bool contains(const QJsonArray &plugins, const QString &key);
// Puts a plug-in among the chosen: another version of the same one gives way.
QJsonArray with(const QJsonArray &chosen, const QJsonObject &plugin);
QJsonArray without(const QJsonArray &chosen, const QString &key);

// "1 小时 30 分" for seconds; empty for less than a minute, where the number says it all.
QString spanText(double seconds);
} // namespace EnvRules
