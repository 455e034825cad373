#pragma once
// The history of drive transfers, on the TransScan thread of type 4: reads its pages and forgets what the user no
// longer wants to see or a kill left behind. The two queues write into its store themselves, before they forget a file
// or a batch.
#include "transfer/drive/DriveCalls.h"
#include "transfer/TransHandler.h"

class TransokDHandler : public TransHandler, public TransokDCalls
{
    Q_OBJECT
public:
    TransokDHandler();
    ~TransokDHandler() override;
    void startScan() override; // once: tables that belong to no batch go
    void scan() override {}
    void readFarm() override;
    void readFile(qlonglong farmPri, int page) override;
    void delFarm(qlonglong farmPri) override;

protected:
    TransWork *makeWork(bool, int) override { return nullptr; }
};
