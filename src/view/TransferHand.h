#pragma once
// The buttons of a row of the transfer page: each slot does for the row that was set what its button says, by queued
// calls on the handlers. Main thread; owned by the page.
#include "view/TransferModel.h"
#include <QObject>

class QWidget;

class TransferHand : public QObject
{
    Q_OBJECT
public:
    explicit TransferHand(QWidget *page);
    void setRow(bool uploads, const TransferGroup &group);
    void press(int button); // TransferRules::Button

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
    TransferGroup m_group;
};
