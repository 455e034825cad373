#include "view/MainWindow.h"
#include "common/Seam.h"
#include "common/ui/Background.h"
#include "common/ui/IconTool.h"
#include "common/ui/MsgTool.h"
#include "common/ui/PullMsg.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include "db/Calls.h"
#include "io/NetTcp.h"
#include "resolve/ResolveScan.h"
#include "view/HeadBar.h"
#include "view/LeftMenu.h"
#include "view/MsgCenter.h"
#include "view/Resolve.h"
#include "view/SessionTimer.h"
#include "view/Transfer.h"
#include "view/WebPanel.h"
#include <QApplication>
#include <QCloseEvent>
#include <QDebug>
#include <QStackedWidget>
#include <QTimer>

namespace
{
constexpr int Deposit = 3; // kind of link
constexpr int ResultsMs = 500;
const QSize FirstSize(1240, 760), LeastSize(960, 560);
constexpr int RestartCode = 773; // the event loop's result that starts the client again
double money = 0;

struct WebRow {
    const char *group, *key, *icon, *title;
};
const char *const center = QT_TRANSLATE_NOOP("MainWindow", "用户中心"), *const help =
                                                                            QT_TRANSLATE_NOOP("MainWindow", "使用帮助");
const WebRow webRows[] = {
    {center, "personalCenterUrl", "user", QT_TRANSLATE_NOOP("MainWindow", "个人中心")},
    {center, "rechargeCenterUrl", "wallet", QT_TRANSLATE_NOOP("MainWindow", "充值中心")},
    {center, "vipCenterUrl", "star", QT_TRANSLATE_NOOP("MainWindow", "会员购买")},
    {help, "renderGuideUrl", "help", QT_TRANSLATE_NOOP("MainWindow", "渲染指南")},
    {help, "netTestUrl", "globe", QT_TRANSLATE_NOOP("MainWindow", "网络诊断")},
};
} // namespace

MainWindow::MainWindow(const QJsonObject &loginInfo)
    : BaseWidget(Window), m_bar(new HeadBar(this)), m_menu(new LeftMenu(this)), m_stack(new QStackedWidget(this)),
      m_pull(new PullMsg(this)), m_token(loginInfo.value(QLatin1String("token")).toString())
{
    setObjectName(QStringLiteral("MainWindow"));
    setTitle(tr("渲染客户端"));
    setMinimumSize(LeastSize);
    resize(FirstSize);
    centre();
    QApplication::setQuitOnLastWindowClosed(false);
    m_recharge = !loginInfo.value(QLatin1String("depositLink")).toString().isEmpty();
    makeHead();
    makePages();
    makeMenu(loginInfo);
    connect(this, &BaseWidget::hotKey, this, [this](int key) { showPage(key - 1); });
    connect(NetTcp::instance(), &NetTcp::bsPush, this, &MainWindow::bsPush);
    connect(NetTcp::instance(), &NetTcp::loginChanged, this, [this](bool on) {
        if (on)
            askServer();
    });
    connect(m_pull, &PullMsg::changeNotice, this, &MainWindow::changeNotice);
    connect(m_pull, &PullMsg::changeBalance, this, &MainWindow::changeBalance);
    connect(m_pull, &PullMsg::newMsgCenter, this, &MainWindow::newMsgCenter);
    connect(m_pull, &PullMsg::queryMoney, this, &MainWindow::queryMoney);
    Seam<WindowCalls>::attach(this, this);
    askServer();
    m_pull->start();
    m_bar->setRedMark(UserInfo::userValue(QStringLiteral("MsgCenter"), QStringLiteral("redNotice")).toInt() == 1);
    rolePermChanged();
    m_menu->selectPage(ResolvePage);
}

MainWindow::~MainWindow() { Seam<WindowCalls>::detach(this); }

