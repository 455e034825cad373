#include "view/frames/ContactSheet.h"
#include "common/ui/Palette.h"
#include <QFileInfo>
#include <QPainter>
#include <QPixmap>

namespace
{
constexpr qint64 MostBytes = qint64(96) << 20;
constexpr int MostFrames = 100000; // of a series with wild numbers
} // namespace

ContactModel::ContactModel(QObject *parent) : QAbstractListModel(parent), m_cache(MostBytes, nullptr, QSize(Side, High))
{
    connect(&m_cache, &FrameCache::ready, this, [this](const QString &path) {
        for (auto it = m_sequence.files.begin(); it != m_sequence.files.end(); ++it)
            if (it.value() == path) {
                const QModelIndex at = index(it.key() - m_sequence.first());
                emit dataChanged(at, at, {Qt::DecorationRole, Qt::ToolTipRole});
                return;
            }
    });
}

void ContactModel::setSequence(const FrameSequence &sequence)
{
    beginResetModel();
    m_sequence = sequence;
    endResetModel();
}

int ContactModel::rowCount(const QModelIndex &parent) const
{
    if (parent.isValid() || m_sequence.files.isEmpty())
        return 0;
    return int(qMin<qint64>(MostFrames, qint64(m_sequence.last()) - m_sequence.first() + 1));
}

QVariant ContactModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid())
        return {};
    const int number = numberOf(index);
    const QString path = m_sequence.files.value(number);
    switch (role) {
    case Qt::DisplayRole:
        return path.isEmpty() ? tr("%1（缺）").arg(number) : QString::number(number);
    case Qt::AccessibleTextRole:
        return path.isEmpty() ? tr("第 %1 帧还没有").arg(number) : tr("第 %1 帧").arg(number);
    case Qt::ForegroundRole:
        return path.isEmpty() ? Palette::of(Tint::Warning) : QVariant();
    case Qt::ToolTipRole:
        return path.isEmpty() ? QString() : QFileInfo(path).fileName().toHtmlEscaped();
    case Qt::DecorationRole: {
        QPixmap tile(Side, High);
        tile.fill(Palette::stage);
        const FrameCache::Ready *one = path.isEmpty() ? nullptr : m_cache.find(path);
        if (one && !one->shown.isNull()) {
            QPainter painter(&tile);
            painter.drawImage((Side - one->shown.width()) / 2, (High - one->shown.height()) / 2, one->shown);
        } else if (!path.isEmpty() && !one) {
            m_cache.wish(path);
        }
        return tile;
    }
    default:
        return {};
    }
}

ContactSheet::ContactSheet(QWidget *parent) : QListView(parent), m_model(new ContactModel(this))
{
    setModel(m_model);
    setViewMode(QListView::IconMode);
    setResizeMode(QListView::Adjust);
    setMovement(QListView::Static);
    setUniformItemSizes(true);
    setIconSize(QSize(ContactModel::Side, ContactModel::High));
    setGridSize(QSize(ContactModel::Side + 16, ContactModel::High + 36));
    setLayoutMode(QListView::Batched);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setAccessibleName(tr("所有帧"));
    connect(this, &QListView::activated, this,
            [this](const QModelIndex &index) { emit chosen(m_model->numberOf(index)); });
}
