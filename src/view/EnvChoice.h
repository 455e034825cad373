#pragma once
// What a scene needs before its analysis, as values: the server's lists of projects, environments and machines, what is
// chosen of them, the tests on accepting, and the text that goes into the scene's row. No window, no network.
#include "db/Records.h"
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace EnvChoice
{
// Lists out of the replies of 10502, 10506 and 11102; empty where the reply holds none.
QJsonArray projects(const QJsonDocument &reply);
QJsonObject config(const QJsonDocument &reply); // projectSoftwareConfig with its "combos"
QJsonArray machines(const QJsonDocument &reply);

QString environmentText(const QJsonObject &env); // "maya2016 + mtoa 1.4 (GPU)"
QString environmentKey(const QJsonObject &env);  // what is remembered as the last one used
QString machineName(const QJsonObject &machine);
// The row to select: the remembered one, else the default one, else the first; -1 in an empty list.
int preferred(const QJsonArray &list, const QString &remembered, QString (*key)(const QJsonObject &));

enum ResultRoot { Personal = 0, ProjectPath = 1, SceneFolder = 2 };

struct Chosen {
    int softwareType = 0;
    QStringList scenes;
    QJsonObject project, config, env, machine;
    QString mayaProject;
    int resultRoot = Personal; // which folder results go to
    QString resultDir;         // the personal one
    double balance = 0;
    bool allowArrears = false; // orders without money on the account
    bool mayaProjectExists = true;
    QJsonObject finished; // analysed by its own host already: what was found
};
// Whether the account object (10309) lets it order without money.
bool allowsArrears(const QJsonObject &account);
// The first test that fails, as its text; empty when all pass.
QString refusal(const Chosen &chosen);
QString rset(const Chosen &chosen, const QString &scene); // JSON object, compact
// One row a scene, keys counted from nowSeconds on.
QList<db_resolve> rows(const Chosen &chosen, qlonglong nowSeconds);
} // namespace EnvChoice
