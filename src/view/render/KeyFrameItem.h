#pragma once
// The priority frames of a task: which frames come first, what follows them, in how many pieces each is rendered. While
// they are worked out (first, middle and last) they follow the main frames; typing them by hand ends that. Main thread.
#include "common/ui/kit/Form.h"

class KeyFrameItem : public QWidget
{
    Q_OBJECT
public:
    explicit KeyFrameItem(QWidget *parent = nullptr);
    // task: keyFrames, strategy, blocksCount; calculated: what the frames give now.
    void show(const QJsonObject &task, const QString &calculated);
    void setFrames(const QStringList &frames, const QString &calculated); // the main frames have changed
    Form *form() const { return m_form; }

signals:
    void edited(QString key, QJsonValue value);

private:
    void changed(const QString &key);
    Form *m_form;
    QStringList m_frames;
    QString m_calculated;
    bool m_quiet = false;
};
