#pragma once
// The tree at the left: disks and folders of a farm's drive. A branch is asked for when it's opened, shows a few
// hundred folders at a time, and what lies below it again when it's read anew. Main thread; owned by the farm's page.
#include "common/ui/kit/RecordModel.h"
#include "view/driver/FileView.h"
#include <QTreeView>

class DriveTree : public QTreeView
{
    Q_OBJECT
public:
    static constexpr int Step = 300; // folders of one branch that are shown at once
    DriveTree(const QString &name, QWidget *parent);
    void clear(int fileType);
    void fillTree(const QVector<FileView> &folders, const QString &parent); // of one branch, all
    void failed(const QString &parent);                                     // the branch can be asked for again
    void showChain(const QVector<FileView> &chain); // opens the way down, the last one is chosen; no signal
    void openBranch(const QString &id);             // asks for it where it isn't known
    void rename(const QString &id, const QString &name);
    bool loaded(const QString &id) const { return m_folders.contains(id); }
    QStringList chain(const QString &id) const;         // ids from the root down; empty: not here
    QVector<FileView> folders(const QString &id) const; // ... as they're shown
    QString idAt(const QPoint &point) const;            // in the viewport
    QString chosen() const;

signals:
    void wanted(QString id); // what lies in it
    void activatedId(QString id);
    void menuWanted(QString id, QPoint at);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void put(const FileView &folder, const QString &parent);
    void showStep(const QString &parent, int most);
    void chooseIndex(const QModelIndex &index);

    RecordModel<FileView> *m_model;
    QHash<QString, QVector<FileView>> m_folders; // of a branch: all of them
    QHash<QString, int> m_steps;                 // ... how many are shown
    bool m_quiet = false;
};
