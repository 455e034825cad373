#pragma once
// The commands of the business server: numbers, modules, names, and which results are good. Pure functions, any thread.
#include <QString>

namespace Command
{
enum Number {
    HeartBeat = 10000,
    Kick = 10001,       // push
    ServerText = 10201, // push
    OldLogin = 10300,
    Balance = 10302,
    SaveConfig = 10303,
    AllowPush = 10306,
    Accounts = 10307, // to hand tasks over to
    LoginInfo = 10308,
    Login = 10309,
    MachineReport = 10310,
    Notices = 10311,
    ChangeNotices = 10313,
    Rights = 10314,
    Order = 10400,
    CancelTask = 10401,
    SubTasks = 10402,
    CancelSubTask = 10403,
    FillFrames = 10405,
    RerenderTask = 10406,
    Preview = 10407,
    TaskDetail = 10409,    // fill frames, change the environment, detail
    KeyFramesDone = 10412, // push
    Results = 10413,       // push; sent back it confirms it
    UploadResumed = 10414,
    UploadPaused = 10415,
    UploadSpeed = 10416,
    GiveUpOrder = 10417,
    SetPriority = 10419,
    PriorityList = 10420,
    ApplyOrder = 10421,
    AnalysisReport = 10422,
    TakeOver = 10423,
    NodeLimit = 10424,
    RerenderSubTask = 10425,
    ChangeEnvironment = 10426,
    Tasks = 10427,
    Operations = 10428,
    ContinueRender = 10429,
    PauseRender = 10430,
    TaskOver = 10431, // push
    DeleteTask = 10432,
    CloudSubmit = 10434,
    CloudResubmit = 10435,
    Remark = 10436,
    Blocks = 10437,
    NewProject = 10500,
    DeleteProject = 10501,
    Projects = 10502,
    NewEnvironment = 10504,
    DeleteEnvironment = 10505,
    Environments = 10506,
    DefaultEnvironment = 10507,
    EditEnvironment = 10508,
    ShareEnvironment = 10509,
    Softwares = 10600,
    Plugins = 10601,
    ObjectStored = 10703,
    UploadOver = 10704,
    FileInfo = 10800,
    Thumbnails = 10801,
    FileFetched = 10802,
    TaskLog = 10804,
    ResultList = 10805,
    SubTaskResults = 10806,
    FarmInfo = 11100,
    Machines = 11102,
    SubAccounts = 11111,
    DriveEntry = 11201,
    DriveInfo = 11202
};

constexpr int module(int command) { return command / 100; }
constexpr int success(int command) { return command * 100; }
// Is the result one of the command's good ones? Most have one, success(command); some have several.
bool good(int command, int result);
QString name(int command); // translated; the number as text where it has no name
} // namespace Command
