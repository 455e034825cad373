#include "transfer/up/UpHandler.h"
#include "common/facts/Command.h"
#include "common/platform/Platform.h"
#include "common/Session.h"
#include "common/UserInfo.h"
#include "db/DoneDAO.h"
#include "db/ResolveDAO.h"
#include "db/UploadDAO.h"
#include "io/Ask.h"
#include "transfer/TransSet.h"
#include "transfer/up/UpOss.h"
#include "transfer/up/UpWork.h"
#include <algorithm>
#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDebug>
#include <QFile>
#include <QJsonDocument>

namespace
{
constexpr int MaxDelayed = 500; // rows of one order that stand aside; beyond it the order itself waits
constexpr int NoStoreMs = 1000; // the companion of the object store isn't there
constexpr int NoFarmMs = 250;   // the farm's address and token aren't there
} // namespace

UpHandler::UpHandler()
{
    m_clock.start();
    m_lastLook.start();
    m_lastTotals.start();
    // Only the wish to look again crosses threads, no record.
    const auto wake = [this] { m_nothing = false; };
    connect(ResolveDAO::instance(), &ResolveDAO::stateChanged, this, wake, Qt::QueuedConnection);
    connect(ResolveDAO::instance(), &ResolveDAO::refreshAll, this, wake, Qt::QueuedConnection);
    startRenewal();
    UpWork::removeParts();
    UpOss::removeOld();
    m_oss.init(QCoreApplication::applicationDirPath() +
                   (platform::isWindows() ? QStringLiteral("/oss.exe") : QStringLiteral("/oss")),
               false, true, true);
    Seam<UpCalls>::attach(this, this);
}

UpHandler::~UpHandler() { Seam<UpCalls>::detach(this); }

QString UpHandler::keyOf(const db_upfile &file)
{
    return QStringLiteral("%1_%2_%3").arg(file.ordernum, QString::number(file.missid), QString::number(file.pri));
}

bool UpHandler::quiet() { return m_nothing && !m_lastLook.hasExpired(IdleMs); }

void UpHandler::scan()
{
    if (!Session::live() || UserInfo::userId() == 0 || quiet())
        return;
    refreshChanged();
    const int free = UserInfo::upTh() - running();
    if (free <= 0)
        return;
    // Orders whose last files run, that wait for the server's word or stand aside don't take the place of those with
    // work.
    const QList<db_resolve> orders =
        ResolveDAO::instance()->nextUploads(free + 1 + running() + m_ending.size() + m_aside.size() + m_delayed.size());
    m_nothing = orders.isEmpty();
    m_lastLook.start();
    const int want = qMin(free, NewPerTick);
    QList<db_upfile> chosen;
    for (const db_resolve &order : orders) {
        if (chosen.size() >= want || walkOrder(order, want, &chosen) == Walk::Stop)
            break;
    }
    giveWay(chosen);
    for (const db_upfile &file : qAsConst(chosen))
        start(file);
}

bool UpHandler::aside(const QString &order)
{
    const auto found = m_aside.find(order);
    if (found == m_aside.end())
        return false;
    if (*found > m_clock.elapsed())
        return true;
    m_aside.erase(found);
    return false;
}

void UpHandler::putAside(const QString &order, int ms) { m_aside.insert(order, m_clock.elapsed() + ms); }

UpHandler::Walk UpHandler::walkOrder(const db_resolve &order, int want, QList<db_upfile> *chosen)
{
    if (aside(order.ordernum))
        return Walk::Next;
    if (!storeReady(order))
        return Walk::Next;
    if (order.state == SceneState::UploadWaiting && !takeUp(order))
        return Walk::Next; // paused since it was read, or the store is busy
    const QList<qlonglong> delayed = delayedOf(order.ordernum);
    if (delayed.size() > MaxDelayed)
        return Walk::Next;
    const QList<qlonglong> mine = runningOf(order.ordernum);
    const QList<db_upfile> rows =
        UploadDAO::instance()->nextWaiting(order.ordernum, mine + delayed, want - chosen->size());
    for (const db_upfile &row : rows) {
        if (order.filetype == 2 ? !store(row.farmid).isEmpty() : farm(row.farmid) != nullptr)
            chosen->append(row);
        else
            putAside(order.ordernum, NoFarmMs);
    }
    // A file that runs or stands aside still has its row: the order can't be over.
    if (!rows.isEmpty() || !mine.isEmpty() || !delayed.isEmpty())
        return Walk::Next;
    return judge(order);
}

