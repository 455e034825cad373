#pragma once
// Where a version of the 3D software is installed: the path that the user set (group SoftwarePath), then the system's
// registry, then, where there is none, the vendors' usual folders. Static, any thread.
#include <QString>
#include <QStringList>

class SoftwareFinder
{
public:
    struct Installation {
        QString folder;  // of the installation, "/" as separator
        QString program; // what is started
        bool found() const { return !program.isEmpty(); }
    };
    // software: lower case, as chosen ("maya2016"); version: what the analyser read from it. fast: the interpreter of
    // Maya in place of its batch program. root: put before the usual folders.
    static Installation maya(const QString &software, const QString &version, bool fast, const QString &root = {});
    static Installation max(const QString &software, const QString &year, const QString &root = {});
    static Installation houdini(const QString &software, const QString &version, const QString &root = {});
    static Installation cinema4D(const QString &software, const QString &version, const QString &root = {});
    static Installation clarisse(const QString &software, const QString &version, const QString &root = {});

private:
    static Installation chosen(const QString &software, const QStringList &programs);
    static Installation within(const QString &folder, const QStringList &programs);
    static Installation usual(const QString &root, const QString &base, const QString &rule,
                              const QStringList &programs);
};
