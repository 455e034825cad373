#include "view/render/Programs.h"
#include "common/facts/SoftwareType.h"
#include "resolve/FrameSet.h"
#include "resolve/ParameterModel.h"
#include "view/render/CanshuItem.h"
#include <QCoreApplication>

namespace
{
using S = ParameterSheet;

QString word(const char *text) { return QCoreApplication::translate("Programs", text); }
QString key(const char *name) { return QLatin1String(name); }
int modeOf(const QJsonObject &all) { return all.value(QLatin1String("vrMode")).toInt(); }

// Frames of one output that come first in it.
Field ownKeys()
{
    return Field::frames(key("keyFrames"), word(QT_TRANSLATE_NOOP("Programs", "单独优先帧")))
        .hinted(word(QT_TRANSLATE_NOOP("Programs", "只用于这一项，可留空")))
        .checked([](const QJsonValue &value, const QJsonObject &all) {
            const auto text = [&all](const char *name) {
                return all.value(QLatin1String(name)).toVariant().toString();
            };
            return FrameSet::checkKeyFrames(value.toString(), {FrameSet::join(text("frames"), text("step"))});
        });
}

QVector<Field> naming()
{
    return {Field::text(key("fname"), word(QT_TRANSLATE_NOOP("Programs", "出图名称"))).longest(1000),
            Field::text(key("fsuffix"), word(QT_TRANSLATE_NOOP("Programs", "出图格式")))
                .hinted(QStringLiteral("exr"))
                .longest(32)};
}
} // namespace

ParameterDialog *ParameterDialog::make(const Scene &scene, QWidget *parent)
{
    switch (scene.sheet.type) {
    case SoftwareType::Maya:
        return new ::Maya(scene, parent);
    case SoftwareType::Max:
        return new ::Max(scene, parent);
    case SoftwareType::Houdini:
        return new ::Houdini(scene, parent);
    case SoftwareType::Cinema4D:
        return new ::C4D(scene, parent);
    case SoftwareType::Clarisse:
        return new ::Clarisse(scene, parent);
    case SoftwareType::Terragen:
        return new ::Terragen(scene, parent);
    default:
        return nullptr;
    }
}

Maya::Maya(const Scene &scene, QWidget *parent)
    : ParameterDialog(
          {key("Maya"),
           tr("渲染层"),
           true,
           true,
           {ownKeys()},
           {Field::text(key("filePrefix"), tr("输入出图命名规则"))
                .hinted(QStringLiteral("<Scene>/<RenderLayer>"))
                .checked([](const QJsonValue &value, const QJsonObject &) {
                    return ParameterModel::filePrefixOk(value.toString()) ? QString()
                                                                          : ParameterModel::filePrefixMessage();
                }),
            Field::folder(key("mayaProject"), tr("工程路径")), Field::shown(key("renderer"), tr("渲染器")),
            Field::shown(key("format"), tr("输出格式")), Field::toggle(key("mayaSplitByLayer"), tr("分层提交")),
            Field::toggle(key("onlyScene"), tr("只上传主文件"))}},
          scene, parent)
{
}

Max::Max(const Scene &scene, QWidget *parent)
    : ParameterDialog(
          {key("Max"),
           {},
           true,
           true,
           naming() +
               QVector<Field>{
                   Field::radios(key("photons"), tr("光子"),
                                 {{S::NoPhotons, tr("不单独渲染光子")},
                                  {S::LocalPhotons, tr("使用本地光子")},
                                  {S::PhotonsFirst, tr("优先渲染光子")},
                                  {S::PhotonsSpread, tr("分布式渲光子")}}),
                   Field::choice(key("vrMode"), tr("光子模式"),
                                 [] {
                                     Field::Choices modes;
                                     for (const QString &name : S::vrModes())
                                         modes.append({modes.size(), name});
                                     return modes;
                                 }()),
                   Field::text(key("giSize"), tr("光子尺寸"))
                       .hinted(QStringLiteral("1920*1080"))
                       .checked([](const QJsonValue &value, const QJsonObject &) {
                           int width = 0, height = 0;
                           const QString text = value.toString();
                           return text.isEmpty() || S::parseSize(text, &width, &height)
                                      ? QString()
                                      : ParameterSheet::tr("光子尺寸的格式为“宽*高”");
                       })
                       .onlyWhen([](const QJsonObject &all) { return S::stepApplies(modeOf(all)); }),
                   Field::number(key("giStep"), tr("光子隔帧"), 1, 100000).onlyWhen([](const QJsonObject &all) {
                       return S::stepApplies(modeOf(all));
                   }),
                   Field::toggle(key("reflectionRefraction"), tr("渲染光子时计算反射和折射"))
                       .onlyWhen([](const QJsonObject &all) { return S::stepApplies(modeOf(all)); }),
                   Field::file(key("vrIrradianceMapFile"), tr("光子文件")).onlyWhen([](const QJsonObject &all) {
                       return S::fileApplies(modeOf(all));
                   }),
                   Field::file(key("vrLightCacheFile"), tr("灯光缓存文件"))},
           {}},
          scene, parent)
{
}

