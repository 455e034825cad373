#pragma once
// The queue of drive uploads, on the TransScan thread of type 2. A file goes as those of orders do (UpWork), its place
// on the drive as its name there and without a task. What it shares with fetching is in DriveHandler.
#include "transfer/drive/DriveHandler.h"

class UpDHandler : public DriveHandler, public UpDCalls
{
    Q_OBJECT
public:
    UpDHandler();
    ~UpDHandler() override;
    // sfL: lpath and name of files and folders; the batch's dpath and ids are the folder on the drive that takes them.
    void cfarm(db_upfarmD farm, QList<SubFile> sfL) override;

public slots:
    void UpWorkFinished(db_upfile file, int isDel);

protected:
    TransWork *makeWork(bool retry, int backError) override;
    int limit() const override;
    bool launch(const db_upfarmD &farm, const db_upfile &file, const QString &key) override;
};
