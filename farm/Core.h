#pragma once
// What the servers share: options, faults, the database, the account, the tasks, the store, and the record of what
// happened. Lives on the farm's thread, and everything that it owns with it; only faults are reached from elsewhere.
#include "Db.h"
#include "Farm.h"
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <QLockFile>
#include <QObject>
#include <thread>
#include <vector>

namespace farm
{

class Account;
class Business;
class ContentStore;
class Drive;
class FileServer;
class ObjectStore;
class Renderer;
class Rest;
class TaskDesk;
class Tasks;

class Core : public QObject
{
    Q_OBJECT
public:
    Core(const FarmOptions &options, FarmFaults &faults);
    ~Core() override;
    bool open(QString *error); // folder, database, listeners
    FarmPorts ports() const;
    QString told() const { return options.told.isEmpty() ? options.address : options.told; }

    void violation(const QString &text); // the other side broke the protocol
    void event(const QString &text);     // a step of the road, for people and tests
    // Runs work on a pool thread, then done on the farm's thread if the farm still lives.
    void background(std::function<void()> work, std::function<void()> done);
    // From any thread: runs the job on the farm's thread, in the order of posting.
    void post(std::function<void()> job);
    void close(); // on the farm's thread: sockets, threads and database go; nothing is asked of it afterwards
    QString folder(const QString &name) const; // options.dir + "/" + name, made if missing

    const FarmOptions options;
    FarmFaults &faults;
    FarmCounters counters;
    QMap<int, int> commands;
    QStringList violations, events;
    std::unique_ptr<QLockFile> lock; // one farm to a folder
    Db db;
    std::unique_ptr<Account> account;
    std::unique_ptr<Tasks> tasks;
    std::unique_ptr<ContentStore> store;
    std::unique_ptr<ObjectStore> objects;
    std::unique_ptr<Drive> drive;
    std::unique_ptr<Renderer> renderer;
    std::unique_ptr<Business> business;
    std::unique_ptr<TaskDesk> desk;
    std::unique_ptr<Rest> rest;
    std::unique_ptr<FileServer> files;

private slots:
    void drain();

private:
    void work(); // a thread that paints, hashes, unpacks

    std::mutex m_mutex; // of what follows
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_inbox, m_jobs;
    bool m_stop = false;
    std::vector<std::thread> m_threads;

signals:
    void loggedIn();
    void orderChanged(int missionId);
    void uploadFinished(int missionId);
    void taskFinished(int missionId);
    void resultsConfirmed(int missionId);
    void downloaded(qint64 resultId);
    void violated(QString text);
};

constexpr int FarmId = 1;          // the farm that renders; further ones have a drive only
constexpr int UserId = 1001;       // the account
constexpr int SecondUserId = 1002; // its sub-account: sees its own tasks only, spends the account's money

} // namespace farm
