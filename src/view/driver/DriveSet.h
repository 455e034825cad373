#pragma once
// The dialog "云盘设置": names that transfers of folders leave out, the limit of uploads, how a sent file is compared.
// Main thread.
#include "common/ui/kit/DialogFrame.h"

class Form;
class QPlainTextEdit;

class DriveSet : public DialogFrame
{
    Q_OBJECT
public:
    explicit DriveSet(QWidget *parent);

private:
    void save();
    Form *m_form;
    QPlainTextEdit *m_exclude;
};
