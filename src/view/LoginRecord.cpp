#include "view/LoginRecord.h"
#include "common/ui/Background.h"
#include "common/ui/SecretStore.h"
#include "db/UserDAO.h"
#include <QDebug>
#include <QPointer>

namespace
{
QString nameOf(const QString &third) { return QStringLiteral("login/") + third; }

void moveOver(const QString &third, const QString &info)
{
    SecretStore::instance()->write(nameOf(third), info, [third, info](SecretStore::Result result, const QString &) {
        if (result == SecretStore::Good)
            Background::post([third, info] { UserDAO::instance()->removeInfo(third, info); });
    });
}
} // namespace

void LoginRecord::load(QObject *guard, const QString &third, const std::function<void(QString)> &then)
{
    Background::run(
        guard, [third] { return UserDAO::instance()->info(third); },
        [alive = QPointer<QObject>(guard), third, then](const QString &row) {
            if (!row.isEmpty()) {
                moveOver(third, row);
                return then(row);
            }
            SecretStore::instance()->read(nameOf(third),
                                          [alive, then](SecretStore::Result result, const QString &text) {
                                              if (alive)
                                                  then(result == SecretStore::Good ? text : QString());
                                          });
        });
}

void LoginRecord::save(const QString &third, const QString &info)
{
    SecretStore::instance()->write(nameOf(third), info, [third, info](SecretStore::Result result, const QString &) {
        Background::post([third, info, kept = result == SecretStore::Good] {
            if (kept)
                UserDAO::instance()->removeInfo(third);
            else
                UserDAO::instance()->saveInfo(third, info);
        });
    });
}
