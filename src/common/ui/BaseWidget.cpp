#include "common/ui/BaseWidget.h"
#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include "common/UserInfo.h"
#include <QApplication>
#include <QDragEnterEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QStyleOption>
#include <QUrl>
#include <QWindow>

namespace
{
constexpr int Edge = 4;    // width of the band in which the window is resized
constexpr int Corner = 14; // ... and of its corners
constexpr int HeadHeight = 40;
constexpr int KeepMs = 500;

QStringList droppedPaths(const QMimeData *data)
{
    QStringList list;
    for (const QUrl &url : data->urls())
        if (url.isLocalFile())
            list << url.toLocalFile();
    return list;
}
} // namespace

BaseWidget::BaseWidget(Role role, QWidget *parent) : QWidget(parent), m_role(role)
{
    m_outer = new QVBoxLayout(this);
    m_outer->setSpacing(0);
    if (role == Page) {
        m_outer->setContentsMargins(0, 0, 0, 0);
        m_body = m_outer;
        return;
    }
    setWindowFlags((role == Dialog ? Qt::Dialog : Qt::Window) | Qt::FramelessWindowHint | Qt::WindowSystemMenuHint |
                   (role == Window ? Qt::WindowMinMaxButtonsHint : Qt::WindowFlags()) | Qt::WindowCloseButtonHint);
    setAttribute(Qt::WA_StyledBackground, false);
    setMouseTracking(true);
    makeHead();
    for (int digit = 1; role == Window && digit <= 9; ++digit)
        connect(new QShortcut(QKeySequence(Qt::CTRL | (Qt::Key_0 + digit)), this), &QShortcut::activated, this,
                [this, digit] { emit hotKey(digit); });
    m_body = new QVBoxLayout;
    m_body->setContentsMargins(0, 0, 0, 0);
    m_body->setSpacing(0);
    m_outer->addLayout(m_body, 1);
    frameChanged();
}

void BaseWidget::makeHead()
{
    m_headArea = new QWidget(this);
    m_headArea->setObjectName(QStringLiteral("headArea"));
    m_headArea->setFixedHeight(HeadHeight);
    m_headArea->installEventFilter(this);
    auto *line = new QHBoxLayout(m_headArea);
    line->setContentsMargins(12, 0, 4, 0);
    line->setSpacing(4);
    auto *logo = new QLabel(m_headArea);
    logo->setPixmap(IconTool::pixmap(QStringLiteral("logo"), Palette::accent, 20, devicePixelRatioF()));
    line->addWidget(logo);
    m_title = new QLabel(m_headArea);
    m_title->setObjectName(QStringLiteral("headTitle"));
    line->addWidget(m_title);
    auto *middle = new QWidget(m_headArea);
    m_head = new QHBoxLayout(middle);
    m_head->setContentsMargins(8, 0, 8, 0);
    m_head->setSpacing(8);
    line->addWidget(middle, 1);
    if (m_role == Window) {
        QToolButton *min = headButton(QStringLiteral("min"), QStringLiteral("headMin"), tr("最小化"));
        m_max = headButton(QStringLiteral("max"), QStringLiteral("headMax"), tr("最大化"));
        connect(min, &QToolButton::clicked, this, &BaseWidget::on_headMin_clicked);
        connect(m_max, &QToolButton::clicked, this, &BaseWidget::on_headMax_clicked);
    }
    QToolButton *close = headButton(QStringLiteral("close"), QStringLiteral("headClose"), tr("关闭"));
    connect(close, &QToolButton::clicked, this, &BaseWidget::on_headClose_clicked);
    m_outer->addWidget(m_headArea);
}

QToolButton *BaseWidget::headButton(const QString &icon, const QString &name, const QString &tip)
{
    auto *button = new QToolButton(m_headArea);
    button->setObjectName(name);
    button->setIcon(IconTool::icon(icon));
    button->setFixedSize(36, 28);
    button->setFocusPolicy(Qt::NoFocus); // the window system has keys for these
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    m_headArea->layout()->addWidget(button);
    return button;
}

