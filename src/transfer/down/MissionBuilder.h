#pragma once
// From a task's result list (reply of 10805, push 10413) to the rows of the download store. Pure but for looking which
// local files exist; any thread.
#include "db/Records.h"
#include <QJsonObject>
#include <QList>
#include <QString>

struct ResultRow {
    qint64 id = 0;
    QString target;       // full local path; of a refused row what the server named
    bool refused = false; // its path leaves the folder, or it has no id
    bool keyframe = false;
    bool exists = false; // the local file
    bool hasFrame = false;
    int frame = 0;
    int farmId = 0;
    QString hash;
    qint64 size = 0;
};

struct MissionPlan {
    bool keyframes = false;
    QString name;
    QList<db_downfile> files; // pri and missPri are still 0
};

class MissionBuilder
{
public:
    // One per row, in order; flags that a row lacks are those of obj. Of rows with the same target only the last one
    // stays (a frame rendered again): two workers must not write one file. Refused rows are logged with the reason.
    static QList<ResultRow> rows(const QJsonObject &obj, const QString &root);
    // Keyframe rows and others apart, empty ones left out. Refused rows stay out, and with onlyMissing those whose
    // local file exists.
    static QList<MissionPlan> plans(const QJsonObject &obj, const QList<ResultRow> &rows, bool onlyMissing);

    // Numbers of `ordered` that lie between the lowest and the highest of `present` and aren't among them: of 1 to 9
    // with 1, 2, 3, 7, 9 present "4-6,8". Any order, repeats don't matter.
    static QString missingFrames(QList<int> ordered, QList<int> present);

    struct Pushed {
        int mid = 0;
        QString name;
    };
    static Pushed prefix(const QString &prefixPath); // "<mid>_<name>/"; mid 0 when it isn't of that form
    static QString nameOf(const QJsonObject &obj);   // missionName, else name
    static bool isComplete(const QJsonObject &obj);  // has all that a mission is made from
    static QJsonObject merged(const QJsonObject &push, const QJsonObject &reply); // what the push has wins
};
