// The page's widgets and the way through the folders.
#include "view/driver/FarmPage.h"
#include "common/ui/EmptyView.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "view/driver/DriveChain.h"
#include "view/driver/DriveInfo.h"
#include "view/driver/DriverPath.h"
#include "view/driver/DriveTree.h"
#include "view/driver/FolderModel.h"
#include "view/driver/FolderViews.h"
#include "view/driver/ThumbStore.h"
#include <QAction>
#include <QBoxLayout>
#include <QButtonGroup>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSplitter>
#include <QStackedWidget>

namespace
{
const QString Root = QLatin1String(SubFile::Root);
constexpr int LeftWidth = 200;
constexpr int ListMs = 60000; // until a farm begins to tell a list, or goes on; a big one takes it long
} // namespace

FarmPage::FarmPage(int farmId, const QString &farmName, DriveDesk *desk, QWidget *parent)
    : QWidget(parent), m_farm(farmId), m_name(farmName), m_desk(desk), m_model(new FolderModel(this))
{
    setObjectName(QStringLiteral("FarmPage"));
    const auto fetch = [this](const FileView &entry, const std::function<void(const QByteArray &)> &then) {
        m_desk->ask(DriveRest::content(m_farm, entry.fileType, entry.id, 0, entry.size - 1), this,
                    [then](const DriveDesk::Answer &answer) { then(answer.reply.bytes); });
    };
    m_thumbs = new ThumbStore(fetch, this);
    m_path = new DriverPath(this);
    makeActions();
    auto *splitter = new QSplitter(Qt::Horizontal, this);
    splitter->setChildrenCollapsible(false);
    splitter->setHandleWidth(1);
    splitter->addWidget(makeLeft());
    splitter->addWidget(makeRight());
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({LeftWidth, 800});
    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(splitter);
    makeKeys();
    connect(m_path, &DriverPath::driverPathChanged, this, &FarmPage::driverPathChanged);
    connect(m_path, &DriverPath::driverSearh, this, &FarmPage::driverSearh);
    connect(m_path, &DriverPath::driverSearchOut, this, &FarmPage::driverSearchOut);
    connect(m_path, &DriverPath::refreshed, this, &FarmPage::refresh);
    connect(m_tree, &DriveTree::wanted, this, &FarmPage::branch);
    connect(m_tree, &DriveTree::activatedId, this, &FarmPage::driverPathChanged);
    connect(m_tree, &DriveTree::menuWanted, this, &FarmPage::treeMenu);
    connect(m_model, &FolderModel::named, this, &FarmPage::named);
    connect(m_model, &FolderModel::rowsChanged, this, &FarmPage::itemSelectChanged);
    connect(m_model, &FolderModel::sortWanted, this, [this](int column, bool down) {
        const DriveSort by{column, down};
        if (m_reading)
            m_desk->resort(m_reading, by);
        if (m_inPieces)
            return;
        const int round = m_round;
        m_desk->sort(m_model->stock(), by, this, [this, round, by](const QVector<int> &order) {
            if (round == m_round)
                m_model->setOrder(order, by);
        });
    });
    connect(m_model, &QAbstractItemModel::headerDataChanged, m_table->viewport(), QOverload<>::of(&QWidget::update));
    m_tree->clear(m_type);
    driverPathChanged(Root);
    m_info->ask();
}

QWidget *FarmPage::makeLeft()
{
    auto *left = new QWidget(this);
    left->setObjectName(QStringLiteral("driveLeft"));
    left->setMinimumWidth(150);
    auto *group = new QButtonGroup(left);
    const auto kind = [this, left, group](const QString &text, int type) {
        auto *button = new QPushButton(text, left);
        button->setObjectName(QStringLiteral("tab"));
        button->setCheckable(true);
        button->setAutoExclusive(true);
        group->addButton(button);
        connect(button, &QPushButton::toggled, this, [this, button, type](bool on) {
            button->setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus);
            if (on)
                setFileType(type);
        });
        return button;
    };
    m_input = kind(tr("项目文件"), DriveRest::Input);
    m_results = kind(tr("渲染结果"), DriveRest::Result);
    m_input->setChecked(true);
    m_results->setFocusPolicy(Qt::ClickFocus);
    m_tree = new DriveTree(tr("文件夹"), left);
    m_info = new DriveInfo(m_farm, left);
    auto *kinds = new QHBoxLayout;
    kinds->setContentsMargins(4, 0, 4, 0);
    kinds->setSpacing(0);
    kinds->addWidget(m_input);
    kinds->addWidget(m_results);
    kinds->addStretch(1);
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(12, 6, 8, 8);
    foot->addWidget(m_info);
    auto *column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(kinds);
    column->addWidget(m_tree, 1);
    column->addLayout(foot);
    m_tree->viewport()->installEventFilter(this);
    m_tree->setAcceptDrops(true);
    return left;
}

