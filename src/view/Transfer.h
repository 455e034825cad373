#pragma once
// The page "传输管理": the upload queue's orders and the download missions, each with its files below it. It shows what
// the stores signal and sends commands to the handlers by queued calls. Main thread.
#include "common/ui/BaseWidget.h"
#include "db/Records.h"
#include "view/TransferModel.h"
#include <QPointer>
#include <QSet>

class Debounce;
class MsgBox;
class Pagination;
class QAction;
class QStackedWidget;
class QTreeView;
class TransferHand;

class Transfer : public BaseWidget
{
    Q_OBJECT
public:
    explicit Transfer(QWidget *parent = nullptr);
    TransferModel *model(bool uploads) const { return uploads ? m_up : m_down; }

    Q_INVOKABLE void connectDAOView(int type); // 0 uploads, 1 downloads: its handler stands
    Q_INVOKABLE void initDAOView(int type);    // shows that list
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
    void makeBar();
    QTreeView *makeTree(TransferModel *model);
    void listenUploads();
    void listenDownloads();
    void readOrders(); // upload orders, away from the window's thread
    void readMissions();
    void askFiles(bool uploads, const QString &key, int page);
    void orderState(const db_resolve &res);
    void press(bool uploads, int button, const QModelIndex &index);
    void contextMenu(QTreeView *tree, const QPoint &at);
    void pressSelected(QTreeView *tree, int button);
    QList<QString> selectedKeys(QTreeView *tree) const;
    QTreeView *tree() const;

    TransferModel *m_up, *m_down;
    QTreeView *m_upTree = nullptr, *m_downTree = nullptr;
    QStackedWidget *m_stack = nullptr;
    Pagination *m_pages = nullptr;
    QAction *m_upAct = nullptr, *m_downAct = nullptr;
    Debounce *m_reload, *m_orders, *m_unknown;
    TransferHand *m_hand;
    QPointer<MsgBox> m_tip, m_space;
};
