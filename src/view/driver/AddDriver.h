#pragma once
// The dialog "新增盘符": a name for a new top-level folder and the machine it stands for, judged while typed. It stays
// until the farm has answered. Main thread.
#include "common/ui/kit/DialogFrame.h"

class Form;

class AddDriver : public DialogFrame
{
    Q_OBJECT
public:
    AddDriver(std::function<bool(const QString &)> taken, QWidget *parent);
    QString machine() const;
    void answered(const QString &error); // empty: the disk is there, the dialog goes

signals:
    void addDriver(QString name, QObject *dialog);

private:
    void submit();
    Form *m_form;
};
