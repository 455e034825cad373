#pragma once
// What an analysis found in a scene, to be looked over before it's committed: cameras, frames, size, output, and the
// rest of its parameters. Main thread; deletes itself.
#include "common/ui/kit/DialogFrame.h"
#include "db/Records.h"
#include <QJsonObject>

class SceneInfo : public DialogFrame
{
    Q_OBJECT
public:
    SceneInfo(const db_resolve &res, QWidget *parent);
    struct Line {
        QString name, value;
        int depth = 0;
    };
    // modelParameters of rdata as lines; a list of objects becomes a heading per object. At most `limit` lines.
    static QList<Line> lines(const QJsonObject &rdata, int limit = 400);

signals:
    void commit(qlonglong rkey);
};
