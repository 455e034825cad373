#pragma once
// The batches of one of the drive's stores (being sent, being fetched, over), each with its files below it, as
// TransferD shows them. Holds no truth: a reload brings rows in and takes them out without a reset, signals change them
// in place; files come in pages as they're looked at, and at most MostRows of a batch, of those around, stay. Main
// thread; owned by the page.
#include "common/ui/kit/RecordModel.h"
#include "db/DriveRecords.h"

struct DriveRow {
    QString key;
    bool file = false;
    qlonglong farmPri = 0, pri = 0; // of the batch; of the file
    int farmId = 0;
    QString name, lpath, dpath, note;
    qlonglong size = 0, done = 0, live = 0; // bytes; live: of files under way, or of the file itself
    qlonglong ok = 0, sum = 0, failed = 0;  // files
    qlonglong speed = 0;                    // bytes a second
    int state = 0, error = 0;
    bool walking = false; // more files may come
    // Of a batch: files that were asked for beside those that have been let go since.
    bool oldBehind = false, oldBefore = false;
    qlonglong ended = 0; // ms since the epoch
};

class DriveList : public RecordModel<DriveRow>
{
    Q_OBJECT
public:
    enum Kind { UploadBatch = 4, UploadFile = 5, DownloadBatch = 6, DownloadFile = 7 }; // under KindRole
    enum Role { KindRole = 264, BatchRole = 267, FileRole = 268 };
    static constexpr int MostRows = 1500, CutRows = 500; // of a batch; of them go where there are more
    DriveList(int which, QObject *parent);               // of UploadDDAO
    int which() const { return m_which; }
    static QString batchKey(qlonglong farmPri) { return QLatin1Char('b') + QString::number(farmPri); }
    static QString fileKey(qlonglong pri) { return QLatin1Char('f') + QString::number(pri); }
    bool paused(const DriveRow &row) const;
    bool failed(const DriveRow &row) const;

    void setFarms(const QList<db_upfarmD> &farms);
    void setFiles(qlonglong farmPri, const QList<db_upfile> &files, bool clear);
    void setCount(qlonglong farmPri, const db_upfarmD &farm);
    void setState(qlonglong farmPri, int state);
    void setSpeed(qlonglong farmPri, qlonglong speed, qlonglong upped);
    void setNote(qlonglong farmPri, const QString &text);
    void setFileState(qlonglong pri, int state, int error);
    void setFileSpeed(qlonglong pri, const db_upfile &file);
    void removeFarm(qlonglong farmPri) { remove(batchKey(farmPri)); }
    void removeFile(qlonglong pri);

signals:
    void filesWanted(qlonglong farmPri, int page);
    void neighboursWanted(qlonglong farmPri, qlonglong filePri, bool before); // of a file that is here

private:
    void askNeighbours(const QString &batch, bool before);
    void trim(Node *parent, bool before);
    bool tooLate(Node *parent, const QList<db_upfile> &files, bool clear);
    static qlonglong priOf(const Node *node) { return static_cast<const Held *>(node)->record.pri; }
    static DriveRow rowOf(const db_upfarmD &farm, int which);
    static DriveRow rowOf(const db_upfile &file, qlonglong farmPri);
    static QVector<Column<DriveRow>> columns(int which);
    const int m_which;
};
