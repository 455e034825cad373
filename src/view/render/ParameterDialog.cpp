#include "view/render/ParameterDialog.h"
#include "common/Debounce.h"
#include "common/facts/SceneState.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/TickList.h"
#include "common/ui/MsgTool.h"
#include "db/Calls.h"
#include "db/ResolveDAO.h"
#include "resolve/FrameSet.h"
#include "view/render/CanshuItem.h"
#include "view/render/KeyFrameItem.h"
#include <QFileInfo>
#include <QPushButton>
#include <QScrollArea>

namespace
{
constexpr int SumMs = 150;
constexpr int LeastList = 160, FieldsWidth = 420;

QLabel *section(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setObjectName(QStringLiteral("heading"));
    label->setTextFormat(Qt::PlainText);
    label->setContentsMargins(0, Metrics::Gap, 0, 0);
    return label;
}
} // namespace

ParameterDialog::ParameterDialog(const Plan &plan, const Scene &scene, QWidget *parent)
    : DialogFrame(plan.name, tr("参数设置"), parent), m_sheet(scene.sheet), m_res(scene.res),
      m_columns(new QHBoxLayout), m_sum(new QLabel(this)), m_summing(new Debounce(this))
{
    setHeading(QFileInfo(m_res.lpath).fileName(), m_res.lpath);
    m_columns->setSpacing(Metrics::Margin);
    m_target.read = [](qlonglong rkey) { return ResolveDAO::instance()->read(rkey); };
    m_target.send = [](const db_resolve &row) {
        return Seam<ResolveCalls>::post([row](ResolveCalls &queue) { queue.saveDataSet(row); });
    };
    content()->addLayout(m_columns, 1);
    makeLists(plan);
    makeFields(plan);
    m_sum->setObjectName(QStringLiteral("quiet"));
    m_sum->setAccessibleName(tr("合计"));
    addToRow(m_sum);
    m_save = addButton(tr("保存并提交"), Primary, [this] { accept(); });
    addButton(tr("取消"), Close);
    setWanted({Metrics::LeastWidth - 2 * Metrics::Margin, 640});
    connect(m_summing, &Debounce::debout, this, &ParameterDialog::sum);
    if (!m_sheet.outputs.isEmpty())
        m_chosen = {0};
    const QString keys = m_sheet.keyFrames();
    m_keys->setFrames(m_sheet.frameTexts(), keys);
    m_keys->show(m_sheet.task, keys);
    showOutput();
    sum();
}

ParameterDialog::Scene ParameterDialog::read(const db_resolve &res, const CommonConfig &config)
{
    return {res, ParameterSheet::read(res, config)};
}

void ParameterDialog::setTarget(const Target &target)
{
    m_target = target;
    if (!target.button.isEmpty())
        m_save->setText(target.button);
}

void ParameterDialog::makeLists(const Plan &plan)
{
    QWidget *body = content()->parentWidget(); // made where they stay: a tree that moves is styled once more
    auto *left = new QVBoxLayout;
    m_columns->addLayout(left, 3);
    if (!plan.outputs.isEmpty()) {
        QVector<TickList::Head> heads{{plan.outputs, 0}, {tr("帧"), 84}};
        if (plan.sized)
            heads.append({tr("分辨率"), 92});
        m_outputs = new TickList(QStringLiteral("outputs"), plan.outputs, heads, body);
        m_outputs->setMinimumHeight(LeastList);
        left->addWidget(m_outputs, 3);
        QList<TickRow> rows;
        QStringList ticked;
        for (int i = 0; i < m_sheet.outputs.size(); ++i) {
            rows << TickRow{QString::number(i), cells(i)};
            if (m_sheet.outputs.at(i).on)
                ticked << rows.last().key;
        }
        m_outputs->setRows(rows, ticked);
        connect(m_outputs, &TickList::ticksChanged, this, &ParameterDialog::outputsTicked);
        connect(m_outputs, &TickList::selectionMoved, this, [this] {
            QList<int> chosen;
            for (const QString &key : m_outputs->selected())
                chosen << key.toInt();
            if (chosen.isEmpty() || chosen == m_chosen)
                return;
            m_chosen = chosen;
            showOutput();
        });
    }
    if (!plan.cameras)
        return;
    m_cameras = new TickList(QStringLiteral("cameras"), tr("相机"), {{tr("相机"), 0}}, body);
    m_cameras->setMinimumHeight(LeastList);
    left->addWidget(m_cameras, 2);
    connect(m_cameras, &TickList::ticksChanged, this, &ParameterDialog::camerasTicked);
}

void ParameterDialog::makeFields(const Plan &plan)
{
    auto *scroll = new QScrollArea(content()->parentWidget());
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setMinimumWidth(FieldsWidth);
    m_columns->addWidget(scroll, 2);
    auto *inner = new QWidget(scroll);
    scroll->setWidget(inner);
    auto *column = new QVBoxLayout(inner);
    column->setContentsMargins(0, 0, Metrics::Gap, 0);
    column->setSpacing(Metrics::Gap);
    m_item = new CanshuItem(plan.output, plan.sized, inner);
    m_about = section(tr("输出"), inner);
    column->addWidget(m_about);
    column->addWidget(m_item);
    m_keys = new KeyFrameItem(inner);
    column->addWidget(section(tr("优先帧"), inner));
    column->addWidget(m_keys);
    const auto ofTask = [this](const QString &key, const QJsonValue &value) {
        m_sheet.task.insert(key, value);
        m_summing->debounce(SumMs);
    };
    if (!plan.task.isEmpty()) {
        m_task = new Form(plan.task, inner);
        m_task->setValues(m_sheet.task);
        column->addWidget(section(tr("整个任务"), inner));
        column->addWidget(m_task);
        connect(m_task, &Form::changed, this, [this, ofTask](const QString &key) { ofTask(key, m_task->value(key)); });
    }
    column->addStretch(1);
    inner->show(); // its area was asked for before it had anything
    connect(m_item, &CanshuItem::edited, this, &ParameterDialog::edit);
    connect(m_item, &CanshuItem::taskEdited, this, ofTask);
    connect(m_item, &CanshuItem::calKeyFrame, this, &ParameterDialog::framesMoved);
    connect(m_keys, &KeyFrameItem::edited, this, ofTask);
}

