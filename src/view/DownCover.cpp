#include "view/DownCover.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/Palette.h"
#include "db/Calls.h"
#include <QLabel>
#include <QPushButton>

DownCover::DownCover(int missionId, const QString &name, const QString &text, QWidget *parent)
    : DialogFrame(QStringLiteral("DownCover"), tr("序列检查"), parent), m_mission(missionId)
{
    const QString task = tr("任务 %1").arg(missionId);
    setHeading(name.isEmpty() ? task : QStringLiteral("%1 · %2").arg(name, task));
    auto *line = new QHBoxLayout;
    line->setSpacing(Metrics::Margin);
    auto *icon = new QLabel(this);
    icon->setPixmap(IconTool::pixmap(QStringLiteral("image"), Palette::accent, 20, devicePixelRatioF()));
    auto *words = new QLabel(text, this);
    words->setTextFormat(Qt::PlainText);
    words->setWordWrap(true);
    words->setMinimumWidth(360);
    words->setTextInteractionFlags(Qt::TextSelectableByMouse);
    line->addWidget(icon, 0, Qt::AlignTop);
    line->addWidget(words, 1);
    content()->addLayout(line);
    content()->addStretch(1);
    addButton(tr("全部覆盖"), Plain, [this] { answer(All); });
    addButton(tr("跳过已存在"), Primary, [this] { answer(Missing); })->setFocus();
}

void DownCover::answer(int cover)
{
    if (m_done)
        return;
    m_done = true;
    Seam<DownCalls>::post([mission = m_mission, cover](DownCalls &down) { down.coverResult(mission, cover); });
    close();
}

void DownCover::on_headClose_clicked() { answer(Cancelled); }

void DownCover::closeEvent(QCloseEvent *event)
{
    answer(Cancelled);
    DialogFrame::closeEvent(event);
}
