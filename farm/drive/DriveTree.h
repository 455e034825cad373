#pragma once
// The drives of the farms as rows: disks, folders and files of each farm's input drive (tree 1) and of its results
// (tree 2). A name stands once in its folder; case counts. Each change is in the database before the function returns.
// Used by the farm's thread alone.
#include <functional>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>

class QSqlQuery;

namespace farm
{

class Core;

constexpr qint64 DriveRoot = -1; // the parent of disks, and of the folders of orders

struct DriveNode {
    enum Kind { File = 1, Folder = 2 };
    qint64 id = 0;
    int farm = 1, tree = 1;
    qint64 parent = DriveRoot;
    QString name;
    int kind = Folder;
    qint64 size = 0, mtime = 0, created = 0; // bytes, ms since the epoch
    QString disk;                            // of the tree's first level, or the machine that the disk is of
    QString hash;                            // MD5, empty while it isn't known
    QString content;                         // where the bytes are: see DriveTree::fileOf
    qint64 result = 0;                       // of a file of the results: the row of the result; of a folder: its order
    bool good() const { return id > 0; }
};

class DriveTree : public QObject
{
    Q_OBJECT
public:
    // What became of a wish. The numbers are the codes of the answers.
    enum Outcome {
        Good = 0,
        NoEntry = 1060001,
        NameTaken = 1060002,
        BadName = 1060003,
        Full = 1060004,
        IntoItself = 1060005,
        Failed = 1060006
    };

    explicit DriveTree(Core &core);

    DriveNode node(int farm, int tree, qint64 id);
    DriveNode child(int farm, int tree, qint64 parent, const QString &name);
    DriveNode byPath(int farm, int tree, const QString &path); // "D/scenes/a.ma"
    QString pathOf(const DriveNode &node);
    QList<DriveNode> chain(const DriveNode &node); // the node, its parent, ... its disk
    // Folders before files, each by name.
    QList<DriveNode> children(int farm, int tree, qint64 parent, qint64 from, qint64 count);
    void children(int farm, int tree, qint64 parent, qint64 from, qint64 count,
                  const std::function<void(const DriveNode &node)> &each);
    qint64 childCount(int farm, int tree, qint64 parent);
    QList<DriveNode> search(int farm, int tree, const QString &text, const QList<qint64> &below, int most);
    struct Sum {
        qint64 files = 0, folders = 0, bytes = 0;
    };
    Sum sumBelow(const DriveNode &node); // without the node itself

    Outcome create(int farm, int tree, qint64 parent, const QString &name, const QString &machine, DriveNode *made);
    Outcome rename(int farm, int tree, qint64 id, const QString &name);
    Outcome move(int farm, int tree, const QList<qint64> &ids, qint64 target);
    Outcome remove(int farm, int tree, const QList<qint64> &ids);
    // A file has come; what stood under the name is replaced, folders on the way are made, disks aren't.
    Outcome put(int farm, const QString &path, qint64 size, qint64 mtime, const QString &content);
    // Files of made-up bytes: folders times files of them below the path, whose disk is made too.
    bool fill(int farm, const QString &path, int folders, int files, qint64 size);

    qint64 used(int farm) const { return m_used.value(farm); }
    bool fits(int farm, qint64 bytes) const;
    void takeResults(); // of the tasks, as far as they aren't here yet

    // The file that holds the bytes; an empty name for made-up bytes and for what is gone.
    QString fileOf(const DriveNode &node, QString *hash);
    static QByteArray madeUp(const QString &content, qint64 from, qint64 length);
    static bool isMadeUp(const QString &content) { return content.startsWith(QLatin1String("noise:")); }
    static QString storeKey(int farm, const QString &path);
    static bool goodName(const QString &name);
    void each(int farm, int tree, const std::function<void(const DriveNode &node, const QString &path)> &told);

private:
    static DriveNode read(const QSqlQuery &row);
    QList<DriveNode> rows(const QString &rest, const QVariantList &binds);
    qint64 insert(const DriveNode &node);
    qint64 folderFor(int farm, int tree, const QString &path, bool disks); // 0: there is no such disk
    void hashKnown(const QString &key);
    void countUsed();

    Core &m_core;
    QHash<int, qint64> m_used;
    QHash<QString, qint64> m_folders; // farm/tree/path -> id; forgotten with every change of a folder
};

} // namespace farm
