#include "common/ui/Pagination.h"
#include "common/ui/IconTool.h"
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>

Pagination::Pagination(QWidget *parent) : QWidget(parent)
{
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(8);
    const auto button = [&](const QString &icon, const QString &tip) {
        auto *one = new QToolButton(this);
        one->setIcon(IconTool::icon(icon));
        one->setFixedSize(28, 28);
        one->setToolTip(tip);
        one->setAccessibleName(tip);
        return one;
    };
    m_back = button(QStringLiteral("chevron-left"), tr("上一页"));
    m_forward = button(QStringLiteral("chevron-right"), tr("下一页"));
    m_number = new QLineEdit(this);
    m_number->setFixedWidth(44);
    m_number->setAlignment(Qt::AlignCenter);
    m_number->setValidator(new QIntValidator(1, 1000000, m_number));
    m_number->setAccessibleName(tr("页码"));
    m_sum = new QLabel(this);
    line->addWidget(m_back);
    line->addWidget(m_number);
    line->addWidget(m_sum);
    line->addWidget(m_forward);
    connect(m_back, &QToolButton::clicked, this, [this] { go(m_page - 1); });
    connect(m_forward, &QToolButton::clicked, this, [this] { go(m_page + 1); });
    connect(m_number, &QLineEdit::editingFinished, this, [this] { go(m_number->text().toInt() - 1); });
    show(0);
    setVisible(false);
}

void Pagination::setPageSum(int sum)
{
    m_pages = qMax(1, sum);
    setVisible(m_pages > 1);
    if (m_page >= m_pages)
        go(m_pages - 1);
    else
        show(m_page);
}

void Pagination::setPage(int page)
{
    m_pages = qMax(m_pages, page + 1);
    show(page);
}

void Pagination::go(int page)
{
    page = qBound(0, page, m_pages - 1);
    const bool moved = page != m_page;
    show(page);
    if (moved)
        emit pageChanged(page);
}

void Pagination::show(int page)
{
    m_page = page;
    m_number->setText(QString::number(page + 1));
    m_sum->setText(QStringLiteral("/ %1").arg(m_pages));
    m_back->setEnabled(page > 0);
    m_forward->setEnabled(page + 1 < m_pages);
}
