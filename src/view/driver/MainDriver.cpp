#include "view/driver/MainDriver.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/MsgTool.h"
#include "common/UserInfo.h"
#include "db/UploadDDAO.h"
#include "view/driver/AddFarm.h"
#include "view/driver/cloud/ResolveD.h"
#include "view/driver/DriveConflict.h"
#include "view/driver/DriveDesk.h"
#include "view/driver/DriveSet.h"
#include "view/driver/FarmPage.h"
#include "view/driver/TransferD.h"
#include <QAbstractItemView>
#include <QButtonGroup>
#include <QDebug>
#include <QJsonArray>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedWidget>

namespace
{
const QString Group = QStringLiteral("SkyDriver");
bool drive = false;
constexpr int TabsHeight = 38;
} // namespace

bool MainDriver::offered() { return drive; }

MainDriver::MainDriver(QWidget *parent)
    : BaseWidget(Page, parent), m_desk(std::make_unique<DriveDesk>()), m_group(new QButtonGroup(this)),
      m_stack(new QStackedWidget(this)), m_browser(new QStackedWidget(this))
{
    drive = false;
    setObjectName(QStringLiteral("MainDriver"));
    setAccessibleName(tr("我的云盘"));
    makeHead();
    m_thumbnails = UserInfo::userValue(Group, QStringLiteral("thumbnails")).toInt() == 1;
    m_none = new QLabel(tr("还没有打开的农场，请点击“新增农场”"), m_browser);
    static_cast<QLabel *>(m_none)->setAlignment(Qt::AlignCenter);
    m_none->setObjectName(QStringLiteral("emptyHint"));
    m_browser->addWidget(m_none);
    auto *first = new QWidget(m_stack);
    auto *column = new QVBoxLayout(first);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_tabLine);
    column->addWidget(m_browser, 1);
    body()->addWidget(m_stack, 1);
    addPart(tr("我的云盘"), first);
    m_transfers = new TransferD(m_stack);
    addPart(tr("传输列表"), m_transfers);
    addPart(tr("解析提交"), new ResolveD(m_stack));
    connect(UploadDDAO::instance(UploadDDAO::Down), &UploadDDAO::conflict, this, &MainDriver::askConflict,
            Qt::QueuedConnection);
    follow();
}

MainDriver::~MainDriver()
{
    drive = false;
    qDeleteAll(m_pages); // before the desk that they ask
}

