#pragma once
// The drive's transfers: what is being sent, what is being fetched, what is over; each batch with its files below it,
// and the sums of each list. It shows what the three stores signal and sends everything to DriveQueue. Stands twice: in
// the drive and in the transfer page. Main thread.
#include "common/ui/BaseWidget.h"

class Debounce;
class DriveList;
class QButtonGroup;
class QPushButton;
class QStackedWidget;
class TablePage;
struct DriveRow;

class TransferD : public BaseWidget
{
    Q_OBJECT
public:
    explicit TransferD(QWidget *parent);
    DriveList *list(int which) const { return m_lists[which - 1]; } // of UploadDDAO
    TablePage *table(int which) const { return m_tables[which - 1]; }
    QString sums(int which) const; // the line below that list

public slots:
    void connectDAOView(int type); // 2 uploads, 3 downloads, 4 what is over: its queue stands
    void initDAOView(int type);    // shows that list
    void refresh();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void addTab(int which, const QString &text);
    void addActs(int which);
    void listen(int which);
    void setSums(int which, qlonglong done, qlonglong all);
    QButtonGroup *m_group;
    QHBoxLayout *m_tabs;
    QStackedWidget *m_stack;
    DriveList *m_lists[3];
    TablePage *m_tables[3];
    QPushButton *m_buttons[3];
    QLabel *m_sums[3];
    Debounce *m_reload[3];
};
