#include "view/driver/cloud/SubmitMayaD.h"
#include "common/CommonConfig.h"
#include "common/ui/Background.h"
#include "common/ui/kit/Form.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/MsgTool.h"
#include "db/CloudCalls.h"
#include "resolve/cloud/CloudScenes.h"
#include "resolve/FrameSet.h"
#include "view/driver/cloud/CloudAnalysis.h"
#include "view/driver/cloud/MDW.h"
#include <QGridLayout>
#include <QLabel>

namespace
{
constexpr int NameWidth = 220;
const QString Keys = QStringLiteral("keyFrames"), Strategy = QStringLiteral("strategy");

QString textOf(const QJsonObject &values, const char *key)
{
    return values.value(QLatin1String(key)).toVariant().toString();
}
} // namespace

SubmitMayaD::SubmitMayaD(const ParameterDialog::Scene &scene, double balance, QWidget *parent)
    : EnvPre(scene.sheet.type, {scene.res.lpath}, balance, parent, {false, tr("提交渲染")}), m_res(scene.res),
      m_sheet(scene.sheet)
{
    setObjectName(QStringLiteral("SubmitMayaD"));
    setTitle(CloudAnalysis::title(m_sheet.type));
    makeFrames();
}

void SubmitMayaD::makeFrames()
{
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(Metrics::Margin);
    grid->setVerticalSpacing(Metrics::Gap);
    for (int i = 0; i < m_sheet.outputs.size(); ++i) {
        const ParameterSheet::Output &one = m_sheet.outputs.at(i);
        const QString frames = FrameSet::join(textOf(one.values, "frames"), textOf(one.values, "step"));
        if (!one.on || (frames.isEmpty() && one.image < 0 && i + 1 < m_sheet.outputs.size() &&
                        m_sheet.outputs.at(i + 1).image == i))
            continue; // an image whose layers have the frames
        auto *name = new QLabel(this);
        name->setTextFormat(Qt::PlainText);
        const QString words = one.name.isEmpty() ? tr("帧") : one.name.simplified();
        name->setText(fontMetrics().elidedText(words, Qt::ElideMiddle, NameWidth));
        name->setToolTip(words.toHtmlEscaped());
        auto *cell = new MDW(tr("“%1”的帧").arg(words), this);
        cell->setText(frames);
        name->setBuddy(cell);
        grid->addWidget(name, m_cells.size(), 0);
        grid->addWidget(cell, m_cells.size(), 1);
        m_cells << cell;
        m_places << i;
        connect(cell, &MDW::edited, this, [this, i](const QString &text) {
            QString own, step;
            FrameSet::split(FrameSet::normalise(text), &own, &step);
            m_sheet.outputs[i].values.insert(QStringLiteral("frames"), own);
            m_sheet.outputs[i].values.insert(QStringLiteral("step"), step);
            m_keys->judge(Keys);
        });
    }
    grid->setColumnStretch(1, 1);
    auto *heading = new QLabel(tr("帧序列"), this);
    heading->setObjectName(QStringLiteral("heading"));
    m_keys = new Form(
        {Field::frames(Keys, tr("优先帧"))
             .hinted(tr("可留空"))
             .checked([this](const QJsonValue &value, const QJsonObject &) {
                 return FrameSet::checkKeyFrames(value.toString(), m_sheet.frameTexts());
             }),
         Field::radios(Strategy, tr("之后"),
                       {{1, tr("优先帧渲染完成后，自动开始渲染")}, {0, tr("优先帧渲染完成后，等待手动开始渲染")}})},
        this);
    m_keys->setValues({{Keys, m_sheet.task.value(Keys)}, {Strategy, m_sheet.task.value(Strategy)}});
    const int last = content()->count() - 1; // before the stretch
    content()->insertWidget(last, heading);
    content()->insertLayout(last + 1, grid);
    content()->insertWidget(last + 2, m_keys);
}

QString SubmitMayaD::refusal() const
{
    if (const QString no = EnvChoice::refusal(m_chosen); !no.isEmpty())
        return no;
    for (int i = 0; i < m_cells.size(); ++i)
        if (m_cells.at(i)->text().trimmed().isEmpty())
            return tr("\"%1\"的帧序列不能为空！").arg(m_sheet.outputs.at(m_places.at(i)).name.left(200));
    return m_sheet.check();
}

void SubmitMayaD::insert()
{
    if (busy())
        return;
    for (MDW *cell : qAsConst(m_cells))
        cell->editToText(); // what was typed last
    for (const QString &key : {Keys, Strategy})
        m_sheet.task.insert(key, m_keys->value(key));
    if (const QString no = refusal(); !no.isEmpty())
        return setError(no);
    remember();
    setBusy(true, tr("正在保存…"));
    struct Done {
        db_resolve res;
        QString message;
    };
    Background::run(
        this,
        [res = m_res, sheet = m_sheet, chosen = m_chosen, config = CommonConfig::get()] {
            Done done{res, {}};
            CloudScenes::prepare(&done.res, sheet, EnvChoice::rset(chosen, res.lpath), config, &done.message);
            return done;
        },
        [this](const Done &done) {
            setBusy(false);
            if (!done.message.isEmpty())
                return setError(done.message);
            send(done.res);
        });
}

void SubmitMayaD::send(const db_resolve &res)
{
    if (!Seam<CloudCalls>::post([res](CloudCalls &queue) { queue.submit(res); }))
        return setError(tr("解析队列尚未就绪，请稍后重试"));
    emit handed(res.rkey);
    close();
}
