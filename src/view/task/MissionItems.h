#pragma once
// Cells of the task lists: the progress of a task's frames, its remark with the buttons beside it, and the buttons of
// the row. They paint from the roles of TaskModel and never ask a store. Main thread.
#include "common/ui/Delegates.h"
#include <functional>

// A cell with small buttons. rePos(): they lie elsewhere now (columns moved), remPos() forgets which one is hot.
class BaseItemDelegate : public TextItem
{
    Q_OBJECT
public:
    struct Button {
        QString name, icon, tip;
        bool enabled = true;
    };
    static constexpr int ButtonWidth = 32;
    explicit BaseItemDelegate(QObject *parent);
    // Where the button is, in the cell of this rectangle.
    virtual QRect place(const QRect &cell, int button) const = 0;

signals:
    void rePos();
    void baseItemHand(int idx, QModelIndex index);

public slots:
    void remPos();

protected:
    virtual QList<Button> buttons(const QModelIndex &index) const = 0;
    void paintButtons(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const;
    bool editorEvent(QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option,
                     const QModelIndex &index) override;
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;
};

// The row's buttons: details, render failed frames again, priority, more.
class MissionHand : public BaseItemDelegate
{
    Q_OBJECT
public:
    enum Hand { Detail, Rerender, Priority, More };
    MissionHand(std::function<bool(int grant)> denied, QObject *parent);
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QRect place(const QRect &cell, int button) const override;

protected:
    QList<Button> buttons(const QModelIndex &index) const override;

private:
    std::function<bool(int)> m_denied;
};

// The remark, a button to change it, and on the page of live tasks one for the most nodes.
class NodeItem : public BaseItemDelegate
{
    Q_OBJECT
public:
    enum Hand { Remark, Limit };
    NodeItem(bool limit, QObject *parent);
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QRect place(const QRect &cell, int button) const override;

protected:
    QList<Button> buttons(const QModelIndex &index) const override;

private:
    bool m_limit;
};

// The name, in the font that the model gives it.
class MissionName : public TextItem
{
    Q_OBJECT
public:
    explicit MissionName(QObject *parent);
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};

// How many frames are done, as a bar with the share over it and the counters at both sides.
class MissionProgress : public TextItem
{
    Q_OBJECT
public:
    explicit MissionProgress(int statusColumn, QObject *parent);
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    int m_status; // whose roles hold the counters
};