void BaseWidget::setTitle(const QString &title)
{
    setWindowTitle(title);
    if (m_title)
        m_title->setText(title);
}

void BaseWidget::acceptFiles(bool on) { setAcceptDrops(on); }

void BaseWidget::open()
{
    setWindowModality(Qt::WindowModal);
    adjustSize();
    const QWidget *over = parentWidget() ? parentWidget()->window() : QApplication::activeWindow();
    const bool above = over && over != this && over->isVisible();
    const QScreen *screen = above && over->screen() ? over->screen() : QGuiApplication::primaryScreen();
    const QRect whole = screen->availableGeometry();
    resize(sizeHint().expandedTo(minimumSizeHint()).boundedTo(whole.size())); // adjustSize stops at two thirds of it
    QRect place(QPoint(), size());
    place.moveCenter(above ? over->frameGeometry().center() : whole.center());
    place.moveLeft(qBound(whole.left(), place.left(), whole.right() - place.width() + 1)); // nothing off the screen
    place.moveTop(qBound(whole.top(), place.top(), whole.bottom() - place.height() + 1));
    move(place.topLeft());
    winId(); // its window must stand before it can belong to another one; else it may fall behind
    if (above && over->windowHandle())
        windowHandle()->setTransientParent(over->windowHandle());
    show();
    activateWindow();
}

void BaseWidget::centre()
{
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    resize(size().boundedTo(area.size()));
    move(area.center() - QPoint(width() / 2, height() / 2));
}

namespace
{
const QString PlaceGroup = QStringLiteral("Window");
}

void BaseWidget::rememberPlace(const QString &name)
{
    const QByteArray kept = QByteArray::fromBase64(UserInfo::allValue(PlaceGroup, name).toString().toLatin1());
    if (!kept.isEmpty())
        restoreGeometry(kept); // also moves it onto a screen that is there
    m_placeName = name;
    m_keep.setSingleShot(true);
    m_keep.setInterval(KeepMs);
    connect(&m_keep, &QTimer::timeout, this, &BaseWidget::keepPlace);
}

void BaseWidget::keepPlace()
{
    if (!m_placeName.isEmpty() && !isMinimized())
        UserInfo::setAllValue(PlaceGroup, m_placeName, QString::fromLatin1(saveGeometry().toBase64()));
}

void BaseWidget::moveEvent(QMoveEvent *event)
{
    QWidget::moveEvent(event);
    if (!m_placeName.isEmpty())
        m_keep.start();
}

void BaseWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    if (!m_placeName.isEmpty())
        m_keep.start();
}

void BaseWidget::on_headMin_clicked() { showMinimized(); }

void BaseWidget::on_headMax_clicked()
{
    if (m_role == Window)
        setWindowState(windowState() ^ Qt::WindowMaximized);
}

void BaseWidget::on_headClose_clicked() { close(); }

void BaseWidget::frameChanged()
{
    const bool whole = isMaximized() || isFullScreen();
    const int margin = whole ? 0 : m_role == Window ? Edge : 1;
    m_outer->setContentsMargins(margin, whole ? 0 : 1, margin, margin);
    if (m_max) {
        m_max->setIcon(IconTool::icon(whole ? QStringLiteral("restore") : QStringLiteral("max")));
        m_max->setToolTip(whole ? tr("还原") : tr("最大化"));
        m_max->setAccessibleName(m_max->toolTip());
    }
}

void BaseWidget::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::WindowStateChange && m_role != Page)
        frameChanged();
    QWidget::changeEvent(event);
}

void BaseWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (m_role == Page) {
        QStyleOption option;
        option.initFrom(this);
        style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
        return;
    }
    painter.fillRect(rect(), Palette::window);
    if (isMaximized() || isFullScreen())
        return;
    painter.setPen(Palette::border);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

