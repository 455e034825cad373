#include "view/MainWindow.h"
#include "common/ResultPath.h"
#include "common/ui/Background.h"
#include "common/ui/IconTool.h"
#include "common/ui/PullMsg.h"
#include "common/ui/TrayIcon.h"
#include "common/UserInfo.h"
#include "view/AccountFacts.h"
#include "view/EngineVoice.h"
#include "view/HeadBar.h"
#include "view/Leaving.h"
#include "view/LeftMenu.h"
#include "view/LinkLine.h"
#include "view/MsgCenter.h"
#include "view/PageTable.h"
#include "view/PushRouter.h"
#include "view/render/KeyFrame.h"
#include "view/set/EnvSet.h"
#include "view/set/Set.h"
#include "view/Shell.h"
#include "view/ShortCuts.h"
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QStackedWidget>

namespace
{
constexpr int Deposit = 3; // kind of link
constexpr int NoticeCame = 10412, NoticeGood = 1041200, MoneyMoved = 10201;
constexpr int ByHand = 110; // reason of a re-login
const QSize FirstSize(1240, 760), LeastSize(800, 480);
constexpr int RestartCode = 773; // the event loop's result that starts the client again

const PageSpec *specOf(const QString &key)
{
    for (const PageSpec &spec : pageTable())
        if (spec.name() == key)
            return &spec;
    return nullptr;
}
} // namespace

MainWindow::MainWindow(const QJsonObject &loginInfo)
    : BaseWidget(Window), m_bar(new HeadBar(this)), m_menu(new LeftMenu(this)), m_stack(new QStackedWidget(this)),
      m_pull(new PullMsg(this)), m_shell(new Shell(loginInfo, this))
{
    setObjectName(QStringLiteral("MainWindow"));
    setTitle(tr("渲染客户端"));
    setMinimumSize(LeastSize);
    resize(FirstSize);
    centre();
    rememberPlace(QStringLiteral("MainWindow"));
    QApplication::setQuitOnLastWindowClosed(false);
    makeHead();
    makeArea();
    makeMenu();
    listen();
    m_shell->account()->ask();
    m_pull->start();
    m_bar->setRedMark(UserInfo::userValue(QStringLiteral("MsgCenter"), QStringLiteral("redNotice")).toInt() == 1);
    rolePermChanged();
    showPage(pageTable().first().name());
}

MainWindow::~MainWindow()
{
    // Pages first: they hold what they got from the shell.
    for (QWidget *view : qAsConst(m_views))
        delete view;
}

void MainWindow::makeHead()
{
    head()->addWidget(m_bar, 1);
    m_bar->setAccount(UserInfo::username());
    m_bar->setRecharge(!m_shell->link(QStringLiteral("depositLink")).isEmpty());
    connect(m_bar, &HeadBar::refreshBalance, m_shell->account(), &AccountFacts::queryMoney);
    connect(m_bar, &HeadBar::recharge, this, &MainWindow::on_recharge_clicked);
    connect(m_bar, &HeadBar::notices, this, &MainWindow::on_noticeBtn_clicked);
    connect(m_bar, &HeadBar::settings, this, &MainWindow::on_setBtn_clicked);
    connect(m_bar, &HeadBar::changeUser, m_shell, [this] { emit m_shell->reLogin(ByHand); });
    connect(m_bar, &HeadBar::language, this, &MainWindow::setLanguage);
    connect(m_bar, &HeadBar::updates, m_shell, &Shell::updatesAsked);
    connect(m_bar, &HeadBar::leave, TrayIcon::instance(), &TrayIcon::leave);
}