// Whether the order's road stands: always, but for an object store without the companion.
bool UpHandler::storeReady(const db_resolve &order)
{
    if (order.filetype != 2)
        return true;
    m_storeOrders.insert(order.ordernum);
    if (m_oss.socketPort() != 0) {
        m_toldNoOss = false;
        return true;
    }
    putAside(order.ordernum, NoStoreMs);
    if (!m_toldNoOss)
        delete createWork(1, 0, false, 0, 0); // tells why
    m_toldNoOss = true;
    return false;
}

// False where the user has paused or deleted it since it was read: his word stands.
bool UpHandler::takeUp(const db_resolve &order)
{
    if (ResolveDAO::instance()->step(order.rkey, SceneState::Act::TakeUp) <= 0)
        return false;
    UploadDAO::instance()->resetLeftBehind(order.ordernum, runningOf(order.ordernum));
    refreshTotals(order.ordernum);
    return true;
}

UpHandler::Walk UpHandler::judge(const db_resolve &order)
{
    const int rows = UploadDAO::instance()->count(order.ordernum);
    if (rows < 0)
        return Walk::Next;
    if (rows == 0) {
        if (!lostRows(order))
            askEnd(order);
        return Walk::Next;
    }
    if (UploadDAO::instance()->countFailed(order.ordernum) < rows)
        return Walk::Next;
    // Every file that is left has failed. The rows stay, so that the user can start them again.
    if (ResolveDAO::instance()->step(order.rkey, SceneState::Act::FailUpload) <= 0)
        return Walk::Next;
    takeOrder(order.ordernum);
    UploadDAO::instance()->tellOrderCleared(order.ordernum);
    UploadDAO::instance()->tellRefresh();
    return Walk::Stop;
}

// "No rows" ends an order only where its rows were seen: a store that was damaged begins anew and knows none of them.
bool UpHandler::lostRows(const db_resolve &order)
{
    const int known = UploadDAO::instance()->knows(order.ordernum);
    if (known < 0)
        return true; // looked at again
    if (known > 0 || order.fsum <= order.fok)
        return false;
    qWarning().noquote() << "UpHandler::lostRows" << order.ordernum << "has" << order.fsum << "files," << order.fok
                         << "of them uploaded, and no rows: the order is asked for anew";
    ResolveDAO::instance()->step(order.rkey, SceneState::Act::LoseFiles);
    return true;
}

// The server must hear that the upload is over: without an answer it is asked again, and the record stays meanwhile.
void UpHandler::askEnd(const db_resolve &order)
{
    QElapsedTimer &asked = m_ending[order.ordernum];
    if (asked.isValid() && !asked.hasExpired(m_timing.askAgainMs))
        return;
    asked.start();
    reportSpeeds(); // while the record still tells the totals
    Ask(Command::UploadOver, {{QStringLiteral("missionId"), order.missionid}})
        .within(m_timing.askAgainMs)
        .any([this, rkey = order.rkey, number = order.ordernum](int, const QJsonDocument &) { endOrder(rkey, number); })
        .send(this);
}

