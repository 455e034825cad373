#pragma once
// What is to be rendered, per software: the one place that turns the result of an analysis into what is submitted,
// fills what no dialog touched, and tests it. Static, without state, any thread; disk is read only to list photon
// files.
#include "common/CommonConfig.h"
#include "db/Records.h"
#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonObject>

class ParameterModel
{
    Q_DECLARE_TR_FUNCTIONS(ParameterModel)
public:
    // Fills defaults in rdata, rset and rfile of a row that is committed without a dialog (a dialog leaves hasHand 1:
    // only what the machine adds is done then), and rewrites frame texts. May run again on the same row. False, with a
    // message that names the scene, where rdata can't be read, nothing would be rendered, frames can't be, or a photon
    // file isn't there: the row must not be submitted, and stays as it is.
    static bool prepare(db_resolve *res, const CommonConfig &config, QString *message);
    // Takes parameters that another program has set, as a dialog would save them: what they leave out is filled in,
    // what they choose stays (hasHand). An empty text, or the dialog's message: the row is unchanged then.
    static QString take(db_resolve *res, const QJsonObject &given, const CommonConfig &config);
    // The analysis left no result at all: shown as clean all the same, but never submitted without a click.
    static bool emptyResult(const db_resolve &res);
    // Why a .max row can't be committed, a line each, naming the scene; empty when it can, and for other scenes.
    static QString blockingText(const db_resolve &res);
    // What a dialog tests before it saves; the first message, empty when all is well.
    static QString check(int softwareType, const QJsonObject &rdata, const QString &scenePath);
    static bool filePrefixOk(const QString &prefix);
    static QString filePrefixMessage();

    // The software type of a row: of rdata, else of rset, else by the scene's ending.
    static int softwareType(const db_resolve &res, const QJsonObject &rdata, const QJsonObject &rset);
    // The frame texts that priority frames are taken from.
    static QStringList frameTexts(int softwareType, const QJsonObject &rdata);
    // First, middle and last frame of all that is rendered.
    static QString keyFrames(int softwareType, const QJsonObject &rdata);

    // What an order can't do without, where the analysis left it out: sceneName, missionName, softwareType.
    static void fillNames(int softwareType, const db_resolve &res, QJsonObject *rdata);

    // Photon files that belong to the given one and are there: all in its folder that differ in the last run of digits
    // alone, and the file itself when its name has none. alone (a mode that reads one file): only that file.
    static QStringList photonFiles(const QString &file, bool alone = false);
    static QStringList gicFiles(const QString &file); // all *.gic in its folder
    // Adds paths to a "files":[...] fragment; those that stand there already aren't repeated.
    static QString appendFiles(const QString &fragment, const QStringList &paths);
    static QJsonArray filesOf(const QString &fragment);
    static QString fragmentOf(const QJsonArray &files);

private:
    static bool fill(db_resolve *res, const CommonConfig &config, QString *message);
};
