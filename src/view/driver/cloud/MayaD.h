#pragma once
// The parameters of a scene that its farm has analysed: the dialog of its program over the drive's own store. Saving
// keeps them with the record; submitting comes after it (SubmitMayaD). Main thread; deletes itself.
#include "view/render/Programs.h"

class MayaD : public Maya
{
    Q_OBJECT
public:
    MayaD(const db_resolve &res, QWidget *parent);

    // The dialog of the record's program: MayaD, or that of another program; null where it has none.
    static ParameterDialog *make(const db_resolve &res, QWidget *parent);
    static ParameterDialog::Target target();
};
