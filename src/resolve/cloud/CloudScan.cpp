#include "resolve/cloud/CloudScan.h"
#include "common/UserInfo.h"
#include "db/ResolveDDAO.h"
#include "resolve/cloud/CloudQueue.h"
#include <QDebug>

CloudScan::~CloudScan()
{
    quit();
    wait();
}

void CloudScan::run()
{
    if (!ResolveDDAO::instance()->open(UserInfo::userDir()))
        qWarning().noquote() << "CloudScan::run the store can't be opened in" << UserInfo::userDir();
    {
        CloudQueue queue;
        queue.start();
        exec();
    }
    ResolveDDAO::instance()->close();
}
