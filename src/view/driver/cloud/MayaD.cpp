#include "view/driver/cloud/MayaD.h"
#include "common/facts/SoftwareType.h"
#include "db/CloudCalls.h"
#include "db/ResolveDDAO.h"
#include "resolve/cloud/CloudModel.h"
#include "view/driver/cloud/CloudAnalysis.h"

MayaD::MayaD(const Scene &scene, QWidget *parent) : Maya(scene, parent)
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

ParameterDialog::Scene MayaD::read(const db_resolve &res, const CommonConfig &config)
{
    return ParameterDialog::read(CloudModel::opened(res), config);
}

ParameterDialog *MayaD::make(const Scene &scene, QWidget *parent)
{
    if (scene.sheet.type == SoftwareType::Maya)
        return new MayaD(scene, parent);
    ParameterDialog *dialog = ParameterDialog::make(scene, parent);
    if (dialog) {
        dialog->setTarget(target());
        dialog->setTitle(CloudAnalysis::title(scene.sheet.type));
    }
    return dialog;
}
