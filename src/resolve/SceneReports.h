#pragma once
// What the business server hears of the life of scenes: listens to the store and sends, (104, 10422) of analyses and
// deletions, (104, 10414) and (104, 10415) of uploads. What happens while there is no login is told after the next one,
// the latest of each task. Lives on the queue's thread, a part of ResolveHandler.
#include "db/Records.h"
#include <QJsonObject>
#include <QMap>
#include <QObject>

class SceneReports : public QObject
{
    Q_OBJECT
public:
    explicit SceneReports(QObject *parent = nullptr);

    struct Report {
        int command = 0; // 0: nothing is told
        QJsonObject body;
    };
    // Of a row that went from before to state. now: ms since the epoch.
    static Report of(const db_resolve &before, int state, qint64 now);
    static Report ofRemoved(const db_resolve &row);

private:
    void tell(int mission, const Report &report);
    void tellAll();

    QMap<int, Report> m_waiting; // by task, for the next login
};
