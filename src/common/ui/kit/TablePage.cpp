#include "common/ui/kit/TablePage.h"
#include "common/Debounce.h"
#include "common/ui/EmptyView.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/Pagination.h"
#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>

namespace
{
constexpr int TypingMs = 250;

QToolButton *toolButton(const QString &icon, const QString &tip, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setIcon(IconTool::icon(icon));
    button->setFixedSize(Metrics::Control, Metrics::Control);
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}
} // namespace

TablePage *TablePage::fill(QWidget *host, const Look &look, RecordModelBase *model)
{
    auto *page = new TablePage(look, model, host);
    auto *column = new QVBoxLayout(host);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(page);
    host->setFocusProxy(page);
    return page;
}

TablePage::TablePage(const Look &look, RecordModelBase *model, QWidget *parent)
    : QWidget(parent), m_look(look), m_view(new RecordView(look.name, model, this)), m_acts(new ActSet(this)),
      m_pages(new Pagination(this)), m_busy(new Busy(m_view)), m_typing(new Debounce(this))
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    if (look.bar) {
        m_bar = new QHBoxLayout;
        m_bar->setContentsMargins(Metrics::Margin, 12, Metrics::Margin, 12);
        m_bar->setSpacing(Metrics::Gap);
        column->addLayout(m_bar);
    }
    m_view->setAccessibleName(look.accessible);
    column->addWidget(m_view, 1);
    m_empty = new EmptyView(m_view, look.emptyIcon, look.emptyText, look.emptyHint);
    m_errorLine = new QWidget(this);
    auto *line = new QHBoxLayout(m_errorLine);
    line->setContentsMargins(Metrics::Margin, 4, Metrics::Margin, 4);
    line->setSpacing(Metrics::Gap);
    m_errorText = new QLabel(m_errorLine);
    m_errorText->setObjectName(QStringLiteral("errorLine"));
    m_errorText->setTextFormat(Qt::PlainText);
    m_errorText->setWordWrap(true);
    auto *again = new QPushButton(tr("重试"), m_errorLine);
    connect(again, &QPushButton::clicked, this, &TablePage::refreshWanted);
    line->addWidget(m_errorText, 1);
    line->addWidget(again);
    m_errorLine->hide();
    column->addWidget(m_errorLine);
    m_foot = new QHBoxLayout;
    m_foot->setContentsMargins(Metrics::Margin, 6, Metrics::Margin, 6);
    m_foot->setSpacing(Metrics::Gap);
    m_foot->addStretch(1);
    m_foot->addWidget(m_pages);
    column->addLayout(m_foot);
    setFocusProxy(m_view);
    m_acts->setTargets([this] { return m_view->targets(); });
    m_acts->setThere([model](const QString &key) { return model->contains(key); });
    connect(m_pages, &Pagination::pageChanged, this, &TablePage::pageWanted);
    connect(m_view, &RecordView::selectionMoved, m_acts, &ActSet::follow);
    connect(m_acts, &ActSet::leavingChanged, this, [this, model](const QStringList &keys) {
        for (const QString &key : keys)
            model->touch(key);
        m_acts->follow();
    });
    connect(model, &RecordModelBase::ticksChanged, m_acts, &ActSet::follow);
    connect(model, &RecordModelBase::rowsChanged, m_acts, &ActSet::follow);
    connect(m_view, &QWidget::customContextMenuRequested, this, &TablePage::contextMenu);
    m_view->installEventFilter(this);
}

