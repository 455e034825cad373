#pragma once
// The file browser of one farm: tree at the left, path bar, the folder as a table or as small pictures, what can be
// done with what is chosen. Two trees: project files and results. Everything asked of the farm is asked by DriveDesk;
// an answer for a folder that was left meanwhile is dropped. Transfers go to DriveQueue, which outlives the page. Main
// thread; owned by MainDriver, lives until its tab is closed.
#include "transfer/drive/DriveQueue.h"
#include "view/driver/cloud/CloudAnalysis.h"
#include "view/driver/DriveDesk.h"
#include "view/driver/DriveRules.h"
#include <QHash>
#include <QPointer>
#include <QUrl>
#include <QWidget>

class Busy;
class DriveInfo;
class DriverPath;
class DriveTree;
class EmptyView;
class FolderGrid;
class FolderModel;
class FolderTable;
class NameItem;
class QAbstractItemView;
class QAction;
class QDragEnterEvent;
class QDragMoveEvent;
class QDropEvent;
class QLabel;
class QMenu;
class QMimeData;
class QMouseEvent;
class QPushButton;
class QSplitter;
class QStackedWidget;
class ThumbStore;

class FarmPage : public QWidget
{
    Q_OBJECT
public:
    FarmPage(int farmId, const QString &farmName, DriveDesk *desk, QWidget *parent);
    int farmId() const { return m_farm; }
    int fileType() const { return m_type; }
    QString folder() const { return m_folder; } // id of the one that is open
    FolderModel *model() const { return m_model; }
    DriveTree *tree() const { return m_tree; }
    DriverPath *path() const { return m_path; }
    QAbstractItemView *view() const; // the look that is on
    ThumbStore *thumbs() const { return m_thumbs; }
    QAction *action(const QString &name) const { return m_actions.value(name); }
    QString error() const;
    bool busy() const { return m_reading != nullptr; } // what is seen isn't all, or not the latest
    QVector<const FileView *> chosen() const;
    void setFileType(int type); // 1 project files, 2 results
    void setThumbnails(bool on);
    void refresh();       // what is seen, the tree and the space
    void rightsChanged(); // of the account

public slots:
    void addDrv();
    void delDrv();
    void renameFile();
    void delFile();
    void createDir();
    void moveFile();
    void propertyFile();
    void submitFile();
    void downFile();
    void resolveFile();
    void driverPathChanged(QString id);
    void driverSearh(QString name, QString id);
    void driverSearchOut();
    void addDriver(QString name, QObject *object);
    void dragPress(QMouseEvent *event); // null: the view has seen the move itself
    void dragEnter(QDragEnterEvent *event);
    void dragMove(QDragMoveEvent *event);
    void dragDrop(QDropEvent *event);
    void itemSelectChanged();
    void dragEnterIgnore();
    void upFile(bool folders);
    void checkDir();

signals:
    void recharge();
    void transfers(); // what was handed over is to be seen
    void analyses();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void makeActions();
    void makeViews();
    QWidget *makeLeft();
    QWidget *makeRight();
    void makeKeys();
    void fitBar(); // acts that the bar has no room for are below "更多", where all are
    void dressView(QAbstractItemView *view, NameItem *names);
    QAction *add(const char *name, const QString &text, const char *icon, const QKeySequence &keys,
                 std::function<void()> run);

    void read();
    void came(const DriveDesk::Piece &piece);
    void arrived(int round, const QString &id, const DriveDesk::Answer &answer);
    void showPlace(); // of what was chosen before the list was read
    void gone(int round, const QString &id, const QString &text);
    void askChain(const QString &id);
    void setChain(const QVector<FileView> &chain);
    void branch(const QString &id);
    void openRow(const QModelIndex &index);
    void openFolderOf(const FileView &entry);
    void setError(const QString &text);
    void tell(const QString &text);
    bool editing() const;
    void editName(const QModelIndex &index, const QString &suggested = {});
    void named(const QString &id, const QString &name);
    void leftName(const QString &id);
    void create(const QString &name);
    void rename(const QString &id, const QString &name);
    void removeChosen(const QString &question);
    // One request per hundred ids, one after the other; what fails is told, then the folder is read again.
    using Request = std::function<DriveRest(const QStringList &ids)>;
    void work(const QStringList &ids, const QString &pending, const Request &request, const QString &target = {});
    void workOn(const QStringList &ids, const Request &request, const QString &folder, const QString &target);
    void move(const QStringList &ids, const QString &target);
    void afterChange(const QString &folder);
    void copyPaths();
    void menu(const QPoint &global);
    void treeMenu(const QString &id, const QPoint &global);
    void followSelection();
    QString targetAt(const QPoint &at) const;
    bool droppable(const QMimeData *data, const QString &target) const;
    void showTarget(const QString &id);
    void put(const QList<QUrl> &urls, const QString &target); // of this machine
    void submitted(const CloudAnalysis::Told &told);
    DriveQueue::Place place(const QString &id) const;
    DriveRules::Acts acts() const { return acts(chosen()); }
    DriveRules::Acts acts(const QVector<const FileView *> &rows) const;
    QStringList chosenIds() const;

    const int m_farm;
    const QString m_name;
    DriveDesk *m_desk;
    int m_type = DriveRest::Input;
    QString m_folder = QLatin1String(SubFile::Root), m_searched;
    int m_round = 0;           // of listings: an answer to an earlier one means nothing
    DriveDesk::Held m_reading; // the listing that is under way
    int m_chainRound = 0;
    bool m_inPieces = false;  // it's shown as it comes
    bool m_readAgain = false; // once the name is typed
    QVector<FileView> m_chain;
    FolderModel *m_model;
    ThumbStore *m_thumbs;
    FolderTable *m_table;
    FolderGrid *m_grid;
    QStackedWidget *m_stack;
    DriveTree *m_tree;
    DriverPath *m_path;
    DriveInfo *m_info;
    EmptyView *m_emptyTable, *m_emptyGrid;
    Busy *m_busy;
    QWidget *m_errorLine;
    QLabel *m_errorText, *m_count;
    QWidget *m_bar;
    QVector<QPair<QPushButton *, QAction *>> m_buttons; // of the bar
    QPushButton *m_input, *m_results, *m_more = nullptr;
    QHash<QString, QAction *> m_actions;
    QStringList m_order;              // of the actions, as the menu has them
    QString m_dropOn;                 // id of the folder under the hand
    bool m_dragLocal = false;         // it has files of this machine
    QObject *m_dropWatched = nullptr; // the widget under it
    QStringList m_selectAfter;        // names to select once the folder is read
};
