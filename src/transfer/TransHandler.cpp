#include "transfer/TransHandler.h"
#include "common/Debounce.h"
#include "common/facts/Command.h"
#include "common/Session.h"
#include "common/ThreadPool.h"
#include "io/Ask.h"
#include "io/NetTcp.h"
#include "io/NetWork.h"
#include "transfer/TransWork.h"
#include <QDebug>
#include <QFile>
#include <QTimerEvent>

TransHandler::TransHandler() : m_share(std::make_shared<TransShare>(this))
{
    qRegisterMetaType<db_upfile>();
    qRegisterMetaType<db_downfile>();
    connect(NetTcp::instance(), &NetTcp::loginChanged, this, &TransHandler::forgetFarms);
}

TransHandler::~TransHandler()
{
    m_share->release();
    for (TransWork *work : qAsConst(m_works)) {
        work->disconnect(this);
        work->closed = true;
        work->deleteLater();
    }
}

void TransHandler::startScan()
{
    if (m_tickTimer)
        return;
    m_tickTimer = startTimer(TickMs, Qt::CoarseTimer);
    m_secondTimer = startTimer(SecondMs, Qt::CoarseTimer);
}

void TransHandler::startRenewal() { m_renewTimer = startTimer(RenewMs, Qt::VeryCoarseTimer); }

void TransHandler::timerEvent(QTimerEvent *event)
{
    if (Session::closing())
        return;
    if (event->timerId() == m_secondTimer) {
        reportSpeeds();
    } else if (event->timerId() == m_renewTimer) {
        NetWork::instance()->clearFarms();
        for (FarmEntry &entry : m_farms)
            entry.farm = {};
        m_stores.clear();
    }
    scan();
}

// The REST client has forgotten its tokens too; a request under an old one would go out without them.
void TransHandler::forgetFarms()
{
    ++m_logins;
    m_stores.clear();
    for (FarmEntry &entry : m_farms) {
        entry.farm = {};
        entry.answered.invalidate();
    }
}

void TransHandler::pushSpeed(qlonglong key, qlonglong subkey, qlonglong speed, qlonglong size)
{
    m_speedMap[key][subkey] = {speed, size};
}

void TransHandler::reportSpeeds()
{
    if (m_speedMap.isEmpty())
        return;
    const auto speeds = m_speedMap;
    m_speedMap.clear();
    for (auto key = speeds.cbegin(); key != speeds.cend(); ++key) {
        for (auto subkey = key->cbegin(); subkey != key->cend(); ++subkey)
            reportSpeed(key.key(), subkey.key(), subkey->first, subkey->second);
    }
    speedsReported();
}

void TransHandler::reportSpeed(qlonglong, qlonglong, qlonglong, qlonglong) {}

void TransHandler::flushBatch(qlonglong, const QList<BatchItem> &, qlonglong) {}

void TransHandler::batch(qlonglong key, const BatchItem &item, int count, int delayMs)
{
    if (!m_debounce) {
        m_debounce = new Debounce(this);
        connect(m_debounce, &Debounce::debout, this, &TransHandler::debounceOut);
        connect(m_debounce, &Debounce::throut, this, &TransHandler::debounceOut);
    }
    m_batch[key].append(item);
    if (++m_batchCount >= count)
        debounceOut();
    else
        m_debounce->debounce(delayMs);
}

void TransHandler::debounceOut()
{
    if (m_batch.isEmpty())
        return;
    const auto batches = m_batch;
    m_batch.clear();
    m_batchCount = 0;
    for (auto one = batches.cbegin(); one != batches.cend(); ++one) {
        qlonglong sum = 0;
        for (const BatchItem &item : one.value())
            sum += item.size;
        flushBatch(one.key(), one.value(), sum);
    }
    m_debounce->throttle(3000);
}

