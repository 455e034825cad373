#pragma once
// One run of the updater: what it was asked for, and the steps of it. Words, as the client gives them:
//   VERSION                                 or  "-version VERSION" "-proxy HOST PORT" through a master seat
//   --file PACKAGE   a package that lies here   --recover   ends or takes back what was cut short
//   --back           the tree before the last update     --tree DIR   the client's folder; else this program's own
//   --no-start       leaves the client closed
// The packages come from <update>/packages/<windows|linux>/VandrelQN-<version>.vnp, with `update` from service.ini.
//
// Where a running program's folder can't be renamed (Windows) it first copies itself to NAME.updater beside the tree
// and goes on from there; VN_UPDATE_AWAY does so elsewhere. Where this user can't write beside the tree, the package is
// fetched as the user and another run of this program, elevated, brings it into place. Whatever happens, the client is
// started again at the end, since it closed for this.
#include <QString>
#include <QStringList>

class TreeSwap;

class Update
{
public:
    explicit Update(const QStringList &words);
    int run(); // 0 done, 1 couldn't be done (why on standard error and in NAME.update.log), 2 wrong words

private:
    bool mustLeave() const; // the folder this program runs from
    int leave();
    int work();
    int elevate();
    int back();
    int install();
    bool place(const QString &file);
    bool tryOut(const QString &version);
    QString fetched(); // the package's file; empty: why was said
    bool clientGone(); // waits for the client that asked for the update; false: it doesn't end
    bool clientRuns() const;
    bool comesUp();
    void startClient(qint64 *pid = nullptr) const;
    void rememberMe(bool on) const;         // at the next log-on this program ends what was begun
    int failed(const QString &words) const; // 1
    int done(const QString &words) const;   // 0
    bool say(const QString &words) const;   // false
    bool told(bool good, const QString &words) const;
    QString client() const;

    QString m_version, m_proxyHost, m_package, m_tree;
    int m_proxyPort = 0;
    enum { Install, Recover, Back, Wrong } m_act = Install;
    bool m_start = true;
};
