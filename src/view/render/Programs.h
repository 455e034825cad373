#pragma once
// The parameter dialogs, one per program: each says which fields its program has and which of them move together; the
// rest is ParameterDialog's.
#include "view/render/ParameterDialog.h"

class Maya : public ParameterDialog
{
    Q_OBJECT
public:
    Maya(const Scene &scene, QWidget *parent);
};

class Max : public ParameterDialog
{
    Q_OBJECT
public:
    Max(const Scene &scene, QWidget *parent);

protected:
    void fieldEdited(const QString &key) override; // what is done with photons, and the mode it stands for
};

class Houdini : public ParameterDialog
{
    Q_OBJECT
public:
    Houdini(const Scene &scene, QWidget *parent);
};

class C4D : public ParameterDialog
{
    Q_OBJECT
public:
    C4D(const Scene &scene, QWidget *parent);

protected:
    void outputShown() override;
};

class Clarisse : public ParameterDialog
{
    Q_OBJECT
public:
    Clarisse(const Scene &scene, QWidget *parent);

protected:
    void outputShown() override; // deep output belongs to layers
};

class Terragen : public ParameterDialog
{
    Q_OBJECT
public:
    Terragen(const Scene &scene, QWidget *parent);

protected:
    void outputShown() override; // a render without GI settings has nothing to choose
};
