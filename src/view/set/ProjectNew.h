#pragma once
// Asks for the name of a new project and has the server make it (10500). Main thread; deletes itself when closed.
#include "common/ui/kit/DialogFrame.h"

class Form;

class ProjectNew : public DialogFrame
{
    Q_OBJECT
public:
    explicit ProjectNew(QWidget *parent);

signals:
    void refreshEnvPre(int projectId); // made; 0 where the server didn't tell its number

private:
    void create();
    Form *m_form;
};
