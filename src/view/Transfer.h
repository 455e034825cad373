#pragma once
// The page "传输管理": the upload queue's orders, the download missions, each with its files below it, and what is
// over. It shows what the stores signal and sends commands to the handlers by queued calls. Main thread.
#include "common/ui/BaseWidget.h"
#include "db/Records.h"
#include "view/TransferList.h"
#include <QPointer>

class Debounce;
class DoneTable;
class MsgBox;
class QAction;
class QActionGroup;
class QStackedWidget;
class TablePage;
class TransferD;
class TransferHand;

class Transfer : public BaseWidget
{
    Q_OBJECT
public:
    explicit Transfer(QWidget *parent = nullptr);
    TransferList *model(bool uploads) const { return uploads ? m_up : m_down; }
    TablePage *table(bool uploads) const { return uploads ? m_upTable : m_downTable; }
    DoneTable *done() const { return m_done; }

    Q_INVOKABLE void connectDAOView(int type); // 0 uploads, 1 downloads: its handler stands
    Q_INVOKABLE void initDAOView(int type);    // shows that list; 2: what is over
    Q_INVOKABLE void downCover(int mid, QString text);
    Q_INVOKABLE void downErrorTip(QString tip);
    Q_INVOKABLE void downSpace(QString driver);

public slots:
    void allFile(QList<db_upfile> fl, bool clear);
    void allFile(QList<db_downfile> fl, bool clear);
    void refreshUp();
    void miss(QList<db_downmiss> list, int pageSum);
    void expandMiss(int row, int col);
    void triggerAction(QAction *act);
    void changeSpeed(qlonglong pri, qlonglong ed, qlonglong size, qlonglong speed);
    void changeSpeed(qlonglong pri, qlonglong ed, qlonglong size);
    void changeState(qlonglong pri, int state, int error);

signals:
    void recharge();

private:
    void makeTabs();
    QAction *addTab(const QString &text, QWidget *page);
    TablePage *makeTable(TransferList *list);
    void addActs(TransferList *list, TablePage *table);
    void listenUploads();
    void listenDownloads();
    void readOrders(); // upload orders, away from the window's thread
    void readMissions();
    void askFiles(bool uploads, const QString &group, int page);
    void orderState(const db_resolve &res);
    const TransferRow *byScene(qlonglong rkey) const;
    QWidget *shown() const;

    TransferList *m_up, *m_down;
    TablePage *m_upTable = nullptr, *m_downTable = nullptr;
    DoneTable *m_done = nullptr;
    TransferD *m_drive = nullptr;
    QStackedWidget *m_stack = nullptr;
    QHBoxLayout *m_tabs = nullptr;
    QActionGroup *m_group = nullptr;
    Debounce *m_reload, *m_orders, *m_unknown;
    TransferHand *m_hand;
    QPointer<MsgBox> m_tip, m_space;
};
