#pragma once
// Further frames of a task: what was ordered is shown, the frames to add are typed. One window for all chosen tasks of
// a software; each software says which of its parameters are shown and what its outputs are called. Main thread.
#include "view/task/DetailQueue.h"

class Form;
class TickList;
struct Field;

class BaseFill : public DetailQueue
{
    Q_OBJECT
public:
    // The window of a software; null where it has none. details: of this software all, at least one.
    static BaseFill *make(int software, const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent);

signals:
    void fillOk();

protected:
    BaseFill(const QString &name, int software, const QString &outputs, const QList<TaskDetail> &details,
             TaskDesk *desk, QWidget *parent);
    // What the model tells, as label and value; lines without a value aren't shown.
    virtual QList<QPair<QString, QString>> facts(const QJsonObject &model) const;
    static QString words(const QJsonValue &value); // lists joined

    void shown() override;
    bool check() override;
    TaskRequest request(const TaskDetail &task) const override;
    TaskAct::Act act() const override { return TaskAct::Fill; }
    void taken() override { emit fillOk(); }

private:
    const int m_software;
    Form *m_form;
    QLabel *m_facts;
    TickList *m_outputs = nullptr;
};

class MaxFillFrame : public BaseFill
{
    Q_OBJECT
public:
    MaxFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent);

protected:
    QList<QPair<QString, QString>> facts(const QJsonObject &model) const override;
};

class MayaFillFrame : public BaseFill
{
    Q_OBJECT
public:
    MayaFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent);
};

class C4DFillFrame : public BaseFill
{
    Q_OBJECT
public:
    C4DFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent);

protected:
    QList<QPair<QString, QString>> facts(const QJsonObject &model) const override;
};

class HoudiniFillFrame : public BaseFill
{
    Q_OBJECT
public:
    HoudiniFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent);
};

class ClarisseFillFrame : public BaseFill
{
    Q_OBJECT
public:
    ClarisseFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent);
};

class TerragenFillFrame : public BaseFill
{
    Q_OBJECT
public:
    TerragenFillFrame(const QList<TaskDetail> &details, TaskDesk *desk, QWidget *parent);
};
