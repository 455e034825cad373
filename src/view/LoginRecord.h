#pragma once
// What the login page wants to find again, maybe a password: in the system's store for secrets where there is one, else
// in the brand's row of user.db. A row of an older version, or of a time without that store, is moved over and then
// removed; while it's there, it's the newer one. Main thread; nothing here waits.
#include <functional>
#include <QObject>
#include <QString>

namespace LoginRecord
{
// Empty where nothing is kept. Not called once the guard has died.
void load(QObject *guard, const QString &third, const std::function<void(QString info)> &then);
void save(const QString &third, const QString &info);
} // namespace LoginRecord
