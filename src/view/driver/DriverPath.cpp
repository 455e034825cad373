#include "view/driver/DriverPath.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Metrics.h"
#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>

namespace
{
constexpr int MostVisited = 100, WidestCrumb = 160, MostText = 255;
} // namespace

QToolButton *DriverPath::button(const char *name, const QString &icon, const QString &tip)
{
    auto *made = new QToolButton(this);
    made->setObjectName(QLatin1String(name));
    made->setIcon(IconTool::icon(icon));
    made->setFixedSize(Metrics::Control, Metrics::Control);
    made->setToolTip(tip);
    made->setAccessibleName(tip);
    made->setFocusPolicy(Qt::StrongFocus);
    return made;
}

DriverPath::DriverPath(QWidget *parent)
    : QWidget(parent), m_crumbs(new QWidget(this)), m_row(new QHBoxLayout(m_crumbs)), m_found(new QLabel(this)),
      m_search(new QLineEdit(this))
{
    m_back = button("back", QStringLiteral("chevron-left"), tr("后退（Alt+←）"));
    m_forward = button("forward", QStringLiteral("chevron-right"), tr("前进（Alt+→）"));
    m_up = button("up", QStringLiteral("chevron-up"), tr("上一级（Backspace）"));
    m_refresh = button("refresh", QStringLiteral("refresh"), tr("刷新（F5）"));
    m_hidden = button("hidden", QStringLiteral("more"), tr("前面的文件夹"));
    m_hidden->setPopupMode(QToolButton::InstantPopup);
    m_hidden->setMenu(new QMenu(m_hidden));
    connect(m_back, &QToolButton::clicked, this, &DriverPath::on_back_clicked);
    connect(m_forward, &QToolButton::clicked, this, &DriverPath::on_forward_clicked);
    connect(m_up, &QToolButton::clicked, this, &DriverPath::on_up_clicked);
    connect(m_refresh, &QToolButton::clicked, this, &DriverPath::on_refresh_clicked);
    m_row->setContentsMargins(0, 0, 0, 0);
    m_row->setSpacing(0);
    m_crumbs->setMinimumWidth(60);
    m_found->setObjectName(QStringLiteral("quiet"));
    m_found->setTextFormat(Qt::PlainText);
    m_found->hide();
    m_search->setObjectName(QStringLiteral("search"));
    m_search->setPlaceholderText(tr("搜索文件（Enter）"));
    m_search->setAccessibleName(tr("搜索文件"));
    m_search->setMaxLength(MostText);
    m_search->setClearButtonEnabled(true);
    m_search->setFixedWidth(180);
    m_search->installEventFilter(this);
    connect(m_search, &QLineEdit::returnPressed, this, [this] {
        const QString text = m_search->text().trimmed();
        if (text.isEmpty())
            return searchOut();
        emit driverSearh(text, m_chain.isEmpty() ? QLatin1String(SubFile::Root) : m_chain.last().id);
    });
    connect(m_search, &QLineEdit::textChanged, this, [this](const QString &text) {
        if (text.isEmpty() && m_searching)
            searchOut();
    });
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(Metrics::Gap, 6, Metrics::Gap, 6);
    row->setSpacing(4);
    for (QWidget *one : {m_back, m_forward, m_up, m_refresh})
        row->addWidget(one);
    row->addWidget(m_hidden);
    row->addWidget(m_crumbs, 1);
    row->addWidget(m_found, 1);
    row->addWidget(m_search);
    follow();
}

void DriverPath::setPath(const QVector<FileView> &chain)
{
    m_chain = chain;
    if (std::exchange(m_searching, false)) // left by going somewhere else
        m_search->clear();
    if (!chain.isEmpty() && (m_at < 0 || m_visited.value(m_at) != chain.last().id)) {
        m_visited = m_visited.mid(0, m_at + 1);
        m_visited << chain.last().id;
        while (m_visited.size() > MostVisited)
            m_visited.removeFirst();
        m_at = m_visited.size() - 1;
    }
    build();
    follow();
}

void DriverPath::forget()
{
    m_visited.clear();
    m_at = -1;
    m_chain.clear();
    m_searching = false;
    m_search->clear();
    build();
    follow();
}

void DriverPath::setSearch(const QString &text)
{
    m_searching = true;
    m_found->setText(tr("来自\"%1\"的搜索").arg(DriveText::clean(text)));
    follow();
}