QWidget *FarmPage::makeRight()
{
    auto *right = new QWidget(this);
    m_bar = new QWidget(right);
    auto *bar = new QHBoxLayout(m_bar);
    bar->setContentsMargins(Metrics::Gap, 8, Metrics::Gap, 2);
    bar->setSpacing(Metrics::Gap);
    for (const char *name : {"upload", "download", "createDir", "addDrv", "move", "delete"}) {
        QAction *action = m_actions.value(QLatin1String(name));
        auto *button = new QPushButton(action->icon(), action->text(), right);
        button->setObjectName(QStringLiteral("act_") + QLatin1String(name));
        button->setProperty("primary", qstrcmp(name, "upload") == 0);
        connect(button, &QPushButton::clicked, action, &QAction::trigger);
        connect(action, &QAction::changed, this, &FarmPage::fitBar);
        m_buttons << qMakePair(button, action);
        bar->addWidget(button);
    }
    m_more = new QPushButton(IconTool::icon(QStringLiteral("more")), tr("更多"), right);
    m_more->setMenu(new QMenu(m_more));
    connect(m_more->menu(), &QMenu::aboutToShow, this, [this] {
        m_more->menu()->clear();
        for (const QString &name : qAsConst(m_order))
            if (m_actions.value(name)->isVisible())
                m_more->menu()->addAction(m_actions.value(name));
    });
    bar->addWidget(m_more);
    bar->addStretch(1);
    makeViews();
    m_busy = new Busy(m_stack);
    m_errorLine = new QWidget(right);
    auto *line = new QHBoxLayout(m_errorLine);
    line->setContentsMargins(Metrics::Margin, 4, Metrics::Margin, 4);
    m_errorText = new QLabel(m_errorLine);
    m_errorText->setObjectName(QStringLiteral("errorLine"));
    m_errorText->setTextFormat(Qt::PlainText);
    m_errorText->setWordWrap(true);
    auto *again = new QPushButton(tr("重试"), m_errorLine);
    connect(again, &QPushButton::clicked, this, &FarmPage::refresh);
    line->addWidget(m_errorText, 1);
    line->addWidget(again);
    m_errorLine->hide();
    m_count = new QLabel(right);
    m_count->setObjectName(QStringLiteral("quiet"));
    m_count->setContentsMargins(Metrics::Margin, 6, Metrics::Margin, 6);
    auto *column = new QVBoxLayout(right);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_bar);
    column->addWidget(m_path);
    column->addWidget(m_stack, 1);
    column->addWidget(m_errorLine);
    column->addWidget(m_count);
    m_bar->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    m_bar->installEventFilter(this);
    m_path->installEventFilter(this);
    m_path->setAcceptDrops(true);
    return right;
}

void FarmPage::fitBar()
{
    if (!m_more)
        return;
    int room = m_bar->width() - 2 * Metrics::Gap - m_more->sizeHint().width();
    bool fits = true;
    for (const auto &[button, action] : qAsConst(m_buttons)) {
        button->setEnabled(action->isEnabled());
        room -= action->isVisible() ? button->sizeHint().width() + Metrics::Gap : 0;
        fits = fits && room >= 0;
        button->setVisible(action->isVisible() && fits);
    }
}

void FarmPage::makeViews()
{
    m_stack = new QStackedWidget(this);
    m_table = new FolderTable(m_model, m_stack);
    m_grid = new FolderGrid(m_model, m_thumbs, m_stack);
    m_grid->setSelectionModel(m_table->selectionModel());
    m_stack->addWidget(m_table);
    m_stack->addWidget(m_grid);
    m_emptyTable = new EmptyView(m_table, QStringLiteral("folder"), QString(), QString());
    m_emptyGrid = new EmptyView(m_grid, QStringLiteral("folder"), QString(), QString());
    dressView(m_table, m_table->names());
    dressView(m_grid, m_grid->names());
    connect(m_table, &FolderTable::dragged, this, [this] { dragPress(nullptr); });
    connect(m_grid, &FolderGrid::dragged, this, [this] { dragPress(nullptr); });
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this, &FarmPage::itemSelectChanged);
}

