#include "TourTable.h"
#include "common/CommonConfig.h"
#include "common/facts/SceneState.h"
#include "common/facts/SoftwareType.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "db/ResolveDAO.h"
#include "DriverTour.h"
#include "resolve/cloud/CloudModel.h"
#include "Samples.h"
#include "view/CommitPreview.h"
#include "view/DownCover.h"
#include "view/driver/CheckTree.h"
#include "view/driver/cloud/MayaD.h"
#include "view/driver/cloud/MDW.h"
#include "view/driver/cloud/ResolveD.h"
#include "view/driver/cloud/SubmitMayaD.h"
#include "view/driver/DriveConflict.h"
#include "view/driver/DriveSet.h"
#include "view/driver/MainDriver.h"
#include "view/EnvPre.h"
#include "view/frames/FrameView.h"
#include "view/frames/LogView.h"
#include "view/Login.h"
#include "view/MainWindow.h"
#include "view/MsgCenter.h"
#include "view/PluginManager.h"
#include "view/render/KeyFrame.h"
#include "view/render/ParameterDialog.h"
#include "view/Resolve.h"
#include "view/ResolvePri.h"
#include "view/ResolveWarn.h"
#include "view/SceneInfo.h"
#include "view/set/EnvNew.h"
#include "view/set/EnvSet.h"
#include "view/set/ProjectNew.h"
#include "view/set/ResultRule.h"
#include "view/set/Set.h"
#include "view/ShortCuts.h"
#include "view/task/BaseMission.h"
#include "view/task/FillFrames.h"
#include "view/task/Mission.h"
#include "view/task/MissionPart.h"
#include "view/task/MissionPri.h"
#include "view/task/MissionSub.h"
#include "view/task/MissionSubDialogs.h"
#include "view/task/MissonBlock.h"
#include "view/task/ModifyEnv.h"
#include "view/task/NodeLimit.h"
#include "view/task/PauseRender.h"
#include "view/task/Preview.h"
#include "view/task/TakeOver.h"
#include "view/Transfer.h"
#include "view/update/CVersionManager.h"
#include "view/update/SoftwareProgressBar.h"
#include "view/update/SoftwareUpdateManager.h"
#include "view/WebPanel.h"
#include <QApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QPushButton>
#include <QTimer>
#include <QTreeView>

