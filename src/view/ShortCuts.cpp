#include "view/ShortCuts.h"
#include "common/ui/kit/Metrics.h"
#include "common/ui/kit/TablePage.h"
#include "view/PageTable.h"
#include <QGridLayout>
#include <QKeySequence>
#include <QLabel>
#include <QPushButton>

namespace
{
QString keys(const QKeySequence &sequence) { return sequence.toString(QKeySequence::NativeText); }
const TablePage *listOf(const QWidget *page)
{
    for (const TablePage *table : page ? page->findChildren<TablePage *>() : QList<TablePage *>())
        if (table->isVisible())
            return table;
    return nullptr;
}
} // namespace

ShortCuts::ShortCuts(const QWidget *page, QWidget *parent)
    : DialogFrame(QStringLiteral("ShortCuts"), tr("快捷键"), parent)
{
    auto *grid = new QGridLayout;
    grid->setHorizontalSpacing(3 * Metrics::Gap);
    grid->setVerticalSpacing(Metrics::Gap);
    int row = 0;
    for (const Line &line : lines(page)) {
        auto *name = new QLabel(line.first, this);
        name->setTextFormat(Qt::PlainText);
        grid->addWidget(name, row, 0);
        grid->addWidget(new QLabel(line.second, this), row++, 1);
    }
    grid->setColumnStretch(1, 1);
    content()->addLayout(grid);
    content()->addStretch(1);
    addButton(tr("关闭"), Close)->setFocus();
}

QList<ShortCuts::Line> ShortCuts::lines(const QWidget *page)
{
    QList<Line> out;
    for (const PageSpec &spec : pageTable())
        if (spec.shortcut > 0)
            out << Line(keys(QKeySequence(Qt::CTRL | (Qt::Key_0 + spec.shortcut))), spec.text());
    out << Line(keys(Qt::Key_F1), tr("快捷键"));
    const TablePage *table = listOf(page);
    if (!table)
        return out;
    out << Line(keys(Qt::Key_F5), tr("刷新列表"));
    if (table->search())
        out << Line(keys(QKeySequence::Find), tr("搜索"));
    out << Line(keys(QKeySequence::SelectAll), tr("选中所有行")) << Line(keys(Qt::Key_Space), tr("勾选选中的行"))
        << Line(keys(Qt::Key_Return), tr("打开当前行")) << Line(keys(Qt::Key_Escape), tr("清除搜索和选择"))
        << Line(keys(Qt::Key_Menu), tr("当前行的菜单"));
    for (const ActSpec &spec : table->acts()->all())
        if (!spec.keys.isEmpty())
            out << Line(keys(spec.keys), spec.text);
    return out;
}