void FarmPage::dressView(QAbstractItemView *view, NameItem *names)
{
    view->setAccessibleName(tr("文件列表"));
    view->setAcceptDrops(true);
    view->setDropIndicatorShown(false);
    view->viewport()->installEventFilter(this);
    connect(view, &QAbstractItemView::activated, this, &FarmPage::openRow);
    connect(view, &QWidget::customContextMenuRequested, this,
            [this, view](const QPoint &at) { menu(view->viewport()->mapToGlobal(at)); });
    connect(names, &NameItem::left, this, &FarmPage::leftName);
}

QAbstractItemView *FarmPage::view() const { return static_cast<QAbstractItemView *>(m_stack->currentWidget()); }
QString FarmPage::error() const { return m_errorLine->isHidden() ? QString() : m_errorText->text(); }

void FarmPage::setThumbnails(bool on)
{
    QAbstractItemView *before = view();
    const bool focus = before->hasFocus();
    m_stack->setCurrentIndex(on ? 1 : 0);
    if (focus)
        view()->setFocus();
    if (!on)
        m_thumbs->setSeen({});
    if (view()->currentIndex().isValid())
        view()->scrollTo(view()->currentIndex());
}

void FarmPage::setFileType(int type)
{
    if (type == m_type || !m_tree)
        return;
    m_type = type;
    (type == DriveRest::Result ? m_results : m_input)->setChecked(true);
    m_path->forget();
    m_chain.clear();
    m_tree->clear(type);
    m_folder.clear(); // the root of one tree isn't that of the other
    driverPathChanged(Root);
}

void FarmPage::refresh()
{
    m_thumbs->forget();
    m_info->ask();
    read();
}

void FarmPage::rightsChanged() { followSelection(); }

void FarmPage::setError(const QString &text)
{
    m_errorText->setText(text);
    m_errorLine->setVisible(!text.isEmpty());
}

// The way is known where it goes up, or one step down from what is seen; else the farm is asked for it.
void FarmPage::driverPathChanged(QString id)
{
    if (id.isEmpty())
        return;
    const bool same = id == m_folder && !m_path->searching();
    const FileView *entry = m_path->searching() ? nullptr : m_model->entry(id);
    int at = -1;
    for (int i = 0; i < m_chain.size(); ++i)
        at = m_chain.at(i).id == id ? i : at;
    ++m_chainRound;
    m_searched.clear();
    if (at >= 0) {
        m_folder = id;
        setChain(m_chain.mid(0, at + 1));
    } else if (entry && entry->isFolder() && !m_chain.isEmpty() && m_chain.last().id == m_folder) {
        const FileView step = *entry;
        m_folder = id;
        setChain(m_chain + QVector<FileView>{step});
    } else if (id == Root) {
        m_folder = id;
        setChain({DriveChain::root(m_type)});
    } else {
        m_folder = id;
        askChain(id);
    }
    if (!same) {
        m_thumbs->forget();
        m_model->open(m_type);
    }
    read();
}

void FarmPage::askChain(const QString &id)
{
    const int round = ++m_chainRound;
    m_desk->ask(DriveRest::family(m_farm, m_type, id), this, [this, round, id](const DriveDesk::Answer &answer) {
        if (round != m_chainRound)
            return;
        const QList<SubFile> family = answer.reply.entries;
        const QVector<FileView> chain = DriveChain::of(family, id, m_type);
        if (answer.good && chain.last().id == id)
            return setChain(chain);
        m_desk->ask(DriveRest::entry(m_farm, m_type, id), this, [this, round, family](const DriveDesk::Answer &own) {
            if (round == m_chainRound && own.good)
                setChain(DriveChain::of(family + QList<SubFile>{own.reply.entry}, own.reply.entry.id, m_type));
        });
    });
}

void FarmPage::setChain(const QVector<FileView> &chain)
{
    m_chain = chain;
    m_path->setPath(chain);
    m_tree->showChain(chain);
    followSelection();
}

void FarmPage::read()
{
    if (editing()) {
        m_readAgain = true;
        return;
    }
    m_readAgain = false;
    const int round = ++m_round;
    setError({});
    m_busy->setBusy(true, tr("正在读取…"));
    m_inPieces = m_model->rowCount() == 0;
    const bool search = m_path->searching();
    const DriveRest question = search ? DriveRest::search(m_farm, m_type, m_searched, {m_folder})
                                      : DriveRest::children(m_farm, m_type, m_folder);
    const DriveDesk::Pieces pieces = [this](const DriveDesk::Piece &piece) { came(piece); };
    m_reading =
        m_desk->rows(DriveRest(question).within(ListMs), search ? QString() : m_folder, m_model->by(), this,
                     m_inPieces ? pieces : DriveDesk::Pieces(),
                     [this, round, id = m_folder](const DriveDesk::Answer &answer) { arrived(round, id, answer); });
}