QToolButton *MainDriver::toolButton(const char *name, const char *icon, const QString &tip)
{
    auto *button = new QToolButton(this);
    button->setObjectName(QLatin1String(name));
    button->setIcon(IconTool::icon(QLatin1String(icon)));
    button->setFixedSize(Metrics::Control, Metrics::Control);
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

void MainDriver::makeHead()
{
    m_parts = new QHBoxLayout;
    m_parts->setContentsMargins(Metrics::Margin, 6, Metrics::Margin, 0);
    m_parts->setSpacing(Metrics::Gap);
    m_parts->addStretch(1);
    m_mode = toolButton("viewMode", "grid", {});
    QToolButton *set = toolButton("setBtn", "settings", tr("云盘设置"));
    connect(m_mode, &QToolButton::clicked, this, &MainDriver::on_viewMode_clicked);
    connect(set, &QToolButton::clicked, this, &MainDriver::on_setBtn_clicked);
    m_parts->addWidget(m_mode);
    m_parts->addWidget(set);
    body()->addLayout(m_parts);
    m_tabLine = new QWidget(this);
    m_tabLine->setObjectName(QStringLiteral("farmTabs"));
    auto *held = new QWidget;
    m_tabRow = new QHBoxLayout(held);
    m_tabRow->setContentsMargins(0, 0, 0, 0);
    m_tabRow->setSpacing(0);
    m_tabRow->addStretch(1);
    m_tabScroll = new QScrollArea(m_tabLine);
    m_tabScroll->setWidget(held);
    m_tabScroll->setWidgetResizable(true);
    m_tabScroll->setFixedHeight(TabsHeight);
    m_tabScroll->setFocusPolicy(Qt::NoFocus);
    m_tabScroll->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_tabScroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_tabScroll->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    const auto step = [this](const char *name, const char *icon, const QString &tip, int by) {
        QToolButton *button = toolButton(name, icon, tip);
        connect(button, &QToolButton::clicked, this, [this, by] {
            QScrollBar *bar = m_tabScroll->horizontalScrollBar();
            bar->setValue(bar->value() + by);
        });
        connect(m_tabScroll->horizontalScrollBar(), &QScrollBar::rangeChanged, button,
                [button](int least, int most) { button->setVisible(most > least); });
        button->hide();
        return button;
    };
    m_add = new QPushButton(IconTool::icon(QStringLiteral("plus")), tr("新增农场"), m_tabLine);
    m_add->setObjectName(QStringLiteral("addFarm"));
    connect(m_add, &QPushButton::clicked, this, &MainDriver::on_addFarm_clicked);
    auto *row = new QHBoxLayout(m_tabLine);
    row->setContentsMargins(Metrics::Gap, 0, Metrics::Gap, 0);
    row->setSpacing(4);
    row->addWidget(step("tabsBack", "chevron-left", tr("前面的农场"), -200));
    row->addWidget(m_tabScroll, 1);
    row->addWidget(step("tabsOn", "chevron-right", tr("后面的农场"), 200));
    row->addWidget(m_add);
}

void MainDriver::addPart(const QString &title, QWidget *part)
{
    auto *button = new QPushButton(title, this);
    button->setObjectName(QStringLiteral("tab"));
    button->setCheckable(true);
    const int at = m_stack->addWidget(part);
    button->setAutoExclusive(true);
    m_group->addButton(button); // its own: those of widgets below would count as well
    m_partButtons << button;
    m_parts->insertWidget(at, button);
    connect(button, &QPushButton::toggled, this, [this, button, at](bool on) {
        button->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus);
        if (on)
            showPart(at);
    });
    button->setFocusPolicy(Qt::ClickFocus);
    if (at == 0)
        button->setChecked(true);
}

void MainDriver::showPart(int part)
{
    if (part < 0 || part >= m_stack->count())
        return;
    m_stack->setCurrentIndex(part);
    m_partButtons.at(part)->setChecked(true);
    m_mode->setVisible(part == Browser);
}

QStringList MainDriver::keptTabs() const
{
    return UserInfo::userValue(Group, QStringLiteral("farms")).toString().split(QLatin1Char(','), Qt::SkipEmptyParts);
}

void MainDriver::keepTabs()
{
    QStringList ids;
    for (const FarmTab *tab : qAsConst(m_tabs))
        ids << QString::number(tab->farm().id);
    UserInfo::setUserValue(Group, QStringLiteral("farms"), ids.isEmpty() ? QStringLiteral("-1") : ids.join(','));
}

FarmTab *MainDriver::tabOf(int farmId) const
{
    for (FarmTab *tab : m_tabs)
        if (tab->farm().id == farmId)
            return tab;
    return nullptr;
}

void MainDriver::addTab(const DriveFarm &farm)
{
    auto *tab = new FarmTab(farm, m_tabScroll->widget());
    connect(tab, &FarmTab::farmClick, this, &MainDriver::farmClick);
    connect(tab, &FarmTab::farmDel, this, &MainDriver::farmDel);
    m_tabRow->insertWidget(m_tabs.size(), tab);
    m_tabs << tab;
    tab->show();
}

