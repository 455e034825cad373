#pragma once
// What can be done with the rows of a list, each thing described once: its text, icon and keys, when it's possible,
// what is asked before, what it does. Bar buttons, the buttons in a row, the context menu and the keyboard all go
// through ActSet::run(), which leaves out the rows it isn't possible for and asks the question, for however many rows,
// once. Rows are named by their keys (RecordModel::when and each turn them into records). Main thread.
#include <functional>
#include <QKeySequence>
#include <QObject>
#include <QStringList>
#include <QVector>

class QAction;
class QMenu;
class QWidget;

struct ActSpec {
    enum Place { Bar = 1, More = 2, Row = 4, Menu = 8 }; // on the bar, under "更多", in the row, in the context menu
    QString id;                                          // object name of its QAction
    QString text, icon;
    int places = Menu;
    QKeySequence keys; // while the list has the focus
    bool primary = false;
    bool danger = false;                                      // the question's focus stands on going back
    bool free = false;                                        // needs no row ("添加场景")
    bool single = false;                                      // for one row only
    std::function<bool(const QString &key)> possible;         // absent: for every row
    std::function<QString(const QString &key)> rowText;       // where the row's button says it shorter
    std::function<QString(const QStringList &keys)> question; // empty: nothing is asked
    QString accept, back;                                     // buttons of the question; else "确定", "返回"
    QString dontAsk;                                          // "不再询问" is offered and kept under this name
    std::function<void(const QStringList &keys)> run;
};

class ActSet : public QObject
{
    Q_OBJECT
public:
    explicit ActSet(QWidget *over); // questions stand over this
    void add(const ActSpec &spec);
    const QVector<ActSpec> &all() const { return m_acts; }
    const ActSpec *spec(const QString &id) const;
    QAction *action(const QString &id) const; // of the bar: works on the targets

    // Rows the bar works on, asked for when they're needed; follow() enables the actions to fit.
    void setTargets(std::function<QStringList()> bar) { m_targets = std::move(bar); }
    void follow();
    // A row may go between a question and its answer: those that are still there count.
    void setThere(std::function<bool(const QString &key)> there) { m_there = std::move(there); }

    QStringList fit(const QString &id, const QStringList &keys) const; // those it's possible for
    void run(const QString &id, const QStringList &keys);
    QMenu *menu(const QStringList &keys, QWidget *parent) const; // what is possible for these rows, owned by the parent
    QStringList rowWords(const QString &key) const;              // one per act with a place in the row; empty: not now
    void runInRow(const QString &key, int place);

signals:
    void ran(QString id, QStringList keys); // after it was done

private:
    void ask(const ActSpec &spec, const QString &text, const QStringList &keys);
    void done(const ActSpec &spec, const QStringList &keys);

    QWidget *m_over;
    QVector<ActSpec> m_acts;
    QVector<QAction *> m_actions; // beside m_acts
    std::function<QStringList()> m_targets;
    std::function<bool(const QString &)> m_there;
};
