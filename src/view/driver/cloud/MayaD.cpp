#include "view/driver/cloud/MayaD.h"
#include "common/facts/SoftwareType.h"
#include "db/CloudCalls.h"
#include "db/ResolveDDAO.h"
#include "resolve/cloud/CloudModel.h"
#include "view/driver/cloud/CloudAnalysis.h"

MayaD::MayaD(const db_resolve &res, QWidget *parent) : Maya(res, parent)
{
    setTarget(target());
    setTitle(CloudAnalysis::title(SoftwareType::Maya));
}

ParameterDialog::Target MayaD::target()
{
    Target target;
    target.read = [](qlonglong rkey) { return ResolveDDAO::instance()->read(rkey); };
    target.send = [](const db_resolve &res) {
        return Seam<CloudCalls>::post([res](CloudCalls &queue) { queue.saveData(res); });
    };
    target.button = tr("保存");
    return target;
}

ParameterDialog *MayaD::make(const db_resolve &res, QWidget *parent)
{
    const db_resolve opened = CloudModel::opened(res);
    const int type = ParameterSheet::typeOf(opened);
    if (type == SoftwareType::Maya)
        return new MayaD(opened, parent);
    ParameterDialog *dialog = ParameterDialog::make(opened, parent);
    if (dialog) {
        dialog->setTarget(target());
        dialog->setTitle(CloudAnalysis::title(type));
    }
    return dialog;
}
