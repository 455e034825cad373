#pragma once
// Why an analysis ended without a result: the column error of a scene below a million (above it stand the business
// server's own results, Session::errorText). Errors of transfers have numbers of their own, TransSet::Error.
#include <QString>

namespace AnalysisError
{
enum Number {
    None = 0,
    // 10000 and the process error of the toolkit.
    FailedToStart = 10000,
    Crashed = 10001,
    TimedOut = 10002,
    ReadError = 10003,
    WriteError = 10004, // of a file or a row as well
    UnknownError = 10005,

    BadSoftware = 10010, // the software's text isn't a name and a version
    NoSoftware = 10011,  // no installation of it was found
    BadResult = 10012,   // the analyser's result can't be parsed
    NoScene = 10013,
    NotElevated = 10014, // the user refused the elevated copy of plug-in files
    Overdue = 10015,     // a mark, without a text
    DiedTwice = 10016,   // the client ended twice while it ran
    NoAnalyser = 10017,  // a kind of scene that isn't analysed here
    VersionUnsupported = 10030,
    BadScene = 10031,
    SceneUnreadable = 10032,
    VersionDiffers = 10033
};
constexpr int ProcessErrors = FailedToStart;
constexpr int FirstServerResult = 1000000;

QString text(int number); // translated; empty where there is none
} // namespace AnalysisError
