#pragma once
// The dialog "校验": a folder of this machine compared with one of the drive, a list of what differs, and its mending
// to either side. It compares while it's open; closing stops it. Main thread.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/RecordModel.h"
#include "transfer/drive/DriveCheck.h"

class TablePage;

class CheckTree : public DialogFrame
{
    Q_OBJECT
public:
    struct Row {
        QString key, path, what;
        bool operator==(const Row &o) const { return key == o.key && path == o.path && what == o.what; }
    };
    CheckTree(const DriveQueue::Place &place, const DriveCheck::Pair &pair, QWidget *parent);
    RecordModel<Row> *model() const { return m_model; }
    QString state() const { return m_state->text(); }

signals:
    void mended(); // a batch was made of it

private:
    void fill();
    void over(bool whole, const QString &why);
    void mend(bool toDrive);
    const DriveCheck::Pair m_pair;
    DriveCheck *m_check;
    RecordModel<Row> *m_model;
    QLabel *m_state;
    QPushButton *m_send, *m_fetch;
};
