#pragma once
// The frame around the pages: left menu, page stack, head with account, balance and notices; the engine's voice on
// screen (WindowCalls); the way of pushes to who handles them. Made at login, lives until an account change. Closing
// hides it to the tray (without a tray: minimises it) unless it's closing for good. Main thread.
#include "common/ui/BaseWidget.h"
#include "common/WindowCalls.h"
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QUrl>

class HeadBar;
class LeftMenu;
class PullMsg;
class QStackedWidget;
class Resolve;
class ResolveScan;
class Transfer;
class WebPanel;

class MainWindow : public BaseWidget, public WindowCalls
{
    Q_OBJECT
public:
    explicit MainWindow(const QJsonObject &loginInfo); // the 10308 reply, for its addresses
    ~MainWindow() override;
    enum PageNumber { ResolvePage, TransferPage, WebPage };

    void setClosing(bool on) { m_closing = on; }
    void listenTo(ResolveScan *scan);
    void setLoginInfo(const QJsonObject &loginInfo); // of a later login of the same account: a new token
    static double balance();
    Q_INVOKABLE void queryMoney();
    void showMoney(bool show);

    // WindowCalls.
    void msgOk(const QString &text) override;
    void showInfoMsg(const QString &title, const QString &text) override;
    void rootMsg(const QString &text, int dirType, int projectId, int softwareType) override;
    void connectDAOView(int type) override;
    void downCover(int missionId, const QString &text) override;
    void confirmRoot(const QString &root, const QString &task) override;
    void downSpace(const QString &root) override;
    void downErrorTip(const QString &text) override;
    void redPoint() override;
    void refreshOrder() override;
    void envPre(int softwareType, const QStringList &scenes, const QString &err) override;

public slots:
    void leftFoldClick();
    void on_noticeBtn_clicked();
    void changeNotice(QJsonObject obj);
    void changeBalance(QJsonObject obj);
    void newMsgCenter(int state);
    void on_moneyBtn_clicked();
    void on_recharge_clicked();
    void urlChanged(QUrl url);
    void bsPush(int val, QJsonDocument doc, int cmd);
    void moneyOk(QString level, QString dis, QString money);
    void rolePermChanged();
    void setLanguage(const QString &word); // kept at once, in force after a restart
    void showPage(int page);

signals:
    void reLogin(int reason);
    void openLink(int type); // kind of link of the 10308 reply

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void makeHead();
    void makeMenu(const QJsonObject &loginInfo);
    void makePages();
    QUrl webUrl(const QJsonObject &loginInfo, const char *key) const; // empty where the server has no such page
    void askServer();
    void sendResults();

    HeadBar *m_bar;
    LeftMenu *m_menu;
    QStackedWidget *m_stack;
    Resolve *m_resolve;
    Transfer *m_transfer;
    WebPanel *m_web = nullptr;
    PullMsg *m_pull;
    QPointer<QWidget> m_child;    // the message centre
    QList<QJsonObject> m_results; // pushes that wait for the download queue
    QString m_token;
    bool m_recharge = false;
    bool m_closing = false;
};
