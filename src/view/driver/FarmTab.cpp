#include "view/driver/FarmTab.h"
#include "common/ui/IconTool.h"
#include "view/driver/FileView.h"
#include <QDebug>
#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>

namespace
{
constexpr int MostName = 24;
} // namespace

DriveFarm DriveFarm::from(const QJsonObject &farm)
{
    DriveFarm out;
    out.id = farm.value(QLatin1String("farmId")).toVariant().toInt();
    out.status = farm.value(QLatin1String("status")).toVariant().toInt();
    out.name = DriveText::clean(farm.value(QLatin1String("name")).toString());
    out.platform = DriveText::clean(farm.value(QLatin1String("platform")).toVariant().toString());
    if (out.name.isEmpty())
        out.name = QString::number(out.id);
    return out;
}

QString DriveFarm::statusText() const
{
    return usable() ? QString() : status == Grey ? FarmTab::tr("农场已灰度") : FarmTab::tr("农场已禁用");
}

FarmTab::FarmTab(const DriveFarm &farm, QWidget *parent)
    : QWidget(parent), m_button(new QPushButton(this)), m_cross(new QToolButton(this))
{
    setObjectName(QStringLiteral("FarmTab"));
    m_button->setObjectName(QStringLiteral("tab"));
    m_button->setCheckable(true);
    m_cross->setIcon(IconTool::icon(QStringLiteral("close"), 12));
    m_cross->setFixedSize(20, 20);
    m_cross->setFocusPolicy(Qt::StrongFocus);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 4, 0);
    row->setSpacing(0);
    row->addWidget(m_button);
    row->addWidget(m_cross);
    connect(m_button, &QPushButton::clicked, this, [this] {
        m_button->setChecked(selected()); // what is shown decides, not the click
        emit farmClick(m_farm.id);
    });
    connect(m_cross, &QToolButton::clicked, this, [this] { emit farmDel(m_farm.id); });
    setFarm(farm);
}

void FarmTab::setFarm(const DriveFarm &farm)
{
    m_farm = farm;
    qDebug().noquote() << "FarmTab::setFarm" << farm.id << farm.name << farm.status;
    const QString word = farm.statusText();
    const QString name = farm.name.size() > MostName ? farm.name.left(MostName - 1) + QChar(0x2026) : farm.name;
    m_button->setText(
        QString(word.isEmpty() ? name : tr("%1（%2）").arg(name, word)).replace('&', QStringLiteral("&&")));
    m_button->setToolTip(farm.name);
    m_button->setAccessibleName(m_button->text());
    m_cross->setToolTip(tr("关闭农场“%1”").arg(farm.name));
    m_cross->setAccessibleName(m_cross->toolTip());
}

void FarmTab::setSelected(bool on)
{
    setProperty("selected", on);
    m_button->setChecked(on);
}

bool FarmTab::selected() const { return property("selected").toBool(); }
