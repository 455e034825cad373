#pragma once
// The list of tasks as a model: the record, and beside it what the client knows of it (an operation that is under way,
// when it will be done, what it will cost). The name's, status', remark's and act's cells carry the record's numbers in
// roles from Qt::UserRole on, for the delegates. Main thread; owned by its page.
#include "common/ui/kit/RecordModel.h"
#include "task/TaskEta.h"
#include "task/TaskFilter.h"
#include "task/TaskRecord.h"

struct TaskRow {
    TaskRecord task;
    QString doing; // an operation that is on its way
    QString eta, expected;
    bool operator==(const TaskRow &other) const
    {
        return task == other.task && doing == other.doing && eta == other.eta && expected == other.expected;
    }
};

class TaskModel : public RecordModel<TaskRow>
{
    Q_OBJECT
public:
    // filter: outlives the model; its menus' columns tell by title and mark whether they narrow the list.
    TaskModel(const TaskFilter *filter, QObject *parent);
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    const TaskMenu *menuOf(int section) const; // null: a column without a menu
    void filterChanged() { emit headerDataChanged(Qt::Horizontal, 0, columnCount() - 1); }

    enum NameRole {
        Id = Qt::UserRole,
        Stage,
        Status,
        Subtype,
        FarmId,
        Software,
        Identity,
        Result,
        GzId,
        Success,
        KeyFrames
    };
    enum StatusRole { Text = Qt::UserRole, Done, Failed, Cancelled, Total };
    enum RemarkRole { Remark = Qt::UserRole, RemarkText, RemarkId };
    enum HandRole { HandStage = Qt::UserRole + 1, HandStatus, HandFailed };

private:
    const TaskFilter *m_filter;
};