QString DriverPath::text() const
{
    QStringList names;
    for (const FileView &folder : m_chain)
        if (folder.id != QLatin1String(SubFile::Root))
            names << folder.name;
    return names.join(QLatin1Char('/'));
}

void DriverPath::build()
{
    const QWidget *now = QApplication::focusWidget();
    const bool focus = now && m_crumbs->isAncestorOf(now);
    for (QToolButton *crumb : qAsConst(m_buttons)) { // one of them may be the one that was pressed
        crumb->hide();
        crumb->setObjectName({});
        crumb->deleteLater();
    }
    m_buttons.clear();
    while (QLayoutItem *item = m_row->takeAt(0))
        delete item;
    for (const FileView &folder : qAsConst(m_chain)) {
        auto *crumb = new QToolButton(m_crumbs);
        crumb->setObjectName(QStringLiteral("crumb"));
        crumb->setProperty("id", folder.id);
        const QString name = DriveText::clean(folder.name);
        crumb->setToolTip(name);
        crumb->setAccessibleName(name);
        crumb->setFocusPolicy(Qt::StrongFocus);
        crumb->setFixedHeight(Metrics::Control);
        connect(crumb, &QToolButton::clicked, this, [this, id = folder.id] { driverPathClick(id); });
        m_row->addWidget(crumb);
        setTabOrder(m_buttons.isEmpty() ? m_hidden : m_buttons.last(), crumb);
        m_buttons << crumb;
    }
    m_row->addStretch(1);
    if (focus && !m_buttons.isEmpty())
        m_buttons.last()->setFocus();
    fit();
}

void DriverPath::fit()
{
    // What is left of the row: five buttons, the search, what stands between them.
    const int room = qMax(60, width() - 5 * (Metrics::Control + 4) - m_search->width() - 3 * Metrics::Gap);
    int wide = 0, shown = 0;
    for (int i = m_buttons.size() - 1; i >= 0; --i) {
        QToolButton *crumb = m_buttons.at(i);
        const QString name = DriveText::clean(m_chain.at(i).name);
        const int most = i == m_buttons.size() - 1 ? qMin(WidestCrumb, room - 32) : WidestCrumb;
        crumb->setText(fontMetrics().elidedText(name, Qt::ElideMiddle, most) + QStringLiteral("  ›"));
        wide += crumb->sizeHint().width();
        const bool fits = wide <= room || shown == 0;
        crumb->setVisible(fits);
        shown += fits ? 1 : 0;
        if (!fits)
            wide = room + 1;
    }
    m_hidden->setVisible(shown < m_buttons.size() && !m_searching);
    m_hidden->menu()->clear();
    for (int i = 0; i < m_buttons.size() - shown; ++i)
        m_hidden->menu()->addAction(QString(m_buttons.at(i)->toolTip()).replace('&', QStringLiteral("&&")), this,
                                    [this, id = m_chain.at(i).id] { driverPathClick(id); });
}

void DriverPath::follow()
{
    m_crumbs->setVisible(!m_searching);
    m_found->setVisible(m_searching);
    m_back->setEnabled(m_searching || m_at > 0);
    m_forward->setEnabled(!m_searching && m_at >= 0 && m_at < m_visited.size() - 1);
    m_up->setEnabled(m_searching || m_chain.size() > 1);
    fit();
}

QString DriverPath::idAt(const QPoint &global) const
{
    for (const QToolButton *crumb : m_buttons)
        if (crumb->isVisible() && crumb->rect().contains(crumb->mapFromGlobal(global)))
            return crumb->property("id").toString();
    return {};
}

void DriverPath::driverPathClick(QString id) { emit driverPathChanged(id); }

void DriverPath::on_back_clicked()
{
    if (m_searching)
        return searchOut();
    if (m_at > 0)
        emit driverPathChanged(m_visited.at(--m_at));
}

void DriverPath::on_forward_clicked()
{
    if (m_at < m_visited.size() - 1)
        emit driverPathChanged(m_visited.at(++m_at));
}

void DriverPath::on_up_clicked()
{
    if (m_searching)
        return searchOut();
    if (m_chain.size() > 1)
        emit driverPathChanged(m_chain.at(m_chain.size() - 2).id);
}

void DriverPath::on_refresh_clicked() { emit refreshed(); }

void DriverPath::searchOut()
{
    const bool was = m_searching;
    m_searching = false;
    m_search->clear();
    follow();
    if (was)
        emit driverSearchOut();
}

void DriverPath::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    fit();
}

bool DriverPath::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_search && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        searchOut();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}
