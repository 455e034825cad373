#include "io/local/CmdHand.h"
#include "common/facts/Command.h"
#include "common/Session.h"
#include "common/ThreadPool.h"
#include "common/UserInfo.h"
#include "io/Ask.h"
#include "io/local/ApiTable.h"
#include <QDebug>

CmdHand::CmdHand(int waitMs) : m_waitMs(waitMs) {}

void CmdHand::initCmh()
{
    qDebug().noquote() << "---API---";
    for (const ApiRoute &route : ApiTable::routes())
        qDebug().noquote() << route.path << route.method;
}

QByteArray CmdHand::noSuchRoute() { return reply(1, tr("没有此接口"), QJsonValue::Undefined, false, {}, false); }

QByteArray CmdHand::tooMuch()
{
    return reply(1, tr("正在处理的请求过多，请稍后再试"), QJsonValue::Undefined, false, {}, false);
}

void CmdHand::start(const QString &method, const QString &cmd)
{
    ThreadPool::instance()->addWork(this);
    QMetaObject::invokeMethod(
        this, [this, method, cmd] { initCmdHand(method, cmd); }, Qt::QueuedConnection);
}

void CmdHand::initCmdHand(QString method, QString cmd)
{
    if (cmd == "/localClient") {
        m_line = CmdLine::fromWords(method);
        if (m_line.body.isEmpty())
            m_line.body = m_body;
        cmdHand(false);
        return;
    }
    m_line = CmdLine::fromTarget(cmd, m_body);
    const bool get = method.compare("GET", Qt::CaseInsensitive) == 0;
    if (!get && method.compare("POST", Qt::CaseInsensitive) != 0)
        m_line.path.clear();
    cmdHand(get);
}

void CmdHand::cmdHand(bool getOnly)
{
    qDebug().noquote() << "CmdHand::cmdHand" << m_line.path;
    const ApiRoute *route = ApiTable::find(m_line.path);
    if (route && !m_caller.known && !ApiTable::open(m_line.path)) {
        refuseStranger();
        return;
    }
    if (!route || (getOnly && !route->get) || !QMetaObject::invokeMethod(this, route->method, Qt::DirectConnection))
        fail(tr("没有此接口"));
}

void CmdHand::refuseStranger()
{
    qWarning().noquote() << "CmdHand::refuseStranger" << m_caller.address << m_line.path;
    fail(tr("其他机器调用此接口需要令牌（Server/apiToken）"));
}

// Its own document: tools that read it know nothing of this API's frame.
void CmdHand::openApi()
{
    const QString server = QStringLiteral("http://127.0.0.1:%1").arg(UserInfo::clientPort());
    m_over = true;
    emit cmdOver(QJsonDocument(ApiTable::openApi(server, QStringLiteral(VN_VERSION))).toJson());
    deleteLater();
}

const QJsonDocument &CmdHand::sent()
{
    m_body.clear();
    if (const QByteArray body = std::exchange(m_line.body, {}); !body.isEmpty())
        m_sent = QJsonDocument::fromJson(body);
    return m_sent;
}

void CmdHand::ask(int cmd, const QJsonObject &body, Reply reply)
{
    ask(cmd, QJsonDocument(body).toJson(QJsonDocument::Compact), std::move(reply));
}

void CmdHand::ask(int cmd, const QByteArray &body, Reply reply)
{
    Ask(cmd, body)
        .within(m_waitMs)
        .any([this, reply](int val, const QJsonDocument &doc) {
            if (!m_over)
                reply(val, doc);
        })
        .lost(
            [this](Ask::Loss why) { fail(why == Ask::NoLink ? tr("客户端未登录") : tr("服务器没有应答，请稍后再试")); })
        .send(this);
}

void CmdHand::forward(int cmd, const QByteArray &body)
{
    ask(cmd, body, [this, cmd](int val, const QJsonDocument &doc) {
        const QJsonValue data = doc.isArray() ? QJsonValue(doc.array()) : QJsonValue(doc.object());
        over(val, textOf(val), data, isGood(cmd, val));
    });
}

void CmdHand::askEach(int cmd, const QList<QJsonObject> &bodies, std::function<void(int, const QVector<Answer> &)> next)
{
    struct Gathered {
        QVector<Answer> answers;
        int open = 0, val = 0;
        bool failed = false;
    };
    const auto all = std::make_shared<Gathered>();
    all->answers.resize(bodies.size());
    all->open = bodies.size();
    for (int i = 0; i < bodies.size() && !m_over; ++i) {
        ask(cmd, bodies[i], [=](int val, const QJsonDocument &doc) {
            all->answers[i] = {val, doc};
            if (!all->failed)
                all->val = val;
            all->failed = all->failed || !isGood(cmd, val);
            if (--all->open == 0)
                next(all->val, all->answers);
        });
    }
}

QByteArray CmdHand::reply(int code, const QString &msg, const QJsonValue &data, bool good, const QJsonObject &more,
                          bool readable)
{
    QJsonObject object = more;
    object["code"] = code;
    object["msg"] = msg;
    object["result"] = good ? 1 : 0;
    if (!data.isUndefined())
        object["data"] = data;
    return QJsonDocument(object).toJson(readable ? QJsonDocument::Indented : QJsonDocument::Compact);
}

void CmdHand::over(int code, const QString &msg, const QJsonValue &data, bool good, const QJsonObject &more)
{
    if (m_over)
        return;
    m_over = true;
    emit cmdOver(reply(code, msg, data, good, more, m_line.readable));
    deleteLater();
}

void CmdHand::good(const QString &msg, const QJsonValue &data, const QJsonObject &more)
{
    over(0, msg, data, true, more);
}

void CmdHand::fail(const QString &msg, const QJsonValue &data) { over(1, msg, data, false); }

bool CmdHand::isGood(int cmd, int val) { return Command::good(cmd, val); }

QString CmdHand::textOf(int val)
{
    const QString text = Session::actionText(val);
    return text == QString::number(val) ? Session::errorText(val) : text;
}
