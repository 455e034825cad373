#include "view/render/ResolutionLock.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include <QStyle>
#include <QVariant>

ResolutionLock::ResolutionLock(QWidget *parent) : QToolButton(parent)
{
    setObjectName(QStringLiteral("lock"));
    setCheckable(true);
    setFixedSize(Metrics::Control, Metrics::Control);
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QToolButton::toggled, this, [this](bool on) {
        restyle();
        emit lockChanged(on);
    });
    restyle();
}

void ResolutionLock::restyle()
{
    setProperty("lock", locked());
    setIcon(IconTool::icon(locked() ? QStringLiteral("lock") : QStringLiteral("unlock")));
    setToolTip(locked() ? tr("宽高比已锁定") : tr("锁定宽高比"));
    setAccessibleName(toolTip());
    style()->unpolish(this);
    style()->polish(this);
}

int ResolutionLock::other(int before, int otherBefore, int now)
{
    return before > 0 && otherBefore > 0 ? qMax(1, qRound(double(now) * otherBefore / before)) : 0;
}
