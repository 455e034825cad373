#pragma once
// One sub-task of a task as the server's list tells it: a frame, a camera's or layer's part of one, or a block of a
// frame; what may be done with it, and its cells in words. A value, any thread; the client keeps no store of it.
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

struct SubTask {
    enum State { All = -1, Rendering, Queued, Paused, Done, Failed, Cancelled };
    enum Flag { Plain, Rerendered, Filled, RerenderedToo };
    enum Type { LightCache = 100, MergedLightCache = 101, Block = 201 };

    QString id, jobId; // as text, see Cell::idValue
    int farmId = 0, status = All, type = 0, flag = Plain;
    int first = 0, last = 0, step = 1; // frames
    QString camera, layer, node, shownLayer;
    QString startTime, endTime, memory, log, speed, parentId;
    qlonglong seconds = 0;
    int downloadState = 0, blocks = 0, block = 0, // block: its number among them
        stage = 0, stages = 0, pictures = 0;
    QJsonValue version; // of its picture, handed back as it came
    bool timeout = false;

    static SubTask from(const QJsonObject &row);
    bool operator==(const SubTask &other) const;

    QString stateText() const { return stateText(status); }
    static QString stateText(int state); // empty beyond 0 to 5
    static QStringList stateChoices();   // of the filter: all of them, then 0 to 5
    QString note() const;   // "重渲", "补帧", "光子", "合并光子", "分块"; empty for a plain frame
    bool marked() const;    // ... with the icon of frames rendered beside the order
    QString frames() const; // "7", "1-10", "1-10:2"
    QString split(int software) const;       // what the task was split by: layer, node or camera
    static QString splitTitle(int software); // of its column; empty where there is none
    QString stageText() const;               // "2/3" of a sub-task in several stages

    bool mayCancel() const { return status >= Rendering && status <= Paused; }
    bool mayRerender() const; // by the account's rights
    bool mayDownload() const;
    bool ended() const { return status >= Done; }
    static QString codeText(int code); // a refusal in words with its number; empty where there are no words
};

// A reply of 10402, or of 10437 for blocks.
struct SubList {
    static constexpr int MostRows = 1000; // of one page, whatever the server gives
    QList<SubTask> rows;                  // those without an id, or with one that came before, are left out
    int total = 0, rendering = 0, waiting = 0, paused = 0, done = 0, failed = 0, cancelled = 0;
    int pages = 1;
    int pictures = 0; // to be had of each frame, by index; 0: that isn't offered

    static SubList from(const QJsonObject &reply, bool blocks);
    bool running() const { return rendering + waiting > 0; }
};

// Bodies of the commands; ids as text.
namespace SubAsk
{
QJsonObject list(const QString &task, int status, int page);
QJsonObject blocks(const QString &task, const QString &sub, int status, int page);
QJsonObject cancel(const QString &task, const SubTask &sub);
QJsonObject chosen(const QString &task, const QStringList &subs); // to render or fetch once more
QJsonObject one(const QString &task, const QString &sub);         // its log
QJsonObject preview(const QString &task, const QString &sub, const QJsonValue &version);
QJsonObject picture(const QString &task, const QString &sub, int index);
} // namespace SubAsk
