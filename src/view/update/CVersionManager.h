#pragma once
// The window of software updates: each software with the versions on offer, what is to be taken, one button. A forced
// one can be put off for a day; from then on the window stays until it's done. Deletes itself when closed. Main thread.
#include "common/ui/kit/DialogFrame.h"
#include "view/update/SoftwareState.h"

class QCheckBox;
class SoftWareDetail;

class CVersionManager : public DialogFrame
{
    Q_OBJECT
public:
    CVersionManager(const SoftwareState &state, bool must, QWidget *parent);
    bool offersAnything() const; // a release, or a beta that was chosen before
    QList<SoftwareOffer> chosen() const;
    void offerBetas(); // as its box does

signals:
    void wanted(QList<SoftwareOffer> list);
    void putOff();

public slots:
    void on_UpdateBtn_clicked();
    void check_clicked(bool clicked);
    void on_headClose_clicked() override;

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void showBetas(bool on);

    QList<SoftWareDetail *> m_rows;
    QPushButton *m_update;
    QCheckBox *m_betas;
    bool m_must, m_any = false;
};
