#pragma once
// Cleans up after old analyses, one pass, then ends: batches of the accounts' stores whose rows are all gone, the logs
// and scripts of rows that are gone when they are a week old, and on Windows what V-Ray leaves in its backup folder.
// Started once by the start-up code, which owns it.
#include <QThread>

class ClearMax : public QThread
{
    Q_OBJECT
public:
    using QThread::QThread;
    ~ClearMax() override;

    static constexpr qint64 KeepMs = 7LL * 24 * 3600 * 1000;
    static void clearAccounts(const QString &dataRoot, qint64 nowMs);
    static void clearFiles(const QString &dir, qlonglong smallestKey, qint64 nowMs);
    // Every file of the pattern below root, and the folders of that tree that are left empty; root itself stays.
    static void clearTree(const QString &root, const QString &pattern);

protected:
    void run() override;
};
