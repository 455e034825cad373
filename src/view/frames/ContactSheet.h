#pragma once
// All frames of a series as small pictures with their numbers, missing ones marked. Only what is seen is read, at most
// two at a time. Enter or a click chooses a frame. Main thread.
#include "frames/FrameCache.h"
#include "frames/FrameSequence.h"
#include <QAbstractListModel>
#include <QHash>
#include <QListView>

class ContactModel : public QAbstractListModel
{
    Q_OBJECT
public:
    static constexpr int Side = 144, High = 96; // of a small picture
    explicit ContactModel(QObject *parent = nullptr);
    void setSequence(const FrameSequence &sequence);
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    int numberOf(const QModelIndex &index) const { return m_numbers.value(index.row()); }
    void forget(const QString &path); // the file has changed

private:
    FrameSequence m_sequence;
    QList<int> m_numbers;
    QHash<QString, int> m_rows; // by path
    mutable FrameCache m_cache;
};

class ContactSheet : public QListView
{
    Q_OBJECT
public:
    explicit ContactSheet(QWidget *parent = nullptr);
    void setSequence(const FrameSequence &sequence) { m_model->setSequence(sequence); }
    void forget(const QString &path) { m_model->forget(path); }

signals:
    void chosen(int number);

private:
    ContactModel *m_model;
};
