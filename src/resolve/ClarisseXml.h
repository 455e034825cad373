#pragma once
// What Clarisse prints about a project: one <project> element with the scene, its dependencies, its images and their
// layers. Turned into the result that every log holds. Fields may be child elements or attributes. Read block by block.
// Any thread; the disk is asked which dependencies exist, and listed for patterns (<UDIM>, ####).
#include "resolve/ClarisseDeep.h"
#include <QCoreApplication>
#include <QJsonObject>
#include <QStringList>

class DiskPath;
class QFile;

class ClarisseXml
{
    Q_DECLARE_TR_FUNCTIONS(ClarisseXml)
public:
    static constexpr qint64 MaxText = 256 * 1024 * 1024; // a longer report is refused

    // False when there is no <project> or it can't be read. log: an open file of all that the software printed.
    static bool parse(QFile *log, const QString &sceneFile, const ClarisseDeep &deep, const StopToken &stop,
                      QJsonObject *result);
    // Reads the log, scans the scene for deep output and appends the result to the log.
    static bool convert(const QString &logPath, const QString &sceneFile, const StopToken &stop = {});

private:
    static QString layerOutput(const QString &image, const QString &output);
    static QStringList existing(const QStringList &named, DiskPath *disk, QStringList *missing);
};