namespace
{
using When = TourStop::When;
using Bring = std::function<QWidget *(Stage &)>;

TourStop dialog(const char *name, Bring bring, When when = TourStop::FullOnly)
{
    return {name, when, std::move(bring)};
}

// A dialog that stands over the main window, opened as the pages open it.
template <class Make> Bring over(Make make)
{
    return [make](Stage &stage) -> QWidget * {
        auto *window = make(stage, stage.window());
        window->open();
        return window;
    };
}

Bring tab(int number, bool open = false)
{
    return [number, open](Stage &stage) -> QWidget * {
        stage.window()->showPage(QStringLiteral("transfer"));
        stage.transfer()->initDAOView(number);
        if (open && Stage::wait([&] { return stage.transfer()->model(number == 0)->rowCount() > 0; }, 3000))
            stage.transfer()->expandMiss(0, 0);
        return stage.window();
    };
}

QWidget *scenes(Stage &stage)
{
    stage.window()->showPage(QStringLiteral("resolve"));
    return stage.window();
}

QWidget *plugins(Stage &stage)
{
    for (const char *version : {"maya/2022", "maya/2024", "houdini19.5", "houdini20.5"}) // of the stage's own home
        QDir().mkpath(QDir::homePath() + QLatin1Char('/') + QLatin1String(version) + QStringLiteral("/x"));
    stage.window()->showPage(QStringLiteral("plugins"));
    auto *page = stage.window()->findChild<PluginManager *>();
    Stage::wait([page] { return !page->table()->view()->records()->keys().isEmpty(); }, 1000);
    return stage.window();
}

QWidget *chosenScenes(Stage &stage)
{
    scenes(stage);
    RecordView *view = stage.resolve()->table()->view();
    view->select(view->records()->keys().mid(0, 3));
    return stage.window();
}

QWidget *question(Stage &stage, const char *act)
{
    chosenScenes(stage);
    QAction *action = stage.resolve()->table()->acts()->action(QLatin1String(act));
    if (!action->isEnabled())
        return nullptr;
    action->trigger();
    Stage::wait([] { return QApplication::activeModalWidget() != nullptr; }, 3000);
    return QApplication::activeModalWidget();
}

// What waits can't lie in the store: a queue would take it up. The store's answer is given instead.
ResolvePri *priorities(int type, int count, QWidget *window)
{
    auto *dialog = new ResolvePri(type, window);
    QList<db_resolve> rows;
    for (int i = 0; i < count; ++i) {
        db_resolve one;
        one.rkey = i + 1;
        one.state = type == 0 ? SceneState::Waiting : SceneState::UploadWaiting;
        one.lpath = QStringLiteral("/scenes/") + (i % 3 ? QStringLiteral("shot_%1.tgd").arg(i) : Stage::longName(i));
        one.project = QStringLiteral("valley");
        one.ordernum = QStringLiteral("20261121%1").arg(i, 6, 10, QLatin1Char('0'));
        rows << one;
    }
    QTimer::singleShot(100, dialog, [rows] { emit ResolveDAO::instance()->allReswait(rows); });
    return dialog;
}

// As a farm's analysis leaves it.
db_resolve analysed(int layers)
{
    QJsonArray list;
    for (int i = 0; i < layers; ++i)
        list.append(QJsonObject{{"layer", i == 1 ? Stage::longName(i) : QStringLiteral("layer_%1").arg(i)},
                                {"frames", QStringLiteral("1-250")},
                                {"reslution", QJsonArray{1920, 1080}},
                                {"cameras", QJsonArray{QStringLiteral("persp"), QStringLiteral("shot_cam")}}});
    db_resolve res;
    res.rkey = 1;
    res.state = SceneState::Clean;
    res.filetype = 1;
    res.lpath = QStringLiteral("D/projects/valley/scenes/") + Stage::longName(3) + QStringLiteral("shot.ma");
    const QJsonObject rdata{{"modelParameters", QJsonObject{{"layers", list}}}};
    res.rdata = QString::fromUtf8(QJsonDocument(rdata).toJson(QJsonDocument::Compact));
    return CloudModel::opened(res);
}

QList<db_resolve> cloudRows()
{
    QList<db_resolve> rows;
    for (int state : {100, 101, 101, 103, 104, 105, 106, 107, 109, 120}) {
        db_resolve one = analysed(1);
        one.rkey = 500 + rows.size();
        one.state = state;
        one.rtime = 1790000000000;
        one.etime = state > 101 ? 1790000100000 : 0;
        if (rows.size() % 3 == 1)
            one.lpath = QStringLiteral("D/projects/shot_%1.ma").arg(rows.size());
        if (rows.size() == 2 || state == 104)
            one.errstr = QStringLiteral("out of memory");
        rows << one;
    }
    return rows;
}

QWidget *analyses(Stage &stage)
{
    DriverTour::page(stage);
    DriverTour::driver(stage)->showPart(MainDriver::Analyses);
    if (stage.filled()) {
        Stage::settle(300); // the store's own answer: there is nothing
        DriverTour::driver(stage)->findChild<ResolveD *>()->allFile(cloudRows());
    }
    return stage.window();
}

EnvPre *env(int software, int count, QWidget *window)
{
    QStringList files;
    for (int i = 0; i < count; ++i)
        files << QStringLiteral("/projects/valley/scenes/") +
                     (i == 0 ? Stage::longName(i) : QStringLiteral("shot_%1").arg(i));
    return new EnvPre(software, files, 10, window);
}

Bring settings(int page)
{
    return over([page](Stage &, QWidget *window) {
        auto *set = new Set(window);
        set->showPage(page);
        return set;
    });
}

QJsonObject environment(const QString &software)
{
    return {{"id", 108}, {"software", software}, {"plugins", QJsonArray()}, {"startGpu", 1}};
}

TourStop parameters(const char *name, int softwareType)
{
    return dialog(name, over([softwareType](Stage &, QWidget *window) {
                      return ParameterDialog::make(
                          ParameterDialog::read(Samples::scene(softwareType), CommonConfig::get()), window);
                  }));
}

QWidget *keyFrames(Stage &stage)
{
    QWidget *window = nullptr;
    for (int i = 0; i < 30; ++i)
        window = KeyFrame::tell(stage.window(), {{"missionId", 7 + i},
                                                 {"name", i ? QStringLiteral("shot_%1").arg(i) : Stage::longName(i)},
                                                 {"remainHour", 48}});
    return window;
}

Bring preview(bool troubled)
{
    return over([troubled](Stage &, QWidget *window) {
        CommitPreview::Wish wish;
        wish.heading = Stage::longName(6);
        wish.danger = troubled;
        wish.question = troubled ? Resolve::tr("批量提交无法修改参数，确定提交吗？") : QString();
        wish.others = 12;
        auto *panel = new CommitPreview(wish, window);
        QObject::disconnect(panel->preflight(), nullptr, panel, nullptr); // the sample's figures stay
        panel->tell(Samples::figures(troubled));
        return panel;
    });
}

Bring frames(bool sheet, bool compared)
{
    return [=](Stage &stage) -> QWidget * {
        auto *view = FrameView::open(stage.window(), Samples::frames(stage.home(), QStringLiteral("valley")));
        if (compared)
            view->compareWith(Samples::frames(stage.home(), QStringLiteral("other")));
        view->setSheet(sheet);
        return view;
    };
}

// Nothing is fetched: there is no program beside this one that could.
SoftwareUpdateManager *updates(QWidget *window)
{
    return new SoftwareUpdateManager({QStringLiteral("/nonexistent"), QStringLiteral("/nonexistent"), {}}, window);
}

QWidget *webPage(Stage &stage, bool good)
{
    stage.farm().faults().set(QStringLiteral("http-status"), good ? QString() : QStringLiteral("404"));
    const QStringList pages{QStringLiteral("renderGuideUrl"), QStringLiteral("netTestUrl")};
    stage.window()->showPage(pages.at(good ? 0 : 1));
    Stage::settle(600);
    stage.farm().faults().set(QStringLiteral("http-status"), {});
    return stage.window();
}
// A task of the farm's, opened on the page of tasks; null where it doesn't come.
MissionSub *subTasks(Stage &stage, const char *name)
{
    const auto idOf = [&] {
        for (const FarmOrder &order : stage.farm().orders())
            if (order.name == QLatin1String(name))
                return QString::number(order.missionId);
        return QString();
    };
    if (idOf().isEmpty())
        stage.farm().fillTasks();
    stage.window()->showPage(QStringLiteral("mission"));
    auto *page = stage.window()->findChild<Mission *>();
    auto *sub = page ? page->findChild<MissionSub *>() : nullptr;
    if (!sub)
        return nullptr;
    const QString id = idOf();
    page->openTask(id);
    return Stage::wait([&] { return sub->task().id == id && sub->model()->rowCount() > 0; }, 5000) ? sub : nullptr;
}

QWidget *chosenFrames(Stage &stage)
{
    MissionSub *sub = subTasks(stage, "ocean_fx_v12.hip");
    if (sub)
        sub->table()->view()->select(sub->model()->keys().mid(0, 2));
    return sub ? stage.window() : nullptr;
}

QWidget *blocks(Stage &stage)
{
    MissionSub *sub = subTasks(stage, "coast_dawn.tgd");
    for (const QString &key : sub ? sub->model()->keys() : QStringList())
        if (sub->model()->record(key)->blocks > 0) {
            emit sub->table()->view()->linkClicked(key, QStringLiteral("blocks"));
            Stage::wait([&] { return sub->blocks() && sub->blocks()->model()->rowCount() > 0; }, 5000);
            return stage.window();
        }
    return nullptr;
}

Bring ofFrames(QWidget *(*bring)(MissionSub *sub))
{
    return [bring](Stage &stage) -> QWidget * {
        MissionSub *sub = subTasks(stage, "lobby_day_v03.max");
        QWidget *window = sub ? bring(sub) : nullptr;
        Stage::settle(1500); // pictures and texts come from the farm
        if (sub)
            sub->back();
        return window;
    };
}

QWidget *framePreview(MissionSub *sub) { return sub->previewClick(sub->model()->keys().first()); }
QWidget *frameLog(MissionSub *sub) { return sub->logHand(sub->model()->keys().first()); }
QWidget *taskDetail(MissionSub *sub) { return MissionText::detail(sub, sub->task().id, sub->task().name); }
QWidget *taskRecord(MissionSub *sub) { return MissionText::operations(sub, sub->task().id, sub->task().name); }
BaseMission *tasksPage(Stage &stage, const char *name)
{
    stage.window()->showPage(QLatin1String(name));
    auto *page = stage.window()->findChild<BaseMission *>(qstrcmp(name, "mission") == 0 ? QStringLiteral("Mission")
                                                                                        : QStringLiteral("History"));
    Stage::wait([&] { return page->answered() && (!stage.filled() || page->model()->rowCount() > 0); }, 5000);
    return page;
}

Bring tasks(const char *name)
{
    return [name](Stage &stage) -> QWidget * {
        RecordView *view = tasksPage(stage, name)->table()->view();
        view->select(view->records()->keys().mid(0, 1));
        return stage.window();
    };
}

// A dialog over tasks of the page, with what the farm tells of them.
Bring overTasks(std::function<QWidget *(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *window)> make)
{
    return [make](Stage &stage) -> QWidget * {
        BaseMission *page = tasksPage(stage, "mission");
        QList<TaskRecord> some;
        const QStringList keys = page->model()->keys();
        for (const QString &key : keys)
            if (const TaskRow *row = page->model()->record(key); row->task.software == 1)
                some << row->task;
        QWidget *made = nullptr;
        bool asked = false;
        TaskDetail::ask(some, page, [&](const QList<TaskDetail> &details, const QString &) {
            asked = true;
            if (!details.isEmpty())
                made = make(details, stage.window()->findChild<TaskDesk *>(), stage.window());
        });
        Stage::wait([&] { return asked || some.isEmpty(); }, 5000);
        if (auto *dialog = qobject_cast<BaseWidget *>(made))
            dialog->open();
        return made;
    };
}

QList<TaskRecord> recordsOf(const QList<TaskDetail> &details)
{
    QList<TaskRecord> out;
    for (const TaskDetail &one : details)
        out << one.task;
    return out;
}
} // namespace

