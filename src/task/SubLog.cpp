#include "task/SubLog.h"
#include "common/facts/Command.h"
#include "common/ResultPath.h"
#include "common/UserInfo.h"
#include "common/VFunc.h"
#include "io/Ask.h"
#include "io/NetTcpDown.h"
#include "io/NetWork.h"
#include "task/Cell.h"
#include "task/SubTask.h"
#include "transfer/TransFrame.h"
#include "transfer/TransSet.h"
#include <mutex>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QHash>

namespace
{
constexpr int StartTooFar = 13020304;
constexpr qint64 GrownEach = 4 << 20;

// Of which render the files of this session are.
std::mutex versionMutex;
QHash<QString, QString> &versions()
{
    static QHash<QString, QString> all;
    return all;
}

QString firstOf(const QJsonObject &object, const QStringList &keys)
{
    for (const QString &key : keys)
        if (const QString text = Cell::text(object.value(key)); !text.isEmpty() && text != QLatin1String("0"))
            return text;
    return {};
}
} // namespace

SubLog::SubLog(const Of &of, const QString &file, QObject *parent) : QObject(parent), m_of(of), m_file(file) {}

SubLog::~SubLog()
{
    if (m_stream)
        m_stream->disconnect(this);
    const std::lock_guard<std::mutex> lock(versionMutex);
    if (!QFileInfo::exists(file()))
        versions().remove(file());
}

QString SubLog::fileOf(const QString &task, const QString &sub)
{
    return QStringLiteral("%1/%2.log")
        .arg(UserInfo::tempDir(), ResultPath::safeName(QStringLiteral("%1_%2").arg(task, sub)));
}

void SubLog::call(std::function<void(SubLog &)> work)
{
    QMetaObject::invokeMethod(
        this, [this, work] { work(*this); }, Qt::QueuedConnection);
}

void SubLog::more()
{
    if (std::exchange(m_busy, true))
        return;
    m_emptied = false;
    m_runs = -1;
    m_trouble.clear();
    Ask(Command::TaskLog, SubAsk::one(m_of.task, m_of.sub))
        .any([this](int val, const QJsonDocument &doc) { answered(val, doc.object()); })
        .lost([this](Ask::Loss) { end(tr("服务器没有响应，请检查网络后重试")); })
        .send(this);
}

