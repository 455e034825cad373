#include "view/task/MissionPart.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/RecordModel.h"
#include "common/ui/kit/RecordView.h"
#include "common/UserInfo.h"
#include <QCheckBox>
#include <QGridLayout>

namespace
{
const QString Group = QStringLiteral("Mission");
constexpr int Across = 2;

QList<ColumnInfo> choosable(const RecordView *view)
{
    QList<ColumnInfo> out;
    for (int i = 0; i < view->records()->columnCount(); ++i)
        if (const ColumnInfo &info = view->records()->column(i); info.gives > 0)
            out << info;
    return out;
}
} // namespace

// Kept are the columns that are hidden: one that a later version adds is shown.
void MissionPart::restore(RecordView *view, const QString &key)
{
    if (!UserInfo::hasUserValue(Group, key))
        return;
    const QStringList hidden = UserInfo::userValue(Group, key).toString().split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const ColumnInfo &info : choosable(view))
        view->setColumnShown(info.id, !hidden.contains(info.id));
}

MissionPart::MissionPart(RecordView *view, const QString &key, QWidget *parent)
    : DialogFrame(QStringLiteral("MissionPart"), tr("新增列展示"), parent), m_view(view), m_key(key)
{
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(Metrics::Inset);
    grid->setVerticalSpacing(Metrics::Gap);
    const QStringList hidden = UserInfo::userValue(Group, key).toString().split(QLatin1Char(','), Qt::SkipEmptyParts);
    const QList<ColumnInfo> columns = choosable(view);
    for (const ColumnInfo &info : columns) {
        auto *box = new QCheckBox(tr("展示%1").arg(QLatin1Char(' ') + info.title), this);
        box->setObjectName(info.id);
        box->setChecked(!hidden.contains(info.id));
        connect(box, &QCheckBox::toggled, this, &MissionPart::selectChanged);
        grid->addWidget(box, m_boxes.size() / Across, m_boxes.size() % Across);
        m_boxes << box;
    }
    content()->addLayout(grid);
    content()->addStretch(1);
    addButton(tr("完成"), Close);
}

void MissionPart::selectChanged()
{
    QStringList hidden;
    for (const QCheckBox *box : qAsConst(m_boxes)) {
        m_view->setColumnShown(box->objectName(), box->isChecked());
        if (!box->isChecked())
            hidden << box->objectName();
    }
    UserInfo::setUserValue(Group, m_key, hidden.join(QLatin1Char(',')));
}
