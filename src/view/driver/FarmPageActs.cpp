// What the page does with what is chosen.
#include "common/ui/Background.h"
#include "common/ui/IconTool.h"
#include "common/ui/kit/Notes.h"
#include "common/ui/MsgTool.h"
#include "common/ui/Palette.h"
#include "common/UserInfo.h"
#include "view/AccountFacts.h"
#include "view/driver/AddDriver.h"
#include "view/driver/CheckTree.h"
#include "view/driver/DriveChain.h"
#include "view/driver/DriveInfo.h"
#include "view/driver/DriverPath.h"
#include "view/driver/DriveTree.h"
#include "view/driver/FarmPage.h"
#include "view/driver/FileProperty.h"
#include "view/driver/FolderModel.h"
#include "view/driver/FolderViews.h"
#include "view/driver/MoveFarmFile.h"
#include <memory>
#include <QAction>
#include <QClipboard>
#include <QDebug>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QStackedWidget>

namespace
{
const QString Root = QLatin1String(SubFile::Root);
constexpr int IdsOfOne = 100; // of one request: they stand in its address
constexpr int DownloadRight = 12;
constexpr int MostPaths = 50; // whose place is asked for one by one

QFileDialog *fileDialog(QWidget *over, const QString &title, QFileDialog::FileMode mode)
{
    auto *dialog = new QFileDialog(over->window(), title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(mode);
    if (mode == QFileDialog::Directory)
        dialog->setOption(QFileDialog::ShowDirsOnly);
    return dialog;
}
} // namespace

QAction *FarmPage::add(const char *name, const QString &text, const char *icon, const QKeySequence &keys,
                       std::function<void()> run)
{
    auto *action = new QAction(IconTool::icon(QLatin1String(icon)), text, this);
    action->setObjectName(QLatin1String(name));
    action->setShortcut(keys);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    connect(action, &QAction::triggered, this, run);
    m_actions.insert(QLatin1String(name), action);
    m_order << QLatin1String(name);
    return action;
}

void FarmPage::makeActions()
{
    add("open", tr("打开"), "folder", {}, [this] { openRow(view()->currentIndex()); });
    add("upload", tr("上传"), "upload", {}, [this] { upFile(false); });
    add("uploadDir", tr("上传文件夹"), "upload", {}, [this] { upFile(true); });
    add("download", tr("下载"), "download", {}, [this] { downFile(); });
    add("resolve", tr("解析"), "analyse", {}, [this] { resolveFile(); });
    add("addDrv", tr("新增盘符"), "plus", {}, [this] { addDrv(); });
    add("createDir", tr("创建文件夹"), "plus", QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N), [this] { createDir(); });
    add("rename", tr("重命名"), "edit", QKeySequence(Qt::Key_F2), [this] { renameFile(); });
    add("move", tr("移动"), "move", {}, [this] { moveFile(); });
    add("delete", tr("删除"), "trash", QKeySequence::Delete,
        [this] { m_path->text().isEmpty() ? delDrv() : delFile(); });
    add("copy", tr("复制路径"), "file", QKeySequence::Copy, [this] { copyPaths(); });
    add("place", tr("打开所在文件夹"), "folder", {}, [this] {
        if (const QVector<const FileView *> rows = chosen(); !rows.isEmpty())
            openFolderOf(FileView(*rows.first()));
    });
    add("check", tr("校验"), "check", {}, [this] { checkDir(); });
    add("property", tr("属性"), "info", QKeySequence(Qt::ALT | Qt::Key_Return), [this] { propertyFile(); });
}

void FarmPage::makeKeys()
{
    for (QAction *action : qAsConst(m_actions))
        m_stack->addAction(action);
    const auto key = [this](QWidget *where, const QKeySequence &keys, const std::function<void()> &run) {
        auto *action = new QAction(where);
        action->setShortcut(keys);
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        connect(action, &QAction::triggered, this, run);
        where->addAction(action);
    };
    key(m_stack, QKeySequence(Qt::Key_Backspace), [this] { m_path->on_up_clicked(); });
    key(this, QKeySequence(Qt::ALT | Qt::Key_Left), [this] { m_path->on_back_clicked(); });
    key(this, QKeySequence(Qt::ALT | Qt::Key_Right), [this] { m_path->on_forward_clicked(); });
    key(this, QKeySequence(Qt::ALT | Qt::Key_Up), [this] { m_path->on_up_clicked(); });
    key(this, QKeySequence(Qt::Key_F5), [this] { refresh(); });
    key(this, QKeySequence::Find, [this] {
        m_path->field()->setFocus();
        m_path->field()->selectAll();
    });
}

