#include "view/driver/DriveTree.h"
#include "common/ui/kit/Metrics.h"
#include "view/driver/DriveChain.h"
#include <QKeyEvent>

namespace
{
constexpr int RowHeight = 30;
const QString MoreOf = QStringLiteral("more:"); // key of the row that shows more of a branch

// A folder's folders come all at once, also where one that was jumped into stands already.
class Folders : public RecordModel<FileView>
{
public:
    using RecordModel::RecordModel;
    bool canFetchMore(const QModelIndex &parent) const override { return nodeOf(parent)->more; }
};
} // namespace

DriveTree::DriveTree(const QString &name, QWidget *parent)
    : QTreeView(parent),
      m_model(new Folders(
          [](const FileView &f) { return f.id; },
          {Column<FileView>(QStringLiteral("name"), name, 200)
               .text([](const FileView &f) { return DriveText::name(f); })
               .tint([](const FileView &f) { return f.type == 0 ? Tint::Running : Tint::Plain; })
               .icon([](const FileView &f) { return f.type == 0 ? QStringLiteral("more") : DriveText::icon(f); })},
          this))
{
    setObjectName(QStringLiteral("driveTree"));
    setAccessibleName(name);
    m_model->setSame([](const FileView &a, const FileView &b) { return a.shownAs(b); });
    setModel(m_model);
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setIndentation(14);
    setExpandsOnDoubleClick(true);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setMouseTracking(true);
    setTabKeyNavigation(false);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setTextElideMode(Qt::ElideMiddle);
    auto *item = new TextItem(this, Qt::ElideMiddle);
    item->setRowHeight(RowHeight);
    setItemDelegate(item);
    connect(m_model, &RecordModelBase::moreWanted, this, &DriveTree::wanted);
    connect(selectionModel(), &QItemSelectionModel::currentChanged, this, &DriveTree::chooseIndex);
    connect(this, &QWidget::customContextMenuRequested, this, [this](const QPoint &at) {
        const QString id = idAt(at);
        if (!id.isEmpty())
            emit menuWanted(id, viewport()->mapToGlobal(at));
    });
}

void DriveTree::clear(int fileType)
{
    m_quiet = true;
    m_folders.clear();
    m_steps.clear();
    m_model->setRows({});
    put(DriveChain::root(fileType), {});
    setCurrentIndex(m_model->index(0, 0));
    m_quiet = false;
}

void DriveTree::put(const FileView &folder, const QString &parent)
{
    if (m_model->contains(folder.id)) // a folder of its own descendants: the ring ends here
        return;
    m_model->put(folder, parent);
    m_model->setMore(folder.id, true);
}

void DriveTree::fillTree(const QVector<FileView> &folders, const QString &parent)
{
    if (!m_model->contains(parent))
        return;
    const QModelIndex before = currentIndex();
    m_quiet = true;
    m_folders.insert(parent, folders);
    showStep(parent, qMax(Step, m_steps.value(parent)));
    m_model->setMore(parent, false);
    if (parent == QLatin1String(SubFile::Root))
        expand(m_model->index(0, 0));
    if (before.isValid() && !currentIndex().isValid())
        setCurrentIndex(before);
    m_quiet = false;
}

void DriveTree::showStep(const QString &parent, int most)
{
    const QVector<FileView> &all = m_folders[parent];
    QList<FileView> shown;
    QStringList fresh;
    const QStringList chain = this->chain(parent);
    for (const FileView &folder : all) {
        if (shown.size() >= most)
            break;
        if (chain.contains(folder.id)) // an ancestor as a child
            continue;
        if (!m_model->contains(folder.id))
            fresh << folder.id;
        shown << folder;
    }
    m_steps.insert(parent, most);
    if (all.size() > most) {
        FileView more;
        more.id = MoreOf + parent;
        more.type = 0;
        more.name = tr("还有 %1 个文件夹…").arg(all.size() - most);
        shown << more;
    }
    m_model->setRows(shown, parent);
    for (const QString &id : qAsConst(fresh))
        m_model->setMore(id, true);
}

void DriveTree::failed(const QString &parent)
{
    m_model->setMore(parent, true);
    if (!loaded(parent))
        collapse(m_model->indexOf(parent));
}

QStringList DriveTree::chain(const QString &id) const
{
    QStringList ids;
    for (QModelIndex at = m_model->indexOf(id); at.isValid(); at = at.parent())
        ids.prepend(m_model->keyOf(at));
    return ids;
}

QVector<FileView> DriveTree::folders(const QString &id) const
{
    QVector<FileView> out;
    for (const QString &one : chain(id))
        if (const FileView *folder = m_model->record(one))
            out << *folder;
    return out;
}

void DriveTree::showChain(const QVector<FileView> &chain)
{
    m_quiet = true;
    QString parent;
    for (const FileView &folder : chain) {
        if (!m_model->contains(folder.id)) {
            if (parent.isEmpty())
                break;
            put(folder, parent); // its branch is read when it's opened
        }
        if (!parent.isEmpty())
            expand(m_model->indexOf(parent)); // asks for what else is in it, where that isn't known
        parent = folder.id;
    }
    const QModelIndex index = m_model->indexOf(parent);
    if (index.isValid()) {
        setCurrentIndex(index);
        scrollTo(index);
    }
    m_quiet = false;
}

void DriveTree::openBranch(const QString &id) { expand(m_model->indexOf(id)); }

void DriveTree::rename(const QString &id, const QString &name)
{
    m_model->change(id, [name](FileView &folder) { folder.name = name; });
}

QString DriveTree::idAt(const QPoint &point) const
{
    const QString id = m_model->keyOf(indexAt(point));
    return id.startsWith(MoreOf) ? QString() : id;
}

QString DriveTree::chosen() const { return m_model->keyOf(currentIndex()); }

void DriveTree::chooseIndex(const QModelIndex &index)
{
    const QString id = m_model->keyOf(index);
    if (m_quiet || id.isEmpty())
        return;
    if (!id.startsWith(MoreOf)) {
        emit activatedId(id);
        return;
    }
    const QString parent = id.mid(MoreOf.size());
    QMetaObject::invokeMethod( // the row goes in the middle of its own selection otherwise
        this,
        [this, parent] {
            m_quiet = true;
            const int at = m_steps.value(parent);
            showStep(parent, at + Step);
            setCurrentIndex(
                m_model->index(qMin(at, m_model->rowCount(m_model->indexOf(parent)) - 1), 0, m_model->indexOf(parent)));
            m_quiet = false;
        },
        Qt::QueuedConnection);
}

void DriveTree::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        return chooseIndex(currentIndex());
    QTreeView::keyPressEvent(event);
}
