#pragma once
// How tasks are paused. Tells once what was chosen when it goes, None where it was closed. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"

class RadioGroup;

class PauseRender : public DialogFrame
{
    Q_OBJECT
public:
    enum Kind { None = -1, Later = 0, AtOnce = 1 }; // as the server knows them
    explicit PauseRender(QWidget *parent);

signals:
    void chosen(int pauseRender);

private:
    RadioGroup *m_kinds;
    int m_chosen = None;
};