QVector<const FileView *> FarmPage::chosen() const
{
    QVector<const FileView *> rows;
    const QItemSelection selection = m_table->selectionModel()->selection();
    rows.reserve(selection.isEmpty() ? 0 : m_model->rowCount());
    for (const QItemSelectionRange &range : selection)
        if (range.left() == 0)
            for (int row = range.top(); row <= range.bottom(); ++row)
                rows << &m_model->at(row);
    return rows;
}

QStringList FarmPage::chosenIds() const
{
    QStringList ids;
    const QVector<const FileView *> rows = chosen();
    for (const FileView *row : rows)
        ids << row->id;
    return ids;
}

DriveRules::Acts FarmPage::acts(const QVector<const FileView *> &rows) const
{
    DriveRules::Where where;
    where.fileType = m_type;
    where.root = m_folder == Root;
    where.search = m_path->searching();
    where.upload = UserInfo::canUpload();
    where.download = UserInfo::perm(DownloadRight);
    where.analyse = UserInfo::canAnalyse();
    return DriveRules::judgeAction(rows, where);
}

void FarmPage::itemSelectChanged() { followSelection(); }

void FarmPage::followSelection()
{
    if (!m_table)
        return;
    const QVector<const FileView *> rows = chosen();
    const DriveRules::Acts can = acts(rows);
    const bool root = m_folder == Root && !m_path->searching(), input = m_type == DriveRest::Input;
    const auto set = [this](const char *name, bool enabled, bool visible = true) {
        m_actions.value(QLatin1String(name))->setEnabled(enabled);
        m_actions.value(QLatin1String(name))->setVisible(visible);
    };
    set("open", rows.size() == 1 && rows.first()->isFolder());
    set("upload", can.upload, input && !root);
    set("uploadDir", can.upload, input && !root);
    set("download", can.download, !(root && input));
    set("resolve", can.submit, input && !root);
    set("addDrv", can.addDisk, input && root);
    set("createDir", can.create, input && !root);
    set("rename", can.rename, input);
    m_actions.value(QStringLiteral("rename"))->setText(root ? tr("修改") : tr("重命名"));
    set("move", can.move, input && !root);
    set("delete", can.remove);
    set("copy", !rows.isEmpty());
    set("place", rows.size() == 1, m_path->searching());
    set("check", can.check && !m_path->searching(), !(root && input));
    set("property", can.property, !(root && input));
    qlonglong bytes = 0;
    bool files = false;
    for (const FileView *row : rows) {
        bytes += row->isFolder() ? 0 : row->size;
        files = files || !row->isFolder();
    }
    const QString all = (busy() ? tr("共 %1 项，正在读取…") : tr("共 %1 项")).arg(m_model->rowCount());
    m_count->setText(rows.isEmpty() ? all
                     : files ? tr("%1，已选 %2 项（%3）").arg(all).arg(rows.size()).arg(DriveText::size(bytes))
                             : tr("%1，已选 %2 项").arg(all).arg(rows.size()));
}

void FarmPage::menu(const QPoint &global)
{
    const QModelIndex under = view()->indexAt(view()->viewport()->mapFromGlobal(global));
    if (under.isValid() && !view()->selectionModel()->isSelected(under))
        view()->setCurrentIndex(under);
    else if (!under.isValid())
        view()->clearSelection();
    qDebug().noquote() << "FarmPage::menu 当前根目录？" << (m_folder == Root && !m_path->searching());
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const QString &name : qAsConst(m_order)) {
        QAction *action = m_actions.value(name);
        if (action->isVisible() && action->isEnabled())
            menu->addAction(action);
    }
    menu->popup(global);
}

void FarmPage::treeMenu(const QString &id, const QPoint &global)
{
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(tr("打开"), this, [this, id] { driverPathChanged(id); });
    menu->addAction(tr("刷新"), this, [this, id] { branch(id); });
    const QStringList ids = chosenIds(), chain = m_tree->chain(id);
    if (acts().move && DriveRules::movable(ids, chain, m_folder))
        menu->addAction(tr("移动到%1").arg(DriveText::clean(place(id).path)), this, [this, ids, id] { move(ids, id); });
    menu->popup(global);
}

void FarmPage::tell(const QString &text) { MsgTool::msgOk(this, text); }

bool FarmPage::editing() const
{
    for (const QLineEdit *edit : m_stack->findChildren<QLineEdit *>())
        if (edit->objectName().startsWith(QLatin1String("itemEdit_")) && edit->isVisible())
            return true;
    return false;
}

