#pragma once
// The road of scenes from a hand-over to frames on disk, as the API tells it: asked twice a second, each change told.
#include "Client.h"
#include "Show.h"
#include "Words.h"

class Road
{
public:
    Road(Client *client, Show *show, int timeoutS) : m_client(client), m_show(show), m_timeoutMs(timeoutS * 1000LL) {}
    Exit submit(const Words &words);
    // Scenes on a drive: analysed by its farm; ordered. With --wait until that has ended.
    Exit cloudAnalysis(const Words &words, const QStringList &paths);
    Exit cloudOrder(const Words &words, const QStringList &keys);
    Exit follow(int task); // until its frames are rendered and what comes down by itself is down

private:
    bool ask(const QString &target, Client::Reply *reply, const QByteArray &body = {}); // false: told, m_exit says why
    bool choose(const Words &words, int type, QJsonObject *parameter);
    Exit scene(qlonglong key, bool warnings);
    // Its row, looked at until good(state); false: told, m_exit says why.
    bool cloudRow(const QString &key, bool (*good)(int state), QJsonValue *row);
    bool pause(); // false: time is over
    Exit fail(Exit how, const QString &text);

    Client *m_client;
    Show *m_show;
    qint64 m_timeoutMs, m_spentMs = 0;
    Exit m_exit = Exit::Good;
};
