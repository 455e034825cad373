#pragma once
// What the view of a task's sub-tasks and the one of a frame's blocks share: head with counters, filter by state, the
// list with its acts, pages. It lies over the page that opened it, asks when it's shown and every RefreshMs while it
// can be seen, never under an open menu, and a second after each operation. A reply to a question that is no longer the
// last one is dropped; rows change in place. Main thread; lives as long as the page.
#include "common/ui/kit/TablePage.h"
#include "task/SubTask.h"
#include "task/TaskRecord.h"
#include <QPointer>
#include <QTimer>

class QComboBox;
class LogView;
class PreviewQN;

class SubModel : public RecordModel<SubTask>
{
public:
    using RecordModel::RecordModel;
    void setSoftware(int software);
    int software() const { return m_software; }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    int m_software = 0;
};

class MissionSubPage : public QWidget
{
    Q_OBJECT
public:
    static constexpr int RefreshMs = 30000, SoonMs = 1000;
    TablePage *table() const { return m_table; }
    SubModel *model() const { return m_model; }
    const TaskRecord &task() const { return m_task; }
    void setPlace(std::function<QRect()> place) { m_place = std::move(place); } // of the page below; else all of it

public slots:
    void stateChanged(int index); // of the filter
    void cancelAct();
    void rerenAct();
    void downAct();
    LogView *logHand(const QString &key);        // null: no such row
    PreviewQN *previewClick(const QString &key); // null: no such row
    void back();

signals:
    void left();
    void listed(QString task, QList<SubTask> frames); // an answer of the server's

protected:
    MissionSubPage(const QString &name, bool blocks, QWidget *parent);
    void start(const TaskRecord &task);
    void refresh(); // asks for the list
    void refreshSoon() { m_soon.start(); }
    virtual int command() const = 0;
    virtual QJsonObject body(int state, int page) const = 0;
    virtual void addMore(QHBoxLayout *head) { Q_UNUSED(head) }
    virtual void openBlocks(const SubTask &sub) { Q_UNUSED(sub) }
    void setHeading(const QString &name, const QString &more);
    void build();
    void openFolder();
    void showSheet();
    void compareTwo(const QStringList &keys);
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void addActs();
    void cover();
    void guardBelow(bool on);
    QList<QPointer<QWidget>> m_below; // what it keeps from the keys
    void fitHeading();
    void take(const SubList &list);
    void cancel(const QList<SubTask> &rows);
    void rerender(const QList<SubTask> &rows);
    void download(const QList<SubTask> &rows);
    void copyNumber();
    void operate(int cmd, const QList<QJsonObject> &bodies, const QString &good);

    const bool m_blocks;
    std::function<QRect()> m_place;
    TaskRecord m_task;
    SubModel *m_model;
    TablePage *m_table;
    QComboBox *m_state;
    QHBoxLayout *m_head = nullptr;
    QLabel *m_title = nullptr, *m_counts = nullptr;
    QPushButton *m_copy = nullptr;
    QTimer m_timer, m_soon;
    QString m_heading;
    SubList m_list;
    QSet<QString> m_opened; // branches, once
    int m_asked = 0;        // counts the questions
};