void MainWindow::makeArea()
{
    body()->addWidget(new LinkLine(this));
    auto *left = new QWidget(this);
    left->setObjectName(QStringLiteral("leftArea"));
    auto *column = new QVBoxLayout(left);
    column->setContentsMargins(0, 4, 1, 8);
    column->setSpacing(0);
    column->addWidget(m_menu, 1);
    m_fold = new QToolButton(left);
    m_fold->setObjectName(QStringLiteral("leftFold"));
    m_fold->setFixedSize(32, 28);
    m_fold->setFocusPolicy(Qt::StrongFocus);
    connect(m_fold, &QToolButton::clicked, this, &MainWindow::leftFoldClick);
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(8, 0, 0, 0);
    foot->addWidget(m_fold);
    foot->addStretch(1);
    column->addLayout(foot);
    auto *line = new QHBoxLayout;
    line->setSpacing(0);
    line->addWidget(left);
    line->addWidget(m_stack, 1);
    body()->addLayout(line, 1);
}

void MainWindow::makeMenu()
{
    const char *group = nullptr;
    for (const PageSpec &spec : pageTable()) {
        if (group != spec.group)
            m_menu->addGroup(spec.groupText());
        group = spec.group;
        m_menu->addPage(QLatin1String(spec.icon), spec.text(), spec.name());
        if (spec.early)
            viewOf(spec);
    }
    setFolded(UserInfo::allValue(QStringLiteral("Window"), QStringLiteral("folded")).toInt() == 1);
    connect(m_menu, &LeftMenu::activated, this, &MainWindow::focusPage);
    connect(m_menu, &LeftMenu::pageChosen, this, [this](const QString &key) {
        if (const PageSpec *spec = specOf(key))
            openPage(*spec);
    });
}

void MainWindow::listen()
{
    AccountFacts *account = m_shell->account();
    connect(this, &BaseWidget::hotKey, this, [this](int key) {
        for (const PageSpec &spec : pageTable())
            if (spec.shortcut == key)
                showPage(spec.name());
    });
    auto *help = new QAction(this);
    help->setShortcut(QKeySequence(Qt::Key_F1));
    connect(help, &QAction::triggered, this, &MainWindow::showShortCuts);
    addAction(help);
    connect(m_shell, &Shell::showPage, this, &MainWindow::showPage);
    connect(m_shell, &Shell::mark, this, &MainWindow::mark);
    connect(m_shell, &Shell::loginInfoChanged, this, &MainWindow::menuFollows);
    connect(m_shell, &Shell::pagesChanged, this, &MainWindow::menuFollows);
    connect(account, &AccountFacts::rolePermChanged, this, &MainWindow::rolePermChanged);
    connect(account, &AccountFacts::balanceChanged, m_bar, [this](const QString &text) { m_bar->setBalance(text); });
    connect(account, &AccountFacts::nameChanged, m_bar, &HeadBar::setAccount);
    connect(m_pull, &PullMsg::changeNotice, m_bar, &HeadBar::setNotice);
    connect(m_pull, &PullMsg::changeBalance, account, &AccountFacts::changeBalance);
    connect(m_pull, &PullMsg::newMsgCenter, this, &MainWindow::newMsgCenter);
    connect(m_pull, &PullMsg::queryMoney, account, &AccountFacts::queryMoney);
    connect(m_shell->voice(), &EngineVoice::rootMissing, this, &MainWindow::setResultRoot);
    connect(m_shell->voice(), &EngineVoice::queueStands, m_shell->pushes(), &PushRouter::sendResults);
    m_shell->pushes()->on(NoticeCame, this, [this](int val, const QJsonObject &obj) {
        if (val != NoticeGood || obj.isEmpty())
            return;
        const QString name = obj.value(QLatin1String("missionName")).toString();
        m_shell->voice()->showInfoMsg(tr("优先帧完成"),
                                      name.isEmpty() ? obj.value(QLatin1String("content")).toString() : name);
        newMsgCenter(1);
        KeyFrame::tell(this, obj, [this] { showPage(QStringLiteral("transfer")); });
    });
    m_shell->pushes()->on(MoneyMoved, account, [account](int, const QJsonObject &) { account->queryMoney(); });
}

