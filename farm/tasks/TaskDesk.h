#pragma once
// What can be asked of tasks over the business link once they are ordered: the numbered commands, answered from Tasks,
// obeyed by the Renderer. Registers its handlers with Business; lives on the farm's thread.
//
// clang-format off
// Bodies of requests -> of good answers (code: the command times 100, where nothing else stands). Times are texts,
// "yyyy-MM-dd HH:mm:ss" or empty. Pages count from 0; pageSize is the number of pages. A sub-account sees its own tasks.
//
// 10427 list: {name, page, pageCount 20, nameSort 10 up|11 down, subTimeSort 12 up|13 down, projectId [..], userId [..],
//         missionStatus [..], remark 1 with|0 without}; -1, an empty list or no key: all; name: part of name or order number
//     -> {pageSize, total, pageList: [TASK]}
//   TASK: {id, name, num, project "name", projectId, farmId, stage, status, result, subtype, successFrame, failureFrame,
//         cancelFrame, totalFrame, renderingFrame, untreatedFrame, suspendFrame, keyFrames "1,6", isTimeout 0|count,
//         frames "1-10,15", cost "0.12", confirmTime, submitTime, finishTime, totalSeconds, succSeconds, memory "8M",
//         username, userId, nodeLimit 0 none, remark, identity "MAIN"|"GZ" and GZ_ID (tasks with a light cache alone)}
// 10409 head: {missionId} -> TASK with all of the order (modelParameters, keyFrames, strategy, scene ...), missionId,
//         missionName, projectName, softwareType, software "maya2018", plugins [{name, version}], machineModel, clientId,
//         farmName, fullFrames, clientResultRootPath, resultRootPathEnum, createTime; and in place of the list's text
//         project {id, name}; machine {as 11102}, env {id, name, software, plugins}, combos [..], projectConfig {..}
// 10402 frames: {missionId, status -1 all|0..5, page, pageCount 30} -> TASK with softwareType, picCount (pictures of each
//         frame, 0: one), pageSize, total, results [SUB]; renders again follow what they replace
//   SUB:  {id, jobId, farmId, status 0 running|1 waits|2 paused|3 done|4 failed|5 cancelled, type 0|100 light cache|
//         101 put together|201 block, flag 0|1 rendered again|2 filled|3 failed and rendered again, frame_from, frame_to,
//         frame_step, camera, showSub_lay, maya_layer (Maya), hou_rop (Houdini), start_time, end_time, seconds,
//         memory_peak "8M", log_file "logs/..", downloadState 0|1 taken home, timeout 0|1, blocks_count, parentView 0|1,
//         parentViewId (id of the sub-task that it replaces, of a block its frame; 0 none), curStage, totalStages (blocks
//         done of blocks; else 1 of 1), speed (per cent a second while it runs), newVer (another with each picture), node,
//         tries}
// 10437 blocks: {missionId, status, page, pageCount 30, subjobId of the frame (none: blocks of all frames)} -> {missionId,
//         pageSize, total, totalBlock, renderingBlock, untreatedBlock, suspendBlock, successBlock, failureBlock,
//         cancelBlock, results [SUB with block 1.., type 201]}
// 10401 cancel: {missionId}; 1010103 it's over already
// 10429 continue: {missionId}; takes a delayed pause back, and is the word after priority frames (full speed)
// 10430 pause: {missionId, pauseRender 1 at once|0 later}
//         These three, told to a light cache task or to its main task, are told to both as long as both live.
// 10432 to history: [ids] -> {moved: count}
// 10406 failed frames again: [ids] -> {results: [{id, code}]}; 1040600, for many tasks 1040608
// 10436 remark: {missionId, remark}
// 10424 limit: {missionId, nodeLimit from 1}; 1042401 {serverNodeLimit}
// 10307 accounts: {} -> {userId, username, balance, rows: [{id, name}] of the others}
// 11111 accounts: {} -> {rows: [{id, name}]} of all
// 10423 handover: {missionIds "1,2", handoverUserId} -> {moved: count}
// 10420 queue: {farmId} -> {farms: [{id, name}], rows: [TASK with jobId, projectName, submitNickname, createTime]}
// 10419 move: {farmId, job_ids_from ["3"], job_id_to, insert_after_position}
// 10405 fill: {missionId, softwareType, modelParameters with frames "5-9"} -> {added: count}; 1040519 frames unreadable or
//         none new, 1040518 not this kind of task, 1040512 no money
// 10426 change: {missionId, machineModel, clientId, software, plugins}; 1042600 nothing changed, 1042601 another machine,
//         1042606 other software or plug-ins; 1042603 unknown machine, 1042607 it's over
// 10403 cancel one: {missionId, jobId, subJobId, farmId}
// 10425 render again: {missionId, subjobIds "1,2"}, frames and blocks
// 10428 record: {missionId} -> {rows: [{operator, time, content}]}, oldest first
// 10407 picture: {missionId, subjobId, newVer} -> raw image bytes, code 1040700; of 3ds Max tasks {url, picCount}, a JPEG
//         that needs no token. While a frame runs: what there is of it. 1040701 no picture (yet)
// 10801 picture: {missionId, subjobId, picIndex 0..picCount-1} -> {url, picIndex, picCount, name}; 1080102 there is none
// 10804 log: {missionId, subjobId} -> {path, size, running 0|1, ip, ipLan, ipWan, port, port0, farmId, token (32 hex
//         digits, good for the file server)}; 1080402 no log yet. The file server is asked with 70100 {path, startPoint}:
//         a head of 32 bytes (28 and four of zero) with code 7010003, the bytes from there to what the log holds now, and
//         the link is closed. 13020304: the log is shorter than that, a new render has begun it anew; 7010007: gone.
// 10806 results: {missionId, subjobIds "1,2"} -> like 10805, with the rows of those frames and blocks (isBlock 1)
//
// Pushed: 10412 (1041200) {.., id, remainHour}: the priority frames are done, the task waits and is cancelled after that
// time; 10431 (1043100) TASK with missionId: it is over; 10413 results.
// clang-format on
#include "Business.h"
#include "tasks/Tasks.h"
#include <functional>

namespace farm
{

class TaskDesk
{
public:
    explicit TaskDesk(Core &core);
    // The picture behind a link of 10407 or 10801, as JPEG; empty for a link that nobody was given.
    QByteArray picture(const QString &name) const;

private:
    using Act = std::function<void(Link &, const QJsonObject &, Task &, Answer *)>;
    void on(int cmd, Act act); // for the task that the body names, where there is one that the user may see
    void addList();
    void addActs();
    void addQueue();
    void addSubTasks();
    void addPictures();
    void addChanges();

    bool mayTouch(const Link &link, const Task &task) const;
    QList<Task *> pair(Task &task); // the task, and the one beside it while both live
    int renderFailed(Link &link, Task &task);
    void fill(Link &link, const QJsonObject &body, Task &task, Answer *answer);
    void modify(Link &link, const QJsonObject &body, Task &task, Answer *answer);
    void renderAgain(Task &task, int index);
    void handOver(Link &link, const QJsonObject &body, Answer *answer);
    QJsonObject subTask(const Task &task, int index) const;
    int picCount(const Task &task) const;
    QString link(const Task &task, int index, int picture) const;
    QByteArray imageOf(const Task &task, int index) const;
    void wake(Answer *answer); // the renderer looks once the answer is on its way

    Core &m_core;
};

} // namespace farm
