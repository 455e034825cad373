#pragma once
// Table cells that several pages share. Each paints from the roles below and never asks a store. Colours come from
// Palette.h. Main thread.
#include <QColor>
#include <QStyledItemDelegate>

namespace CellRole
{
enum {
    Tint = Qt::UserRole + 900, // QColor of the text; invalid: the style's
    Part,                      // done so far and
    Whole,                     // all, both qlonglong: of a progress bar
    Buttons,                   // QStringList: text of each button, empty where there is none
    Icon
}; // QString: name of the icon before the text
}

// A cell with the row's background, optional icon, tinted text elided in the middle where it's a path.
class TextItem : public QStyledItemDelegate
{
    Q_OBJECT
public:
    explicit TextItem(QObject *parent, Qt::TextElideMode elide = Qt::ElideRight)
        : QStyledItemDelegate(parent), m_elide(elide)
    {
    }
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void setRowHeight(int height) { m_height = height; } // where the view has no rows of a height of its own

protected:
    static void background(QPainter *painter, const QStyleOptionViewItem &option);
    Qt::TextElideMode m_elide;
    int m_height = 0;
};

// The tick of a row (Qt::CheckStateRole), drawn in the cell's middle.
class CheckBoxItem : public TextItem
{
    Q_OBJECT
public:
    explicit CheckBoxItem(QObject *parent) : TextItem(parent) {}
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    static void drawBox(QPainter *painter, const QRect &cell, Qt::CheckState state);

protected:
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;
};

// A thin bar with the cell's text under or beside it.
class ProgressItem : public TextItem
{
    Q_OBJECT
public:
    explicit ProgressItem(QObject *parent) : TextItem(parent) {}
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

// Words that are clicked: a state with its link, or the row's buttons. part is the word's place, 0 for a single one.
class LinkItem : public TextItem
{
    Q_OBJECT
public:
    explicit LinkItem(QObject *parent) : TextItem(parent) {}
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

signals:
    void clicked(int part, QModelIndex index);

protected:
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;

private:
    QList<QRect> places(const QStyleOptionViewItem &option, const QStringList &words) const;
};