void FarmPage::editName(const QModelIndex &index, const QString &suggested)
{
    if (!index.isValid())
        return;
    view()->scrollTo(index);
    view()->setCurrentIndex(index);
    (view() == m_table ? m_table->names() : m_grid->names())->setSuggested(suggested);
    view()->edit(index);
}

void FarmPage::renameFile()
{
    const QVector<const FileView *> rows = chosen();
    if (acts().rename)
        editName(m_model->indexOf(rows.first()->id));
}

void FarmPage::createDir()
{
    if (!acts().create || editing())
        return;
    const QString name =
        DriveRules::freeName(tr("新建文件夹"), [this](const QString &wish) { return m_model->taken(wish); });
    editName(m_model->addNew(name, m_folder));
}

void FarmPage::leftName(const QString &id)
{
    if (id == QLatin1String(FileView::NewDir))
        m_model->remove({id});
    if (m_readAgain)
        QMetaObject::invokeMethod(this, &FarmPage::read, Qt::QueuedConnection);
}

// The editor is on its way out while this is told: what follows comes after it.
void FarmPage::named(const QString &id, const QString &typed)
{
    QMetaObject::invokeMethod(
        this,
        [this, id, typed] {
            const FileView *entry = m_model->entry(id);
            if (!entry || !entry->pending.isEmpty())
                return;
            const QString before = entry->name, name = entry->isNew() && typed.isEmpty() ? before : typed;
            const DriveRules::Name what = DriveRules::judgeName(name, entry->isNew() ? QString() : before);
            const QString refusal = DriveRules::refusal(what);
            if (!refusal.isEmpty()) {
                MsgBox *box = MsgTool::msgOk(this, refusal);
                connect(box, &MsgBox::answered, this, [this, id, typed] { editName(m_model->indexOf(id), typed); });
            } else if (what == DriveRules::Name::Good) {
                entry->isNew() ? create(name) : rename(id, name);
            }
            if (m_readAgain && !editing())
                read();
        },
        Qt::QueuedConnection);
}

void FarmPage::create(const QString &name)
{
    const QStringList row{QLatin1String(FileView::NewDir)};
    m_model->rename(row.first(), name);
    m_model->setPending(row, tr(" (创建中 ...)"));
    const QString machine = m_chain.size() > 1 ? m_chain.at(1).diskName : QString();
    m_desk->ask(DriveRest::create(m_farm, m_type, name, machine, m_folder), this,
                [this, row, name, folder = m_folder](const DriveDesk::Answer &answer) {
                    m_model->remove(row);
                    if (!answer.good)
                        tell(answer.text);
                    else if (folder == m_folder)
                        m_selectAfter = QStringList{name};
                    afterChange(folder);
                });
}

void FarmPage::rename(const QString &id, const QString &name)
{
    const FileView entry = *m_model->entry(id);
    m_model->setPending({id}, tr(" (重命名中 ...)"));
    m_desk->ask(DriveRest::rename(m_farm, m_type, id, name, entry.diskName), this,
                [this, id, name, folder = entry.parent](const DriveDesk::Answer &answer) {
                    m_model->setPending({id}, {});
                    if (answer.good) {
                        m_model->rename(id, name);
                        m_tree->rename(id, name);
                    } else {
                        tell(answer.text);
                    }
                    afterChange(folder);
                });
}

// Reads the folder again where it's still the one that is seen; its branch of the tree follows.
void FarmPage::afterChange(const QString &folder)
{
    if (m_path->searching() || folder == m_folder)
        read();
    else if (m_tree->loaded(folder))
        branch(folder);
}

void FarmPage::addDrv()
{
    auto *dialog = new AddDriver([this](const QString &name) { return m_model->taken(name); }, window());
    connect(dialog, &AddDriver::addDriver, this, &FarmPage::addDriver);
    dialog->open();
}

void FarmPage::addDriver(QString name, QObject *object)
{
    QPointer<AddDriver> dialog = qobject_cast<AddDriver *>(object);
    const QString machine = dialog ? dialog->machine() : QString();
    m_desk->ask(DriveRest::create(m_farm, DriveRest::Input, name, machine, Root), this,
                [this, dialog, name](const DriveDesk::Answer &answer) {
                    if (dialog)
                        dialog->answered(answer.text);
                    else if (!answer.good)
                        tell(answer.text);
                    if (answer.good && m_folder == Root)
                        m_selectAfter = QStringList{name};
                    afterChange(Root);
                });
}

