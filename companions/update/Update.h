#pragma once
// One run of the updater: what it was asked for, and the steps of it. Words, as the client gives them:
//   VERSION                                 or  "-version VERSION" "-proxy HOST PORT" through a master seat
//   --file PACKAGE   a package that lies here   --recover   ends or takes back what was cut short
//   --back           the tree before the last update     --tree DIR   the client's folder; else this program's own
//   --no-start       leaves the client closed
// The packages come from <update>/packages/<windows|linux>/VandrelQN-<version>.vnp, with `update` from service.ini.
#include <QString>
#include <QStringList>

class Update
{
public:
    explicit Update(const QStringList &words);
    int run(); // 0 done, 1 couldn't be done (why on standard error and in NAME.update.log), 2 wrong words

private:
    int install();
    bool fetch(const QString &to);
    void waitForClient() const;
    bool tryNew(); // starts the client until it has come up once; false: it doesn't
    int say(int result, const QString &words) const;
    QString client() const;

    QString m_version, m_proxyHost, m_package, m_tree;
    int m_proxyPort = 0;
    enum { Install, Recover, Back, Wrong } m_act = Install;
    bool m_start = true;
};
