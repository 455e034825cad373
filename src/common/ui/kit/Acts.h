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
    ActSpec() = default;
    ActSpec(const char *name, const QString &words, const QString &picture, int where)
        : id(QString::fromLatin1(name)), text(words), icon(picture), places(where)
    {
    }
    QString id; // object name of its QAction
    QString text, icon;
    int places = Menu;
    QKeySequence keys; // while the list has the focus
    bool primary = false;
    bool danger = false; // the question's focus stands on going back
    bool free = false;   // needs no row ("添加场景")
    bool single = false; // for one row only
    bool every = false;  // only where it's possible for all of the rows; the menu shows it greyed where it isn't
    std::function<bool(const QString &key)> possible;         // absent: for every row
    std::function<QString(const QString &key)> rowText;       // where the row's button says it shorter
    std::function<QString(const QStringList &keys)> question; // empty: nothing is asked
    QString accept, back;                                     // buttons of the question; else "确定", "返回"
    QString dontAsk;                                          // "不再询问" is offered and kept under this name
    std::function<void(const QStringList &keys)> run;
    // In place of run, for what can be taken back: the deed for one row, done UndoMs later unless it was taken back.
    // It's made at once and must hold what it needs: the row may be on another page by then.
    std::function<std::function<void()>(const QString &key)> later;
    std::function<QString(const QStringList &keys)> farewell; // what the note with "撤销" says
};

class ActSet : public QObject
{
    Q_OBJECT
public:
    static constexpr int UndoMs = 10000;
    explicit ActSet(QWidget *over); // questions stand over this
    ~ActSet() override;             // sends what waits
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
    bool can(const QString &id, const QStringList &keys) const;        // whether it's offered for them
    void run(const QString &id, const QStringList &keys);
    QMenu *menu(const QStringList &keys, QWidget *parent) const; // what is possible for these rows, owned by the parent
    QStringList rowWords(const QString &key) const;              // one per act with a place in the row; empty: not now
    void runInRow(const QString &key, int place);

    // A row that is on its way out: nothing else is possible for it, its first button takes it back.
    bool leaving(const QString &key) const;
    void takeBack(const QStringList &keys);
    void setUndoMs(int ms) { m_undoMs = ms; }
    void sendNow(); // what waits is done at once: the session ends

signals:
    void ran(QString id, QStringList keys); // after it was done
    void leavingChanged(QStringList keys);

private:
    bool there(const QString &key) const { return !m_there || m_there(key); }
    void ask(const ActSpec &spec, const QString &text, const QStringList &keys);
    void done(const ActSpec &spec, const QStringList &keys);
    void leave(const ActSpec &spec, const QStringList &keys);
    struct Leaving {
        QString key;
        int round; // of the deletion: the clock of one that was taken back means nothing to the next
        std::function<void()> deed;
    };
    void send(const std::function<bool(const Leaving &)> &which);

    QWidget *m_over;
    QVector<Leaving> m_leaving; // in their order
    int m_round = 0, m_undoMs = UndoMs;
    QVector<ActSpec> m_acts;
    QVector<QAction *> m_actions; // beside m_acts
    std::function<QStringList()> m_targets;
    std::function<bool(const QString &)> m_there;
};
