#include "DriverTour.h"
#include "common/facts/FileStates.h"
#include "db/UploadDDAO.h"
#include "view/driver/DriverPath.h"
#include "view/driver/FarmPage.h"
#include "view/driver/FolderModel.h"
#include "view/driver/MainDriver.h"
#include "view/driver/TransferD.h"
#include "view/MainWindow.h"
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>

namespace
{
bool settled(Stage &stage)
{
    const FarmPage *page = DriverTour::driver(stage)->page();
    return page && Stage::wait([page] { return !page->busy(); }, 5000);
}

// Into the first folder of what is seen, as often.
void down(Stage &stage, int steps)
{
    FarmPage *page = DriverTour::driver(stage)->page();
    emit page->path()->driverPathChanged(QLatin1String(SubFile::Root));
    settled(stage);
    for (int i = 0; i < steps && page->model()->rowCount() > 0; ++i) {
        if (page->model()->at(0).isFolder())
            page->driverPathChanged(page->model()->at(0).id);
        settled(stage);
    }
    for (int row = 0; row < qMin(2, page->model()->rowCount()); ++row)
        page->view()->selectionModel()->select(page->model()->index(row, 0),
                                               QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

QWidget *modal()
{
    Stage::wait([] { return QApplication::activeModalWidget() != nullptr; }, 3000);
    return QApplication::activeModalWidget();
}
} // namespace

MainDriver *DriverTour::driver(Stage &stage) { return stage.window()->findChild<MainDriver *>(); }

QWidget *DriverTour::page(Stage &stage)
{
    stage.window()->showPage(QStringLiteral("driver"));
    driver(stage)->showPart(MainDriver::Browser);
    if (FarmPage *page = driver(stage)->page())
        page->setFileType(DriveRest::Input);
    if (settled(stage))
        down(stage, stage.filled() ? 2 : 0);
    return stage.window();
}

QWidget *DriverTour::small(Stage &stage)
{
    page(stage);
    driver(stage)->page()->setThumbnails(true);
    return stage.window();
}

QWidget *DriverTour::results(Stage &stage)
{
    page(stage);
    FarmPage *page = driver(stage)->page();
    page->setFileType(DriveRest::Result);
    settled(stage);
    down(stage, 6); // to the frames
    page->setThumbnails(true);
    Stage::settle(300);
    return stage.window();
}

QWidget *DriverTour::search(Stage &stage)
{
    page(stage);
    driver(stage)->page()->setThumbnails(false);
    driver(stage)->page()->path()->field()->setText(QStringLiteral("file"));
    emit driver(stage)->page()->path()->field()->returnPressed();
    settled(stage);
    return stage.window();
}

QWidget *DriverTour::dialog(Stage &stage, const char *act)
{
    page(stage);
    FarmPage *page = driver(stage)->page();
    if (qstrcmp(act, "addDrv") == 0)
        down(stage, 0);
    if (page->model()->rowCount() > 0)
        page->view()->selectionModel()->select(page->model()->index(0, 0),
                                               QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (!page->action(QLatin1String(act))->isEnabled())
        return nullptr;
    page->action(QLatin1String(act))->trigger();
    return modal();
}

QWidget *DriverTour::addFarm(Stage &stage)
{
    page(stage);
    if (driver(stage)->tabs().size() > 2)
        driver(stage)->farmDel(driver(stage)->tabs().last()->farm().id);
    driver(stage)->on_addFarm_clicked();
    return modal();
}

QWidget *DriverTour::transfers(Stage &stage, int type)
{
    page(stage);
    driver(stage)->showPart(MainDriver::Transfers);
    driver(stage)->initDAOView(type);
    if (!stage.filled())
        return stage.window();
    Stage::settle(300); // the stores' own answer: there is nothing
    using F = FileStates;
    const int states[3][4] = {{F::UpRun, F::UpWait, F::UpPause, F::UpError},
                              {F::DownRun, F::DownWait, F::DownPause, F::DownError},
                              {F::UpDone, F::DownDone, F::UpDone, F::DownDone}};
    QList<db_upfarmD> farms;
    for (int i = 0; i < 4; ++i) {
        db_upfarmD farm;
        farm.pri = i + 1;
        farm.id = 1;
        farm.name = i == 1 ? Stage::longName(i) : QStringLiteral("valley_%1").arg(i);
        farm.lpath = QStringLiteral("/projects/valley/") + farm.name;
        farm.dpath = QStringLiteral("D/valley");
        farm.fok = 120 * i;
        farm.fsum = 600;
        farm.fup = qlonglong(i) << 30;
        farm.fsize = 6LL << 30;
        farm.failed = i == 3 ? 2 : 0;
        farm.state = states[type - 2][i];
        farm.oktime = 1795000000000LL;
        farms << farm;
    }
    UploadDDAO *store = UploadDDAO::instance(type - 1);
    emit store->allFarm(farms);
    emit store->farmSumCount(720, 2400);
    Stage::settle(100);
    return stage.window();
}
