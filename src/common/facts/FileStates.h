#pragma once
// The column `state` of every transfer table, shared by stores, queues and pages (outside it is TransSet::FileState).
struct FileStates {
    // The numbers outlive the program.
    enum FileState {
        DownWait = 0,
        DownRun = 1,
        DownPause = 2,
        DownError = 3,
        UpWait = 10,
        UpRun = 11,
        UpPause = 12,
        UpError = 13,
        UpGaveUp = 30,
        DownGaveUp = 31,
        UpServer = 50, // all bytes sent, the file server still works on them
        UpDone = 60,
        UpCancel = 61,
        DownDone = 62,
        DownCancel = 63
    };
};
