#pragma once
// The parameters of a scene that its farm has analysed: the dialog of its program over the drive's own store. Saving
// keeps them with the record; submitting comes after it (SubmitMayaD). Main thread; deletes itself.
#include "view/render/Programs.h"

class MayaD : public Maya
{
    Q_OBJECT
public:
    MayaD(const Scene &scene, QWidget *parent);

    static Scene read(const db_resolve &res, const CommonConfig &config); // off the window's thread
    // The dialog of the record's program: MayaD, or that of another program; null where it has none.
    static ParameterDialog *make(const Scene &scene, QWidget *parent);
    static ParameterDialog::Target target();
};
