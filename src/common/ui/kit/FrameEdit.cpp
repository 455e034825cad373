#include "common/ui/kit/FrameEdit.h"
#include "common/ui/MsgTool.h"
#include "resolve/FrameSet.h"
#include <QAction>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>
#include <QRegularExpressionValidator>

FrameEdit::FrameEdit(QWidget *parent) : QLineEdit(parent)
{
    static const QRegularExpression letters(QStringLiteral("[-0-9,\uff0c:]*"));
    setValidator(new QRegularExpressionValidator(letters, this));
}

void FrameEdit::take(const QString &text)
{
    const QString fault = FrameSet::checkPaste(text.trimmed());
    if (fault.isEmpty())
        insert(text.trimmed());
    else
        MsgTool::msgOk(window(), fault);
}

void FrameEdit::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Paste))
        take(QGuiApplication::clipboard()->text());
    else
        QLineEdit::keyPressEvent(event);
}

void FrameEdit::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu *menu = createStandardContextMenu();
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (auto *paste = menu->findChild<QAction *>(QStringLiteral("edit-paste"))) {
        paste->disconnect();
        connect(paste, &QAction::triggered, this, [this] { take(QGuiApplication::clipboard()->text()); });
    }
    menu->popup(event->globalPos());
}

void FrameEdit::dropEvent(QDropEvent *event)
{
    take(event->mimeData()->text());
    event->acceptProposedAction();
}

void FrameEdit::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::MiddleButton && QGuiApplication::clipboard()->supportsSelection())
        take(QGuiApplication::clipboard()->text(QClipboard::Selection));
    else
        QLineEdit::mouseReleaseEvent(event);
}
