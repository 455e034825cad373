#pragma once
// A list with all that belongs to it: bar of acts, search, the list itself, what it says when empty, what stands
// between it and its rows (an error with "重试", a busy veil), pages. The owner hands rows to the model and answers the
// signals. Keys while the focus is within: Ctrl+F search, F5 refresh, Ctrl+A all rows, Escape clears search, ticks and
// selection, Enter opens, Space ticks, and the keys of the acts. Bar and keys work on view()->targets(), the context
// menu on what was clicked. Main thread.
#include "common/ui/kit/Acts.h"
#include "common/ui/kit/RecordModel.h"
#include "common/ui/kit/RecordView.h"
#include <QWidget>

class Busy;
class Debounce;
class EmptyView;
class Pagination;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;

class TablePage : public QWidget
{
    Q_OBJECT
public:
    struct Look {
        QString name;       // under which columns are kept; empty: not kept
        QString accessible; // of the list
        QString emptyIcon, emptyText, emptyHint;
        QString search;      // hint of the search field; empty: none
        bool refresh = true; // a button and F5
        bool bar = true;
        bool columns = true; // the button that chooses them
    };
    TablePage(const Look &look, RecordModelBase *model, QWidget *parent = nullptr);

    // The whole of a widget: it holds nothing else and has the page's focus.
    static TablePage *fill(QWidget *host, const Look &look, RecordModelBase *model);

    RecordView *view() const { return m_view; }
    ActSet *acts() const { return m_acts; }
    Pagination *pages() const { return m_pages; }
    QLineEdit *search() const { return m_search; }
    QHBoxLayout *foot() const { return m_foot; }
    // After the acts were added: builds bar, row buttons and keys. front: widgets before the bar's buttons (tabs).
    void build(const QList<QWidget *> &front = {});
    void setEmpty(const QString &text, const QString &hint);

    void setBusy(bool on);              // while rows are asked for
    void setError(const QString &text); // a line with "重试"; empty: all is well again
    QString error() const;
    QString searched() const;                                       // trimmed
    void openMenu(const QStringList &keys, const QPoint &globalAt); // what can be done with these rows

signals:
    void refreshWanted();
    void searchWanted(QString text); // a moment after the last key
    void pageWanted(int page);
    void menuOpened(QMenu *menu); // deletes itself when closed

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void makeSearch(const QString &hint);
    void makeKeys();
    void contextMenu(const QPoint &at);
    void addButton(QHBoxLayout *bar, const ActSpec &spec);
    void escape();
    void fitBar(); // buttons that the bar has no room for go below "更多", the last ones first

    Look m_look;
    RecordView *m_view;
    ActSet *m_acts;
    QHBoxLayout *m_bar = nullptr, *m_foot = nullptr;
    QVector<QPair<QPushButton *, QString>> m_buttons; // of the acts on the bar, with the act
    QPushButton *m_more = nullptr;
    QLineEdit *m_search = nullptr;
    QWidget *m_errorLine = nullptr;
    QLabel *m_errorText = nullptr;
    Pagination *m_pages;
    EmptyView *m_empty;
    Busy *m_busy;
    Debounce *m_typing;
};
