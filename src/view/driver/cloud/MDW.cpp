#include "view/driver/cloud/MDW.h"
#include "common/ui/kit/FrameEdit.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/RecordModel.h"
#include <QKeyEvent>
#include <QPushButton>

namespace
{
constexpr int Width = 160;
}

MDW::MDW(const QString &accessible, QWidget *parent)
    : QStackedWidget(parent), m_text(new QPushButton(this)), m_edit(new FrameEdit(this))
{
    setFixedHeight(Metrics::Control);
    setMinimumWidth(Width);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_text->setObjectName(QStringLiteral("cell"));
    m_text->setAutoDefault(false);
    m_text->setAccessibleName(accessible);
    m_edit->setAccessibleName(accessible);
    addWidget(m_text);
    addWidget(m_edit);
    m_text->installEventFilter(this);
    m_edit->installEventFilter(this);
    connect(m_text, &QPushButton::clicked, this, &MDW::showEdit);
    show({});
}

void MDW::setText(const QString &text)
{
    m_value = text;
    show(text);
}

void MDW::show(const QString &text)
{
    m_text->setText(text.isEmpty() ? tr("点击输入") : fontMetrics().elidedText(text, Qt::ElideRight, Width));
    m_text->setToolTip(RecordModelBase::plainTip(text));
    m_text->setAccessibleDescription(text);
}

void MDW::showEdit()
{
    m_edit->setText(m_value);
    setCurrentWidget(m_edit);
    m_edit->setFocus();
    m_edit->selectAll();
}

void MDW::editToText()
{
    if (currentWidget() != m_edit)
        return;
    const QString typed = m_edit->text().trimmed();
    setCurrentWidget(m_text);
    if (typed == m_value)
        return;
    setText(typed);
    emit edited(typed);
}

bool MDW::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_edit && event->type() == QEvent::FocusOut &&
        static_cast<QFocusEvent *>(event)->reason() != Qt::PopupFocusReason) // its own menu
        editToText();
    if (event->type() != QEvent::KeyPress)
        return QStackedWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent *>(event)->key();
    const bool enter = key == Qt::Key_Return || key == Qt::Key_Enter;
    if (watched == m_text && (key == Qt::Key_F2 || enter)) {
        showEdit();
        return true;
    }
    if (watched != m_edit || (!enter && key != Qt::Key_Escape))
        return QStackedWidget::eventFilter(watched, event);
    if (key == Qt::Key_Escape)
        m_edit->setText(m_value);
    editToText();
    m_text->setFocus();
    return true;
}
