#pragma once
// The frame around the pages: left menu, page stack, head with account, balance and notices, the line that tells of a
// lost link. Pages come from the register (PageTable), what they need from Shell. Made at login, lives until an account
// change. Closing hides it to the tray (without a tray: minimises it) unless it's closing for good. Main thread.
#include "common/ui/BaseWidget.h"
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>

class HeadBar;
class LeftMenu;
class PullMsg;
class QStackedWidget;
class Set;
class Shell;
class ShortCuts;
struct PageSpec;

class MainWindow : public BaseWidget
{
    Q_OBJECT
public:
    explicit MainWindow(const QJsonObject &loginInfo); // the 10308 reply, for its addresses
    ~MainWindow() override;

    Shell *shell() const { return m_shell; }
    QString page() const { return m_page; } // key of the one that is shown
    void setClosing(bool on) { m_closing = on; }
    void showMoney(bool show);

public slots:
    void leftFoldClick();
    void on_noticeBtn_clicked();
    void on_setBtn_clicked();
    void on_recharge_clicked();
    void newMsgCenter(int state);
    void bsPush(int val, QJsonDocument doc, int cmd);
    void rolePermChanged();
    void setLanguage(const QString &word); // kept at once, in force after a restart
    void showPage(const QString &key);
    void showShortCuts(); // F1

protected:
    void closeEvent(QCloseEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void makeHead();
    void makeMenu();
    void makeArea();
    void listen();
    void openSet(int page);
    void setResultRoot(int dirType, int projectId, int softwareType);
    void openPage(const PageSpec &spec);
    void focusPage();
    QWidget *viewOf(const PageSpec &spec); // made where it isn't yet
    void menuFollows();                    // rows appear and vanish with rights and addresses
    void setFolded(bool on);
    void mark(const QString &key, bool on);

    HeadBar *m_bar;
    LeftMenu *m_menu;
    QStackedWidget *m_stack;
    PullMsg *m_pull;
    Shell *m_shell;
    QToolButton *m_fold = nullptr;
    QHash<QString, QWidget *> m_views;
    QPointer<ShortCuts> m_shortCuts;
    QPointer<QWidget> m_child; // the message centre
    QPointer<Set> m_set;
    QString m_page;
    bool m_closing = false;
};
