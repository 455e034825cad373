#pragma once
// The page "我的云盘" over a living farm in this process, and hands for it.
#include "common/Session.h"
#include "common/ui/kit/Notes.h"
#include "io/NetWork.h"
#include "set/FarmRig.h"
#include "support/DriveQueues.h"
#include "view/driver/AddFarm.h"
#include "view/driver/DriverPath.h"
#include "view/driver/DriveTree.h"
#include "view/driver/FarmPage.h"
#include "view/driver/FolderModel.h"
#include "view/driver/MainDriver.h"
#include "view/driver/ThumbStore.h"
#include <QAction>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDropEvent>
#include <QFileDialog>
#include <QMimeData>
#include <QScrollBar>
#include <QToolButton>

class DriverRig : public FarmRig
{
public:
    DriverRig()
    {
        static int user = 2000; // settings of its own
        ::account(++user);
        NetWork::create();
        NetWork::instance()->forgetDrives();
    }
    // A login and the page as the account's data open it.
    bool open()
    {
        if (!login())
            return false;
        window.reset(new QWidget);
        window->resize(900, 560);
        main = new MainDriver(window.get());
        main->setGeometry(window->rect());
        main->initMainDriver(FarmRig::account, false);
        window->show();
        activate(window.get());
        main->setFocus(); // as the main window does
        return settled();
    }
    bool startQueues() { return m_queues.start(folder.path()); }
    ~DriverRig()
    {
        window.reset();
        m_queues.stop();
    }
    QString local(const QString &path) const { return folder.filePath(path); }
    bool write(const QString &path, const QByteArray &content) const
    {
        QDir().mkpath(QFileInfo(local(path)).path());
        QFile file(local(path));
        return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(content) == content.size();
    }
    QByteArray read(const QString &path) const
    {
        QFile file(local(path));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    // Chooses a folder in the dialog that is open.
    bool pick(const QString &path) const
    {
        auto *dialog = topLevel<QFileDialog>();
        if (!dialog)
            return false;
        dialog->setDirectory(local(path));
        dialog->findChild<QLineEdit *>()->setText(local(path));
        dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->click();
        return comes([] { return !topLevel<QFileDialog>(); });
    }

    FarmPage *page() const { return main->page(); }
    FolderModel *model() const { return page()->model(); }
    bool settled() const
    {
        return comes([this] { return page() && !page()->busy(); });
    }
    QStringList names() const
    {
        QStringList all;
        for (int row = 0; row < model()->rowCount(); ++row)
            all << DriveText::name(model()->at(row));
        return all;
    }
    bool shows(const QStringList &wanted) const
    {
        if (!comes([&] { return !page()->busy() && names() == wanted; }))
            qWarning() << names() << page()->error() << message();
        return names() == wanted && !page()->busy();
    }
    QString idOf(const QString &name) const
    {
        for (int row = 0; row < model()->rowCount(); ++row)
            if (model()->at(row).name == name)
                return model()->at(row).id;
        return {};
    }
    void front() const // a dialog that goes takes the keys along
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!window->isActiveWindow())
            activate(window.get());
    }
    void choose(const QStringList &wanted) const
    {
        front();
        page()->view()->clearSelection();
        for (const QString &name : wanted)
            page()->view()->selectionModel()->select(model()->indexOf(idOf(name)), QItemSelectionModel::Select | QItemSelectionModel::Rows);
        page()->view()->selectionModel()->setCurrentIndex(model()->indexOf(idOf(wanted.first())), QItemSelectionModel::NoUpdate);
        page()->view()->setFocus();
    }
    // Into a folder that is seen, as Enter does it.
    bool enter(const QString &name) const
    {
        choose({name});
        const QString id = idOf(name);
        key(Qt::Key_Return);
        return comes([&] { return page()->folder() == id && !page()->busy(); });
    }
    void key(int key, Qt::KeyboardModifiers with = {}) const
    {
        front();
        QTest::keyClick(page()->view(), Qt::Key(key), with);
    }
    QLineEdit *editor() const
    {
        for (auto *edit : page()->findChildren<QLineEdit *>())
            if (edit->objectName().startsWith("itemEdit_") && edit->isVisible())
                return edit;
        return nullptr;
    }
    // Types over the name that is being edited; end: Return or Escape.
    bool typeName(const QString &text, int end = Qt::Key_Return) const
    {
        if (!comes([this] { return editor() != nullptr; }))
            return false;
        QLineEdit *edit = editor();
        edit->selectAll();
        edit->insert(text);
        QTest::keyClick(edit, Qt::Key(end));
        return true;
    }
    void act(const char *name) const { page()->action(name)->trigger(); }
    QStringList farmHas(int number = 1) const { return farm.driveFiles(number).keys(); }
    bool comesTo(const QStringList &paths) const
    {
        if (!comes([&] { return farmHas() == paths; }))
            qWarning() << farmHas();
        return farmHas() == paths;
    }
    // Dropped on a place of the view as a hand does it; false: refused.
    bool drop(QMimeData *data, QWidget *viewport, const QPoint &at) const
    {
        QDragEnterEvent in(at, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, {});
        QApplication::sendEvent(viewport, &in);
        QDragMoveEvent over(at, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, {});
        QApplication::sendEvent(viewport, &over);
        if (!over.isAccepted())
            return false;
        QDropEvent down(at, Qt::CopyAction | Qt::MoveAction, data, Qt::LeftButton, {});
        QApplication::sendEvent(viewport, &down);
        return down.isAccepted();
    }
    QPoint placeOf(const QString &name) const { return page()->view()->visualRect(model()->indexOf(idOf(name))).center(); }

    std::unique_ptr<QWidget> window;
    MainDriver *main = nullptr;

private:
    DriveQueues m_queues;
};
