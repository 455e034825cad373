#include "view/PageTable.h"
#include "common/facts/Command.h"
#include "common/ui/TrayIcon.h"
#include "view/AccountFacts.h"
#include "view/driver/MainDriver.h"
#include "view/EngineVoice.h"
#include "view/PluginManager.h"
#include "view/PushRouter.h"
#include "view/Resolve.h"
#include "view/Shell.h"
#include "view/task/History.h"
#include "view/task/Mission.h"
#include "view/task/MissionSub.h"
#include "view/task/TaskVoice.h"
#include "view/Transfer.h"
#include "view/WebPanel.h"
#include <QCoreApplication>

namespace
{
constexpr int Deposit = 3; // kind of link
constexpr int DriveCame = 11201, DriveGood = 1120198;

QWidget *makeResolve(Shell *shell)
{
    auto *page = new Resolve(shell->window());
    const EngineVoice *voice = shell->voice();
    QObject::connect(shell, &Shell::analysisStands, page, [page](ResolveScan *scan) {
        QObject::connect(scan, &ResolveScan::seeWarn, page, &Resolve::seeWarn);
    });
    QObject::connect(shell->account(), &AccountFacts::balanceChanged, page,
                     [page](const QString &, double amount) { page->setBalance(amount); });
    QObject::connect(shell->account(), &AccountFacts::rolePermChanged, page, &Resolve::rightsChanged);
    QObject::connect(voice, &EngineVoice::ordersChanged, page, &Resolve::refresh);
    QObject::connect(voice, &EngineVoice::projectGiven, page, &Resolve::projectTold);
    QObject::connect(voice, &EngineVoice::scenesGiven, page,
                     [page](int software, const QStringList &scenes, const QString &err) {
                         if (!err.isEmpty())
                             return; // the other program has its answer
                         TrayIcon::instance()->showCurWid();
                         page->backEnvPre(software, scenes, err);
                         page->called();
                     });
    QObject::connect(voice, &EngineVoice::sceneFinished, page, [page](const QJsonObject &order) {
        TrayIcon::instance()->showCurWid();
        page->envpre(order);
    });
    return page;
}

// A task's sub-tasks slide over the list; where there is room its names stay, and another task can be chosen there.
void joinSubTasks(BaseMission *page)
{
    constexpr int Least = 620;
    auto *sub = new MissionSub(page);
    RecordView *view = page->table()->view();
    sub->setPlace([page, view] {
        const int left = view->header()->sectionSize(0) + view->header()->sectionSize(1);
        const QRect whole = page->rect();
        return whole.width() - left < Least ? whole : whole.adjusted(left, view->mapTo(page, QPoint()).y(), 0, 0);
    });
    QObject::connect(page, &BaseMission::detailWanted, sub, &MissionSub::openTask);
    QObject::connect(sub, &MissionSub::listed, page, &BaseMission::learn);
    QObject::connect(view, &RecordView::selectionMoved, sub, [page, view, sub] {
        const TaskRow *row = view->selected().size() == 1 ? page->model()->record(view->selected().first()) : nullptr;
        if (sub->isVisible() && view->hasFocus() && row && row->task.id != sub->task().id)
            sub->openTask(row->task);
    });
    QObject::connect(sub, &MissionSub::missSubHide, page, [page, view] {
        view->setFocus();
        page->delayGetMission();
    });
}

void joinTasks(BaseMission *page, Shell *shell)
{
    joinSubTasks(page);
    QObject::connect(page, &BaseMission::pageWanted, shell, &Shell::showPage);
    QObject::connect(shell->account(), &AccountFacts::rolePermChanged, page, &BaseMission::rightsChanged);
    QObject::connect(shell->account(), &AccountFacts::balanceChanged, page,
                     [page](const QString &, double amount) { page->setBalance(amount); });
    shell->pushes()->on(Command::TaskOver, page, [page](int, const QJsonObject &) { page->delayGetMission(); });
}

QWidget *makeMission(Shell *shell)
{
    auto *page = new Mission(shell->tasks(), shell->window());
    joinTasks(page, shell);
    auto *voice = new TaskVoice(shell->tasks(), page);
    shell->pushes()->on(Command::TaskOver, voice, [voice](int, const QJsonObject &task) { voice->news()->over(task); });
    QObject::connect(voice, &TaskVoice::somethingNew, shell,
                     [shell] { emit shell->mark(QStringLiteral("mission"), true); });
    QObject::connect(voice, &TaskVoice::looked, shell, [shell, page](const QString &id) {
        emit shell->showPage(QStringLiteral("mission"));
        page->openTask(id);
    });
    QObject::connect(shell, &Shell::openTask, page, &BaseMission::openTask);
    return page;
}

QWidget *makeHistory(Shell *shell)
{
    auto *page = new History(shell->tasks(), shell->window());
    joinTasks(page, shell);
    return page;
}

QWidget *makeTransfer(Shell *shell)
{
    auto *page = new Transfer(shell->window());
    const EngineVoice *voice = shell->voice();
    QObject::connect(page, &Transfer::recharge, shell, [shell] { emit shell->openLink(Deposit); });
    QObject::connect(voice, &EngineVoice::queueStands, page, &Transfer::connectDAOView);
    QObject::connect(voice, &EngineVoice::coverAsked, page, &Transfer::downCover);
    QObject::connect(voice, &EngineVoice::balanceMissing, page, &Transfer::downErrorTip);
    QObject::connect(voice, &EngineVoice::spaceMissing, page, [page](const QString &root) {
        // A drive's letter where there is one, else the folder.
        page->downSpace(root.size() > 1 && root.at(1) == QLatin1Char(':') ? root.left(1) : root);
    });
    QObject::connect(voice, &EngineVoice::downloaded, shell,
                     [shell] { emit shell->mark(QStringLiteral("transfer"), true); });
    return page;
}

QWidget *makeDriver(Shell *shell)
{
    auto *page = new MainDriver(shell->window());
    QObject::connect(page, &MainDriver::recharge, shell, [shell] { emit shell->openLink(Deposit); });
    QObject::connect(page, &MainDriver::offeredChanged, shell, &Shell::pagesChanged);
    QObject::connect(shell->voice(), &EngineVoice::queueStands, page, &MainDriver::connectDAOView);
    QObject::connect(shell->account(), &AccountFacts::rolePermChanged, page, &MainDriver::rightsChanged);
    shell->pushes()->on(DriveCame, page, [page](int val, const QJsonObject &told) {
        if (val == DriveGood && told.value(QLatin1String("status")).toVariant().toInt() != 0)
            page->initMainDriver(told, true);
    });
    return page;
}

QWidget *makeWeb(Shell *shell)
{
    auto *page = new WebPanel(shell->window());
    QObject::connect(page, &WebPanel::reLogin, shell, &Shell::reLogin);
    QObject::connect(page, &WebPanel::paid, shell->account(), &AccountFacts::queryMoney);
    return page;
}

QWidget *makePlugins(Shell *shell) { return new PluginManager(shell->window()); }

void openWeb(QWidget *page, Shell *shell, const PageSpec &spec)
{
    static_cast<WebPanel *>(page)->open(spec.text(), shell->webUrl(QLatin1String(spec.address)));
}

const char *const work = QT_TRANSLATE_NOOP("MainWindow", "渲染管理");
const char *const user = QT_TRANSLATE_NOOP("MainWindow", "用户中心");
const char *const help = QT_TRANSLATE_NOOP("MainWindow", "使用帮助");

PageSpec web(const char *group, const char *address, const char *icon, const char *title)
{
    PageSpec spec{address, group, icon, title, 0, address, nullptr, "web", makeWeb};
    spec.shown = openWeb;
    return spec;
}
} // namespace

