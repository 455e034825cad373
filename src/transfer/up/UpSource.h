#pragma once
// The file of an order on this machine, as every upload worker sees it, whatever road it takes: where its bytes lie,
// what the server knows it by, and whether it still is the file that was analysed.
#include "transfer/TransWork.h"

class UpSource : public TransWork
{
    Q_OBJECT
public:
    using TransWork::TransWork;
    virtual void upReq(db_upfile file) = 0; // queued by the handler

    static constexpr int MaxFolder = 200; // characters of the folder's path

protected:
    bool initUp() override;
    bool measure();                 // false: the file is gone, changed or unreadable, and the worker has been failed
    virtual void sourceChanged() {} // what was made of the file as it was is of no use any more

    QString m_sendPath, m_key, m_diskKey;
};
