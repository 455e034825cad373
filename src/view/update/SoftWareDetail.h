#pragma once
// One software with a box of its own and the versions on offer below it, of which at most one is taken. Betas stay out
// of sight until they're asked for. Main thread.
#include "view/update/VersionDetail.h"

class QVBoxLayout;

class SoftWareDetail : public QWidget
{
    Q_OBJECT
public:
    // offers: of this software alone. installed: its version here, empty for none.
    SoftWareDetail(const QList<SoftwareOffer> &offers, const QString &installed, QWidget *parent = nullptr);
    const VersionDetail *chosen() const; // null: none
    bool forced() const;                 // one of its releases has to come
    bool showBetas(bool on);             // whether there is anything to see

signals:
    void checked(bool clicked);

public slots:
    void check_clicked(VersionDetail *self, bool clicked);

private:
    void take(VersionDetail *one);
    VersionDetail *newest() const; // of those in sight
    QCheckBox *m_box;
    QList<VersionDetail *> m_rows;
};