void MainWindow::makeHead()
{
    head()->addWidget(m_bar, 1);
    m_bar->setAccount(UserInfo::username());
    m_bar->setRecharge(m_recharge);
    connect(m_bar, &HeadBar::refreshBalance, this, &MainWindow::on_moneyBtn_clicked);
    connect(m_bar, &HeadBar::recharge, this, &MainWindow::on_recharge_clicked);
    connect(m_bar, &HeadBar::notices, this, &MainWindow::on_noticeBtn_clicked);
    connect(m_bar, &HeadBar::changeUser, this, [this] { emit reLogin(110); });
    connect(m_bar, &HeadBar::language, this, &MainWindow::setLanguage);
    connect(m_bar, &HeadBar::leave, qApp, &QCoreApplication::quit, Qt::QueuedConnection);
}

void MainWindow::makePages()
{
    m_resolve = new Resolve(this);
    m_transfer = new Transfer(this);
    m_web = new WebPanel(this);
    for (QWidget *page :
         {static_cast<QWidget *>(m_resolve), static_cast<QWidget *>(m_transfer), static_cast<QWidget *>(m_web)})
        m_stack->addWidget(page);
    connect(m_transfer, &Transfer::recharge, this, &MainWindow::on_recharge_clicked);
    connect(m_web, &WebPanel::reLogin, this, &MainWindow::reLogin);
    connect(m_web, &WebPanel::urlChanged, this, &MainWindow::urlChanged);
    auto *left = new QWidget(this);
    left->setObjectName(QStringLiteral("leftArea"));
    auto *column = new QVBoxLayout(left);
    column->setContentsMargins(0, 4, 1, 8);
    column->setSpacing(0);
    column->addWidget(m_menu, 1);
    auto *fold = new QToolButton(left);
    fold->setObjectName(QStringLiteral("leftFold"));
    fold->setIcon(IconTool::icon(QStringLiteral("foldL"), 20));
    fold->setFixedSize(32, 28);
    fold->setToolTip(tr("收起菜单"));
    fold->setAccessibleName(fold->toolTip());
    connect(fold, &QToolButton::clicked, this, &MainWindow::leftFoldClick);
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(8, 0, 0, 0);
    foot->addWidget(fold);
    foot->addStretch(1);
    column->addLayout(foot);
    auto *line = new QHBoxLayout;
    line->setSpacing(0);
    line->addWidget(left);
    line->addWidget(m_stack, 1);
    body()->addLayout(line, 1);
}

void MainWindow::makeMenu(const QJsonObject &info)
{
    m_menu->addGroup(tr("渲染管理"));
    m_menu->addPage(QStringLiteral("analyse"), tr("解析提交"), ResolvePage);
    m_menu->addPage(QStringLiteral("transfer"), tr("传输管理"), TransferPage);
    const char *group = nullptr;
    for (const WebRow &row : webRows) {
        const QUrl url = webUrl(info, row.key);
        if (url.isEmpty())
            continue; // this server has no such page
        if (group != row.group)
            m_menu->addGroup(tr(row.group));
        group = row.group;
        m_menu->addWeb(QLatin1String(row.icon), tr(row.title), url);
    }
    connect(m_menu, &LeftMenu::pageChosen, this, [this](int page) {
        m_stack->setCurrentIndex(page);
        m_stack->currentWidget()->setFocus();
        m_menu->setMark(page, false);
    });
    connect(m_menu, &LeftMenu::webChosen, this, [this](const QString &title, const QUrl &url) {
        m_stack->setCurrentIndex(WebPage);
        m_web->open(title, url);
    });
}

void MainWindow::setLanguage(const QString &word)
{
    if (word == UserInfo::language())
        return;
    Background::run(
        this,
        [word] {
            UserInfo::setLanguage(word);
            return true;
        },
        [this](bool) {
            MsgTool::ask(this, tr("语言在重新启动后生效，现在重新启动吗？"),
                         [] { QCoreApplication::exit(RestartCode); });
        });
}

