#pragma once
// What a button of the transfer page does for the rows that were set, by queued calls on the handlers: one slot a
// button. Questions were asked before. Main thread; owned by the page.
#include "view/TransferList.h"
#include <QObject>

class QWidget;

class TransferHand : public QObject
{
    Q_OBJECT
public:
    explicit TransferHand(QWidget *page);
    void setRows(bool uploads, const QList<TransferRow> &groups);
    static bool paused(bool uploads, int state);
    static bool failed(bool uploads, int state);
    static std::function<void()> deletion(bool uploads, const TransferRow &group); // what on_del_clicked does for one

public slots:
    void on_re_clicked();
    void on_dir_clicked();
    void on_start_clicked();
    void on_pause_clicked();
    void on_del_clicked();
    void on_pri_clicked();

private:
    QWidget *m_page;
    bool m_uploads = false;
    QList<TransferRow> m_groups;
};
