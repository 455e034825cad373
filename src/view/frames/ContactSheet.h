#pragma once
// All frames of a series as small pictures with their numbers, missing ones marked. Only what is seen is read, at most
// two at a time. Enter or a double click chooses a frame. Main thread.
#include "frames/FrameCache.h"
#include "frames/FrameSequence.h"
#include <QAbstractListModel>
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
    int numberOf(const QModelIndex &index) const { return m_sequence.first() + index.row(); }

private:
    FrameSequence m_sequence;
    mutable FrameCache m_cache;
};

class ContactSheet : public QListView
{
    Q_OBJECT
public:
    explicit ContactSheet(QWidget *parent = nullptr);
    void setSequence(const FrameSequence &sequence) { m_model->setSequence(sequence); }

signals:
    void chosen(int number);

private:
    ContactModel *m_model;
};
