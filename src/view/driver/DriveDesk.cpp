#include "view/driver/DriveDesk.h"
#include <QCoreApplication>

namespace
{
QString lostText(const QString &why)
{
    return QCoreApplication::translate("DriveDesk", "农场没有回应，请检查网络后重试。（%1）").arg(why);
}
} // namespace

DriveDesk::DriveDesk() : m_there(new QObject)
{
    m_thread.setObjectName(QStringLiteral("DriveDesk"));
    m_there->moveToThread(&m_thread);
    QObject::connect(&m_thread, &QThread::finished, m_there, &QObject::deleteLater);
    m_thread.start();
}

DriveDesk::~DriveDesk()
{
    m_thread.quit();
    m_thread.wait();
}

void DriveDesk::run(std::function<void()> work)
{
    QMetaObject::invokeMethod(m_there, std::move(work), Qt::QueuedConnection);
}

void DriveDesk::send(const DriveRest &question, QObject *guard, std::function<void(Answer *)> turn, Then then)
{
    const auto hand = [way = Delivery::here(), alive = QPointer<QObject>(guard), then](const Answer &answer) {
        way.post(alive, [answer, then] { then(answer); });
    };
    run([there = m_there, asked = question, turn = std::move(turn), hand]() mutable {
        asked
            .answered([turn, hand](const DriveRest::Reply &reply) {
                Answer answer;
                answer.good = true;
                answer.reply = reply;
                turn(&answer);
                hand(answer);
            })
            .refused([hand](const DriveRest::Reply &reply) {
                Answer answer;
                answer.refused = true;
                answer.reply = reply;
                answer.text = reply.text;
                hand(answer);
            })
            .lost([hand](const QString &why) {
                Answer answer;
                answer.text = lostText(why);
                hand(answer);
            })
            .send(there);
    });
}

void DriveDesk::ask(const DriveRest &question, QObject *guard, Then then)
{
    send(
        question, guard, [](Answer *) {}, std::move(then));
}

void DriveDesk::rows(const DriveRest &question, const QString &parent, const Order &order, QObject *guard, Then then)
{
    const auto turn = [parent, order](Answer *answer) {
        answer->rows.reserve(answer->reply.entries.size());
        for (const SubFile &entry : qAsConst(answer->reply.entries)) {
            answer->rows << entry;
            if (FileView &row = answer->rows.last(); row.parent.isEmpty())
                row.parent = parent;
            if (entry.isFolder())
                answer->folders << answer->rows.last();
        }
        DriveSort::sort(&answer->folders, DriveSort::Name, false);
        answer->reply.entries.clear();
        DriveSort::sort(&answer->rows, order.column, order.down);
    };
    send(question, guard, turn, std::move(then));
}

void DriveDesk::sort(const QVector<FileView> &rows, const Order &order, QObject *guard,
                     std::function<void(const QVector<FileView> &)> then)
{
    run([way = Delivery::here(), alive = QPointer<QObject>(guard), sorted = rows, order, then]() mutable {
        DriveSort::sort(&sorted, order.column, order.down);
        way.post(alive, [sorted, then] { then(sorted); });
    });
}