void FarmPage::delDrv() { removeChosen(tr("确定删除此盘符吗？盘符内文件将同步删除！")); }
void FarmPage::delFile() { removeChosen(tr("确定删除此文件或文件夹吗？")); }

void FarmPage::removeChosen(const QString &words)
{
    const QVector<const FileView *> rows = chosen();
    if (!acts().remove || rows.isEmpty())
        return;
    const bool disk = m_type == DriveRest::Input && m_folder == Root && !m_path->searching();
    Question ask;
    ask.text = (disk ? tr("确定删除此盘符吗？盘符内文件将同步删除！") : words) + QStringLiteral("\r\n") +
               (rows.size() == 1 ? DriveText::clean(rows.first()->name) : tr("共 %1 项").arg(rows.size()));
    ask.accept = tr("删除");
    ask.danger = true;
    Question::ask(
        this, ask,
        [this, ids = chosenIds()] {
            work(ids, tr(" (删除中 ...)"), [farm = m_farm, type = m_type](const QStringList &part) {
                return DriveRest::remove(farm, type, part);
            });
        },
        this);
}

void FarmPage::work(const QStringList &ids, const QString &pending, const Request &request, const QString &target)
{
    m_model->setPending(ids, pending);
    followSelection();
    workOn(ids, request, m_folder, target);
}

void FarmPage::workOn(const QStringList &ids, const Request &request, const QString &folder, const QString &target)
{
    const QStringList part = ids.mid(0, IdsOfOne), rest = ids.mid(IdsOfOne);
    m_desk->ask(request(part), this, [this, part, rest, request, folder, target](const DriveDesk::Answer &answer) {
        if (answer.good) {
            m_model->remove(part);
            if (!rest.isEmpty())
                return workOn(rest, request, folder, target);
        } else {
            m_model->setPending(part + rest, {});
            tell(answer.text);
        }
        m_info->ask();
        afterChange(folder);
        if (!target.isEmpty())
            afterChange(target);
    });
}

void FarmPage::moveFile()
{
    const QStringList ids = chosenIds();
    if (!acts().move)
        return;
    auto *dialog = new MoveFarmFile(m_farm, m_desk, ids.size(), m_chain, window());
    connect(dialog, &MoveFarmFile::startMoveFile, this,
            [this, dialog, ids, from = m_folder](const QString &target, const QStringList &chain) {
                if (!DriveRules::movable(ids, chain, from))
                    return dialog->setError(tr("不能移动到原来的位置、盘符之外或自身的子文件夹"));
                dialog->close();
                move(ids, target);
            });
    connect(dialog, &MoveFarmFile::createDirFromMove, this, &FarmPage::afterChange);
    dialog->open();
}

void FarmPage::move(const QStringList &ids, const QString &target)
{
    work(
        ids, tr(" (移动中 ...)"),
        [farm = m_farm, type = m_type, target](const QStringList &part) {
            return DriveRest::move(farm, type, part, target);
        },
        target);
}

void FarmPage::propertyFile()
{
    const QVector<const FileView *> rows = chosen();
    if (rows.size() == 1)
        (new FileProperty(m_farm, *rows.first(), m_path->searching() ? QString() : m_path->text(), m_desk, window()))
            ->open();
}

// Where the chosen entries stand: of a search each place is asked for.
void FarmPage::copyPaths()
{
    const QVector<const FileView *> rows = chosen();
    if (!m_path->searching() || rows.size() > MostPaths) {
        const QString folder = m_path->text();
        QStringList paths;
        for (const FileView *row : rows)
            paths << (folder.isEmpty() || m_path->searching() ? row->name : folder + QLatin1Char('/') + row->name);
        return QGuiApplication::clipboard()->setText(paths.join(QLatin1Char('\n')));
    }
    const auto paths = std::make_shared<QStringList>();
    const int count = rows.size();
    for (const FileView *row : rows)
        m_desk->ask(DriveRest::family(m_farm, m_type, row->id), this,
                    [paths, count, own = *row](const DriveDesk::Answer &answer) {
                        const QStringList names = DriveChain::names(answer.reply.entries, own);
                        *paths << (names.isEmpty() ? own.name : names.join(QLatin1Char('/')));
                        if (paths->size() == count)
                            QGuiApplication::clipboard()->setText(paths->join(QLatin1Char('\n')));
                    });
}

