#pragma once
// The dialog "文件移动": a folder of the drive is chosen, or made, to take what is moved. Opens where one is. It asks
// for its branches itself; whether the target can be is the caller's question. Main thread.
#include "common/ui/kit/DialogFrame.h"
#include "view/driver/FileView.h"

class DriveDesk;
class DriveTree;
class QLineEdit;

class MoveFarmFile : public DialogFrame
{
    Q_OBJECT
public:
    MoveFarmFile(int farmId, DriveDesk *desk, int count, const QVector<FileView> &chain, QWidget *parent);
    DriveTree *tree() const { return m_tree; }

signals:
    void createDirFromMove(QString parent); // a folder was made in it
    void startMoveFile(QString target, QStringList chain);

public slots:
    void on_picOpen_clicked(); // a new folder in the chosen one
    void on_submit_clicked();

private:
    void branch(const QString &id);
    void create();
    const int m_farm;
    DriveDesk *m_desk;
    DriveTree *m_tree;
    QWidget *m_newLine;
    QLineEdit *m_name;
};
