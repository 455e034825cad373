#pragma once
// The output path that a project has for one software, asked of the business server: the project's number by its name
// (10502) where it isn't known, its configuration (10506) after that. Installed into VFunc::rootPath. Any thread with
// an event loop; waits at most WaitMs per question in a nested loop. Paths that exist are remembered.
#include <QJsonObject>
#include <QString>

class ProjectOutput
{
public:
    static constexpr int WaitMs = 2000;
    static void install();
    static void uninstall(); // forgets what was remembered

    static QString ask(int projectId, const QString &projectName, int softwareType);
    static QString pathIn(const QJsonObject &reply); // outputPath of extraConfig, else of the configuration itself
    static int projectIn(const QJsonObject &reply, const QString &name);
};