bool SubLog::begin()
{
    const std::lock_guard<std::mutex> lock(versionMutex);
    const auto known = versions().constFind(file());
    const QFileInfo info(m_file);
    if (info.isSymLink() || (info.exists() && (known == versions().cend() || *known != m_of.version)))
        QFile::remove(file()); // of another render, or of nobody knows what
    versions().insert(file(), m_of.version);
    QDir().mkpath(info.absolutePath());
    if (!m_file.isOpen() || !QFileInfo::exists(file())) {
        m_file.close();
        if (!m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
            return false;
    }
    m_size = m_shown = m_file.size();
    return m_file.seek(m_size);
}

void SubLog::empty()
{
    qDebug().noquote() << "SubLog::empty begins anew" << file() << m_size;
    m_emptied = true;
    m_file.resize(0);
    m_file.seek(0);
    m_size = m_shown = 0;
    emit anew();
}

void SubLog::answered(int val, const QJsonObject &where)
{
    if (!Command::good(Command::TaskLog, val)) {
        const QString text = SubTask::codeText(val);
        return end(text.isEmpty() ? tr("没有日志 (%1)").arg(val) : text);
    }
    if (!begin())
        return end(tr("日志无法写入：%1").arg(m_file.errorString()));
    const QString path =
        firstOf(where, {QStringLiteral("path"), QStringLiteral("log_file"), QStringLiteral("downloadPath")});
    if (!path.isEmpty() && !m_of.path.isEmpty() && path != m_of.path && m_size > 0)
        empty();
    if (!path.isEmpty())
        m_of.path = path;
    const QString told = firstOf(where, {QStringLiteral("size"), QStringLiteral("fileSize"), QStringLiteral("length")});
    m_runs = where.contains(QLatin1String("running")) ? Cell::integer(where, "running") : -1;
    m_told = told.isEmpty() ? -1 : qMax(0LL, told.toLongLong());
    if (m_told >= 0 && m_told < m_size)
        empty();
    if (m_told >= 0 && m_told == m_size)
        return end();
    if (m_of.path.isEmpty())
        return end(tr("服务器没有给出日志的位置"));
    findServer(where);
}

void SubLog::findServer(const QJsonObject &where)
{
    const QString side = UserInfo::lanWan();
    QStringList names;
    for (const char *name : {"ip", "host", "addr", "address", "domain"})
        names << QLatin1String(name) + side << QLatin1String(name);
    m_host = firstOf(where, names);
    m_ports.clear();
    for (const QString &key : {QStringLiteral("port") + side, QStringLiteral("port"), QStringLiteral("port0")}) {
        const int port = Cell::integer(where.value(key));
        if (port > 0 && port < 65536 && !m_ports.contains(port))
            m_ports << port;
    }
    if (const int farm = Cell::integer(where, "farmId"); farm > 0)
        m_of.farmId = farm;
    const QString token = Cell::text(where, "token");
    if (!m_host.isEmpty() && !m_ports.isEmpty())
        return findToken(token);
    NetWork::farmHost(m_of.farmId, this, [this, token](const NetWork::FarmHost &found) {
        if (!found.known())
            return end(tr("找不到日志所在的文件服务器"));
        m_host = found.ip.isEmpty() ? found.domain : found.ip;
        m_ports = {found.port};
        findToken(token);
    });
}

// The one that came with the place, then the session's; the farm's own is asked for only where those aren't known.
void SubLog::findToken(const QString &told)
{
    m_port = m_token = 0;
    m_tokens = QStringList{told, told.isEmpty() ? QString() : UserInfo::sessionToken()};
    m_tokens.removeAll(QString());
    m_tokens.removeDuplicates();
    m_farmToken = false;
    if (m_tokens.isEmpty())
        askFarmToken();
    else
        connectNext();
}

void SubLog::askFarmToken()
{
    m_farmToken = true;
    NetWork::roleToken(m_of.farmId, this, [this](const QString &, const QString &role) {
        m_tokens << role;
        if (m_tokens.size() == 1 && !UserInfo::sessionToken().isEmpty())
            m_tokens << UserInfo::sessionToken();
        connectNext();
    });
}

void SubLog::connectNext()
{
    const QJsonObject body{{"startPoint", m_size}, {"path", m_of.path}};
    m_stream = new NetTcpDown(this);
    connect(m_stream, &NetTcpDown::dataRead, this, &SubLog::take);
    connect(m_stream, &NetTcpDown::tcpDownOver, this, &SubLog::streamOver);
    if (m_told < 0)
        m_stream->setEndSilence(EndSilenceMs);
    m_stream->start(
        m_host, m_ports.at(m_port),
        TransFrame::ask(TransFrame::Ask, TransFrame::AskDown, TransFrame::tokenBytes(m_tokens.at(m_token)), body));
}

void SubLog::take(const QByteArray &data)
{
    const qint64 room = m_told >= 0 ? m_told - m_size : MostBytes - m_size;
    const qint64 part = qMin<qint64>(data.size(), room);
    if (m_size / (64 << 20) != (m_size + part) / (64 << 20) && VFunc::freeSpace(file()) < LeastFree)
        m_trouble = tr("磁盘空间不足");
    else if (m_file.write(data.constData(), part) != part)
        m_trouble = tr("日志无法写入：%1").arg(m_file.errorString());
    if (!m_trouble.isEmpty())
        return m_stream->stop();
    m_size += part;
    if (m_size - m_shown >= GrownEach) {
        m_shown = m_size;
        emit grown(m_size);
    }
    if (part == room)
        m_stream->stop();
}

void SubLog::streamOver()
{
    NetTcpDown *stream = std::exchange(m_stream, nullptr);
    stream->deleteLater();
    if (!m_trouble.isEmpty())
        return end(m_trouble);
    if (stream->answered() && stream->code() == StartTooFar && m_size > 0 && !m_emptied) {
        empty();
        return connectNext();
    }
    if (stream->answered() && stream->refused() && (m_token + 1 < m_tokens.size() || !m_farmToken)) {
        if (++m_token < m_tokens.size())
            return connectNext();
        return askFarmToken();
    }
    if (!stream->answered() && m_port + 1 < m_ports.size()) {
        ++m_port;
        return connectNext();
    }
    if (!stream->answered())
        return end(tr("文件服务器没有应答，稍后再试"));
    if (stream->code() != NetTcpDown::DataFollows) {
        if (stream->refused())
            NetWork::instance()->clearFarm(m_of.farmId); // its token may be an old one
        return end(TransSet::errorText(stream->code()).section(QLatin1Char('_'), 1));
    }
    end(m_told > m_size ? tr("连接中断，稍后从断点继续") : QString());
}

void SubLog::end(const QString &why)
{
    m_busy = false;
    if (!why.isEmpty())
        qDebug().noquote() << "SubLog::end" << m_of.task << m_of.sub << m_size << why;
    emit grown(m_size);
    emit fetched(m_size, why, m_runs);
}
