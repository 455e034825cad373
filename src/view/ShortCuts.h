#pragma once
// The list under F1: every key of the window and of the page that is shown, with what it does. The keys are read from
// the acts themselves, so that the list can't lag behind. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include <QPair>

class ShortCuts : public DialogFrame
{
    Q_OBJECT
public:
    using Line = QPair<QString, QString>; // keys, what they do
    // page: the list that is in sight, or null where there is none.
    ShortCuts(const QWidget *page, QWidget *parent);
    static QList<Line> lines(const QWidget *page);
};
