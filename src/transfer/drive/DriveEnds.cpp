// How files and batches of the drive queues leave the stores: over and counted, moved into the history, or deleted.
// Each way is a row of steps of which every one may be the last before a kill or a power cut, and the next start goes
// on.
#include "common/Session.h"
#include "transfer/drive/DriveHandler.h"
#include "transfer/TransWork.h"
#include <QDateTime>
#include <QDebug>

namespace
{
constexpr int GroupRows = 5, MostGroup = 500;
constexpr int PlacedRows = 1000; // read at a time
} // namespace

void DriveHandler::writeAll()
{
    flush(true);
    flush(true); // what ended while the first was on its way
    written(true);
}

bool DriveHandler::settled(const QList<db_upfile> &) { return true; }

// Groups are written when they are big enough or old enough, one at a time, where the medium may be waited for.
void DriveHandler::flush(bool wait)
{
    if (!written(wait))
        return;
    const bool due = m_overCount >= GroupRows ? m_lastFlush.hasExpired(m_timing.groupMs / 10)
                                              : m_lastFlush.hasExpired(m_timing.groupMs);
    if (m_overCount == 0 || (!wait && !due && m_overCount < MostGroup))
        return;
    m_lastFlush.start();
    m_writing = std::exchange(m_over, {});
    m_overCount = 0;
    m_written = std::async(std::launch::async, [this, groups = m_writing] { return write(groups); });
}

// The bytes are on the medium before the history's rows, and those before the rows and sums here: what is missing after
// a power cut is done once more, nothing is counted that isn't there.
DriveHandler::Written DriveHandler::write(const Groups &groups)
{
    Written result;
    QList<db_upfile> all;
    for (const QList<db_upfile> &files : groups)
        all += files;
    result.onMedium = settled(all);
    if (!result.onMedium)
        return result;
    UploadDDAO *history = UploadDDAO::instance(UploadDDAO::Ok);
    for (auto it = groups.cbegin(); it != groups.cend(); ++it) {
        if (!history->addDone(it.key(), *it))
            result.left.insert(it.key());
    }
    history->settle(); // who can't be settled is told of in the log, and not waited for
    for (auto it = groups.cbegin(); it != groups.cend(); ++it) {
        if (!result.left.contains(it.key()) && !store()->finish(it.key(), *it))
            result.left.insert(it.key());
    }
    return result;
}

