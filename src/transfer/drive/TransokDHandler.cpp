#include "transfer/drive/TransokDHandler.h"
#include "common/Seam.h"
#include "db/UploadDDAO.h"
#include <QDebug>

TransokDHandler::TransokDHandler() { Seam<TransokDCalls>::attach(this, this); }

TransokDHandler::~TransokDHandler() { Seam<TransokDCalls>::detach(this); }

// What a kill left of batches that were deleted, and what is beyond the limits.
void TransokDHandler::startScan()
{
    UploadDDAO *up = UploadDDAO::instance(UploadDDAO::Up), *down = UploadDDAO::instance(UploadDDAO::Down);
    UploadDDAO *history = UploadDDAO::instance(UploadDDAO::Ok);
    if (!up->isOpen() || !down->isOpen() || !history->isOpen())
        return;
    QSet<qlonglong> strays = history->tableFarms(); // read first: what comes in meanwhile is none
    for (UploadDDAO *store : {up, down, history}) { // in the way that a batch takes
        for (const db_upfarmD &farm : store->farms())
            strays.remove(farm.pri);
    }
    for (qlonglong farmPri : qAsConst(strays)) {
        qDebug().noquote() << "TransokDHandler::startScan rows of no batch:" << farmPri;
        history->removeFarm(farmPri);
    }
    history->keepFarms(UploadDDAO::HistoryFarms);
    history->keepRows(UploadDDAO::HistoryRows);
}

void TransokDHandler::readFarm() { UploadDDAO::instance(UploadDDAO::Ok)->readFarms(); }

void TransokDHandler::readFile(qlonglong farmPri, int page)
{
    UploadDDAO::instance(UploadDDAO::Ok)->readPage(farmPri, page);
}

void TransokDHandler::delFarm(qlonglong farmPri) { UploadDDAO::instance(UploadDDAO::Ok)->removeFarm(farmPri); }
