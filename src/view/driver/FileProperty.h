#pragma once
// The dialog "属性" of an entry: what the listing knows at once, what the farm tells of it (what a folder holds) when
// it has answered. Main thread.
#include "common/ui/kit/DialogFrame.h"
#include "view/driver/FileView.h"

class DriveDesk;
class QFormLayout;

class FileProperty : public DialogFrame
{
    Q_OBJECT
public:
    // folder: the path that it lies in; empty: asked for.
    FileProperty(int farmId, const FileView &entry, const QString &folder, DriveDesk *desk, QWidget *parent);

private:
    void ask();
    void show(const FileView &entry);
    QLabel *line(const QString &title);

    const int m_farm;
    const FileView m_entry;
    DriveDesk *m_desk;
    QFormLayout *m_form;
    QLabel *m_type, *m_place, *m_size, *m_contains, *m_changed, *m_made, *m_order;
};
