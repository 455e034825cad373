#include "view/driver/DriveOrder.h"
#include <algorithm>
#include <vector>

DriveOrder::DriveOrder(const DriveSort &by)
    : m_by(by),
      // Where the system names no language there is no order of words, nor of numbers in them.
      m_collator(QLocale().language() == QLocale::C ? QLocale(QLocale::English) : QLocale())
{
    m_collator.setNumericMode(true);
    m_collator.setCaseSensitivity(Qt::CaseInsensitive);
}

template <class Names> bool DriveOrder::before(int a, int b, const Names &names) const
{
    if (key(a).folder != key(b).folder)
        return key(a).folder;
    const int first = m_by.down ? b : a, second = m_by.down ? a : b;
    const Key &one = key(first), &other = key(second);
    if (m_by.column == DriveSort::Time && one.time != other.time)
        return one.time < other.time;
    if (m_by.column == DriveSort::Size && one.size != other.size)
        return one.size < other.size;
    if (m_by.column == DriveSort::Kind)
        if (const int kind = one.kind.compare(other.kind))
            return kind < 0;
    if (const int name = names(first, second))
        return name < 0;
    return a < b; // as they came
}

void DriveOrder::add(const QVector<FileView> &rows)
{
    const int from = int(m_keys.size());
    hold(rows);
    merge(from);
}

void DriveOrder::add(const FolderRows &rows)
{
    const int from = int(m_keys.size());
    for (const QVector<FileView> &block : rows.blocks())
        hold(block);
    merge(from);
}

void DriveOrder::hold(const QVector<FileView> &rows)
{
    QString ending; // most have the same
    for (const FileView &row : rows) {
        QString kind = row.fileType == 1 ? DriveText::ending(row.name) : row.ordernum;
        if (kind == ending)
            kind = ending;
        ending = kind;
        m_keys.push_back({row.name, kind, row.fileType == 1 && row.updatedAt ? row.updatedAt : row.createdAt, row.size,
                          row.isFolder()});
    }
}

void DriveOrder::resort(const DriveSort &by)
{
    m_by = by;
    m_order.clear();
    merge(0);
}

void DriveOrder::merge(int from)
{
    std::vector<QCollatorSortKey> names; // quick to compare, but big: of the new rows alone
    std::vector<int> fresh;
    names.reserve(std::size_t(int(m_keys.size()) - from));
    for (int i = from; i < int(m_keys.size()); ++i) {
        fresh.push_back(i);
        names.push_back(m_collator.sortKey(key(i).name));
    }
    const auto quick = [&](int a, int b) { return names[std::size_t(a - from)].compare(names[std::size_t(b - from)]); };
    std::sort(fresh.begin(), fresh.end(), [&](int a, int b) { return before(a, b, quick); });
    const auto slow = [this](int a, int b) { return m_collator.compare(key(a).name, key(b).name); };
    const auto less = [&](int a, int b) { return before(a, b, slow); };
    QVector<int> merged;
    merged.reserve(int(m_keys.size()));
    auto at = m_order.cbegin();
    const auto end = m_order.cend();
    for (int one : fresh) {
        // Its place is mostly near: looked for in steps that double, then between the last two.
        auto low = at;
        for (std::ptrdiff_t step = 1; low != end; step *= 2) {
            const auto probe = low + std::min(step, end - low) - 1;
            if (less(one, *probe)) {
                low = std::lower_bound(low, probe, one, [&](int there, int row) { return !less(row, there); });
                break;
            }
            low = probe + 1;
        }
        for (; at != low; ++at)
            merged.append(*at);
        merged.append(one);
    }
    for (; at != end; ++at)
        merged.append(*at);
    m_order = merged;
}

QVector<int> DriveOrder::of(const FolderRows &rows, const DriveSort &by)
{
    DriveOrder order(by);
    order.add(rows);
    return order.order();
}