QUrl MainWindow::webUrl(const QJsonObject &loginInfo, const char *key) const
{
    const QString url = loginInfo.value(QLatin1String(key)).toString();
    return url.isEmpty() ? QUrl() : WebPanel::rowUrl(url, m_token, UserInfo::languageNumber() == 1);
}

void MainWindow::setLoginInfo(const QJsonObject &loginInfo)
{
    m_token = loginInfo.value(QLatin1String("token")).toString();
    for (const WebRow &row : webRows)
        m_menu->setWeb(tr(row.title), webUrl(loginInfo, row.key));
}

void MainWindow::showPage(int page)
{
    if (page == ResolvePage || page == TransferPage)
        m_menu->selectPage(page);
}

void MainWindow::listenTo(ResolveScan *scan) { connect(scan, &ResolveScan::seeWarn, m_resolve, &Resolve::seeWarn); }

// Rights and the wish for pushes belong to a login, so they are asked for again when the link comes back.
void MainWindow::askServer()
{
    NetTcp::instance()->nvds(103, 10306, QJsonObject());
    NetTcp::instance()->nvds(
        103, 10314, QJsonObject(),
        [this](int, const QJsonDocument &doc) {
            UserInfo::setRolePerm(doc.object());
            rolePermChanged();
        },
        this);
    if (!m_results.isEmpty())
        sendResults();
}

void MainWindow::rolePermChanged()
{
    showMoney(!UserInfo::isSlave()); // a subordinate seat works on its master's money
    m_resolve->rightsChanged();
}

double MainWindow::balance() { return money; }

void MainWindow::queryMoney()
{
    NetTcp::instance()->nvds(
        103, 10302, QJsonObject(),
        [this](int, const QJsonDocument &doc) {
            const QJsonObject obj = doc.object();
            const QJsonValue amount = obj.contains(QLatin1String("balance")) ? obj.value(QLatin1String("balance"))
                                                                             : obj.value(QLatin1String("money"));
            if (!amount.isUndefined() && !amount.isNull())
                moneyOk(obj.value(QLatin1String("level")).toVariant().toString(),
                        obj.value(QLatin1String("discount")).toVariant().toString(), amount.toVariant().toString());
        },
        this);
}

void MainWindow::moneyOk(QString level, QString dis, QString amount)
{
    qDebug().noquote() << "MainWindow::moneyOk" << level << dis;
    changeBalance(QJsonObject{{QStringLiteral("balance"), amount}, {QStringLiteral("username"), UserInfo::username()}});
}

void MainWindow::changeBalance(QJsonObject obj)
{
    const QString text = HeadBar::balanceOf(obj.value(QLatin1String("balance")));
    money = text.toDouble();
    m_bar->setBalance(text);
    m_resolve->setBalance(money);
    const QString name = obj.value(QLatin1String("username")).toString();
    if (!name.isEmpty())
        m_bar->setAccount(name);
}

void MainWindow::showMoney(bool show) { m_bar->showMoney(show); }
void MainWindow::on_moneyBtn_clicked() { queryMoney(); }
void MainWindow::on_recharge_clicked() { emit openLink(Deposit); }
void MainWindow::changeNotice(QJsonObject obj) { m_bar->setNotice(obj); }

void MainWindow::newMsgCenter(int state)
{
    Background::post(
        [state] { UserInfo::setUserValue(QStringLiteral("MsgCenter"), QStringLiteral("redNotice"), state); });
    m_bar->setRedMark(state == 1);
}

void MainWindow::on_noticeBtn_clicked()
{
    newMsgCenter(0);
    if (m_child)
        return;
    auto *center = new MsgCenter(this);
    m_child = center;
    center->open();
}

void MainWindow::leftFoldClick()
{
    m_menu->setFolded(!m_menu->folded());
    auto *fold = findChild<QToolButton *>(QStringLiteral("leftFold"));
    fold->setIcon(IconTool::icon(m_menu->folded() ? QStringLiteral("foldR") : QStringLiteral("foldL"), 20));
    fold->setToolTip(m_menu->folded() ? tr("展开菜单") : tr("收起菜单"));
    fold->setAccessibleName(fold->toolTip());
}

