#pragma once
// user.db in <AllUser>: one row per brand with the JSON text that the login page handed over, where the system has no
// store for secrets. Singleton, any thread.
#include "db/Store.h"

class UserDAO : public Store
{
    Q_OBJECT
public:
    static UserDAO *instance();
    QString info(const QString &third);                       // empty when there is none
    bool saveInfo(const QString &third, const QString &info); // replaces the brand's row
    // Null: whatever the row holds. Its bytes are gone from the file too.
    bool removeInfo(const QString &third, const QString &onlyThis = {});
    void close(); // the next call opens it again

private:
    UserDAO();
    bool ensureOpen();
};
