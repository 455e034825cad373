#include "io/local/CmdHand.h"
#include "common/facts/Command.h"
#include "common/Session.h"
#include "common/ThreadPool.h"
#include "io/Ask.h"
#include <QDebug>

const QList<CmdHand::Route> &CmdHand::routes()
{
    static const QList<Route> table{
        {"/account", "account", &CmdHand::account, false},
        {"/project", "projectList", &CmdHand::projectList, false},
        {"/env", "envList", &CmdHand::envList, false},
        {"/machine", "machineList", &CmdHand::machineList, false},
        {"/model/list", "modelList", &CmdHand::modelList, false},
        {"/model/analysis", "modelAnalysis", &CmdHand::modelAnalysis, false},
        {"/model/parameter", "modelPara", &CmdHand::modelPara, false},
        {"/model/parameterSet", "modelParaSet", &CmdHand::modelParaSet, false},
        {"/model/commit", "modelCommit", &CmdHand::modelCommit, false},
        {"/model/checkSlave", "modelCheckSlave", &CmdHand::modelCheckSlave, true},
        {"/model/srcParameter", "modelResolveData", &CmdHand::modelResolveData, false},
        {"/job", "jobList", &CmdHand::jobList, false},
        {"/job/dir", "jobOpenDir", &CmdHand::jobOpenDir, false},
        {"/job/detail", "jobDetail", &CmdHand::jobDetail, false},
        {"/job/download", "jobDownload", &CmdHand::jobDownload, false},
        {"/masterInfo", "masterInfo", &CmdHand::masterInfo, true},
    };
    return table;
}

CmdHand::CmdHand(int waitMs) : m_waitMs(waitMs) {}

void CmdHand::initCmh()
{
    qDebug().noquote() << "---API---";
    for (const Route &route : routes())
        qDebug().noquote() << route.path << route.name;
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
    for (const Route &route : routes()) {
        if (m_line.path == QLatin1String(route.path) && (route.get || !getOnly)) {
            (this->*route.call)();
            return;
        }
    }
    fail(tr("没有此接口"));
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

void CmdHand::askEach(int cmd, const QList<int> &missions, std::function<void(int, QList<QJsonDocument>)> next)
{
    struct Gathered {
        QVector<QJsonDocument> docs;
        int open = 0, val = 0;
        bool failed = false;
    };
    const auto all = std::make_shared<Gathered>();
    all->docs.resize(missions.size());
    all->open = missions.size();
    for (int i = 0; i < missions.size() && !m_over; ++i) {
        ask(cmd, QJsonObject{{"missionId", missions[i]}}, [=](int val, const QJsonDocument &doc) {
            all->docs[i] = doc;
            if (!all->failed)
                all->val = val; // the first failure stands for all
            all->failed = all->failed || !isGood(cmd, val);
            if (--all->open == 0)
                next(all->val, all->docs.toList());
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
