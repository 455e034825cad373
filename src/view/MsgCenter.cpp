#include "view/MsgCenter.h"
#include "common/facts/Command.h"
#include "common/ui/kit/ServerCall.h"
#include "common/ui/kit/TablePage.h"
#include "common/ui/Pagination.h"
#include "common/ui/PullMsg.h"
#include <QAction>
#include <QDateTime>
#include <QJsonArray>

namespace
{
QString timeText(const QJsonValue &value)
{
    return value.isDouble() ? QDateTime::fromMSecsSinceEpoch(qint64(value.toDouble()))
                                  .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))
                            : value.toString();
}

RecordModel<Notice> *makeModel(QObject *parent)
{
    using C = Column<Notice>;
    const auto words = [](const char *text) { return MsgCenter::tr(text); };
    const auto tint = [](const Notice &n) { return n.read ? Tint::Quiet : Tint::Plain; };
    return new RecordModel<Notice>([](const Notice &n) { return n.id; },
                                   {C::tick(),
                                    C(QStringLiteral("type"), words(QT_TRANSLATE_NOOP("MsgCenter", "类型")), 96)
                                        .text([](const Notice &n) { return n.type; })
                                        .tint(tint),
                                    C(QStringLiteral("content"), words(QT_TRANSLATE_NOOP("MsgCenter", "内容")), 320)
                                        .text([](const Notice &n) { return n.content; })
                                        .tint(tint)
                                        .stretch(),
                                    C(QStringLiteral("time"), words(QT_TRANSLATE_NOOP("MsgCenter", "时间")), 150)
                                        .text([](const Notice &n) { return n.time; })
                                        .tint(tint)
                                        .giving(1)},
                                   parent);
}
} // namespace

MsgCenter::MsgCenter(QWidget *parent)
    : DialogFrame(QStringLiteral("MsgCenter"), tr("消息中心"), parent), m_model(makeModel(this))
{
    TablePage::Look look;
    look.name = QStringLiteral("MsgCenter");
    look.accessible = windowTitle();
    look.emptyIcon = QStringLiteral("bell");
    look.emptyText = tr("暂时没有消息");
    look.columns = false;
    m_table = new TablePage(look, m_model, this);
    ActSpec read, remove;
    read.id = QStringLiteral("ignore");
    read.text = tr("标为已读");
    read.icon = QStringLiteral("check");
    read.places = ActSpec::Bar | ActSpec::Menu;
    read.possible = m_model->when([](const Notice &n) { return !n.read; });
    read.run = [this](const QStringList &keys) { change(keys.join(QLatin1Char(',')), Read); };
    remove.id = QStringLiteral("del");
    remove.text = tr("删除");
    remove.icon = QStringLiteral("trash");
    remove.places = ActSpec::Bar | ActSpec::Menu;
    remove.keys = QKeySequence::Delete;
    remove.run = [this](const QStringList &keys) { removeMsg(keys.join(QLatin1Char(','))); };
    m_table->acts()->add(read);
    m_table->acts()->add(remove);
    m_table->build();
    m_table->setMinimumSize(640, 340);
    content()->setContentsMargins(0, 0, 0, 0);
    content()->addWidget(m_table, 1);
    addButton(tr("关闭"), Close);
    connect(m_table, &TablePage::pageWanted, this, &MsgCenter::ask);
    connect(m_table, &TablePage::refreshWanted, this, &MsgCenter::ask);
    ask();
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

void MsgCenter::ask()
{
    m_table->setBusy(true);
    const int round = ++m_round;
    ServerCall::ask(this, Command::Notices, QJsonObject{{QStringLiteral("page"), m_table->pages()->page()}},
                    [this, round](const ServerCall::Answer &answer) {
                        if (round != m_round)
                            return;
                        m_table->setBusy(false);
                        m_table->setError(answer.text());
                        if (answer.good())
                            show(answer.doc);
                    });
}

void MsgCenter::show(const QJsonDocument &reply)
{
    QList<Notice> rows;
    const QJsonArray list = PullMsg::listOf(reply);
    for (const QJsonValue &value : list) {
        const QJsonObject obj = value.toObject();
        const QJsonValue type = obj.value(QLatin1String("type")), id = obj.value(QLatin1String("id"));
        Notice one;
        one.id = id.isUndefined() ? QStringLiteral("row%1").arg(rows.size()) : id.toVariant().toString();
        one.type = type.isString() ? type.toString() : typeText(type.toInt());
        one.content = obj.value(QLatin1String("content")).toString();
        one.time = timeText(obj.value(QLatin1String("time")));
        one.read = obj.value(QLatin1String("status")).toVariant().toInt() == Read;
        rows << one;
    }
    m_model->setRows(rows);
    for (const char *key : {"pageSize", "pageSum"})
        if (const int sum = reply.object().value(QLatin1String(key)).toInt(); sum > 0)
            m_table->pages()->setPageSum(sum);
}

void MsgCenter::change(const QString &ids, Change what)
{
    ServerCall::ask(this, Command::ChangeNotices,
                    QJsonObject{{QStringLiteral("ids"), ids}, {QStringLiteral("status"), int(what)}},
                    [this](const ServerCall::Answer &answer) {
                        if (answer.good())
                            ask();
                        else
                            m_table->setError(answer.text());
                    });
}

void MsgCenter::removeMsg(QString ids) { change(ids, Removed); }

void MsgCenter::ignoreMsg(QList<int> idL)
{
    QStringList ids;
    for (int id : idL)
        ids << QString::number(id);
    change(ids.join(QLatin1Char(',')), Read);
}

void MsgCenter::on_del_clicked() { m_table->acts()->action(QStringLiteral("del"))->trigger(); }
void MsgCenter::on_ignore_clicked() { m_table->acts()->action(QStringLiteral("ignore"))->trigger(); }
void MsgCenter::on_prePage_clicked() { m_table->pages()->go(m_table->pages()->page() - 1); }
void MsgCenter::on_nextPage_clicked() { m_table->pages()->go(m_table->pages()->page() + 1); }
