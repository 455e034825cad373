#include "view/MsgCenter.h"
#include "common/facts/Command.h"
#include "common/ui/EmptyView.h"
#include "common/ui/Pagination.h"
#include "common/ui/PullMsg.h"
#include "io/Ask.h"
#include <QDateTime>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>

namespace
{
QString timeText(const QJsonValue &value)
{
    return value.isDouble() ? QDateTime::fromMSecsSinceEpoch(qint64(value.toDouble()))
                                  .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                            : value.toString();
}
} // namespace

MsgCenter::MsgCenter(QWidget *parent)
    : BaseWidget(Dialog, parent), m_table(new QTableWidget(0, 3, this)), m_pages(new Pagination(this))
{
    setObjectName(QStringLiteral("MsgCenter"));
    setAttribute(Qt::WA_DeleteOnClose);
    setTitle(tr("消息中心"));
    m_table->setHorizontalHeaderLabels({tr("类型"), tr("内容"), tr("时间")});
    m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    m_table->horizontalHeader()->resizeSection(2, 150);
    m_table->horizontalHeader()->setHighlightSections(false);
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(36);
    m_table->setShowGrid(false);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setTabKeyNavigation(false);
    m_table->setMinimumSize(640, 360);
    m_table->setAccessibleName(windowTitle());
    new EmptyView(m_table, QStringLiteral("bell"), tr("暂时没有消息"), QString());
    body()->addWidget(m_table, 1);
    auto *foot = new QHBoxLayout;
    foot->setContentsMargins(16, 12, 16, 12);
    foot->addWidget(m_pages);
    foot->addStretch(1);
    auto *close = new QPushButton(tr("关闭"), this);
    connect(close, &QPushButton::clicked, this, &MsgCenter::close);
    foot->addWidget(close);
    body()->addLayout(foot);
    connect(m_pages, &Pagination::pageChanged, this, &MsgCenter::ask);
    ask(0);
}

QString MsgCenter::typeText(int type)
{
    switch (type) {
    case 1:
        return tr("任务完成");
    case 2:
        return tr("欠费提醒");
    case 3:
        return tr("充值记录");
    default:
        return QString::number(type);
    }
}

void MsgCenter::ask(int page)
{
    Ask(Command::Notices, {{QStringLiteral("page"), page}})
        .any([this](int, const QJsonDocument &doc) { show(doc); })
        .send(this);
}

void MsgCenter::show(const QJsonDocument &reply)
{
    m_table->setRowCount(0);
    const QJsonArray list = PullMsg::listOf(reply);
    for (const QJsonValue &value : list) {
        const QJsonObject obj = value.toObject();
        const QJsonValue type = obj.value(QLatin1String("type"));
        const QString texts[] = {type.isString() ? type.toString() : typeText(type.toInt()),
                                 obj.value(QLatin1String("content")).toString(),
                                 timeText(obj.value(QLatin1String("time")))};
        const int row = m_table->rowCount();
        m_table->insertRow(row);
        for (int i = 0; i < 3; ++i) {
            m_table->setItem(row, i, new QTableWidgetItem(texts[i]));
            m_table->item(row, i)->setToolTip(texts[i].toHtmlEscaped());
        }
    }
    for (const char *key : {"pageSize", "pageSum"})
        if (const int sum = reply.object().value(QLatin1String(key)).toInt(); sum > 0)
            m_pages->setPageSum(sum);
}
