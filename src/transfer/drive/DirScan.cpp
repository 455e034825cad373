#include "transfer/drive/DirScan.h"
#include "transfer/drive/DirWork.h"

DirScan::DirScan(int type, QObject *parent) : QThread(parent), m_type(type)
{
    setObjectName(QStringLiteral("DirScan%1").arg(type));
}

DirScan::~DirScan()
{
    m_stop = true;
    quit();
    wait();
}

void DirScan::run()
{
    DirWork work(m_type, m_stop);
    work.startScan();
    exec();
}
