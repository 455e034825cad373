#pragma once
// One output's parameters as fields: frames and step, size with its lock, what the program adds; and the boxes that
// force one size or one frame text on the whole task. Shows values, holds none: every edit is told. Main thread.
#include "common/ui/kit/Form.h"

class Debounce;
class ResolutionLock;

class CanshuItem : public QWidget
{
    Q_OBJECT
public:
    static constexpr int CalmMs = 300;
    // extra: fields behind frames and size; sized: whether the program's outputs have a size.
    CanshuItem(const QVector<Field> &extra, bool sized, QWidget *parent = nullptr);
    void show(const QJsonObject &values, const QJsonObject &task);
    Form *form() const { return m_form; }
    Form *whole() const { return m_whole; }
    ResolutionLock *lock() const { return m_lock; }

signals:
    void edited(QString key, QJsonValue value);     // of the output
    void taskEdited(QString key, QJsonValue value); // of the whole task
    void calKeyFrame();                             // frames have changed, and typing has come to rest

private:
    void changed(const QString &key);
    void keepRatio(const QString &key);

    Form *m_form, *m_whole;
    ResolutionLock *m_lock = nullptr;
    Debounce *m_calm;
    int m_width = 0, m_height = 0; // whose ratio is kept
    bool m_quiet = false;
};
