#pragma once
// The menus that narrow a list of tasks: under the heads of their columns and, for the keyboard, below one button on
// the bar, where whole filters are kept by name too. Menus stay open while one ticks. What is chosen, and the named
// ones, lie in the account's settings, group "Mission". Main thread; owned by its page.
#include "task/TaskFilter.h"
#include <functional>
#include <QObject>

class QMenu;
class QPushButton;

class TaskFilterMenus : public QObject
{
    Q_OBJECT
public:
    static constexpr int MostNamed = 50, LongestName = 30;
    TaskFilterMenus(TaskFilter *filter, QWidget *page);
    QPushButton *button() const { return m_button; }
    void restore(); // what was chosen when the page was last left
    // Opens the menu of a column's head below it.
    void open(TaskMenu TaskFilter::*part, const QPoint &globalAt);
    QStringList names() const;
    // Keeps the present choice under a name, another one of that name gives way. False: nothing is chosen, or the name
    // can't be.
    bool keep(const QString &name);
    void choose(const QString &name);
    void forget(const QString &name);

signals:
    void changed(); // the list is to be asked anew
    void menuOpened(QMenu *menu);

private:
    void fill(QMenu *menu, TaskMenu TaskFilter::*part);
    void fillBar(QMenu *menu);
    void moved();
    void askName();
    QJsonObject named() const;
    QString key(const char *name) const;

    TaskFilter *m_filter;
    QWidget *m_page;
    QPushButton *m_button;
};