void TablePage::build(const QList<QWidget *> &front)
{
    m_view->showRowActs(m_acts);
    makeKeys();
    if (!m_bar)
        return m_acts->follow();
    for (QWidget *widget : front)
        m_bar->addWidget(widget);
    for (const ActSpec &spec : m_acts->all())
        if (spec.places & ActSpec::Bar)
            addButton(m_bar, spec);
    m_more = new QPushButton(IconTool::icon(QStringLiteral("more")), tr("更多"), this);
    m_more->setMenu(new QMenu(m_more));
    m_bar->addWidget(m_more);
    m_bar->addStretch(1);
    if (!m_look.search.isEmpty())
        makeSearch(m_look.search);
    if (m_look.refresh) {
        QToolButton *again = toolButton(QStringLiteral("refresh"), tr("刷新"), this);
        connect(again, &QToolButton::clicked, this, &TablePage::refreshWanted);
        m_bar->addWidget(again);
    }
    m_acts->follow();
    fitBar();
    if (!m_look.columns)
        return;
    QToolButton *columns = toolButton(QStringLiteral("columns"), tr("显示的列"), this);
    connect(columns, &QToolButton::clicked, this,
            [this, columns] { m_view->columnMenu(this)->popup(columns->mapToGlobal(QPoint(0, columns->height()))); });
    m_bar->addWidget(columns);
    fitBar();
}

void TablePage::fitBar()
{
    if (!m_more)
        return;
    const auto width = [](const QWidget *w) {
        return qBound(w->minimumWidth(), w->sizeHint().width(), w->maximumWidth()) + Metrics::Gap;
    };
    int others = 2 * Metrics::Margin, buttons = 0;
    for (int i = 0; i < m_bar->count(); ++i)
        if (QWidget *w = m_bar->itemAt(i)->widget(); w && w != m_more)
            others += w == m_search ? m_search->minimumWidth() + Metrics::Gap : width(w);
    for (const auto &[button, id] : qAsConst(m_buttons))
        buttons += width(button);
    others -= buttons;
    QList<QAction *> below;
    for (const ActSpec &spec : m_acts->all())
        if (spec.places & ActSpec::More)
            below << m_acts->action(spec.id);
    const int more = width(m_more), room = this->width();
    int needs = others + buttons + (below.isEmpty() ? 0 : more);
    if (needs > room && below.isEmpty())
        needs += more;
    for (int i = m_buttons.size() - 1; i >= 0; --i) {
        const auto &[button, id] = m_buttons.at(i);
        const bool gives = needs > room && !m_acts->spec(id)->primary;
        if (gives) {
            below.prepend(m_acts->action(id));
            needs -= width(button);
        }
        if (gives && button->hasFocus())
            m_view->setFocus();
        button->setVisible(!gives);
    }
    QMenu *menu = m_more->menu();
    if (menu->actions() != below) {
        menu->clear();
        menu->addActions(below);
    }
    m_more->setVisible(!below.isEmpty());
}

void TablePage::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fitBar();
}

void TablePage::addButton(QHBoxLayout *bar, const ActSpec &spec)
{
    QAction *action = m_acts->action(spec.id);
    auto *button = new QPushButton(spec.free ? action->icon() : QIcon(), spec.text, this);
    button->setProperty("primary", spec.primary);
    button->setEnabled(action->isEnabled());
    if (!spec.keys.isEmpty())
        button->setToolTip(QStringLiteral("%1 (%2)").arg(spec.text, spec.keys.toString(QKeySequence::NativeText)));
    connect(button, &QPushButton::clicked, action, &QAction::trigger);
    connect(action, &QAction::changed, button, [this, button, action] {
        if (!action->isEnabled() && window()->focusWidget() == button)
            m_view->setFocus(); // not to the next button: that may be the one that deletes
        button->setEnabled(action->isEnabled());
    });
    bar->addWidget(button);
    m_buttons << qMakePair(button, spec.id);
}

