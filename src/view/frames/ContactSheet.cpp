#include "view/frames/ContactSheet.h"
#include "common/ui/Palette.h"
#include <QFileInfo>
#include <QPainter>
#include <QPixmap>

namespace
{
constexpr qint64 MostBytes = qint64(96) << 20;
} // namespace

ContactModel::ContactModel(QObject *parent) : QAbstractListModel(parent), m_cache(MostBytes, nullptr, QSize(Side, High))
{
    connect(&m_cache, &FrameCache::ready, this, [this](const QString &path) {
        if (const int row = m_rows.value(path, -1); row >= 0)
            emit dataChanged(index(row), index(row), {Qt::DecorationRole, Qt::ToolTipRole});
    });
}

// The same frames with another file among them leave the sheet where it stands.
void ContactModel::setSequence(const FrameSequence &sequence)
{
    QList<int> numbers = sequence.numbers();
    if (numbers.size() > FrameSequence::MostFrames)
        numbers = numbers.mid(0, FrameSequence::MostFrames);
    const bool same = numbers == m_numbers;
    if (!same)
        beginResetModel();
    m_sequence = sequence;
    m_numbers = numbers;
    m_rows.clear();
    for (int i = 0; i < numbers.size(); ++i)
        if (const QString path = sequence.files.value(numbers.at(i)); !path.isEmpty())
            m_rows.insert(path, i);
    if (!same)
        endResetModel();
    else if (!numbers.isEmpty())
        emit dataChanged(index(0), index(numbers.size() - 1));
}

void ContactModel::forget(const QString &path) { m_cache.forget(path); }

int ContactModel::rowCount(const QModelIndex &parent) const { return parent.isValid() ? 0 : m_numbers.size(); }

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
    const auto choose = [this](const QModelIndex &index) { emit chosen(m_model->numberOf(index)); };
    connect(this, &QListView::activated, this, choose);
    connect(this, &QListView::clicked, this, choose);
}