void UpHandler::noteDone(const db_resolve &record)
{
    db_done done;
    done.ordernum = record.ordernum;
    done.missid = record.missionid;
    done.name = record.lpath.mid(record.lpath.lastIndexOf(QLatin1Char('/')) + 1);
    done.folder = record.lpath.left(qMax(0, record.lpath.lastIndexOf(QLatin1Char('/'))));
    done.ok = record.fok;
    done.sum = record.fsum;
    done.size = record.fup;
    DoneDAO::instance()->add(done);
}

void UpHandler::endOrder(qlonglong rkey, const QString &order)
{
    if (m_ending.remove(order) == 0 || UploadDAO::instance()->count(order) != 0)
        return; // taken meanwhile, or it has files again
    ResolveDAO *resolve = ResolveDAO::instance();
    const db_resolve record = resolve->readWithPara(rkey);
    if (record.rkey == 0)
        return; // deleted meanwhile
    noteDone(record);
    bool kept = false;
    if (UserInfo::isMaster()) {
        const QJsonValue slave =
            QJsonDocument::fromJson(record.rdata.toUtf8()).object().value(QStringLiteral("fromSlave"));
        kept = slave.toVariant().toInt() != 0;
    }
    if (kept)
        resolve->step(rkey, SceneState::Act::KeepForSeat); // the subordinate seat still polls it
    else
        resolve->remove(rkey);
    // The server has forgotten it: a power cut mustn't bring it back.
    if (resolve->settle())
        UploadDAO::instance()->removeOrder(order);
}

// With a proxy in between, the biggest file stands back while others wait.
void UpHandler::giveWay(const QList<db_upfile> &chosen)
{
    if (UserInfo::upProxyPort() == 0 || chosen.isEmpty() || m_running.isEmpty())
        return;
    const auto biggest = std::max_element(m_running.cbegin(), m_running.cend(),
                                          [](const db_upfile &a, const db_upfile &b) { return a.size < b.size; });
    if (biggest->size < BigFile)
        return;
    const db_upfile file = *biggest;
    workFinished(file, TransSet::Transient);
    delay(file, m_timing.giveWayMs);
}

void UpHandler::start(const db_upfile &waiting)
{
    const QString key = keyOf(waiting);
    if (worker(key))
        return;
    const bool byStore = m_storeOrders.contains(waiting.ordernum);
    TransWork *work = createWork(byStore ? 1 : 2, waiting.farmid, takeGaveUp(key), waiting.error, m_oss.socketPort());
    if (!work)
        return;
    db_upfile file = waiting;
    file.state = TransSet::UpRun;
    if (file.error != TransSet::StaleToken)
        file.error = 0;
    const quint64 serial = nextSerial();
    work->setKey(key, serial);
    work->setSignMd5(key, QString::fromLatin1(QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Md5).toHex()),
                     0);
    // What a worker said before it was taken may arrive when another one runs under its key.
    connect(work, &TransWork::UpWorkFinished, this, [this, key, serial](const db_upfile &done, int kind) {
        if (isCurrent(key, serial))
            workFinished(done, kind);
    });
    connect(work, &TransWork::updateFile, this, [this, key, serial](int type, const db_upfile &changed) {
        if (isCurrent(key, serial))
            updateFile(type, changed);
    });
    m_running.insert(key, file);
    UploadDAO::instance()->tellState(file.pri, file.state, file.error);
    addWork(key, work);
    UpSource *up = static_cast<UpSource *>(work);
    QMetaObject::invokeMethod(
        up, [up, file] { up->upReq(file); }, Qt::QueuedConnection);
    pushSpeed(file.missid, file.pri, 0, 0);
}

TransWork *UpHandler::makeWork(bool retry, int) { return new UpWork(share(), retry, UserInfo::upProxyPort()); }

TransWork *UpHandler::makeStoreWork(const QJsonObject &description)
{
    return new UpOss(share(), description, m_oss.auth(), m_timing.silenceMs);
}

void UpHandler::setTiming(const Timing &timing)
{
    m_timing = timing;
    m_oss.setRestartMs(timing.restartMs);
}

