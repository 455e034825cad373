#pragma once
// What moves in one direction, as the page shows it: groups (upload orders or download missions) with their files
// below. Holds no truth: a reload brings in and takes out rows without a reset, the stores' signals change rows in
// place. Files come in pages of PageSize::Files, in the order of their keys, as they're looked at. Main thread; owned
// by the page.
#include "common/ui/kit/RecordModel.h"
#include "db/Records.h"
#include <QElapsedTimer>
#include <QTimer>

struct TransferRow {
    QString key; // of the row in the list
    bool file = false;
    QString group; // order number of an upload, pri of a mission, as text
    QString order;
    int mission = 0;
    qlonglong missPri = 0, pri = 0, rkey = 0; // of the mission, the file, the upload's scene
    QString name, path;                       // of a group: the folder
    int ok = 0, sum = 0, state = 0, error = 0;
    qlonglong size = 0, done = 0, live = 0; // bytes; live: on their way in files that aren't whole
    qlonglong speed = 0;                    // bytes a second
    qint64 heard = 0;                       // ms of the list's clock when the speed was told
    qlonglong bulk = 0;  // of a group: with the files that were over before a speed of theirs was told
    bool loaded = false; // of a group: its first files were asked for
};

class TransferList : public RecordModel<TransferRow>
{
    Q_OBJECT
public:
    enum Kind { UploadOrder = 1, UploadFile = 2, DownloadMission = 3, DownloadFile = 9 };
    enum Role {
        OrderRole = 259,
        MissionRole = 260,
        GroupRole = 263,
        KindRole = 264,
        MissionPriRole = 267,
        FilePriRole = 268
    };
    TransferList(bool uploads, QObject *parent);
    bool uploads() const { return m_uploads; }

    static QString groupKey(const QString &group) { return QLatin1Char('g') + group; }
    static QString fileKey(qlonglong pri) { return QLatin1Char('f') + QString::number(pri); }
    const TransferRow *group(const QString &name) const { return record(groupKey(name)); }
    QList<TransferRow> groups() const { return records(keys()); }

    void setGroups(const QList<TransferRow> &groups);
    void setFiles(const QString &group, const QList<TransferRow> &page, bool first);
    void removeFile(qlonglong pri);
    void removeGroup(const QString &group) { remove(groupKey(group)); }
    void clearFiles(const QString &group);
    void setGroupState(const QString &group, int state);
    void setGroupSpeed(const QString &group, qlonglong speed);
    void setGroupCount(const QString &group, int ok, int sum);
    // False when no loaded file has this pri.
    bool changeSpeed(qlonglong pri, qlonglong ed, qlonglong size, qlonglong speed);
    bool changeState(qlonglong pri, int state, int error);
    void dropStaleSpeeds(qint64 now); // those not heard of for three seconds; runs by itself while something moves

    static TransferRow upload(const db_resolve &res);
    static TransferRow mission(const db_downmiss &miss);
    template <class Row> static TransferRow fileRow(const Row &row)
    {
        TransferRow one;
        one.file = true;
        one.key = fileKey(row.pri);
        one.pri = row.pri;
        one.path = row.lpath;
        one.name = one.path.mid(one.path.lastIndexOf(QLatin1Char('/')) + 1);
        one.size = row.size;
        one.state = row.state;
        one.error = row.error;
        return one;
    }
    static QString sizeText(qlonglong bytes);  // "0B", "12.3KB"
    static QString speedText(qlonglong bytes); // "0B/S"

signals:
    void filesWanted(QString group, int page);

private:
    static TransferRow &rowOf(Node *node) { return static_cast<Held *>(node)->record; }
    static const TransferRow &rowOf(const Node *node) { return static_cast<const Held *>(node)->record; }
    static QVector<Column<TransferRow>> columns(bool uploads);
    void wanted(const QString &key);
    void leave(TransferRow *group, qlonglong live, qlonglong speed); // a file takes its share along
    QString groupOf(qlonglong pri) const;
    void branch(const QString &group); // files are left: there must be a way to open it

    bool m_uploads;
    QElapsedTimer m_clock;
    QTimer m_stale;
};