void Max::fieldEdited(const QString &name)
{
    Form *form = item()->form();
    const int mode = form->value(key("vrMode")).toInt();
    const auto photons = S::Photons(form->value(key("photons")).toInt());
    if (name == QLatin1String("photons"))
        form->setValue(key("vrMode"), S::vrModeFor(photons, mode));
    else if (name == QLatin1String("vrMode") && S::photonsOf(mode) != photons)
        form->setValue(key("photons"), S::photonsOf(mode));
}

Houdini::Houdini(const Scene &scene, QWidget *parent)
    : ParameterDialog({key("Houdini"), tr("渲染节点"), true, false, {ownKeys()}, {}}, scene, parent)
{
}

C4D::C4D(const Scene &scene, QWidget *parent)
    : ParameterDialog({key("C4D"),
                       {},
                       true,
                       true,
                       naming() + QVector<Field>{Field::choice(key("activeCamera"), tr("默认相机")),
                                                 Field::text(key("renderer"), tr("渲染器")).longest(200)},
                       {}},
                      scene, parent)
{
    outputShown();
}

void C4D::outputShown()
{
    Field::Choices cameras;
    for (const QString &name : m_sheet.outputs.first().cameras)
        cameras.append({name, name});
    item()->form()->setChoices(key("activeCamera"), cameras);
    item()->form()->setValues(m_sheet.outputs.first().values);
}

Clarisse::Clarisse(const Scene &scene, QWidget *parent)
    : ParameterDialog(
          {key("Clarisse"),
           tr("图像和层"),
           false,
           false,
           {Field::text(key("output"), tr("输出文件")), Field::text(key("format"), tr("输出格式")).longest(200),
            Field::text(key("LUT"), tr("LUT")).longest(1000), Field::text(key("deep_output_file"), tr("深度输出文件"))},
           {}},
          scene, parent)
{
    outputShown();
}

void Clarisse::outputShown()
{
    item()->form()->editor(key("deep_output_file"))->setEnabled(shown() && shown()->image >= 0);
}

Terragen::Terragen(const Scene &scene, QWidget *parent)
    : ParameterDialog(
          {key("Terragen"),
           tr("渲染节点"),
           true,
           false,
           {Field::shown(key("giName"), tr("GI 设置")),
            Field::radios(key("vrMode"), tr("光子"),
                          {{0, tr("不使用光子文件")}, {2, tr("先渲光子再渲图")}, {1, tr("本地光子")}}),
            Field::file(key("giFile"), tr("光子文件")).onlyWhen([](const QJsonObject &all) {
                return modeOf(all) == 1;
            }),
            Field::number(key("giWidth"), tr("光子宽度"), 1, S::LongestSide).onlyWhen([](const QJsonObject &all) {
                return modeOf(all) == 2;
            }),
            Field::number(key("giHeight"), tr("光子高度"), 1, S::LongestSide).onlyWhen([](const QJsonObject &all) {
                return modeOf(all) == 2;
            }),
            Field::number(key("giStep"), tr("光子隔帧"), 1, 100000).onlyWhen([](const QJsonObject &all) {
                return modeOf(all) == 2;
            })},
           {}},
          scene, parent)
{
    outputShown();
}

void Terragen::outputShown()
{
    item()->form()->editor(key("vrMode"))->setEnabled(shown() && shown()->values.contains(QLatin1String("vrMode")));
}
