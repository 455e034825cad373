#pragma once
// The page "解析提交": the scenes of the analysis store, page by page, with drop, search, menu and the buttons of each
// row. It shows what the store signals and sends everything to ResolveHandler by queued calls. Main thread.
#include "common/facts/PageSize.h"
#include "common/facts/SceneState.h"
#include "common/ui/BaseWidget.h"
#include "db/Records.h"
#include "view/ResolveModel.h"
#include <QPointer>

class Debounce;
class EnvPre;
class Pagination;
class QAction;
class QLineEdit;
class QSortFilterProxyModel;
class QTableView;
class ResolvePri;

class Resolve : public BaseWidget
{
    Q_OBJECT
public:
    explicit Resolve(QWidget *parent = nullptr);
    static constexpr int PageRows = PageSize::Scenes;
    Q_INVOKABLE void envpre(QJsonObject obj); // a scene that a plug-in sent: its environment is asked for
    ResolveModel *model() const { return m_model; }
    void setBalance(double balance) { m_balance = balance; }
    void rightsChanged();

public slots:
    void rFile(QStringList list);
    void allFile(QList<db_resolve> list, int pageSum);
    void refresh();
    void orderChanged(db_resolve res);
    void stateChanged(db_resolve res);
    void resolveDeleted(qlonglong rkey);
    void upProgress(qlonglong rkey, int ok, int sum);
    void searchName(int type, QString name);
    void commitAct();
    void recommitAct();
    void delAct();
    void reresAct();
    void pauseresAct();
    void keepresAct();
    void pauseupAct();
    void keepupAct();
    void paraSet(db_resolve res);
    void resolveStateHand(int idx, QModelIndex index);
    void resolveHand(int btn, QModelIndex index);
    void seeWarn(db_resolve res);
    void backEnvPre(int type, QStringList fileL, QString err);

private:
    void makeBar();
    void makeTable();
    void makeActions();
    void listen();
    void actionsFollow();
    void chooseFiles();
    void tickSelected();
    void contextMenu(const QPoint &at);
    void remove(const QList<qlonglong> &keys);
    void commit(const QList<qlonglong> &keys, bool batch);
    void change(int type, SceneState::Act act);
    QList<qlonglong> marked(SceneState::Act act) const; // ticked rows, else selected ones, that the act applies to
    QList<qlonglong> marked() const;

    ResolveModel *m_model;
    QSortFilterProxyModel *m_sorted;
    QTableView *m_table = nullptr;
    Pagination *m_pages = nullptr;
    QLineEdit *m_search = nullptr;
    Debounce *m_reload;
    QHash<int, QAction *> m_acts; // by SceneState::Act
    QPointer<EnvPre> m_env;
    QPointer<ResolvePri> m_pri;
    QString m_name;       // search text
    double m_balance = 1; // until it's known nobody is refused
};
