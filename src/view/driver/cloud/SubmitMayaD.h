#pragma once
// Submits a scene that its farm has analysed: project, environment and machine as for any scene, and once more the
// frames of what is rendered, which frames come first and what follows them. Main thread; deletes itself.
#include "resolve/ParameterSheet.h"
#include "view/EnvPre.h"
#include "view/render/ParameterDialog.h"

class MDW;

class SubmitMayaD : public EnvPre
{
    Q_OBJECT
public:
    SubmitMayaD(const ParameterDialog::Scene &scene, double balance, QWidget *parent); // as MayaD::read gives it
    QList<MDW *> cells() const { return m_cells; }

signals:
    void handed(qlonglong rkey);

protected:
    void insert() override;

private:
    void makeFrames();
    QString refusal() const; // in words; empty: it can go
    void send(const db_resolve &res);

    db_resolve m_res;
    ParameterSheet m_sheet;
    QList<MDW *> m_cells; // of the outputs that are ticked, in their order
    QList<int> m_places;  // of the same, in the sheet
    Form *m_keys = nullptr;
};