const QList<TourStop> &tourTable()
{
    static const QList<TourStop> table = {
        {"resolve", TourStop::Both, scenes, true},
        {"resolve-chosen", TourStop::FullOnly, chosenScenes, true},
        {"transfer-up", TourStop::Both, tab(0, true), true},
        {"transfer-down", TourStop::Both, tab(1, true), true},
        {"transfer-done", TourStop::Both, tab(2), true},
        {"transfer-drive", TourStop::Both, tab(3), true},
        {"plugins", TourStop::FullOnly, plugins, true},
        {"driver", TourStop::Both, DriverTour::page, true},
        {"driver-small", TourStop::FullOnly, DriverTour::small, true},
        {"driver-results", TourStop::FullOnly, DriverTour::results, true},
        {"driver-search", TourStop::FullOnly, DriverTour::search, true},
        dialog("AddDriver", [](Stage &s) { return DriverTour::dialog(s, "addDrv"); }),
        dialog("FileProperty", [](Stage &s) { return DriverTour::dialog(s, "property"); }),
        dialog("MoveFarmFile", [](Stage &s) { return DriverTour::dialog(s, "move"); }),
        dialog("driver-delete", [](Stage &s) { return DriverTour::dialog(s, "delete"); }),
        dialog("AddFarm", DriverTour::addFarm),
        {"driver-transfers", TourStop::Both, [](Stage &s) { return DriverTour::transfers(s, 2); }, true},
        {"driver-fetched", TourStop::FullOnly, [](Stage &s) { return DriverTour::transfers(s, 3); }, true},
        {"driver-over", TourStop::FullOnly, [](Stage &s) { return DriverTour::transfers(s, 4); }, true},
        dialog("CheckTree", over([](Stage &, QWidget *w) {
                   DriveCheck::Pair pair;
                   pair.lpath = QStringLiteral("/no such folder");
                   pair.dpath = QStringLiteral("D/valley");
                   return new CheckTree({}, pair, w);
               })),
        dialog("DriveSet", over([](Stage &, QWidget *w) { return new DriveSet(w); })),
        dialog("DriveConflict", over([](Stage &, QWidget *w) {
                   return new DriveConflict(1, QStringLiteral("/results/") + Stage::longName(3), w);
               })),
        {"mission", TourStop::Both, tasks("mission"), true},
        {"history", TourStop::Both, tasks("history"), true},
        dialog("PauseRender", over([](Stage &, QWidget *w) { return new PauseRender(w); })),
        dialog("NodeLimit", overTasks([](const QList<TaskDetail> &d, TaskDesk *desk, QWidget *w) {
                   return new NodeLimit(NodeLimit::Limit, recordsOf(d), desk, w);
               })),
        dialog("NodeLimit-remark", overTasks([](const QList<TaskDetail> &d, TaskDesk *desk, QWidget *w) {
                   return new NodeLimit(NodeLimit::Remark, recordsOf(d).mid(0, 1), desk, w);
               })),
        dialog("TakeOver", overTasks([](const QList<TaskDetail> &d, TaskDesk *desk, QWidget *w) {
                   return new TakeOver(recordsOf(d), desk, w);
               })),
        dialog("MissionPri", overTasks([](const QList<TaskDetail> &d, TaskDesk *desk, QWidget *w) {
                   return new MissionPri(d.first().task.farmId, d.first().task.id, desk, w);
               })),
        dialog("ModifyEnv", overTasks([](const QList<TaskDetail> &d, TaskDesk *desk, QWidget *w) {
                   return new ModifyEnv(d, desk, w);
               })),
        dialog("MayaFillFrame", overTasks([](const QList<TaskDetail> &d, TaskDesk *desk, QWidget *w) {
                   return BaseFill::make(1, d, desk, w);
               })),
        dialog("MissionPart",
               [](Stage &stage) -> QWidget * {
                   auto *part = new MissionPart(tasksPage(stage, "mission")->table()->view(),
                                                QStringLiteral("mission4"), stage.window());
                   part->open();
                   return part;
               }),
        dialog("MsgCenter", over([](Stage &, QWidget *w) { return new MsgCenter(w); }), TourStop::Both),
        dialog("EnvPre-maya", over([](Stage &, QWidget *w) { return env(1, 30, w); })),
        dialog("EnvPre-terragen", over([](Stage &, QWidget *w) { return env(8, 1, w); })),
        dialog("ResolvePri-analysis", over([](Stage &s, QWidget *w) { return priorities(0, s.filled() ? 200 : 0, w); }),
               TourStop::Both),
        dialog("ResolvePri-upload", over([](Stage &, QWidget *w) { return priorities(1, 200, w); })),
        dialog("ResolveWarn",
               over([](Stage &s, QWidget *w) { return new ResolveWarn(s.scene(SceneState::Warned), w); })),
        dialog("SceneInfo", over([](Stage &s, QWidget *w) { return new SceneInfo(s.scene(SceneState::Clean), w); })),
        dialog("DownCover", over([](Stage &, QWidget *w) {
                   return new DownCover(7, Stage::longName(7), QStringLiteral("1-250, 300"), w);
               })),
        {"driver-analyses", TourStop::Both, analyses, true},
        dialog("MayaD", over([](Stage &, QWidget *w) {
                   return new MayaD(ParameterDialog::read(analysed(30), CommonConfig::get()), w);
               })),
        dialog("SubmitMayaD", over([](Stage &, QWidget *w) {
                   return new SubmitMayaD(ParameterDialog::read(analysed(2), CommonConfig::get()), 10, w);
               })),
        dialog("MDW", over([](Stage &, QWidget *w) {
                   auto *submit = new SubmitMayaD(ParameterDialog::read(analysed(30), CommonConfig::get()), 10, w);
                   QTimer::singleShot(300, submit, [submit] { submit->cells().first()->showEdit(); });
                   return submit;
               })),
        {"sub-tasks", TourStop::FullOnly, chosenFrames, true},
        {"sub-tasks-blocks", TourStop::FullOnly, blocks, true},
        dialog("Preview", ofFrames(framePreview)),
        dialog("sub-task-log", ofFrames(frameLog)),
        dialog("MissionText-detail", ofFrames(taskDetail)),
        dialog("MissionText-operations", ofFrames(taskRecord)),
        dialog("ShortCuts",
               [](Stage &s) {
                   scenes(s);
                   s.window()->showShortCuts();
                   return static_cast<QWidget *>(s.window()->findChild<ShortCuts *>());
               }),
        dialog("question-delete", [](Stage &s) { return question(s, "delete"); }),
        dialog("question-commit", [](Stage &s) { return question(s, "commit"); }),
        dialog("CommitPreview", preview(false)),
        dialog("CommitPreview-trouble", preview(true)),
        dialog("Set-common", settings(Set::Common)),
        dialog("Set-advanced", settings(Set::Advanced)),
        dialog("Set-projects", settings(Set::Projects), TourStop::Both),
        dialog("ResultRule",
               over([](Stage &, QWidget *w) { return new ResultRule(QStringLiteral("%project%/%order%"), w); })),
        dialog("ProjectNew", over([](Stage &, QWidget *w) { return new ProjectNew(w); })),
        dialog("EnvSet",
               over([](Stage &, QWidget *w) { return new EnvSet(1, Stage::longName(9), SoftwareType::Terragen, w); })),
        dialog("EnvNew-new", over([](Stage &, QWidget *w) { return new EnvNew(1, SoftwareType::Maya, {}, w); })),
        dialog("EnvNew-change", over([](Stage &, QWidget *w) {
                   return new EnvNew(1, SoftwareType::Terragen, environment(QStringLiteral("Terragen 4.5")), w);
               })),
        parameters("Maya", SoftwareType::Maya),
        parameters("Max", SoftwareType::Max),
        parameters("Houdini", SoftwareType::Houdini),
        parameters("C4D", SoftwareType::Cinema4D),
        parameters("Clarisse", SoftwareType::Clarisse),
        parameters("Terragen", SoftwareType::Terragen),
        dialog("KeyFrame", keyFrames),
        dialog("FrameView", frames(false, false)),
        dialog("FrameView-compared", frames(false, true)),
        dialog("ContactSheet", frames(true, false)),
        dialog("LogView",
               [](Stage &s) -> QWidget * {
                   return LogView::open(s.window(), QStringLiteral("frame 17"), Samples::log(s.home()));
               }),
        dialog("CVersionManager",
               over([](Stage &, QWidget *w) { return new CVersionManager(Samples::software(), false, w); })),
        dialog("CVersionManager-forced",
               over([](Stage &, QWidget *w) { return new CVersionManager(Samples::software(), true, w); }))
            .stays(),
        dialog("SoftwareProgressBar", over([](Stage &, QWidget *w) {
                   return new SoftwareProgressBar(updates(w), Samples::software().versions.mid(0, 3), w);
               })),
        dialog("SoftwareProgressBar-failed", over([](Stage &, QWidget *w) {
                   auto *bar = new SoftwareProgressBar(updates(w), Samples::software().versions.mid(0, 3), w);
                   bar->begin();
                   return bar;
               })),
        {"web-page", TourStop::FullOnly, [](Stage &s) { return webPage(s, true); }, true},
        {"web-error", TourStop::FullOnly, [](Stage &s) { return webPage(s, false); }, true},
    };
    return table;
}