// Tabs of farms that are still there stay with all that is behind them.
void MainDriver::initMainDriver(QJsonObject told, bool refresh)
{
    QList<DriveFarm> farms;
    QStringList marked;
    const QJsonArray list = told.value(QLatin1String("skydriveFarms")).toArray();
    for (const QJsonValue &value : list) {
        const DriveFarm farm = DriveFarm::from(value.toObject());
        const bool twice =
            std::any_of(farms.cbegin(), farms.cend(), [&](const DriveFarm &f) { return f.id == farm.id; });
        if (farm.id <= 0 || twice)
            continue;
        farms << farm;
        if (value.toObject().value(QLatin1String("selected")).toVariant().toInt() != 0)
            marked << QString::number(farm.id);
    }
    qDebug().noquote() << "MainDriver::initMainDriver" << farms.size();
    m_farms = farms;
    const bool first = !std::exchange(drive, true);
    const QList<FarmTab *> before = m_tabs;
    for (const FarmTab *tab : before)
        if (std::none_of(farms.cbegin(), farms.cend(), [&](const DriveFarm &f) { return f.id == tab->farm().id; }))
            farmGone(tab->farm().id);
    QStringList kept = keptTabs();
    const auto isKept = [&kept](const DriveFarm &f) { return kept.contains(QString::number(f.id)); };
    if (kept != QStringList{QStringLiteral("-1")} && std::none_of(farms.cbegin(), farms.cend(), isKept))
        kept.clear(); // all farms of then have gone
    for (const DriveFarm &farm : qAsConst(farms)) {
        const QString id = QString::number(farm.id);
        if (FarmTab *tab = tabOf(farm.id))
            tab->setFarm(farm);
        else if (first && (!kept.isEmpty() ? kept.contains(id) : marked.isEmpty() || marked.contains(id)))
            addTab(farm);
    }
    const int viewed = UserInfo::viewFarmId();
    const int standard = told.value(QLatin1String("defaultFarmId")).toVariant().toString().toInt();
    if (!page() || !tabOf(m_farm)->farm().usable()) {
        int wanted = 0;
        for (int id : {viewed, standard})
            if (const FarmTab *tab = tabOf(id); wanted == 0 && tab && tab->farm().usable())
                wanted = id;
        for (const FarmTab *tab : qAsConst(m_tabs))
            if (wanted == 0 && tab->farm().usable())
                wanted = tab->farm().id;
        show(wanted);
    } else if (refresh) {
        page()->refresh();
    }
    follow();
    emit offeredChanged();
}

void MainDriver::farmGone(int farmId)
{
    FarmTab *tab = tabOf(farmId);
    m_tabs.removeOne(tab);
    tab->deleteLater();
    tab->hide();
    if (FarmPage *gone = m_pages.take(farmId)) {
        m_browser->removeWidget(gone);
        gone->deleteLater();
    }
    if (m_farm == farmId)
        m_farm = 0;
}

void MainDriver::farmClick(int farmId)
{
    const FarmTab *tab = tabOf(farmId);
    if (!tab)
        return;
    if (!tab->farm().usable()) {
        MsgTool::msgOk(this, tr("该农场暂时无法使用"));
        return;
    }
    show(farmId);
    UserInfo::setSetting(Settings::ViewFarmId, farmId);
}

void MainDriver::show(int farmId)
{
    m_farm = tabOf(farmId) ? farmId : 0;
    if (m_farm != 0 && !m_pages.contains(farmId)) {
        auto *page = new FarmPage(farmId, tabOf(farmId)->farm().name, m_desk.get(), m_browser);
        page->setThumbnails(m_thumbnails);
        connect(page, &FarmPage::recharge, this, &MainDriver::recharge);
        connect(page, &FarmPage::transfers, this, [this] { showPart(Transfers); });
        connect(page, &FarmPage::analyses, this, [this] { showPart(Analyses); });
        m_pages.insert(farmId, page);
        m_browser->addWidget(page);
    }
    m_browser->setCurrentWidget(m_farm != 0 ? static_cast<QWidget *>(m_pages.value(farmId)) : m_none);
    for (FarmTab *tab : qAsConst(m_tabs))
        tab->setSelected(tab->farm().id == m_farm);
    if (m_farm != 0)
        m_tabScroll->ensureWidgetVisible(tabOf(m_farm));
    follow();
}