const ParameterSheet::Output *ParameterDialog::shown() const
{
    return m_chosen.isEmpty() ? nullptr : &m_sheet.outputs.at(m_chosen.first());
}

QStringList ParameterDialog::cells(int output) const
{
    const ParameterSheet::Output &one = m_sheet.outputs.at(output);
    const auto word = [&one](const char *key) { return one.values.value(QLatin1String(key)).toVariant().toString(); };
    const QString size = word("width").isEmpty() ? QString() : word("width") + QLatin1Char('*') + word("height");
    return {one.name, FrameSet::join(word("frames"), word("step")), size};
}

void ParameterDialog::showOutput()
{
    const QString name = shown() ? shown()->name.simplified() : QString();
    m_about->setText(m_chosen.size() > 1 ? tr("%1 项一起修改").arg(m_chosen.size())
                     : name.isEmpty()    ? tr("输出")
                                      : fontMetrics().elidedText(name, Qt::ElideMiddle, FieldsWidth - Metrics::Inset));
    m_item->setEnabled(shown());
    m_item->show(shown() ? shown()->values : QJsonObject(), m_sheet.task);
    showCameras();
    outputShown();
}

void ParameterDialog::showCameras()
{
    if (!m_cameras)
        return;
    QList<TickRow> rows;
    const QStringList names = shown() ? shown()->cameras : QStringList();
    for (const QString &name : names)
        rows << TickRow{name, {name}};
    m_cameras->setRows(rows, shown() ? shown()->ticked : QStringList());
}

// An edit is for every selected output: hundreds of layers are seldom set one by one.
void ParameterDialog::edit(const QString &key, const QJsonValue &value)
{
    QHash<QString, QStringList> shown;
    for (int i : qAsConst(m_chosen)) {
        m_sheet.outputs[i].values.insert(key, value);
        shown.insert(QString::number(i), cells(i));
    }
    if (m_outputs)
        m_outputs->setCells(shown);
    fieldEdited(key);
    m_summing->debounce(SumMs);
}

void ParameterDialog::outputsTicked(const QStringList &keys)
{
    for (const QString &key : keys)
        m_sheet.tick(key.toInt(), m_outputs->isTicked(key));
    QStringList ticked;
    for (int i = 0; i < m_sheet.outputs.size(); ++i)
        if (m_sheet.outputs.at(i).on)
            ticked << QString::number(i);
    if (ticked != m_outputs->ticked()) // an image follows its layers
        m_outputs->setTicked(ticked);
    framesMoved();
}

void ParameterDialog::camerasTicked()
{
    const QStringList on = m_cameras->ticked();
    for (int i : qAsConst(m_chosen)) {
        ParameterSheet::Output &one = m_sheet.outputs[i];
        one.ticked.clear();
        for (const QString &name : on)
            if (one.cameras.contains(name))
                one.ticked << name;
    }
    m_summing->debounce(SumMs);
}

void ParameterDialog::framesMoved()
{
    m_keys->setFrames(m_sheet.frameTexts(), m_sheet.keyFrames());
    m_summing->debounce(SumMs);
}

void ParameterDialog::sum()
{
    const ParameterSheet::Summary all = m_sheet.summary();
    QString text = tr("合计 %1 帧").arg(all.frames);
    if (all.pixels > 0)
        text += tr("，%1 百万像素").arg(all.pixels / 1e6, 0, 'f', 1);
    if (m_outputs)
        text.prepend(tr("已选 %1 / %2，").arg(all.outputs).arg(all.all));
    m_sum->setText(text);
}

void ParameterDialog::accept()
{
    if (busy())
        return;
    framesMoved(); // what was typed last
    if (const QString message = m_sheet.check(); !message.isEmpty()) {
        m_item->form()->check();
        MsgTool::msgOk(this, message);
        return;
    }
    const QString question = m_sheet.question();
    if (question.isEmpty())
        return save();
    Question ask;
    ask.text = question;
    Question::ask(
        this, ask, [this] { save(); }, this);
}

void ParameterDialog::save()
{
    setBusy(true, tr("正在保存…"));
    struct Done {
        db_resolve res;
        QString message;
    };
    Background::run(
        this,
        [before = m_res, sheet = m_sheet, config = CommonConfig::get(), read = m_target.read] {
            Done done{before, {}};
            const db_resolve now = before.rkey ? read(before.rkey) : before;
            if (before.rkey && !SceneState::possible(SceneState::Act::EditParameters, now.state)) {
                done.message = tr("任务已提交或已删除，参数没有保存");
                return done;
            }
            sheet.write(&done.res);
            done.message = ParameterSheet::finish(before, &done.res, config);
            return done;
        },
        [this](const Done &done) {
            setBusy(false);
            QString message = done.message;
            const bool sent = message.isEmpty() && m_target.send(done.res);
            if (!sent && message.isEmpty())
                message = tr("解析队列没有运行，参数没有保存，请稍后再试");
            if (!sent) {
                MsgTool::msgOk(this, message);
                return;
            }
            emit saved(m_res.rkey);
            close();
        });
}
