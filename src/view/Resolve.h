#pragma once
// The page "解析提交": the scenes of the analysis store, page by page, with drop, search, menu and the buttons of each
// row. It shows what the store signals and sends everything to ResolveHandler by queued calls; which act is possible in
// which state is SceneState's word. Main thread.
#include "common/ui/BaseWidget.h"
#include "common/ui/kit/TablePage.h"
#include "db/Records.h"
#include "view/ResolveRows.h"
#include "view/SceneActs.h"
#include <QPointer>

class Debounce;
class EnvPre;
class QLabel;
class ResolvePri;
namespace SceneState
{
enum class Act;
}

class Resolve : public BaseWidget
{
    Q_OBJECT
public:
    explicit Resolve(QWidget *parent = nullptr);
    Q_INVOKABLE void envpre(QJsonObject obj); // a scene that a plug-in sent: its environment is asked for
    ResolveRows::Model *model() const { return m_model; }
    TablePage *table() const { return m_table; }
    void called(); // the dialog that stands open was asked for by another program
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
    void paraAct();
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
    void projectTold(QStringList scenes, QString project); // of the scenes that backEnvPre brings next

private:
    static TablePage::Look look();
    void addActs();
    void addRowActs();
    void listen();
    void chooseFiles();
    void advise();
    void askCommit(const QStringList &keys);
    void askCommit(const QStringList &keys, int others);
    void commit(const QList<qlonglong> &keys, bool batch);
    void change(const QStringList &keys, SceneState::Act act);
    std::function<std::function<void()>(const QString &key)> deletion() const;
    QString farewell(const QStringList &keys) const;
    void openPriorities(const QString &key);
    void openState(const QString &key);
    void openParameters(qlonglong rkey);
    void arrived(const QList<qlonglong> &keys); // new rows in the store
    void showRow(qlonglong rkey);
    QString names(const QStringList &keys) const;

    ResolveRows::Model *m_model;
    TablePage *m_table;
    Debounce *m_reload;
    SceneActs m_acts;
    QLabel *m_advice = nullptr; // at the foot
    QPointer<EnvPre> m_env;
    QPair<QStringList, QString> m_told; // scenes that another program is about to give, and their project folder
    QPointer<ResolvePri> m_pri;
    qlonglong m_holding = 0;     // the page that holds this row is wanted
    QList<qlonglong> m_toSelect; // once they're here
    bool m_ownDrop = false;      // scenes of this window's own drop are on their way
    double m_balance = 1;        // until it's known nobody is refused
};
