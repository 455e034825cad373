#pragma once
// Gives orders up at the server, (104, 10417): what the user deleted or analyses anew stands in the store until the
// server has answered, over a lost link and a restart. An order is asked for again after a growing pause; one that the
// server refuses for a week is let go. Lives on the queue's thread, a part of ResolveHandler.
#include <QElapsedTimer>
#include <QMap>
#include <QObject>

class OrderGiveUp : public QObject
{
    Q_OBJECT
public:
    static constexpr int AgainMs = 10000, SlowestMs = 600000;
    explicit OrderGiveUp(QObject *parent = nullptr);
    void tick();

private:
    struct Asked {
        QElapsedTimer since;
        int pauseMs = AgainMs;
    };
    void replied(int mission, int val);

    QMap<int, Asked> m_asked; // by task
};
