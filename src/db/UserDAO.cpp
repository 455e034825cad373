#include "db/UserDAO.h"
#include "common/UserInfo.h"
#include <QCoreApplication>
#include <QFile>

UserDAO *UserDAO::instance()
{
    static UserDAO *one = [] {
        qAddPostRoutine([] { UserDAO::instance()->close(); });
        return new UserDAO;
    }();
    return one;
}

UserDAO::UserDAO() : Store("db_user")
{
    Locker lock(m_mutex);
    ensureOpen();
}

void UserDAO::close()
{
    Locker lock(m_mutex);
    closeFile();
}

bool UserDAO::ensureOpen()
{
    const QString path = UserInfo::allUserDir() + "/user.db";
    if (isOpen() && filePath() == path)
        return true;
    if (!openFile(path))
        return false;
    exec("pragma secure_delete = on");
    exec("create table user(third varchar,info varchar)", {}, true);
    // What the login page keeps here may hold a password.
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    return true;
}

QString UserDAO::info(const QString &third)
{
    Locker lock(m_mutex);
    QString text;
    if (ensureOpen())
        each("select * from user where third = ?", {third}, [&](const Row &row) { text = row.text("info"); });
    return text;
}

bool UserDAO::saveInfo(const QString &third, const QString &info)
{
    Locker lock(m_mutex);
    if (!ensureOpen())
        return false;
    Work work(this);
    const bool good = work && exec("delete from user where third = ?", {third}) &&
                      exec("insert into user (third,info) values (?,?)", {third, info}) && work.commit();
    if (good)
        settle();
    return good;
}

bool UserDAO::removeInfo(const QString &third, const QString &onlyThis)
{
    Locker lock(m_mutex);
    const bool gone =
        ensureOpen() && (onlyThis.isNull() ? exec("delete from user where third = ?", {third})
                                           : exec("delete from user where third = ? and info = ?", {third, onlyThis}));
    if (gone)
        exec("pragma wal_checkpoint(truncate)"); // older pages stand in the log beside it
    return gone;
}
