#pragma once
// The tab "已完成" of the transfer page: the last orders whose upload ended and the last missions that were fetched,
// newest first, searched by the store and sorted here (all of them are here). It reads when it's shown and when the
// store changes while it is. Removing a record touches no file. Main thread; owned by the page.
#include "common/ui/kit/TablePage.h"
#include "db/DoneDAO.h"

class Debounce;
class QComboBox;

class DoneTable : public TablePage
{
    Q_OBJECT
public:
    using Model = RecordModel<db_done>;
    explicit DoneTable(QWidget *parent);
    Model *model() const { return m_model; }
    void read();

protected:
    void showEvent(QShowEvent *event) override;

private:
    DoneTable(Model *model, QWidget *parent);
    void addActs();
    void take(const QList<db_done> &list);
    int kind() const;

    Model *m_model;
    QComboBox *m_kind;
    Debounce *m_reload;
    bool m_fresh = false; // what is shown is what the store has
};
