#pragma once
// What a DriveCheck does on its thread: one folder of the drive after the other, each compared with its counterpart.
#include "transfer/drive/DriveCheck.h"

class DriveCheckWork : public QObject
{
    Q_OBJECT
public:
    DriveCheckWork(const DriveQueue::Place &place, std::shared_ptr<std::atomic_bool> stop);
    void begin(const QList<DriveCheck::Pair> &tops);

signals:
    void found(qlonglong files, QList<DriveCheck::Difference> list); // list: since the last time
    void over(bool whole, QString why);

private:
    void next();
    void ask();
    void folder(const QList<SubFile> &entries);
    void compare(const DriveCheck::Pair &pair);
    void note(DriveCheck::Difference::What what, const DriveCheck::Pair &pair);

    const DriveQueue::Place m_place;
    const std::shared_ptr<std::atomic_bool> m_stop;
    QList<DriveCheck::Pair> m_folders;
    DriveCheck::Pair m_at;
    int m_tries = 0;
    qlonglong m_files = 0;
    QList<DriveCheck::Difference> m_found;
    QString m_trouble;
};