// Handed on here, not by a proxy: Tab passes over what lies within a widget that has one.
void MainDriver::focusInEvent(QFocusEvent *)
{
    if (m_stack->currentIndex() != Browser)
        m_stack->currentWidget()->setFocus();
    else
        (page() ? static_cast<QWidget *>(page()->view()) : m_add)->setFocus();
}

void MainDriver::farmDel(int farmId)
{
    if (!tabOf(farmId))
        return;
    int next = 0; // the neighbour takes its place
    for (int i = 0; i < m_tabs.size(); ++i)
        if (m_tabs.at(i)->farm().id == farmId)
            for (int at : {i + 1, i - 1})
                if (next == 0 && at >= 0 && at < m_tabs.size() && m_tabs.at(at)->farm().usable())
                    next = m_tabs.at(at)->farm().id;
    const bool seen = farmId == m_farm;
    farmGone(farmId);
    keepTabs();
    if (seen)
        show(next);
    follow();
}

FarmPage *MainDriver::page() const { return m_pages.value(m_farm); }

void MainDriver::on_addFarm_clicked()
{
    QList<TickRow> rows;
    for (const DriveFarm &farm : qAsConst(m_farms))
        if (!tabOf(farm.id))
            rows << TickRow{QString::number(farm.id),
                            {farm.name, farm.platform, farm.usable() ? tr("可用") : farm.statusText()}};
    auto *dialog = new AddFarm(rows, window());
    connect(dialog, &AddFarm::addFarmOk, this, &MainDriver::addFarmOk);
    dialog->open();
}

void MainDriver::addFarmOk(QStringList idL)
{
    int wanted = 0;
    for (const DriveFarm &farm : qAsConst(m_farms))
        if (idL.contains(QString::number(farm.id)) && !tabOf(farm.id)) {
            addTab(farm);
            wanted = wanted == 0 && farm.usable() ? farm.id : wanted;
        }
    keepTabs();
    if (wanted != 0)
        farmClick(wanted);
    follow();
}

void MainDriver::on_viewMode_clicked()
{
    m_thumbnails = !m_thumbnails;
    UserInfo::setUserValue(Group, QStringLiteral("thumbnails"), m_thumbnails ? 1 : 0);
    for (FarmPage *page : qAsConst(m_pages))
        page->setThumbnails(m_thumbnails);
    follow();
}

void MainDriver::connectDAOView(int transType) { m_transfers->connectDAOView(transType); }
void MainDriver::initDAOView(int transType) { m_transfers->initDAOView(transType); }

void MainDriver::on_setBtn_clicked() { (new DriveSet(window()))->open(); }

// Once a batch: what is answered holds for all of its files. Closed without an answer it's asked again with the next
// look of the queue, since the batch stands still where it was.
void MainDriver::askConflict(qlonglong farmPri, const QString &path)
{
    if (m_conflicts.contains(farmPri))
        return;
    auto *dialog = new DriveConflict(farmPri, path, window());
    m_conflicts.insert(farmPri);
    connect(dialog, &QObject::destroyed, this, [this, farmPri] { m_conflicts.remove(farmPri); });
    dialog->open();
}
void MainDriver::on_moneyBtn_clicked() { emit recharge(); }

void MainDriver::on_headMax_clicked() // a page in a window: the window's
{
    if (auto *frame = qobject_cast<BaseWidget *>(window()); frame && frame != this)
        frame->on_headMax_clicked();
}

void MainDriver::rightsChanged()
{
    for (FarmPage *page : qAsConst(m_pages))
        page->rightsChanged();
}

void MainDriver::follow()
{
    m_add->setVisible(m_tabs.size() < m_farms.size());
    m_mode->setIcon(IconTool::icon(m_thumbnails ? QStringLiteral("list") : QStringLiteral("grid")));
    m_mode->setToolTip(m_thumbnails ? tr("切换到列表模式") : tr("切换到缩略图模式"));
    m_mode->setAccessibleName(m_mode->toolTip());
}
