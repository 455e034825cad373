#pragma once
// Which of a task's frames lie on this disk, by the same paths that downloads take: asks for the list of results
// (10805), looks which files are there, and tells them by series: a series is a camera's or layer's pictures in one
// folder. Made on any thread; once started it works on a thread of the pool, tells found() or failed(), once, and
// deletes itself.
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QObject>

struct FrameSeries {
    QString name;             // folder and name without the number, as the farm tells them
    QMap<int, QString> files; // on disk
    QList<int> frames;        // all that were ordered and told, sorted
};

class SubFrames : public QObject
{
    Q_OBJECT
public:
    static constexpr int MostRows = 200000;
    explicit SubFrames(const QString &task);
    void start();

    // Of the reply's rows, below that folder. Looks at the disk.
    static QList<FrameSeries> series(const QJsonObject &reply, const QString &root);
    // Index of the series that a sub-task's frame belongs to: its file, then the name of its camera, layer or node in
    // the path; -1: none.
    static int seriesOf(const QList<FrameSeries> &all, int frame, const QString &split);

signals:
    void found(QString root, QList<FrameSeries> series); // the folder may be missing: nothing is on disk then
    void failed(QString why);

private:
    QString m_task;
};
