#pragma once
// Small facts that both programs of the updates need, and what the updater does with its own files.
#include <QString>

namespace Updater
{
QString system();                        // "windows" or "linux"
QString serverOf(const QString &folder); // where updates come from by the service.ini of that folder, no slash behind
bool runs(const QString &program);       // whether some process has this very file for its program
// This program with the libraries beside it into folder, which is this program's own: another's isn't touched.
bool copyTo(const QString &folder, QString *program);
} // namespace Updater