void MainWindow::urlChanged(QUrl url)
{
    qDebug().noquote() << "urlchanged:" << url.toString(QUrl::RemoveQuery);
    const QString text = url.toString();
    if (text.contains(QLatin1String("onlinePayPage")) || text.contains(QLatin1String("becomeVip")))
        queryMoney();
}

void MainWindow::bsPush(int val, QJsonDocument doc, int cmd)
{
    qDebug().noquote() << "MainWindow::bsPush" << cmd << val;
    const QJsonObject obj = doc.object();
    if (cmd == 10412 && val == 1041200 && !doc.isNull()) {
        const QString name = obj.value(QLatin1String("missionName")).toString();
        showInfoMsg(tr("优先帧完成"), name.isEmpty() ? obj.value(QLatin1String("content")).toString() : name);
        newMsgCenter(1);
    } else if (cmd == 10413 && !doc.isNull()) {
        m_results.append(obj);
        sendResults();
    } else if (cmd == 10201) {
        queryMoney();
    }
}

// The farm tells of results as soon as the login stands, the download queue comes up a moment later.
void MainWindow::sendResults()
{
    while (!m_results.isEmpty()) {
        const QJsonObject obj = m_results.first();
        if (!Seam<DownCalls>::post([obj](DownCalls &down) { down.resultPush(obj); })) {
            QTimer::singleShot(ResultsMs, this, &MainWindow::sendResults);
            return;
        }
        m_results.removeFirst();
    }
}

void MainWindow::msgOk(const QString &text) { MsgTool::msgOk(isVisible() ? this : nullptr, text); }
void MainWindow::showInfoMsg(const QString &title, const QString &text)
{
    TrayIcon::instance()->showInfoMsg(title, text);
}
void MainWindow::rootMsg(const QString &text, int, int, int) { msgOk(text); }
void MainWindow::downCover(int missionId, const QString &text) { m_transfer->downCover(missionId, text); }
void MainWindow::downErrorTip(const QString &text) { m_transfer->downErrorTip(text); }
void MainWindow::refreshOrder() { m_resolve->refresh(); }

void MainWindow::envPre(int softwareType, const QStringList &scenes, const QString &err)
{
    if (err.isEmpty()) { // otherwise the other program has its answer
        TrayIcon::instance()->showCurWid();
        m_resolve->backEnvPre(softwareType, scenes, err);
    }
}

void MainWindow::confirmRoot(const QString &root, const QString &task)
{
    const QString text = tr("任务 %1 的结果要保存到以下文件夹，但本机没有用过它：\r\n%2\r\n是否允许保存到该文件夹？");
    // The name comes from a server: it must not become a picture or a link.
    MsgTool::ask(this, text.arg(task, root).replace(QLatin1Char('<'), QChar(0xff1c)),
                 [root] { Seam<DownCalls>::post([root](DownCalls &down) { down.rootConfirmed(root); }); });
}

void MainWindow::downSpace(const QString &root)
{
    // A drive's letter where there is one, else the folder.
    m_transfer->downSpace(root.size() > 1 && root.at(1) == QLatin1Char(':') ? root.left(1) : root);
}

void MainWindow::redPoint()
{
    if (m_stack->currentIndex() != TransferPage)
        m_menu->setMark(TransferPage, true);
}

void MainWindow::connectDAOView(int type)
{
    m_transfer->connectDAOView(type);
    if (type == 1)
        sendResults();
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if (!m_closing) {
        event->ignore();
        if (TrayIcon::available())
            hide();
        else
            showMinimized();
        return;
    }
    QApplication::setQuitOnLastWindowClosed(true);
    delete m_child;
    SessionTimer::stop();
    event->accept();
}
