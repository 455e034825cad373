#pragma once
// What moves, as the page shows it: groups (upload orders or download missions) with their files below. One model a
// direction. Holds no truth: a reload brings in and takes out rows without a reset, the stores' signals change rows in
// place. Main thread; owned by the page.
#include "common/facts/PageSize.h"
#include "db/Records.h"
#include <QAbstractItemModel>
#include <QColor>
#include <QElapsedTimer>
#include <QTimer>

struct TransferFile {
    qlonglong pri = 0;
    QString path;
    qlonglong size = 0, done = 0, speed = 0; // bytes, bytes a second
    int state = 0, error = 0;
    qint64 heard = 0; // ms of the model's clock when speed was told
};

struct TransferGroup {
    QString key; // order number of an upload, pri of a mission
    QString order;
    int mission = 0;
    qlonglong pri = 0;  // of a mission
    qlonglong rkey = 0; // of an upload's scene
    QString name, folder;
    int ok = 0, sum = 0;
    qlonglong size = 0, done = 0; // bytes of files that are whole; 0 size: unknown
    int state = 0;
    qlonglong speed = 0;       // of all its files, also those that no branch holds or that were over in a moment
    qint64 heard = 0;          // of it, as for a file
    QList<TransferFile> files; // as far as they were asked for
    bool loaded = false, more = false;
    quintptr id = 0;
};

namespace TransferRules
{
QString sizeText(qlonglong bytes);  // "0B", "12.3KB"
QString speedText(qlonglong bytes); // "0B/S"
QColor colour(bool orders, int state);
enum Button { Start, Pause, Again, Delete, Folder, Priority, ButtonCount };
// Which buttons a group has, as texts in the order of the enum; empty where there is none.
QStringList buttons(bool uploads, int state);
TransferGroup upload(const db_resolve &res);
TransferGroup mission(const db_downmiss &miss);
} // namespace TransferRules

class TransferModel : public QAbstractItemModel
{
    Q_OBJECT
public:
    enum Kind { UploadOrder = 1, UploadFile = 2, DownloadMission = 3, DownloadFile = 9 };
    enum Role {
        OrderRole = 259,
        MissionRole = 260,
        KeyRole = 263,
        KindRole = 264,
        MissionPriRole = 267,
        FilePriRole = 268
    };
    enum Column { Name, Size, Progress, Speed, State, Hand, ColumnCount };
    static constexpr int PageRows = PageSize::Files;
    TransferModel(bool uploads, QObject *parent);

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override; // asks for the next page by filesWanted

    void setGroups(const QList<TransferGroup> &groups); // files that are known stay
    void setFiles(const QString &key, const QList<TransferFile> &files, bool clear);
    bool removeFile(qlonglong pri);
    void removeGroup(const QString &key);
    void clearFiles(const QString &key);
    void setGroupState(const QString &key, int state);
    void setGroupCount(const QString &key, int ok, int sum);
    // False when no loaded file has this pri.
    bool changeSpeed(qlonglong pri, qlonglong ed, qlonglong size, qlonglong speed);
    bool changeState(qlonglong pri, int state, int error);
    void setGroupSpeed(const QString &key, qlonglong speed);

    bool uploads() const { return m_uploads; }
    const TransferGroup *group(const QString &key) const;
    const QList<TransferGroup> &groups() const { return m_groups; }
    QModelIndex groupIndex(const QString &key) const;
    void dropStaleSpeeds(qint64 now); // those not heard of for three seconds; runs by itself while something moves

signals:
    void filesWanted(QString key, int page);

private:
    int rowOf(const QString &key) const;
    int rowOfId(quintptr id) const;
    TransferFile *find(qlonglong pri, int *groupRow, int *fileRow);
    static int placeOf(const QList<TransferFile> &files, qlonglong pri); // of the first row that isn't below pri
    void takeRows(int groupRow, int first, int count);
    void refreshFile(int groupRow, int fileRow, TransferFile file);
    QVariant groupData(const TransferGroup &group, int column, int role) const;
    QVariant fileData(const TransferGroup &group, const TransferFile &file, int column, int role) const;
    void groupChanged(int row);
    void fileChanged(int groupRow, int fileRow);
    void startClock();

    bool m_uploads;
    QList<TransferGroup> m_groups;
    quintptr m_nextId = 1;
    QElapsedTimer m_clock;
    QTimer m_stale;
};
