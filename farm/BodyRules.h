#pragma once
// What the body of each command must carry. A plain function, so that a wrong body is told but still answered.
#include <QJsonDocument>
#include <QStringList>

namespace farm
{

// The keys of the command's body that are missing or of another type; empty where all is well or nothing is known.
QStringList bodyFaults(int cmd, const QJsonDocument &body);

} // namespace farm