void FarmPage::came(const DriveDesk::Piece &piece)
{
    m_busy->setBusy(false);
    m_model->add(piece.rows, piece.order, piece.by);
    showPlace();
}

void FarmPage::arrived(int round, const QString &id, const DriveDesk::Answer &answer)
{
    if (round != m_round) // another folder meanwhile, or a later answer
        return;
    m_busy->setBusy(false);
    m_reading.reset();
    const bool pieces = std::exchange(m_inPieces, false);
    followSelection();
    if (!answer.good && pieces && m_model->rowCount() > 0)
        return setError(tr("列表没有读完：%1").arg(answer.text));
    if (answer.refused && !m_path->searching() && id != Root)
        return gone(round, id, answer.text);
    if (!answer.good)
        return setError(answer.text);
    if (editing() && !pieces) {
        m_readAgain = true;
        return;
    }
    const QString hint = m_path->searching() ? QString()
                         : id == Root        ? tr("新增盘符后即可存放文件")
                                             : tr("拖入文件或文件夹即可上传");
    const bool input = m_type == DriveRest::Input;
    for (EmptyView *empty : {m_emptyTable, m_emptyGrid})
        empty->setTexts(m_path->searching() ? tr("没有找到文件") : tr("文件夹为空"), input ? hint : QString());
    if (!m_path->searching())
        m_tree->fillTree(answer.folders, id);
    if (!pieces)
        m_model->setRows(answer.rows, answer.order, answer.by);
    if (answer.reply.unusable > 0)
        Toast::show(this, tr("有 %1 项的名称或编号无法识别，未显示").arg(answer.reply.unusable));
    showPlace();
    m_selectAfter.clear();
}

void FarmPage::showPlace()
{
    for (int row = 0; row < m_model->rowCount() && !m_selectAfter.isEmpty(); ++row)
        if (m_selectAfter.contains(m_model->at(row).name)) {
            view()->setCurrentIndex(m_model->index(row, 0));
            m_selectAfter.clear();
        }
    if (m_selectAfter.isEmpty() && !view()->currentIndex().isValid() && m_model->rowCount() > 0) {
        view()->selectionModel()->setCurrentIndex(m_model->index(0, 0), QItemSelectionModel::NoUpdate);
    }
}

// Refused: was the folder removed elsewhere, or is it only this question that can't be answered?
void FarmPage::gone(int round, const QString &id, const QString &text)
{
    m_desk->ask(DriveRest::entry(m_farm, m_type, id), this, [this, round, id, text](const DriveDesk::Answer &answer) {
        if (round != m_round)
            return;
        if (!answer.refused)
            return setError(text);
        const QString name = m_chain.isEmpty() || m_chain.last().id != id ? id : m_chain.last().name;
        const QString up = m_chain.size() > 1 && m_chain.last().id == id ? m_chain.at(m_chain.size() - 2).id : Root;
        Toast::show(this, tr("文件夹“%1”已不存在，已返回上一级").arg(DriveText::clean(name)));
        driverPathChanged(up);
    });
}

void FarmPage::branch(const QString &id)
{
    const int type = m_type;
    m_desk->folders(DriveRest::children(m_farm, type, id), id, this, [this, id, type](const DriveDesk::Answer &answer) {
        if (type != m_type)
            return;
        if (answer.good)
            m_tree->fillTree(answer.folders, id);
        else
            m_tree->failed(id);
    });
}

void FarmPage::driverSearh(QString name, QString id)
{
    Q_UNUSED(id)    // below the folder that is open
    ++m_chainRound; // a way that is told only now would end the search
    m_searched = name;
    m_path->setSearch(name);
    m_model->open(m_type);
    read();
}

void FarmPage::driverSearchOut()
{
    const QString id = m_folder;
    m_folder.clear();
    driverPathChanged(id);
}

void FarmPage::openRow(const QModelIndex &index)
{
    if (!index.isValid() || editing())
        return;
    const FileView entry = m_model->at(index.row());
    if (entry.isNew() || !entry.pending.isEmpty())
        return;
    if (entry.isFolder())
        driverPathChanged(entry.id);
    else if (m_path->searching())
        openFolderOf(entry);
    else
        propertyFile();
}

void FarmPage::openFolderOf(const FileView &entry)
{
    m_selectAfter = QStringList{entry.name};
    driverPathChanged(entry.parent.isEmpty() ? Root : entry.parent);
}
