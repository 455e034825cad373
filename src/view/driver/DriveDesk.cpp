#include "view/driver/DriveDesk.h"
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QPointer>

namespace
{
// A piece has an eighth of what is there already, so that there are few where each costs much; a slow farm's come when
// they come.
constexpr int LeastPiece = 1000, MostPiece = 20000, PieceMs = 100;

QString lostText(const QString &why)
{
    return QCoreApplication::translate("DriveDesk", "农场没有回应，请检查网络后重试。（%1）").arg(why);
}
} // namespace

// Made on the asking thread, then used on the desk's but for what the mutex guards.
class DriveDesk::Reading : public std::enable_shared_from_this<DriveDesk::Reading>
{
public:
    Reading(const QString &parent, const DriveSort &by, bool rows) : m_parent(parent), m_rows(rows), m_order(by) {}
    void tell(const Delivery &way, const QPointer<QObject> &guard, Pieces pieces)
    {
        m_way = way;
        m_guard = guard;
        m_pieces = std::move(pieces);
        m_last.start();
    }

    void add(const QVector<SubFile> &entries)
    {
        for (const SubFile &entry : entries) {
            FileView row = entry;
            if (row.parent.isEmpty())
                row.parent = m_parent;
            if (row.isFolder())
                m_folders << row;
            if (m_rows)
                m_fresh << row;
        }
        if (m_rows && !m_pieces)
            m_all.append(std::exchange(m_fresh, {}));
        if (m_pieces && (m_fresh.size() >= qBound(LeastPiece, m_count / 8, MostPiece) || m_last.hasExpired(PieceMs) ||
                         m_count == 0))
            hand();
    }

    void resort(const DriveSort &by)
    {
        m_order.resort(by);
        if (m_pieces)
            hand(true);
    }

    void finish(Answer *answer)
    {
        if (m_pieces) {
            hand();
        } else {
            m_order.add(m_all);
            answer->rows = std::exchange(m_all, {});
            answer->order = m_order.order();
        }
        answer->by = m_order.by();
        DriveOrder names;
        names.add(m_folders);
        for (int row : names.order())
            answer->folders << m_folders.at(row);
    }

private:
    // Where the window hasn't taken the last piece yet, this one joins it.
    void hand(bool always = false)
    {
        if (m_fresh.isEmpty() && !always)
            return;
        m_order.add(m_fresh);
        m_count += m_fresh.size();
        QMutexLocker lock(&m_mutex);
        m_waiting.rows += std::exchange(m_fresh, {});
        m_waiting.order = m_order.order();
        m_waiting.by = m_order.by();
        m_last.start();
        if (std::exchange(m_posted, true))
            return;
        m_way.post(m_guard, [weak = weak_from_this(), pieces = m_pieces] {
            const Held self = weak.lock();
            if (!self)
                return;
            QMutexLocker lock(&self->m_mutex);
            const Piece piece = std::exchange(self->m_waiting, {});
            self->m_posted = false;
            lock.unlock();
            pieces(piece);
        });
    }

    const QString m_parent;
    const bool m_rows;
    DriveOrder m_order;
    int m_count = 0;
    QVector<FileView> m_fresh, m_folders;
    FolderRows m_all; // where it isn't told in pieces
    Delivery m_way;
    QPointer<QObject> m_guard;
    Pieces m_pieces;
    QElapsedTimer m_last;
    QMutex m_mutex; // of these
    Piece m_waiting;
    bool m_posted = false;
};

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

void DriveDesk::send(DriveRest question, QObject *guard, std::function<bool(Answer *)> turn, Then then)
{
    const auto hand = [way = Delivery::here(), alive = QPointer<QObject>(guard), turn, then](Answer answer) {
        if (turn(&answer))
            way.post(alive, [answer, then] { then(answer); });
    };
    run([there = m_there, asked = std::move(question), hand]() mutable {
        asked
            .answered([hand](const DriveRest::Reply &reply) {
                Answer answer;
                answer.good = true;
                answer.reply = reply;
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
        question, guard, [](Answer *) { return true; }, std::move(then));
}

DriveDesk::Held DriveDesk::rows(DriveRest question, const QString &parent, const DriveSort &by, QObject *guard,
                                Pieces pieces, Then then)
{
    const auto reading = std::make_shared<Reading>(parent, by, true);
    reading->tell(Delivery::here(), guard, std::move(pieces));
    const std::weak_ptr<Reading> weak = reading;
    question.pieces([weak](const QVector<SubFile> &entries) {
        const Held held = weak.lock();
        if (held)
            held->add(entries);
        return held != nullptr;
    });
    const auto turn = [weak](Answer *answer) {
        const Held held = weak.lock();
        if (held)
            held->finish(answer);
        return held != nullptr;
    };
    send(std::move(question), guard, turn, [weak, then = std::move(then)](const Answer &answer) {
        if (weak.lock())
            then(answer);
    });
    return reading;
}

void DriveDesk::folders(DriveRest question, const QString &parent, QObject *guard, Then then)
{
    const auto reading = std::make_shared<Reading>(parent, DriveSort{}, false);
    question.pieces([reading](const QVector<SubFile> &entries) {
        reading->add(entries);
        return true;
    });
    const auto turn = [reading](Answer *answer) {
        reading->finish(answer);
        return true;
    };
    send(std::move(question), guard, turn, std::move(then));
}

void DriveDesk::resort(const Held &reading, const DriveSort &by)
{
    run([reading, by] { reading->resort(by); });
}

void DriveDesk::sort(const FolderRows &rows, const DriveSort &by, QObject *guard,
                     std::function<void(const QVector<int> &)> then)
{
    run([way = Delivery::here(), alive = QPointer<QObject>(guard), rows, by, then] {
        const QVector<int> order = DriveOrder::of(rows, by);
        way.post(alive, [order, then] { then(order); });
    });
}