const QList<PageSpec> &pageTable()
{
    static const QList<PageSpec> table = {
        {"resolve", work, "analyse", QT_TRANSLATE_NOOP("MainWindow", "解析提交"), 1, nullptr, nullptr, nullptr,
         makeResolve, true},
        {"mission", work, "detail", QT_TRANSLATE_NOOP("MainWindow", "任务管理"), 2, nullptr, nullptr, nullptr,
         makeMission, true},
        {"transfer", work, "transfer", QT_TRANSLATE_NOOP("MainWindow", "传输管理"), 3, nullptr, nullptr, nullptr,
         makeTransfer, true},
        {"history", work, "file", QT_TRANSLATE_NOOP("MainWindow", "历史任务"), 4, nullptr, nullptr, nullptr,
         makeHistory},
        {"driver", work, "drive", QT_TRANSLATE_NOOP("MainWindow", "我的云盘"), 5, nullptr, MainDriver::offered, nullptr,
         makeDriver, true},
        web(user, "personalCenterUrl", "user", QT_TRANSLATE_NOOP("MainWindow", "个人中心")),
        web(user, "rechargeCenterUrl", "wallet", QT_TRANSLATE_NOOP("MainWindow", "充值中心")),
        web(user, "vipCenterUrl", "star", QT_TRANSLATE_NOOP("MainWindow", "会员购买")),
        {"plugins", help, "plugin", QT_TRANSLATE_NOOP("MainWindow", "插件管理"), 0, nullptr, nullptr, nullptr,
         makePlugins},
        web(help, "renderGuideUrl", "help", QT_TRANSLATE_NOOP("MainWindow", "渲染指南")),
        web(help, "netTestUrl", "globe", QT_TRANSLATE_NOOP("MainWindow", "网络诊断")),
    };
    return table;
}

QString PageSpec::text() const { return QCoreApplication::translate("MainWindow", title); }
QString PageSpec::groupText() const { return QCoreApplication::translate("MainWindow", group); }

bool PageSpec::possible(const Shell *shell) const
{
    return (!right || right()) && (!address || !shell->link(QLatin1String(address)).isEmpty());
}