void UpHandler::workFinished(db_upfile file, int kind)
{
    const QString key = keyOf(file);
    m_running.remove(key);
    takeWork(key, 0);
    UploadDAO *store = UploadDAO::instance();
    if (kind == TransSet::Done) {
        forgetRetries(key);
        if (file.speed > 0)
            pushSpeed(file.missid, file.pri, file.speed, 0);
        // The row goes when the file is counted on: a crash in between asks the server again and finds it there.
        if (store->remove(file.pri))
            Seam<ResolveCalls>::post([=](ResolveCalls &resolve) { resolve.fileOk(file.ordernum, file.size); });
        return;
    }
    if (kind == TransSet::Dropped)
        return;
    if (UpWork::isStage(file.error) && kind == TransSet::Transient) {
        // The row waits as it did; only the page hears of the stage.
        store->tellState(file.pri, TransSet::UpServer, file.error);
        delay(file, m_timing.stageMs);
        return;
    }
    if (file.state == TransSet::UpError)
        store->setState(file.pri, TransSet::UpError, file.error);
    if (kind == TransSet::Transient) {
        store->setState(file.pri, TransSet::UpWait, file.error);
        delay(file, m_timing.passingMs);
        return;
    }
    const int tries = retries(key);
    if (checkRetry(key)) {
        store->setState(file.pri, TransSet::UpWait, file.error);
        delay(file, m_timing.passingMs << tries);
        return;
    }
    store->setState(file.pri, TransSet::UpGaveUp, file.error);
    const QString zip = UpWork::zipPathOf(file);
    if (!zip.isEmpty())
        QFile::remove(zip);
}

void UpHandler::updateFile(int type, db_upfile file)
{
    switch (type) {
    case 1:
        UploadDAO::instance()->setHash(file);
        break;
    case 2:
        UploadDAO::instance()->setId(file.ordernum, file.lpath, file.id);
        break;
    case 3:
        UploadDAO::instance()->setMeasure(file);
        break;
    default:
        break;
    }
    m_running.insert(keyOf(file), file);
    m_changedTotals.insert(file.ordernum);
}

// Summed up at most once a second: a whole order may be measured anew at a hundred files a second.
void UpHandler::refreshChanged()
{
    if (m_changedTotals.isEmpty() || !m_lastTotals.hasExpired(SecondMs))
        return;
    m_lastTotals.start();
    const QSet<QString> orders = m_changedTotals;
    m_changedTotals.clear();
    for (const QString &order : orders)
        refreshTotals(order);
}

void UpHandler::refreshTotals(const QString &order)
{
    const db_resolve record = ResolveDAO::instance()->readByOrder(order);
    const qlonglong left = UploadDAO::instance()->sumSize(order);
    if (record.rkey == 0 || left < 0)
        return;
    // Added, not set: files are counted as done on another thread at the same time.
    const qlonglong change = left + record.fup - record.fsize;
    if (change != 0)
        ResolveDAO::instance()->addSize(record.rkey, change);
}

void UpHandler::pauseUp(QString order, int missid, int isDel, bool clear)
{
    qDebug().noquote() << "UpHandler::pauseUp" << order << missid << isDel << clear;
    takeOrder(order);
    if (clear)
        UploadDAO::instance()->removeOrder(order);
}

void UpHandler::takeOrder(const QString &order)
{
    QStringList mine;
    for (auto one = m_running.cbegin(); one != m_running.cend(); ++one) {
        if (one->ordernum == order)
            mine << one.key();
    }
    for (const QString &key : qAsConst(mine)) {
        UploadDAO::instance()->tellState(m_running.take(key).pri, TransSet::UpWait, 0);
        takeWork(key, 0);
    }
    m_delayed.remove(order);
    m_ending.remove(order);
    m_aside.remove(order);
    m_storeOrders.remove(order);
}

