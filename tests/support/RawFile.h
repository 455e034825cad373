#pragma once
// A store's file seen from outside: makes files as older programs left them and reads what a store wrote.
#include "support/TestMain.h"
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>

class RawFile
{
public:
    explicit RawFile(const QString &path) : m_name(QStringLiteral("raw%1").arg(++counter()))
    {
        m_db = QSqlDatabase::addDatabase("QSQLITE", m_name);
        m_db.setDatabaseName(path);
        m_db.open();
    }
    ~RawFile()
    {
        m_db.close();
        m_db = QSqlDatabase();
        QSqlDatabase::removeDatabase(m_name);
    }
    bool run(const QStringList &statements)
    {
        QSqlQuery query(m_db);
        for (const QString &statement : statements)
            if (!query.exec(statement)) {
                qWarning() << statement << query.lastError().text();
                return false;
            }
        return true;
    }
    // All rows, columns joined by "|", rows by ";".
    QString text(const QString &select)
    {
        QSqlQuery query(select, m_db);
        QStringList rows;
        while (query.next()) {
            QStringList one;
            for (int i = 0; !query.isNull(i) || query.value(i).isValid(); ++i)
                one << query.value(i).toString();
            rows << one.join('|');
        }
        return rows.join(';');
    }

private:
    static int &counter()
    {
        static int n = 0;
        return n;
    }
    QString m_name;
    QSqlDatabase m_db;
};
