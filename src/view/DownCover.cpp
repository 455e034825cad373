#include "view/DownCover.h"
#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include "db/Calls.h"
#include <QLabel>
#include <QPushButton>

DownCover::DownCover(int missionId, const QString &text, QWidget *parent)
    : BaseWidget(Dialog, parent), m_mission(missionId)
{
    setObjectName(QStringLiteral("DownCover"));
    setAttribute(Qt::WA_DeleteOnClose);
    setTitle(tr("序列检查"));
    auto *line = new QHBoxLayout;
    line->setContentsMargins(24, 16, 24, 8);
    line->setSpacing(16);
    auto *icon = new QLabel(this);
    icon->setPixmap(IconTool::pixmap(QStringLiteral("image"), Palette::accent, 20, devicePixelRatioF()));
    auto *words = new QLabel(text, this);
    words->setWordWrap(true);
    words->setMinimumWidth(360);
    words->setTextInteractionFlags(Qt::TextSelectableByMouse);
    line->addWidget(icon, 0, Qt::AlignTop);
    line->addWidget(words, 1);
    body()->addLayout(line, 1);
    auto *buttons = new QHBoxLayout;
    buttons->setContentsMargins(24, 8, 24, 16);
    buttons->setSpacing(8);
    buttons->addStretch(1);
    const auto add = [&](const QString &title, int cover) {
        auto *button = new QPushButton(title, this);
        connect(button, &QPushButton::clicked, this, [this, cover] { answer(cover); });
        buttons->addWidget(button);
        return button;
    };
    add(tr("全部覆盖"), All);
    QPushButton *skip = add(tr("跳过已存在"), Missing);
    skip->setProperty("primary", true);
    skip->setFocus();
    body()->addLayout(buttons);
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
    BaseWidget::closeEvent(event);
}