void UpHandler::delUp(QString order, int mid)
{
    pauseUp(order, mid, 1);
    UploadDAO::instance()->removeOrder(order);
    UpWork::removeZips(order);
    UpOss::removeUnwanted();
    // Without its rows the record would look like an upload that is over, and the server would be told so.
    const db_resolve record = ResolveDAO::instance()->readByOrder(order);
    if (SceneState::InUpload.contains(record.state))
        Seam<ResolveCalls>::post([rkey = record.rkey](ResolveCalls &resolve) { resolve.delResolve(rkey); });
}

void UpHandler::reUp(QString order)
{
    m_delayed.remove(order);
    m_aside.remove(order);
    m_nothing = false;
    UploadDAO::instance()->tellOrderCleared(order);
    UploadDAO::instance()->reUp(order);
    UploadDAO::instance()->tellRefresh();
}

void UpHandler::readFile(QString order, int page) { UploadDAO::instance()->readPage(order, page); }

QList<qlonglong> UpHandler::runningOf(const QString &order) const
{
    QList<qlonglong> list;
    for (const db_upfile &file : m_running) {
        if (file.ordernum == order)
            list << file.pri;
    }
    return list;
}

QList<qlonglong> UpHandler::delayedOf(const QString &order)
{
    const auto found = m_delayed.find(order);
    if (found == m_delayed.end())
        return {};
    for (auto one = found->begin(); one != found->end();)
        one = *one <= m_clock.elapsed() ? found->erase(one) : std::next(one);
    const QList<qlonglong> list = found->keys();
    if (list.isEmpty())
        m_delayed.erase(found);
    return list;
}

void UpHandler::delay(const db_upfile &file, int ms)
{
    m_delayed[file.ordernum].insert(file.pri, m_clock.elapsed() + ms);
}

void UpHandler::reportSpeed(qlonglong key, qlonglong subkey, qlonglong speed, qlonglong size)
{
    double ratio = 1.0;
    bool runs = false; // one that ended within this second is counted among the files that are done
    for (const db_upfile &file : qAsConst(m_running)) {
        if (file.pri == subkey) {
            ratio = file.ratio;
            runs = true;
        }
    }
    Sum &sum = m_sums[int(key)];
    sum.speed += speed;
    sum.felt += double(speed) * ratio;
    if (runs)
        sum.bytes += qint64(double(size) * ratio);
}

// What all uploads together reached, smoothed: whoever wants to know how long the next order will take asks for it.
void UpHandler::keepPace()
{
    qint64 bytes = 0;
    for (const Sum &sum : qAsConst(m_sums))
        bytes += sum.speed;
    const double kib = double(bytes) / 1024;
    m_pace = m_pace == 0 ? kib : m_pace * 0.9 + kib * 0.1;
    if (bytes == 0 || (m_paceKept.isValid() && !m_paceKept.hasExpired(KeepPaceMs)))
        return;
    m_paceKept.start();
    UserInfo::setSetting(Settings::MeasuredUp, qMax(1, int(m_pace)));
}

void UpHandler::speedsReported()
{
    keepPace();
    for (auto one = m_sums.cbegin(); one != m_sums.cend(); ++one) {
        const db_resolve order = ResolveDAO::instance()->readByMission(one.key());
        if (order.rkey == 0)
            continue; // over or deleted within this second
        UploadDAO::instance()->tellOrderSpeed(order.ordernum, one->speed);
        const QPair<qlonglong, qlonglong> sizes = ResolveDAO::instance()->sizesOfMission(one.key());
        const QJsonObject speed{
            {QStringLiteral("missionId"), one.key()},
            {QStringLiteral("realtimeSpeed"), one->speed},
            {QStringLiteral("feelingSpeed"), qint64(one->felt)},
            {QStringLiteral("totalSize"), qint64(sizes.first)},
            {QStringLiteral("uploadedSize"), qint64(sizes.second) + one->bytes},
        };
        Ask(Command::UploadSpeed, speed).send();
    }
    m_sums.clear();
}