void TablePage::makeSearch(const QString &hint)
{
    m_search = new QLineEdit(this);
    m_search->setObjectName(QStringLiteral("search"));
    m_search->setPlaceholderText(hint);
    m_search->setAccessibleName(hint);
    m_search->setMinimumWidth(180);
    m_search->setMaximumWidth(200);
    m_search->setMaxLength(1000);
    m_search->installEventFilter(this);
    m_search->addAction(IconTool::icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    // The toolkit's own clear button has no name and takes no focus.
    QAction *clear = m_search->addAction(IconTool::icon(QStringLiteral("close")), QLineEdit::TrailingPosition);
    clear->setToolTip(tr("清除搜索"));
    clear->setVisible(false);
    const auto buttons = m_search->findChildren<QToolButton *>();
    for (QToolButton *button : buttons)
        if (button->defaultAction() == clear)
            button->setAccessibleName(clear->toolTip());
    connect(clear, &QAction::triggered, m_search, &QLineEdit::clear);
    connect(m_search, &QLineEdit::textChanged, this, [this, clear](const QString &text) {
        clear->setVisible(!text.isEmpty());
        m_typing->debounce(TypingMs);
    });
    connect(m_typing, &Debounce::debout, this, [this] { emit searchWanted(searched()); });
    m_bar->addWidget(m_search);
}

QString TablePage::searched() const { return m_search ? m_search->text().trimmed() : QString(); }

void TablePage::makeKeys()
{
    const auto key = [this](const QKeySequence &keys, QWidget *where, std::function<void()> hit) {
        auto *action = new QAction(where);
        action->setShortcut(keys);
        action->setShortcutContext(where == m_view ? Qt::WidgetShortcut : Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, hit);
        where->addAction(action);
    };
    if (m_look.refresh)
        key(QKeySequence(Qt::Key_F5), this, [this] { emit refreshWanted(); });
    if (!m_look.search.isEmpty())
        key(QKeySequence::Find, this, [this] {
            m_search->setFocus(Qt::ShortcutFocusReason);
            m_search->selectAll();
        });
    key(QKeySequence(Qt::Key_Space), m_view, [this] { m_view->tickSelected(); });
    for (const ActSpec &spec : m_acts->all())
        if (!spec.keys.isEmpty()) // in the list alone: in the search field Delete takes a letter
            key(spec.keys, spec.free ? static_cast<QWidget *>(this) : m_view,
                [this, id = spec.id] { m_acts->run(id, m_view->targets()); });
}

// Escape closes a dialog around the list where nothing is left to clear.
void TablePage::escape()
{
    if (m_search)
        m_search->clear();
    m_view->records()->tickAll(false);
    m_view->clearSelection();
    m_view->setFocus();
}

bool TablePage::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress) {
        auto *key = static_cast<QKeyEvent *>(event);
        const bool something = !searched().isEmpty() || m_view->records()->tickState() != Qt::Unchecked ||
                               m_view->selectionModel()->hasSelection();
        if (key->key() == Qt::Key_Escape && key->modifiers() == Qt::NoModifier && something) {
            if (event->type() == QEvent::KeyPress)
                escape();
            event->accept();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void TablePage::contextMenu(const QPoint &at)
{
    const bool byKey = !m_view->viewport()->rect().contains(at) || at.isNull();
    const QModelIndex hit = byKey ? m_view->currentIndex() : m_view->indexAt(at);
    const QString key = m_view->records()->keyOf(hit);
    QStringList keys = m_view->selected();
    if (!hit.isValid())
        keys.clear();
    else if (!keys.contains(key))
        keys = QStringList{key}; // what was clicked, whatever else is marked
    const QPoint place = byKey && hit.isValid() ? m_view->visualRect(hit).center() : at;
    openMenu(keys, m_view->viewport()->mapToGlobal(place));
}

void TablePage::openMenu(const QStringList &keys, const QPoint &globalAt)
{
    QMenu *menu = m_acts->menu(keys, this);
    if (menu->isEmpty()) {
        menu->deleteLater();
        return;
    }
    menu->setObjectName(QStringLiteral("contextMenu"));
    emit menuOpened(menu);
    menu->popup(globalAt);
}

void TablePage::setEmpty(const QString &text, const QString &hint) { m_empty->setTexts(text, hint); }
void TablePage::setBusy(bool on) { m_busy->setBusy(on, tr("正在读取…")); }

void TablePage::setError(const QString &text)
{
    m_errorText->setText(text);
    m_errorLine->setVisible(!text.isEmpty());
}

QString TablePage::error() const { return m_errorText->text(); }
