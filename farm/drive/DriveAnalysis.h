#pragma once
// The analysis service of a farm: looks through scenes that lie on its drive. Its records survive a restart and go on.
//
// Below <address>/skydrive, with the drive's headers and form of answers (Drive.h):
//   GET  /masterInfo?host=H&port=P   data: [{"host", "port"}]: where the service listens (this web server)
//   POST /task               {"key", "root_path", "scene"}: starts it, or starts it again where it isn't under way; a
//                            third one at a time is a violation
//   PUT  /task/KEY/resume    goes on, or begins again what had stopped
//   PUT  /task/KEY/stop      Stopped
//   GET  /task/KEY           {"status", "start", "end"} at the top level: status is "Queue", "Preparing", "Running",
//                            "Stopped", "Idle" (it has ended) or, where the service broke down, a word of its own;
//                            times "yyyy-MM-dd HH:mm:ss", empty before
//   GET  /task/KEY/result    {"details": 0 good, 1 with warnings, 2 failed, 3 parameters missing, "content"}: the
//                            parameters as an object, with details 2 the error's text
//   GET  /task/KEY/error     {"error": TEXT}
// A task that isn't there answers result 0, code 1060001. A scene's kind is told by its ending; one that the service
// doesn't know, or that doesn't lie on the drive, ends with details 2.
#include <QHash>
#include <QJsonObject>
#include <QObject>
#include <QStringList>
#include <QTimer>

namespace farm
{

class Core;
class DriveTree;
struct HttpRequest;
struct HttpAnswer;

class DriveAnalysis : public QObject
{
    Q_OBJECT
public:
    DriveAnalysis(Core &core, DriveTree &tree);
    HttpAnswer answer(const HttpRequest &request, const QStringList &pieces);
    struct Counts {
        int started = 0, resumed = 0, stopped = 0, asked = 0;
    };
    const Counts &counts() const { return m_counts; }

private:
    struct Record {
        QString word;
        qint64 start = 0, end = 0;
        QString root, scene, error;
        int details = 0;
        QJsonObject content;
    };
    using Key = QPair<int, qint64>; // farm, key
    void step();
    void conclude(const Key &key, Record *record);
    bool save(const Key &key, const Record &record);
    HttpAnswer start(const HttpRequest &request);

    Core &m_core;
    DriveTree &m_tree;
    QHash<Key, Record> m_records;
    QTimer m_step;
    Counts m_counts;
};

} // namespace farm
