#pragma once
// A download's file on this machine, base of the workers that fetch one: the partial file is opened where it stands,
// brought forward each second while nothing arrives, checked and given its name at the end. Life and thread as in
// TransWork.
#include "transfer/down/PartialFile.h"
#include "transfer/TransWork.h"

class DownTarget : public TransWork
{
    Q_OBJECT
public:
    using TransWork::TransWork;
    void finishDown(int kind) override;
    void dropPartial() override; // the row is deleted: both partial files go

    std::atomic<qint64> received{0}; // bytes that this worker brought; read by the handler

protected:
    virtual QString root() const = 0; // the known folder that the target lies below; empty: nothing is removed
    virtual void dropLink() = 0;      // nothing more is asked for or heard
    virtual bool syncedByOwner() const { return false; }
    bool initDown() override; // false: the file was whole already, or the worker has been failed
    bool fileHash() override;
    bool take(const char *data, qint64 length); // bytes that follow; false: the worker has been failed
    void discard();                             // what is there belongs to another file

    std::unique_ptr<PartialFile> m_partial;

private:
    static constexpr qint64 Unkept = 262144; // a smaller file is over before its position matters
    void close();
    QTimer *m_keepTimer = nullptr;
};
