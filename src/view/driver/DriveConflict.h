#pragma once
// The question of a batch of fetching whose files meet others on this machine: skip the same, overwrite, keep both. It
// is asked once a batch. Main thread.
#include "common/ui/kit/DialogFrame.h"

class RadioGroup;

class DriveConflict : public DialogFrame
{
    Q_OBJECT
public:
    DriveConflict(qlonglong farmPri, const QString &path, QWidget *parent);

private:
    RadioGroup *m_choice;
};