TransWork *TransHandler::createWork(int transType, int farmId, bool retry, int backError, int socketPort)
{
    if (Session::closing())
        return nullptr;
    if (transType == 1)
        return createStoreWork(farmId, backError, socketPort);
    if (transType != 2) {
        qWarning().noquote() << "TransHandler::createWork unknown transType" << transType;
        return nullptr;
    }
    const Farm *known = farm(farmId);
    if (!known)
        return nullptr;
    TransWork *work = makeWork(retry, backError);
    work->setServer(known->url, known->token);
    return work;
}

// The companion that speaks to the object store tells its port when it runs; without one the row waits.
TransWork *TransHandler::createStoreWork(int farmId, int backError, int socketPort)
{
    if (socketPort == 0) {
        qWarning().noquote() << "TransHandler::createStoreWork ossport:" << socketPort;
        qWarning().noquote() << "TransHandler::createStoreWork check oss.exe is run";
        return nullptr;
    }
    QJsonObject description = store(farmId);
    if (description.isEmpty()) {
        qWarning().noquote() << "TransHandler::createStoreWork ossobj.isEmpty" << farmId;
        return nullptr;
    }
    description.insert(QStringLiteral("backerror"), backError);
    description.insert(QStringLiteral("socketPort"), socketPort);
    return makeStoreWork(description);
}

QJsonObject TransHandler::store(int farmId)
{
    StoreEntry &entry = m_stores[farmId];
    const bool known = !entry.description.isEmpty() && !entry.answered.hasExpired(RenewMs);
    if (known || entry.asking || (entry.answered.isValid() && !entry.answered.hasExpired(FarmGapMs)))
        return known ? entry.description : QJsonObject();
    entry.asking = true;
    const auto answered = [this, farmId, login = m_logins](const QJsonObject &description) {
        if (login != m_logins)
            return; // those keys belong to another login
        m_stores[farmId].asking = false;
        m_stores[farmId].description = description;
        m_stores[farmId].answered.start();
    };
    Ask(Command::FarmInfo, {{QStringLiteral("farmId"), farmId}})
        .within(StoreAskMs)
        .answered([answered](int, const QJsonDocument &doc) { answered(doc.object()); })
        .failed([answered] { answered({}); })
        .send(this);
    return {};
}

void TransHandler::addWork(const QString &key, TransWork *work)
{
    m_works.insert(key, work);
    m_share->running = m_works.size();
    ThreadPool::instance()->addWork(work);
}

bool TransHandler::isCurrent(const QString &key, quint64 serial) const
{
    const TransWork *work = m_works.value(key, nullptr);
    return work && work->serial() == serial;
}

bool TransHandler::takeWork(const QString &key, int kind)
{
    TransWork *work = m_works.take(key);
    if (!work) {
        qDebug().noquote() << "TransHandler::takeWork no dw" << key;
        return false;
    }
    m_share->running = m_works.size();
    work->disconnect(this);
    work->closed = true;
    // Its files and its socket close on its own thread, where it is deleted.
    if (kind == 4)
        QMetaObject::invokeMethod(
            work, [work] { work->dropPartial(); }, Qt::QueuedConnection);
    work->deleteLater();
    return !Session::closing();
}

void TransHandler::clearDownTmp(const db_downfile &file)
{
    if (file.lpath.isEmpty())
        return;
    QFile::remove(file.lpath + QStringLiteral(".xtemp"));
    QFile::remove(file.lpath + QStringLiteral(".vd"));
}

const TransHandler::Farm *TransHandler::farm(int farmId)
{
    FarmEntry &entry = m_farms[farmId];
    if (entry.farm.ready() && entry.answered.isValid() && !entry.answered.hasExpired(RenewMs))
        return &entry.farm;
    if (!entry.asking && (!entry.answered.isValid() || entry.answered.hasExpired(FarmGapMs)))
        probeFarm(farmId);
    return nullptr;
}