// Takes in how the group under way was written; false: it still is.
bool DriveHandler::written(bool wait)
{
    if (!m_written.valid())
        return true;
    if (!wait && m_written.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        return false;
    const Written result = m_written.get();
    const Groups groups = std::exchange(m_writing, {});
    for (auto it = groups.cbegin(); it != groups.cend(); ++it) {
        const auto mine = m_batches.find(it.key());
        if (mine == m_batches.end())
            continue;
        if (!result.onMedium) {
            again(it.key(), *it);
        } else if (result.left.contains(it.key())) {
            m_over[it.key()] += *it; // a store that is busy or full gets it later
            m_overCount += it->size();
            if (!mine->unsaved)
                store()->setNote(it.key(), tr("传输记录无法保存，磁盘可能已满"));
            mine->unsaved = true;
        } else {
            if (std::exchange(mine->unsaved, false))
                store()->setNote(it.key(), {});
            for (const db_upfile &file : *it)
                mine->held.remove(file.pri);
        }
    }
    return true;
}

// The medium didn't take what the system had: each file is looked at once more, and fetched where it isn't whole.
void DriveHandler::again(qlonglong farmPri, const QList<db_upfile> &files)
{
    qWarning().noquote() << "DriveHandler::again not on the medium" << files.size();
    for (const db_upfile &file : files)
        wait(farmPri, file, m_timing.passingMs);
}

QSet<qlonglong> DriveHandler::unwritten(qlonglong farmPri) const
{
    QSet<qlonglong> set;
    for (const QList<db_upfile> &files : {m_over.value(farmPri), m_writing.value(farmPri)}) {
        for (const db_upfile &file : files)
            set.insert(file.pri);
    }
    return set;
}

// False: not now, the store doesn't take it.
bool DriveHandler::toHistory(const db_upfarmD &farm)
{
    db_upfarmD row = farm;
    row.state = down() ? TransSet::DownDone : TransSet::UpDone;
    row.oktime = QDateTime::currentMSecsSinceEpoch();
    UploadDDAO *history = UploadDDAO::instance(UploadDDAO::Ok);
    if (const qlonglong here = history->countError(farm.pri, TransSet::AlreadyHere); here > 0)
        row.note = tr("%1 个文件已存在，已跳过").arg(here) + (row.note.isEmpty() ? QString() : "；" + row.note);
    // First there, then away from here: a kill in between does it once more.
    if (!history->putFarm(row) || !history->settle() || !store()->removeFarm(farm.pri))
        return false;
    m_batches.remove(farm.pri);
    history->keepFarms(UploadDDAO::HistoryFarms);
    history->keepRows(UploadDDAO::HistoryRows);
    history->tellRefresh();
    qDebug().noquote() << "DriveHandler::toHistory" << farm.pri << farm.name << farm.fok << farm.fup;
    return true;
}

// From the word on it's deleted for the user, also for one who kills the client now: its state says so.
void DriveHandler::delFarm(qlonglong farmPri)
{
    qDebug().noquote() << "DriveHandler::delFarm" << farmPri;
    if (!exists(farmPri) || !store()->setFarmState(farmPri, store()->cancelled()))
        return;
    written(true);
    Leaving mine{farmPri};
    for (qlonglong filePri : runningOf(farmPri))
        mine.workers.append(worker(keyOf(farmPri, filePri)));
    m_leaving.append(mine);
    dropAll(farmPri, 4);
    m_overCount -= m_over.take(farmPri).size();
    m_batches.remove(farmPri);
    leave();
}

void DriveHandler::delFile(qlonglong farmPri, qlonglong filePri)
{
    written(true);
    if (store()->file(farmPri, filePri).pri == 0)
        return; // over, or gone
    Leaving mine{farmPri, filePri};
    if (runningOf(farmPri).contains(filePri)) {
        mine.workers.append(worker(keyOf(farmPri, filePri)));
        drop(keyOf(farmPri, filePri), 4);
    }
    pauseFile(farmPri, filePri); // it isn't started again meanwhile
    QList<db_upfile> &ended = m_over[farmPri];
    const auto is = [filePri](const db_upfile &one) { return one.pri == filePri; };
    const auto gone = std::remove_if(ended.begin(), ended.end(), is);
    m_overCount -= int(ended.end() - gone);
    ended.erase(gone, ended.end());
    m_leaving.append(mine);
    leave();
}

// Goes on with what is being deleted. A worker that hasn't ended yet may still write its half file.
void DriveHandler::leave()
{
    for (int i = m_leaving.size() - 1; i >= 0; --i) {
        Leaving &one = m_leaving[i];
        const auto ended = [](const QPointer<TransWork> &work) { return work.isNull(); };
        if (one.until > now() || !std::all_of(one.workers.begin(), one.workers.end(), ended))
            continue;
        one.until = now() + LookMs;
        if (one.filePri != 0 ? forgetFile(one.farmPri, one.filePri) : forgetFarm(one.farmPri))
            m_leaving.removeAt(i);
    }
}

bool DriveHandler::forgetFile(qlonglong farmPri, qlonglong filePri)
{
    const db_upfarmD farm = store()->farm(farmPri);
    const db_upfile file = store()->file(farmPri, filePri);
    if (file.pri == 0)
        return true;
    if (file.placed)
        dropped(farm, {file});
    // The history's row: a kill may have come between there and here.
    const bool good =
        UploadDDAO::instance(UploadDDAO::Ok)->removeDone(farmPri, file.lpath) && store()->removeFile(farmPri, filePri);
    look();
    return good;
}

// Half files first and the row last: it's what says that there is something to be deleted.
bool DriveHandler::forgetFarm(qlonglong farmPri)
{
    const db_upfarmD farm = store()->farm(farmPri);
    if (farm.pri == 0)
        return true;
    if (down()) {
        QList<db_upfile> files = store()->placedFiles(farmPri, {}, PlacedRows);
        for (; !files.isEmpty(); files = store()->placedFiles(farmPri, files.last().lpath, PlacedRows))
            dropped(farm, files);
    }
    UploadDDAO *history = UploadDDAO::instance(UploadDDAO::Ok);
    // Rows of files that were over; a batch that has come there is over as a whole.
    if ((history->farm(farmPri).pri == 0 && !history->removeFarm(farmPri)) || !store()->removeFarm(farmPri))
        return false;
    store()->tellRefresh();
    return true;
}

void DriveHandler::dropped(const db_upfarmD &, const QList<db_upfile> &) {}
