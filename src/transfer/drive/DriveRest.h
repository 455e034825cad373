#pragma once
// Every question to the REST service of a farm's drive. Each ends once, on the asking thread (which needs an event
// loop), while the guard lives: answered, refused (with what the service says), or lost.
//
//   DriveRest::children(farm, DriveRest::Input, "12").answered([](const DriveRest::Reply &reply) { ... }).send(this);
//
// Below the farm's address and "/skydrive"; TREE is "files" for the input drive (fileType 1), "resultFiles" for
// results (fileType 2). An id is a text of digits, letters, "-" and "_"; the root's is "-1".
//
//   entry       GET    /TREE/ID?fileType=T              the entry; of a folder also containFile, containFolder
//   space       GET    /TREE/-1?fileType=T              usedSize and size of the whole storage, in G
//   family      GET    /TREE/ID/family?fileType=T       the chain of ancestors with the entry itself
//   children    GET    /TREE/ID/sub-files?fileType=T    what lies in the folder
//   search      GET    /TREE/alike-files?fileType=T&searchName=TEXT&ids=ID,ID    below these folders
//   create      POST   /files                           {"fileType","name","diskName","parent"}
//   rename      PUT    /files/rename-files              {"fileType","name","diskName","id"}
//   move        PUT    /files/move-files?fileType=T&targetParent=ID&ids=ID,ID
//   remove      DELETE /files?fileType=T&ids=ID,ID
//   content     GET    /files/ID/data?fileType=T        with "Range: bytes=A-B": pieces of a file, thumbnails; the
//                                                       header X-Content-Range tells the whole size behind its "/"
//   (uploads)   GET    /sourceFiles?...                 see UpWork: key is the path on the drive
//
// Replies are JSON objects: lists in "files", "resultFiles" or "list" (or "data" as an array, or an object with one of
// them), an entry in "data" or the object itself. A reply without what was asked for (half of it, another kind) is
// refused, never an empty folder. An entry: id, name, parent, type (1 file, 2 folder), size, createdAt, updatedAt (ms,
// or "yyyy-MM-dd HH:mm:ss"), diskName, fileType, resultId, ordernum, hash. Entries whose id, kind, size or name can't
// be used, a folder as its own child, and a second entry of one id are left out and counted. code 203: the access
// token is stale; the farm is asked for anew and the question goes out once more, once.
#include "db/DriveRecords.h"
#include "io/WebAsk.h"

class DriveListing;

class DriveRest
{
public:
    enum FileType { Input = 1, Result = 2 };
    static constexpr int StaleToken = 203;
    static constexpr qint64 MaxSize = qint64(1) << 53; // a bigger number isn't one that JSON can tell
    static constexpr int MaxName = 1024;               // characters

    struct Reply {
        QList<SubFile> entries;
        int unusable = 0; // entries left out
        SubFile entry;
        double usedG = -1, sizeG = -1; // -1: not told
        QByteArray bytes;
        int code = 0;
        QString text;             // refused: what the service says, or what is wrong with its reply
        qint64 leftBytes() const; // of the storage; -1: not known
    };
    using Answer = std::function<void(const Reply &reply)>;
    using Lost = std::function<void(const QString &why)>;

    static DriveRest entry(int farmId, int fileType, const QString &id);
    static DriveRest space(int farmId, int fileType);
    static DriveRest family(int farmId, int fileType, const QString &id);
    static DriveRest children(int farmId, int fileType, const QString &id);
    static DriveRest search(int farmId, int fileType, const QString &text, const QStringList &folderIds);
    static DriveRest create(int farmId, int fileType, const QString &name, const QString &diskName,
                            const QString &parentId);
    static DriveRest rename(int farmId, int fileType, const QString &id, const QString &name, const QString &diskName);
    static DriveRest move(int farmId, int fileType, const QStringList &ids, const QString &targetId);
    static DriveRest remove(int farmId, int fileType, const QStringList &ids);
    // Bytes from..to of a file, both included; for what is small (a picture that is shown). A transfer uses DownHttp.
    static DriveRest content(int farmId, int fileType, const QString &id, qint64 from, qint64 to);

    // The entries of a list as they arrive, before the end, which then has none of them; false: enough, and there will
    // be no end. What came before a refusal or a loss is a part of the list.
    using Piece = std::function<bool(const QVector<SubFile> &entries)>;
    DriveRest &pieces(Piece piece);
    DriveRest &within(int ms); // of a list in pieces: since the last one
    DriveRest &answered(Answer end);
    DriveRest &refused(Answer end);
    DriveRest &lost(Lost end);
    DriveRest &failed(const std::function<void(const QString &text)> &end); // refused and lost alike
    void send(QObject *guard);

    // Pieces, for who speaks to the service on a way of its own.
    static QString tree(int fileType); // "files" or "resultFiles"
    static QString dataPath(const QString &id, int fileType);
    static bool usableId(const QString &id);
    static bool usableName(const QString &name);
    static QString lastId(const QString &chain); // of "12/15/20"
    enum Wanted { OneEntry, List, Done, Bytes };
    // folder: whose children are read. True: what was asked for is there.
    static bool read(Wanted wanted, const FuncBody &rep, const QString &folder, Reply *reply);

private:
    DriveRest(NetWork::Verb verb, int farmId, const QString &path, Wanted wanted);
    static void ask(const DriveRest &question, QObject *guard, bool again);
    void end(const FuncBody &rep, QObject *guard, bool again, const DriveListing *listing) const;
    NetWork::Verb m_verb;
    int m_farm, m_ms = WebAsk::DefaultMs;
    QString m_path, m_folder;
    Request m_request;
    Wanted m_wanted;
    Answer m_answered, m_refused;
    Lost m_lost;
    Piece m_piece;
};
