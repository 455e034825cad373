#include "transfer/drive/TransokDHandler.h"
#include "common/Seam.h"
#include "db/UploadDDAO.h"

TransokDHandler::TransokDHandler() { Seam<TransokDCalls>::attach(this, this); }

TransokDHandler::~TransokDHandler() { Seam<TransokDCalls>::detach(this); }

void TransokDHandler::readFarm() { UploadDDAO::instance(UploadDDAO::Ok)->readFarms(); }

void TransokDHandler::readFile(qlonglong farmPri, int page)
{
    UploadDDAO::instance(UploadDDAO::Ok)->readPage(farmPri, page);
}

void TransokDHandler::delFarm(qlonglong farmPri) { UploadDDAO::instance(UploadDDAO::Ok)->removeFarm(farmPri); }
