#pragma once
// What a DriveCheck does on its thread: folder after folder, the drive's listing against what stands here. Some
// listings are asked for ahead, so that a far farm is heard while files are read here.
#include "transfer/drive/DriveCheck.h"
#include "transfer/drive/DriveNames.h"
#include <QFileInfo>

class DriveCheckWork : public QObject
{
    Q_OBJECT
public:
    // The check outlives this only as long as somebody holds it: it's looked at each time.
    DriveCheckWork(std::weak_ptr<DriveCheck> check, const DriveQueue::Place &place,
                   std::shared_ptr<std::atomic_bool> stop);
    void begin(const QList<DriveCheck::Pair> &tops);

signals:
    void over();

private:
    using What = DriveCheck::Difference::What;
    void next();
    void ask(const DriveCheck::Pair &at, int tries);
    void folder(const DriveCheck::Pair &at, const QList<SubFile> &entries);
    QHash<QString, QString> here(const DriveCheck::Pair &at, QStringList *all) const;
    bool leaves(const DriveCheck::Pair &at, const QString &name, const QSet<QString> &there) const;
    void compare(const DriveCheck::Pair &pair);
    void hash(const DriveCheck::Pair &pair);
    void note(What what, const DriveCheck::Pair &pair);
    void trouble(const QString &why);
    void end();

    static constexpr int AsksInHand = 4;
    const std::weak_ptr<DriveCheck> m_check;
    const DriveQueue::Place m_place;
    const std::shared_ptr<std::atomic_bool> m_stop;
    const DriveExclude m_exclude;
    QList<DriveCheck::Pair> m_folders;
    int m_inHand = 0;
    bool m_over = false;
    QString m_trouble; // the first
};
