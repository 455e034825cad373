#pragma once
// One version on offer as a row under its software: a box to take it, what it is, how large, what is new. Main thread.
#include "package/Feed.h"
#include <QWidget>

class QCheckBox;

class VersionDetail : public QWidget
{
    Q_OBJECT
public:
    explicit VersionDetail(const SoftwareOffer &offer, QWidget *parent = nullptr);
    const SoftwareOffer &offer() const { return m_offer; }
    bool taken() const;
    void setTaken(bool on); // tells nobody

signals:
    void check_clicked(VersionDetail *self, bool checked);

public slots:
    void Handle_check(bool checked);

private:
    SoftwareOffer m_offer;
    QCheckBox *m_box;
};
