#pragma once
// Rendered frames of a task in the window of frames: those that are on disk from there, the others as pictures that the
// farm gives of them. PreviewQN takes the picture itself, by its index where the farm has several of a frame; Preview
// (3ds Max) a JPEG by a link, with its progress. Left and right go over the frames that the window was opened with;
// play, sheet and comparing are those of FrameView. A picture that doesn't come within SubPicture::LimitMs is given up.
// Main thread; deletes itself when closed.
#include "task/SubFrames.h"
#include "task/SubPicture.h"
#include "task/SubTask.h"
#include "view/frames/FrameView.h"

class QComboBox;

struct PreviewTask {
    QString id, name;
    int software = 0;
    SubPicture::Mode mode = SubPicture::Stream;
    int pictures = 0;    // of each frame, in mode Index
    QList<SubTask> rows; // what the list shows
};

class PreviewQN : public FrameView
{
    Q_OBJECT
public:
    // The right one of the two, on that sub-task.
    static PreviewQN *open(QWidget *over, const PreviewTask &task, const SubTask &sub);
    // The picture from the file if there is a path, else from data.
    void showImage(const QString &path, const QByteArray &data);
    void compareFrame(const SubTask &other); // beside it, once both are here
    void lookAtDisk();                       // anew: frames may have come

protected:
    PreviewQN(QWidget *over, const PreviewTask &task, const SubTask &sub);
    virtual QString progressText(qint64 got, qint64 all) const;

private:
    void begin();
    void fetch(int number);
    void found(const QList<FrameSeries> &all);
    SubPicture::Of ofRow(const SubTask &row) const;
    const SubTask *rowOf(int number) const;
    int index() const;

    PreviewTask m_task;
    SubTask m_sub; // that it was opened on: its camera or layer is looked at
    QComboBox *m_index = nullptr;
};

class Preview : public PreviewQN
{
    Q_OBJECT
public:
    Preview(QWidget *over, const PreviewTask &task, const SubTask &sub) : PreviewQN(over, task, sub) {}

protected:
    QString progressText(qint64 got, qint64 all) const override;
};
