#include "transfer/drive/DirScan.h"

DirScan::DirScan(int type, const DirWork::Timing &timing, QObject *parent)
    : QThread(parent), m_type(type), m_timing(timing)
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
    work.setTiming(m_timing);
    work.startScan();
    exec();
}
