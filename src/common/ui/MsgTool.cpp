#include "common/ui/MsgTool.h"
#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include <QApplication>
#include <QEventLoop>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

MsgBox::MsgBox(int type, const QString &text, QWidget *parent) : BaseWidget(Dialog, parent)
{
    setObjectName(QStringLiteral("msgBox"));
    setTitle(tr("提示"));
    setAttribute(Qt::WA_DeleteOnClose);
    auto *line = new QHBoxLayout;
    line->setContentsMargins(24, 16, 24, 8);
    line->setSpacing(16);
    m_icon = new QLabel(this);
    setIcon(type == Choose ? QStringLiteral("question") : QStringLiteral("info"), Palette::accent);
    m_text = new QLabel(text, this);
    m_text->setWordWrap(true);
    m_text->setMinimumWidth(280);
    m_text->setMaximumWidth(460);
    m_text->setTextFormat(Qt::PlainText); // names of files and texts of servers are shown as they are
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    line->addWidget(m_icon, 0, Qt::AlignTop);
    line->addWidget(m_text, 1);
    body()->addLayout(line, 1);
    auto *buttons = new QHBoxLayout;
    buttons->setContentsMargins(24, 8, 24, 16);
    buttons->setSpacing(8);
    buttons->addStretch(1);
    m_accept = new QPushButton(tr("确定"), this);
    m_accept->setProperty("primary", true);
    connect(m_accept, &QPushButton::clicked, this, [this] { answer(Accepted); });
    buttons->addWidget(m_accept);
    if (type == Choose) {
        m_back = new QPushButton(tr("取消"), this);
        connect(m_back, &QPushButton::clicked, this, [this] { answer(Cancelled); });
        buttons->addWidget(m_back);
    }
    body()->addLayout(buttons);
    m_accept->setFocus();
}

void MsgBox::setAcceptText(const QString &text) { m_accept->setText(text); }
void MsgBox::setBackText(const QString &text)
{
    if (m_back)
        m_back->setText(text);
}
void MsgBox::preferBack()
{
    if (m_back)
        m_back->setFocus();
}
void MsgBox::addBelow(QWidget *widget)
{
    auto *line = new QHBoxLayout;
    line->setContentsMargins(60, 0, 24, 8); // below the text, not below the icon
    line->addWidget(widget);
    body()->insertLayout(1, line);
}
void MsgBox::setIcon(const QString &name, const QColor &colour)
{
    m_icon->setPixmap(IconTool::pixmap(name, colour, 20, devicePixelRatioF()));
}
QString MsgBox::text() const { return m_text->text(); }
void MsgBox::on_headClose_clicked() { answer(Cancelled); }

void MsgBox::keyPressEvent(QKeyEvent *event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && !qobject_cast<QPushButton *>(focusWidget()))
        answer(Accepted);
    else
        BaseWidget::keyPressEvent(event);
}

void MsgBox::answer(int button)
{
    if (m_done)
        return;
    m_done = true;
    emit answered(button);
    close();
}

namespace
{
// The window that a message without one belongs to: the active one, else the client's own that is seen.
QWidget *owner()
{
    QWidget *over = QApplication::activeWindow();
    while (over && qobject_cast<MsgBox *>(over))
        over = over->parentWidget() ? over->parentWidget()->window() : nullptr;
    if (over)
        return over;
    for (QWidget *window : QApplication::topLevelWidgets())
        if (qobject_cast<BaseWidget *>(window) && window->isVisible() && !window->parentWidget())
            return window;
    return nullptr;
}
} // namespace

MsgBox *MsgTool::msgOk(const QString &text) { return msgOk(nullptr, text); }

MsgBox *MsgTool::msgOk(QWidget *parent, const QString &text)
{
    for (QWidget *window : QApplication::topLevelWidgets())
        if (auto *box = qobject_cast<MsgBox *>(window); box && box->isVisible() && box->text() == text)
            return box;
    auto *box = new MsgBox(MsgBox::Ok, text, parent ? parent : owner());
    box->open();
    return box;
}

MsgBox *MsgTool::ask(QWidget *parent, const QString &text, std::function<void()> accepted)
{
    auto *box = new MsgBox(MsgBox::Choose, text, parent ? parent : owner());
    QObject::connect(box, &MsgBox::answered, box, [accepted](int button) {
        if (button == MsgBox::Accepted)
            accepted();
    });
    box->open();
    return box;
}

void MsgTool::msgOkLoop(const QString &text, QWidget *parent) { msgLoop(MsgBox::Ok, text, parent); }
bool MsgTool::msgChooseLoop(const QString &text, QWidget *parent)
{
    return msgLoop(MsgBox::Choose, text, parent) == MsgBox::Accepted;
}

int MsgTool::msgLoop(int type, QString info, QWidget *parent)
{
    QEventLoop loop;
    int button = MsgBox::Cancelled;
    auto *box = new MsgBox(type, info, parent ? parent : owner());
    QObject::connect(box, &MsgBox::answered, &loop, [&](int which) {
        button = which;
        loop.quit();
    });
    QObject::connect(box, &QObject::destroyed, &loop, &QEventLoop::quit);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &loop, &QEventLoop::quit);
    box->open();
    loop.exec();
    return button;
}

void MsgTool::toast(QWidget *window, const QString &title, const QString &text, int msecs)
{
    if (!window)
        return;
    delete window->findChild<QLabel *>(QStringLiteral("toast"), Qt::FindDirectChildrenOnly);
    auto *label = new QLabel(window);
    label->setObjectName(QStringLiteral("toast"));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setFixedWidth(320);
    label->setText(title.isEmpty() ? text : title + QLatin1String("\n") + text);
    label->adjustSize();
    label->move(window->width() - label->width() - 24, window->height() - label->height() - 48);
    label->show();
    label->raise();
    QTimer::singleShot(msecs, label, &QObject::deleteLater);
}