Qt::Edges BaseWidget::edgesAt(const QPoint &at) const
{
    if (m_role != Window || isMaximized() || isFullScreen())
        return {};
    Qt::Edges edges;
    const bool left = at.x() < Edge, right = at.x() >= width() - Edge;
    const bool top = at.y() < Edge, bottom = at.y() >= height() - Edge;
    if (left || ((top || bottom) && at.x() < Corner))
        edges |= Qt::LeftEdge;
    if (right || ((top || bottom) && at.x() >= width() - Corner))
        edges |= Qt::RightEdge;
    if (top || ((left || right) && at.y() < Corner))
        edges |= Qt::TopEdge;
    if (bottom || ((left || right) && at.y() >= height() - Corner))
        edges |= Qt::BottomEdge;
    return edges;
}

void BaseWidget::mouseMoveEvent(QMouseEvent *event)
{
    const Qt::Edges edges = edgesAt(event->pos());
    if (edges == (Qt::TopEdge | Qt::LeftEdge) || edges == (Qt::BottomEdge | Qt::RightEdge))
        setCursor(Qt::SizeFDiagCursor);
    else if (edges == (Qt::TopEdge | Qt::RightEdge) || edges == (Qt::BottomEdge | Qt::LeftEdge))
        setCursor(Qt::SizeBDiagCursor);
    else if (edges & (Qt::LeftEdge | Qt::RightEdge))
        setCursor(Qt::SizeHorCursor);
    else if (edges)
        setCursor(Qt::SizeVerCursor);
    else
        unsetCursor();
    QWidget::mouseMoveEvent(event);
}

void BaseWidget::leaveEvent(QEvent *event)
{
    if (m_role == Window)
        unsetCursor();
    QWidget::leaveEvent(event);
}

void BaseWidget::mousePressEvent(QMouseEvent *event)
{
    const Qt::Edges edges = event->button() == Qt::LeftButton ? edgesAt(event->pos()) : Qt::Edges();
    if (edges && windowHandle())
        windowHandle()->startSystemResize(edges);
    else
        QWidget::mousePressEvent(event);
}

bool BaseWidget::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_headArea)
        return QWidget::eventFilter(watched, event);
    if (event->type() != QEvent::MouseButtonPress && event->type() != QEvent::MouseButtonDblClick)
        return false;
    auto *mouse = static_cast<QMouseEvent *>(event);
    if (event->type() == QEvent::MouseButtonPress) {
        if (mouse->button() == Qt::LeftButton && windowHandle()) {
            if (const Qt::Edges edges = edgesAt(m_headArea->mapTo(this, mouse->pos())))
                windowHandle()->startSystemResize(edges);
            else
                windowHandle()->startSystemMove();
            return true;
        }
        if (mouse->button() == Qt::RightButton)
            systemMenu(mouse->globalPos());
    } else if (mouse->button() == Qt::LeftButton) {
        on_headMax_clicked();
    }
    return true;
}

void BaseWidget::systemMenu(const QPoint &at)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (m_role == Window) {
        menu->addAction(isMaximized() ? tr("还原") : tr("最大化"), this, &BaseWidget::on_headMax_clicked);
        menu->addAction(tr("最小化"), this, &BaseWidget::on_headMin_clicked);
        menu->addSeparator();
    }
    menu->addAction(tr("关闭"), this, &BaseWidget::on_headClose_clicked);
    menu->popup(at);
}

void BaseWidget::keyPressEvent(QKeyEvent *event)
{
    auto *button = qobject_cast<QPushButton *>(focusWidget());
    if (m_role == Dialog && event->key() == Qt::Key_Escape)
        on_headClose_clicked();
    else if (button && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter))
        button->click(); // outside a QDialog only the space bar would press it
    else
        QWidget::keyPressEvent(event);
}

void BaseWidget::closeEvent(QCloseEvent *event)
{
    QWidget::closeEvent(event);
    if (event->isAccepted())
        emit closed();
}

void BaseWidget::dragEnterEvent(QDragEnterEvent *event)
{
    if (!droppedPaths(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void BaseWidget::dropEvent(QDropEvent *event)
{
    const QStringList list = droppedPaths(event->mimeData());
    if (list.isEmpty())
        return;
    event->acceptProposedAction();
    emit dropFileList(list);
}