DriveQueue::Place FarmPage::place(const QString &id) const
{
    DriveQueue::Place place;
    place.farmId = m_farm;
    place.fileType = m_type;
    place.id = id;
    QVector<FileView> chain;
    for (const FileView &folder : m_chain) {
        chain << folder;
        if (folder.id == id)
            break;
    }
    const FileView *below = m_model->entry(id);
    if (chain.isEmpty() || chain.last().id != id)
        chain = below && !m_path->searching() ? chain + QVector<FileView>{*below} : m_tree->folders(id);
    QStringList names;
    for (const FileView &folder : qAsConst(chain))
        if (folder.id != Root)
            names << folder.name;
    place.path = names.join(QLatin1Char('/'));
    place.diskName = names.value(0);
    return place;
}

void FarmPage::downFile()
{
    if (!acts().download)
        return;
    QList<SubFile> entries;
    const QVector<const FileView *> rows = chosen();
    for (const FileView *row : rows)
        entries << *row;
    QFileDialog *dialog = fileDialog(this, tr("选择保存的文件夹"), QFileDialog::Directory);
    dialog->setDirectory(UserInfo::resultDir());
    connect(dialog, &QFileDialog::fileSelected, this, [this, entries, from = place(m_folder)](const QString &folder) {
        DriveQueue::fetch(from, entries, folder);
        Toast::show(this, tr("已加入下载列表"), tr("查看"), [this] { emit transfers(); });
    });
    dialog->open();
}

// The chosen folder against one of this machine.
void FarmPage::checkDir()
{
    const QVector<const FileView *> rows = chosen();
    if (!acts().check || rows.size() != 1 || m_path->searching())
        return;
    DriveCheck::Pair pair;
    pair.entry = *rows.first();
    pair.dpath = m_path->text() + QLatin1Char('/') + rows.first()->name;
    for (const FileView &folder : qAsConst(m_chain))
        if (folder.id != Root)
            pair.chain << folder.id;
    QFileDialog *dialog = fileDialog(this, tr("选择要比较的本机文件夹"), QFileDialog::Directory);
    connect(dialog, &QFileDialog::fileSelected, this, [this, pair, at = place(m_folder)](const QString &folder) {
        DriveCheck::Pair both = pair;
        both.lpath = folder;
        auto *check = new CheckTree(at, both, window());
        connect(check, &CheckTree::mended, this, &FarmPage::transfers);
        check->open();
    });
    dialog->open();
}

void FarmPage::upFile(bool folders)
{
    if (!acts().upload)
        return;
    QFileDialog *dialog = fileDialog(this, folders ? tr("选择要上传的文件夹") : tr("选择要上传的文件"),
                                     folders ? QFileDialog::Directory : QFileDialog::ExistingFiles);
    connect(dialog, &QFileDialog::urlsSelected, this,
            [this, target = m_folder](const QList<QUrl> &urls) { put(urls, target); });
    dialog->open();
}

void FarmPage::resolveFile() { submitFile(); }

void FarmPage::submitFile()
{
    if (!acts().submit)
        return;
    if (!UserInfo::isSlave() && AccountFacts::balance() <= 0) {
        auto *box = new MsgBox(MsgBox::Choose, tr("余额不足，请充值"), window());
        box->setIcon(QStringLiteral("warning"), Palette::warning);
        box->setAcceptText(tr("去充值"));
        connect(box, &MsgBox::answered, this, [this](int button) {
            if (button == MsgBox::Accepted)
                emit recharge();
        });
        return box->open();
    }
    const auto scenes = std::make_shared<QList<CloudAnalysis::Scene>>();
    const auto wait = std::make_shared<int>(0);
    const QVector<const FileView *> rows = chosen();
    for (const FileView *row : rows) {
        ++*wait;
        m_desk->ask(DriveRest::family(m_farm, m_type, row->id), this,
                    [this, scenes, wait, own = *row](const DriveDesk::Answer &answer) {
                        const QStringList names = DriveChain::names(answer.reply.entries, own);
                        if (answer.good && !names.isEmpty())
                            *scenes << CloudAnalysis::Scene{names.join(QLatin1Char('/')), {}};
                        else
                            tell(answer.text);
                        if (--*wait == 0 && !scenes->isEmpty())
                            submitted(CloudAnalysis::analyse(m_farm, *scenes));
                    });
    }
}

void FarmPage::submitted(const CloudAnalysis::Told &told)
{
    if (!told.text.isEmpty())
        tell(told.text);
    else
        Toast::show(this, tr("文件已提交解析，请至解析提交页面查看！"), tr("查看"), [this] { emit analyses(); });
}
