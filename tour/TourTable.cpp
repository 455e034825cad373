#include "TourTable.h"
#include "common/facts/SceneState.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/MsgTool.h"
#include "db/ResolveDAO.h"
#include "resolve/cloud/CloudModel.h"
#include "view/DownCover.h"
#include "view/driver/cloud/MayaD.h"
#include "view/driver/cloud/MDW.h"
#include "view/driver/cloud/ResolveD.h"
#include "view/driver/cloud/SubmitMayaD.h"
#include "view/EnvPre.h"
#include "view/Login.h"
#include "view/MainWindow.h"
#include "view/MsgCenter.h"
#include "view/Resolve.h"
#include "view/ResolvePri.h"
#include "view/ResolveWarn.h"
#include "view/SceneInfo.h"
#include "view/ShortCuts.h"
#include "view/Transfer.h"
#include <QApplication>
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

EnvPre *env(int software, int count, QWidget *window)
{
    QStringList files;
    for (int i = 0; i < count; ++i)
        files << QStringLiteral("/projects/valley/scenes/") +
                     (i == 0 ? Stage::longName(i) : QStringLiteral("shot_%1").arg(i));
    return new EnvPre(software, files, 10, window);
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
        dialog("ResolveD", over([](Stage &, QWidget *w) {
                   auto *host = new DialogFrame(QStringLiteral("drive"), QStringLiteral("VandrelQN"), w);
                   host->setWanted({912, 460});
                   auto *page = new ResolveD(host);
                   host->content()->addWidget(page, 1);
                   host->addButton(QStringLiteral("OK"), DialogFrame::Close);
                   QTimer::singleShot(300, page, [page] { page->allFile(cloudRows()); });
                   return host;
               })),
        dialog("MayaD", over([](Stage &, QWidget *w) { return new MayaD(analysed(30), w); })),
        dialog("SubmitMayaD", over([](Stage &, QWidget *w) { return new SubmitMayaD(analysed(2), 10, w); })),
        dialog("MDW", over([](Stage &, QWidget *w) {
                   auto *submit = new SubmitMayaD(analysed(30), 10, w);
                   QTimer::singleShot(300, submit, [submit] { submit->cells().first()->showEdit(); });
                   return submit;
               })),
        dialog("ShortCuts",
               [](Stage &s) {
                   scenes(s);
                   s.window()->showShortCuts();
                   return static_cast<QWidget *>(s.window()->findChild<ShortCuts *>());
               }),
        dialog("question-delete", [](Stage &s) { return question(s, "delete"); }),
        dialog("question-commit", [](Stage &s) { return question(s, "commit"); }),
    };
    return table;
}
