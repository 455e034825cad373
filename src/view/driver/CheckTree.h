#pragma once
// The dialog "校验": a folder of this machine compared with one of the drive, a list of what differs, and its mending
// to either side. It compares while it's open; closing stops it. The list shows the first differences, the mending is
// of all. Main thread.
#include "common/ui/kit/DialogFrame.h"
#include "common/ui/kit/RecordModel.h"
#include "transfer/drive/DriveCheck.h"
#include <QBasicTimer>

class QLabel;

class CheckTree : public DialogFrame
{
    Q_OBJECT
public:
    struct Row {
        int number = 0;
        QString path, whole, what;
    };
    CheckTree(const DriveQueue::Place &place, const DriveCheck::Pair &pair, QWidget *parent);
    RecordModel<Row> *model() const { return m_model; }
    QString state() const;

signals:
    void mended(); // batches were made of it

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void begin();
    void follow();
    void fill(); // what is new, as far as a frame has time for it
    void tell(const DriveCheck::Status &status);
    void mend(bool toDrive);
    const DriveQueue::Place m_place;
    const DriveCheck::Pair m_pair;
    std::shared_ptr<DriveCheck> m_check;
    QBasicTimer m_look;
    int m_read = 0;     // differences taken over
    QList<Row> m_fresh; // of them, not shown yet
    RecordModel<Row> *m_model;
    QLabel *m_state;
    QPushButton *m_send, *m_fetch, *m_run;
};
