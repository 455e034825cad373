#pragma once
// The 3D software that scenes belong to. Pure functions, any thread.
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

namespace SoftwareType
{
enum Type { Unknown = 0, Maya = 1, Max = 3, Houdini = 4, Cinema4D = 5, SketchUp = 6, Clarisse = 7, Terragen = 8 };

QList<int> all();
QString name(int type);          // as shown; empty for a number that is none
QStringList endings(int type);   // ".ma", ".mb"
int ofPath(const QString &path); // by the scene's ending, links not followed
int ofName(const QString &name); // "maya2016"
// Of a row: what its result says, else what was chosen for it (rset), else its file's ending, links followed.
int ofRow(const QJsonObject &rset, const QString &scene, const QJsonObject &rdata = {});
} // namespace SoftwareType
