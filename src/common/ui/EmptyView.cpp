#include "common/ui/EmptyView.h"
#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include <QAbstractItemView>
#include <QEvent>
#include <QLabel>
#include <QVBoxLayout>

EmptyView::EmptyView(QAbstractItemView *view, const QString &icon, const QString &text, const QString &hint)
    : QWidget(view), m_text(new QLabel(text, this)), m_hint(new QLabel(hint, this))
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    auto *lines = new QVBoxLayout(this);
    lines->setSpacing(8);
    lines->addStretch(2);
    auto *picture = new QLabel(this);
    picture->setPixmap(IconTool::pixmap(icon, Palette::faint, 48, devicePixelRatioF()));
    m_text->setObjectName(QStringLiteral("emptyText"));
    m_hint->setObjectName(QStringLiteral("emptyHint"));
    for (QLabel *label : {picture, m_text, m_hint}) {
        label->setAlignment(Qt::AlignCenter);
        lines->addWidget(label);
    }
    lines->addStretch(3);
    view->viewport()->installEventFilter(this);
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(view->model(), signal, this, &EmptyView::follow);
    connect(view->model(), &QAbstractItemModel::modelReset, this, &EmptyView::follow);
    follow();
}

void EmptyView::setTexts(const QString &text, const QString &hint)
{
    m_text->setText(text);
    m_hint->setText(hint);
}

void EmptyView::follow()
{
    // A view takes its own model along when it goes, and is no view any more by then.
    auto *view = qobject_cast<QAbstractItemView *>(parent());
    if (!view)
        return;
    setGeometry(view->viewport()->geometry());
    setVisible(view->model()->rowCount() == 0);
    raise();
}

bool EmptyView::eventFilter(QObject *viewport, QEvent *event)
{
    if (event->type() == QEvent::Resize)
        setGeometry(static_cast<QWidget *>(viewport)->geometry());
    return false;
}