void MainWindow::showShortCuts()
{
    if (m_shortCuts)
        return m_shortCuts->activateWindow();
    m_shortCuts = new ShortCuts(m_stack->currentWidget(), this);
    m_shortCuts->open();
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
            Leaving::ask(
                this, [] { QCoreApplication::exit(RestartCode); }, tr("语言在重新启动后生效，现在重新启动吗？"));
        });
}

QWidget *MainWindow::viewOf(const PageSpec &spec)
{
    QWidget *&view = m_views[spec.view ? QString::fromLatin1(spec.view) : spec.name()];
    if (!view) {
        view = spec.make(m_shell);
        m_stack->addWidget(view);
    }
    return view;
}

void MainWindow::openPage(const PageSpec &spec)
{
    QWidget *view = viewOf(spec);
    m_page = spec.name();
    m_stack->setCurrentWidget(view);
    mark(m_page, false);
    if (spec.shown)
        spec.shown(view, m_shell, spec);
    if (!m_menu->hasFocus() ||
        QGuiApplication::mouseButtons() != Qt::NoButton) // who walks the menu by keys stays there
        focusPage();
}

void MainWindow::focusPage()
{
    QWidget *page = m_stack->currentWidget();
    QWidget *last = page->focusWidget();
    (last && last->isEnabled() ? last : page)->setFocus();
}

void MainWindow::showEvent(QShowEvent *event)
{
    BaseWidget::showEvent(event);
    if (!focusWidget())
        focusPage(); // before the window comes to the front and looks for whom to give it to
}

void MainWindow::showPage(const QString &key)
{
    const PageSpec *spec = specOf(key);
    if (spec && spec->possible(m_shell))
        m_menu->selectPage(key);
}

void MainWindow::mark(const QString &key, bool on) { m_menu->setMark(key, on && key != m_page); }

void MainWindow::menuFollows()
{
    for (const PageSpec &spec : pageTable())
        m_menu->setPossible(spec.name(), spec.possible(m_shell));
}

void MainWindow::rolePermChanged()
{
    showMoney(!UserInfo::isSlave()); // a subordinate seat works on its master's money
    menuFollows();
}

void MainWindow::showMoney(bool show) { m_bar->showMoney(show); }
void MainWindow::on_recharge_clicked() { emit m_shell->openLink(Deposit); }
void MainWindow::bsPush(int val, QJsonDocument doc, int cmd) { m_shell->pushes()->bsPush(val, doc, cmd); }

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

void MainWindow::on_setBtn_clicked() { openSet(Set::Common); }

void MainWindow::openSet(int page)
{
    if (!m_set) {
        m_set = new Set(this);
        connect(m_set, &Set::languageChosen, this, &MainWindow::setLanguage);
        m_set->showPage(page);
        m_set->open();
    } else {
        m_set->showPage(page);
        m_set->activateWindow();
    }
}

// Where results go is set in the settings, or with the project's paths.
void MainWindow::setResultRoot(int dirType, int projectId, int softwareType)
{
    if (dirType != ResultPath::Project || projectId <= 0)
        return openSet(dirType == ResultPath::Project ? Set::Projects : Set::Common);
    (new EnvSet(projectId, tr("项目 %1").arg(projectId), softwareType, this))->open();
}

void MainWindow::leftFoldClick()
{
    setFolded(!m_menu->folded());
    UserInfo::setAllValue(QStringLiteral("Window"), QStringLiteral("folded"), m_menu->folded() ? 1 : 0);
}

void MainWindow::setFolded(bool on)
{
    m_menu->setFolded(on);
    m_fold->setIcon(IconTool::icon(on ? QStringLiteral("foldR") : QStringLiteral("foldL"), 20));
    m_fold->setToolTip(on ? tr("展开菜单") : tr("收起菜单"));
    m_fold->setAccessibleName(m_fold->toolTip());
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
    delete m_set;
    event->accept();
}
