#pragma once
// Which columns of a task list are shown: a tick for each that may go. What is chosen is shown at once and kept in the
// account's settings, group "Mission", key "mission4" or "history3". Main thread; deletes itself when closed.
#include "common/ui/kit/DialogFrame.h"

class QCheckBox;
class RecordView;

class MissionPart : public DialogFrame
{
    Q_OBJECT
public:
    MissionPart(RecordView *view, const QString &key, QWidget *parent);
    static void restore(RecordView *view, const QString &key);

public slots:
    void selectChanged(); // a tick came or went

private:
    RecordView *m_view;
    QString m_key;
    QList<QCheckBox *> m_boxes; // named by their columns
};
