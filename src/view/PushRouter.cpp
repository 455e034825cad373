#include "view/PushRouter.h"
#include "db/Calls.h"
#include "io/NetTcp.h"
#include <QDebug>

namespace
{
constexpr int Results = 10413;
constexpr int AgainMs = 500;
} // namespace

PushRouter::PushRouter(QObject *parent) : QObject(parent)
{
    m_again.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, &PushRouter::sendResults);
    connect(NetTcp::instance(), &NetTcp::bsPush, this, &PushRouter::bsPush);
}

void PushRouter::on(int cmd, QObject *guard, Take take) { m_ears.insert(cmd, {guard, std::move(take)}); }

void PushRouter::bsPush(int val, QJsonDocument doc, int cmd)
{
    qDebug().noquote() << "PushRouter::bsPush" << cmd << val;
    if (cmd == Results && doc.isObject()) {
        m_results.append(doc.object());
        sendResults();
    }
    const QList<Ear> ears = m_ears.values(cmd); // one may subscribe or die meanwhile
    for (const Ear &ear : ears)
        if (ear.guard)
            ear.take(val, doc.object());
}

// The farm tells of results as soon as the login stands, the download queue comes up a moment later.
void PushRouter::sendResults()
{
    while (!m_results.isEmpty()) {
        const QJsonObject obj = m_results.first();
        if (!Seam<DownCalls>::post([obj](DownCalls &down) { down.resultPush(obj); }))
            return m_again.start(AgainMs);
        m_results.removeFirst();
    }
}
