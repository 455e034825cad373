#pragma once
// The log that an analysis leaves, as a value: {status, content, details} as JSON between two markers, or the blocks of
// 3ds Max. Reads by blocks up to the marker, so a log of any size costs time only; what lies between the markers is
// bounded by MaxResult. Static, any thread; nothing but the log file is read.
//
//   ...output of the software...
//   Vandrel Info:{"status":0,"content":{"files":[...],"modelParameters":...},"details":""}
//   Vandrel Debug:...
#include <QJsonObject>
#include <QString>

struct ParsedLog {
    bool found = false; // the marker was there
    int error = 0;      // BadResult where what follows it can't be used
    int status = 0;     // 0 clean, 1 warnings, 2 errors, 3 parameters missing
    QString details;
    QJsonObject content; // the result without its files
    QString files;       // fragment: "files":[...]
};

class LogParser
{
public:
    static constexpr qint64 MaxResult = 128 * 1024 * 1024; // bytes between the markers
    static const char InfoMark[], DebugMark[];

    // first: a path that the list of files shall begin with (empty: none). plugins: the "plugins" array chosen for the
    // scene as JSON text, for the renderer rule of Cinema 4D.
    static ParsedLog read(const QString &logPath, int softwareType, const QString &first = {},
                          const QString &plugins = {});
    static ParsedLog parseJson(const QByteArray &json, int softwareType, const QString &first, const QString &plugins);
    // Writes a result as the log holds it. append: behind what stands there.
    static bool write(const QString &logPath, const QJsonObject &result, bool append);

    static QString decode(const QByteArray &bytes); // UTF-8, else the system's encoding, else UTF-8 with replacements
    static QString unescape(const QString &text);   // each \uXXXX becomes its character
    static bool rendererDiffers(const QString &renderer, const QString &plugins); // Cinema 4D
    static QString rendererMessage();

private:
    static QByteArray between(const QString &logPath, bool lineStart, bool *found, bool *tooLarge);
};
