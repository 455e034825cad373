#include "view/driver/FileProperty.h"
#include "common/ui/IconTool.h"
#include "common/ui/Palette.h"
#include "view/driver/DriveChain.h"
#include "view/driver/DriveDesk.h"
#include <QFormLayout>

FileProperty::FileProperty(int farmId, const FileView &entry, const QString &folder, DriveDesk *desk, QWidget *parent)
    : DialogFrame(QStringLiteral("FileProperty"), tr("属性"), parent), m_farm(farmId), m_entry(entry), m_desk(desk),
      m_form(new QFormLayout)
{
    auto *icon = new QLabel(this);
    icon->setPixmap(IconTool::pixmap(DriveText::icon(entry), Palette::quiet, 32, devicePixelRatioF()));
    auto *head = new QHBoxLayout;
    head->setSpacing(12);
    auto *name = new QLabel(DriveText::clean(entry.name), this);
    name->setObjectName(QStringLiteral("heading"));
    name->setTextFormat(Qt::PlainText);
    name->setWordWrap(true);
    name->setTextInteractionFlags(Qt::TextSelectableByMouse);
    head->addWidget(icon, 0, Qt::AlignTop);
    head->addWidget(name, 1);
    content()->addLayout(head);
    m_form->setContentsMargins(0, 12, 0, 0);
    m_form->setVerticalSpacing(10);
    m_type = line(tr("类型："));
    m_place = line(tr("位置："));
    m_size = line(tr("大小："));
    m_contains = line(tr("包含："));
    m_order = line(tr("订单号："));
    m_changed = line(tr("修改时间："));
    m_made = line(tr("创建时间："));
    content()->addLayout(m_form);
    content()->addStretch(1);
    m_place->setText(DriveText::clean(folder));
    addButton(tr("关闭"), Close);
    setWanted({420, 260});
    show(entry);
    ask();
    if (folder.isEmpty() && !entry.isDisk())
        m_desk->ask(DriveRest::family(m_farm, entry.fileType, entry.id), this, [this](const DriveDesk::Answer &answer) {
            const QStringList names = DriveChain::names(answer.reply.entries, m_entry);
            m_place->setText(DriveText::clean(names.mid(0, names.size() - 1).join(QLatin1Char('/'))));
        });
}

QLabel *FileProperty::line(const QString &title)
{
    auto *head = new QLabel(title, this);
    head->setObjectName(QStringLiteral("quiet"));
    auto *value = new QLabel(this);
    value->setTextFormat(Qt::PlainText);
    value->setWordWrap(true);
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    value->setAccessibleName(title);
    m_form->addRow(head, value);
    return value;
}

void FileProperty::ask()
{
    setError({});
    m_desk->ask(DriveRest::entry(m_farm, m_entry.fileType, m_entry.id), this, [this](const DriveDesk::Answer &answer) {
        if (answer.good)
            show(answer.reply.entry);
        else
            setError(answer.text, [this] { ask(); });
    });
}

void FileProperty::show(const FileView &entry)
{
    FileView now = entry;
    now.parent = m_entry.parent;
    m_type->setText(DriveText::type(now));
    const bool counted = entry.containFile >= 0 || entry.containFolder >= 0;
    const bool sized = !entry.isFolder() || entry.size > 0; // not every farm adds a folder up
    m_size->setText(sized ? DriveText::size(entry.size) + tr(" (%L1 字节)").arg(entry.size) : QStringLiteral("-"));
    m_contains->setText(
        counted ? tr("%1个文件，%2个文件夹").arg(qMax(0LL, entry.containFile)).arg(qMax(0LL, entry.containFolder))
                : QStringLiteral("-"));
    const QString order = entry.ordernum.isEmpty() ? entry.resultId : entry.ordernum;
    m_order->setText(order);
    m_changed->setText(DriveText::time(entry.updatedAt ? entry.updatedAt : entry.createdAt));
    m_made->setText(DriveText::time(entry.createdAt));
    for (QLabel *label : {m_contains, m_order}) {
        const bool fits = label == m_contains ? entry.isFolder() : !order.isEmpty();
        label->setVisible(fits);
        m_form->labelForField(label)->setVisible(fits);
    }
}
