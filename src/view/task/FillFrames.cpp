#include "view/task/FillFrames.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/TickList.h"
#include "resolve/FrameSet.h"
#include "task/Cell.h"
#include <QJsonArray>

namespace
{
const QString Ordered = QStringLiteral("ordered"), Frames = QStringLiteral("frames");
constexpr int LongestFacts = 400;

QString sizeText(const QJsonObject &model)
{
    const int width = Cell::integer(model, "width"), height = Cell::integer(model, "height");
    return width > 0 && height > 0 ? QStringLiteral("%1*%2").arg(width).arg(height) : QString();
}
} // namespace

BaseFill *BaseFill::make(int software, const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent)
{
    switch (software) {
    case SoftwareType::Maya:
        return new MayaFillFrame(details, desk, parent);
    case SoftwareType::Max:
        return new MaxFillFrame(details, desk, parent);
    case SoftwareType::Houdini:
        return new HoudiniFillFrame(details, desk, parent);
    case SoftwareType::Cinema4D:
        return new C4DFillFrame(details, desk, parent);
    case SoftwareType::Clarisse:
        return new ClarisseFillFrame(details, desk, parent);
    case SoftwareType::Terragen:
        return new TerragenFillFrame(details, desk, parent);
    default:
        return nullptr;
    }
}

BaseFill::BaseFill(const QString &name, int software, const QString &outputs, const QList<TaskDetail> &details,
                   TaskDesk *desk, QWidget *parent)
    : DetailQueue(name, tr("补帧"), details, desk, parent), m_software(software),
      m_form(new Form({Field::shown(Ordered, tr("原渲序列")), Field::frames(Frames, tr("补选序列"))}, this)),
      m_facts(new QLabel(this))
{
    m_facts->setObjectName(QStringLiteral("quiet"));
    m_facts->setTextFormat(Qt::PlainText);
    m_facts->setWordWrap(true);
    m_form->setMinimumWidth(420);
    content()->addWidget(m_facts);
    if (!outputs.isEmpty()) {
        m_outputs = new TickList(QString(), outputs, {{outputs, 0}}, this);
        m_outputs->setMinimumHeight(140);
        content()->addWidget(m_outputs, 1);
    }
    content()->addWidget(m_form);
}

QString BaseFill::words(const QJsonValue &value)
{
    if (!value.isArray())
        return Cell::text(value);
    QStringList all;
    for (const QJsonValue &one : value.toArray())
        if (const QString text = one.isObject() ? Cell::text(one.toObject(), "name") : Cell::text(one); !text.isEmpty())
            all << text;
    return all.join(QStringLiteral("、"));
}

QList<QPair<QString, QString>> BaseFill::facts(const QJsonObject &model) const
{
    return {{tr("分辨率："), sizeText(model)}};
}

void BaseFill::shown()
{
    const QJsonObject &detail = current().detail;
    QStringList lines;
    for (const auto &[label, value] : facts(detail.value(QLatin1String("modelParameters")).toObject()))
        if (!value.isEmpty())
            lines << label + value.left(LongestFacts);
    m_facts->setText(lines.join(QLatin1Char('\n')));
    m_facts->setVisible(!lines.isEmpty());
    const QString typed = m_form->value(Frames).toString();
    m_form->setValues({{Ordered, Cell::text(detail, "fullFrames")}, {Frames, typed}});
    if (!m_outputs)
        return;
    QList<TickRow> rows;
    const QStringList names = TaskFill::outputs(m_software, detail);
    for (const QString &name : names)
        rows << TickRow{name, {name}};
    m_outputs->setRows(rows, names);
    m_outputs->setVisible(names.size() > 1);
}

bool BaseFill::check()
{
    const QString frames = FrameSet::normalise(m_form->value(Frames).toString());
    const bool chosen = !m_outputs || !m_outputs->isVisibleTo(this) || !m_outputs->ticked().isEmpty();
    const QString fault = frames.isEmpty() ? tr("请输入补帧号")
                          : chosen         ? FrameSet::checkOrder(frames)
                                           : tr("请至少选择一项");
    setError(fault);
    return fault.isEmpty();
}

// Those of the others that have none of the ticked ones take part whole.
TaskRequest BaseFill::request(const TaskDetail &task) const
{
    QStringList outputs = m_outputs && m_outputs->isVisibleTo(this) ? m_outputs->ticked() : QStringList();
    const QStringList own = TaskFill::outputs(m_software, task.detail);
    bool some = false;
    for (const QString &name : own)
        some = some || outputs.contains(name);
    return TaskRequest::fill(task.task.id, task.detail, FrameSet::normalise(m_form->value(Frames).toString()),
                             some ? outputs : QStringList());
}

MaxFillFrame::MaxFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent)
    : BaseFill(QStringLiteral("MaxFillFrame"), SoftwareType::Max, {}, details, desk, parent)
{
    begin();
}

QList<QPair<QString, QString>> MaxFillFrame::facts(const QJsonObject &model) const
{
    return BaseFill::facts(model) << qMakePair(tr("输出文件："), Cell::text(model, "outputFile"))
                                  << qMakePair(tr("相机："), words(model.value(QLatin1String("cameras"))))
                                  << qMakePair(tr("光子文件："), Cell::text(model, "vrIrradianceMapFile"));
}

MayaFillFrame::MayaFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent)
    : BaseFill(QStringLiteral("MayaFillFrame"), SoftwareType::Maya, tr("渲染层"), details, desk, parent)
{
    begin();
}

C4DFillFrame::C4DFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent)
    : BaseFill(QStringLiteral("C4DFillFrame"), SoftwareType::Cinema4D, {}, details, desk, parent)
{
    begin();
}

QList<QPair<QString, QString>> C4DFillFrame::facts(const QJsonObject &model) const
{
    return BaseFill::facts(model) << qMakePair(tr("输出文件："), Cell::text(model, "outputFile"))
                                  << qMakePair(tr("相机："), words(model.value(QLatin1String("cameras"))))
                                  << qMakePair(tr("渲染器："), Cell::text(model, "renderer"));
}

HoudiniFillFrame::HoudiniFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent)
    : BaseFill(QStringLiteral("HoudiniFillFrame"), SoftwareType::Houdini, tr("渲染节点"), details, desk, parent)
{
    begin();
}

ClarisseFillFrame::ClarisseFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent)
    : BaseFill(QStringLiteral("ClarisseFillFrame"), SoftwareType::Clarisse, tr("图像"), details, desk, parent)
{
    begin();
}

TerragenFillFrame::TerragenFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent)
    : BaseFill(QStringLiteral("TerragenFillFrame"), SoftwareType::Terragen, tr("相机"), details, desk, parent)
{
    begin();
}