void TransHandler::probeFarm(int farmId)
{
    m_farms[farmId].asking = true;
    const auto answered = [this, farmId, login = m_logins](const QString &url, const QString &token) {
        if (login == m_logins)
            return farmAnswered(farmId, url, token);
        m_farms[farmId].asking = false;
        if (!m_farms[farmId].tickets.isEmpty())
            probeFarm(farmId);
    };
    if (needsTicket())
        return NetWork::roleToken(farmId, this, answered);
    NetWork::skydriveUrl(farmId, this, [answered, farmId](const QString &url) {
        const NetWork *net = NetWork::instance();
        answered(url, net ? net->accessToken(farmId) : QString());
    });
}

void TransHandler::farmAnswered(int farmId, const QString &url, const QString &token)
{
    FarmEntry &entry = m_farms[farmId];
    entry.asking = false;
    entry.answered.start();
    entry.farm = {url, token};
    const bool told = entry.told;
    entry.told = !entry.farm.ready();
    if (!entry.farm.ready()) {
        if (!told) // once, not at every try while the link is down
            qWarning().noquote() << "TransHandler::farmAnswered farm" << farmId << "url" << url << "token"
                                 << (token.isEmpty() ? "none" : "good");
        if (!url.isEmpty()) // an address that gives no token may be an old one
            NetWork::instance()->clearFarm(farmId);
        entry.farm = {};
    }
    const QList<Asker> askers = entry.tickets;
    const QString ticket = entry.farm.token;
    entry.tickets.clear();
    for (const Asker &asker : askers) {
        if (TransWork *work = isCurrent(asker.key, asker.serial) ? worker(asker.key) : nullptr)
            QMetaObject::invokeMethod(
                work, [work, url, ticket] { work->takeTicket(url, ticket); }, Qt::QueuedConnection);
    }
}

void TransHandler::getTicket(int farmId, const QString &key, quint64 serial)
{
    m_farms[farmId].tickets.append({key, serial});
    if (const Farm *known = farm(farmId)) {
        const Farm copy = *known;
        const QElapsedTimer since = m_farms[farmId].answered;
        farmAnswered(farmId, copy.url, copy.token);
        m_farms[farmId].answered = since;
    } else if (!m_farms[farmId].asking) {
        probeFarm(farmId);
    }
}

void TransHandler::getFarmHost(int farmId, const QString &key, quint64 serial)
{
    m_farms[farmId].hosts.append({key, serial});
    if (!m_farms[farmId].askingHost)
        probeHost(farmId);
}

void TransHandler::probeHost(int farmId)
{
    m_farms[farmId].askingHost = true;
    NetWork::farmHost(farmId, this,
                      [this, farmId](const NetWork::FarmHost &found) { hostAnswered(farmId, found.ip, found.port); });
}

void TransHandler::hostAnswered(int farmId, const QString &host, int port)
{
    FarmEntry &entry = m_farms[farmId];
    entry.askingHost = false;
    const QList<Asker> askers = entry.hosts;
    entry.hosts.clear();
    for (const Asker &asker : askers) {
        if (TransWork *work = isCurrent(asker.key, asker.serial) ? worker(asker.key) : nullptr)
            QMetaObject::invokeMethod(
                work, [work, host, port] { work->farmHostFound(host, port); }, Qt::QueuedConnection);
    }
}

void TransHandler::dropFarm(int farmId)
{
    FarmEntry &entry = m_farms[farmId];
    if (!entry.farm.ready())
        return; // ten workers may tell the same
    NetWork::instance()->clearFarm(farmId);
    entry.farm = {};
}

bool TransHandler::checkRetry(const QString &key)
{
    int &count = m_retryCount[key];
    if (count < MaxRetries) {
        ++count;
        return true;
    }
    m_retryCount.remove(key);
    if (m_gaveUp.size() >= MostGaveUp)
        m_gaveUp.clear(); // it's a word to the server and no more
    m_gaveUp.insert(key);
    return false;
}

bool TransHandler::takeGaveUp(const QString &key) { return m_gaveUp.remove(key); }
