#pragma once
// A scene's parameters as a dialog edits them: one shape for all programs. Values of an output and of the whole task
// are JSON objects, so that keys no dialog knows are kept; what an older client wrote (missing keys, other types) is
// read as far as it can be, the rest opens with the defaults of a commit without a dialog. A value; any thread. Only
// finish() touches the disk.
#include "common/CommonConfig.h"
#include "db/Records.h"
#include <QCoreApplication>
#include <QJsonObject>
#include <QStringList>
#include <QVector>

class ParameterSheet
{
    Q_DECLARE_TR_FUNCTIONS(ParameterSheet)
public:
    // What is made with the photons of a 3ds Max scene; each stands for some of the eight modes.
    enum Photons { NoPhotons, LocalPhotons, PhotonsFirst, PhotonsSpread };
    static constexpr int LongestSide = 100000;

    // A layer, node, camera or image. 3ds Max and Cinema 4D have one, always on.
    struct Output {
        QString name;                // as shown; of a Clarisse layer "image / layer"
        int image = -1;              // Clarisse: the output that a layer belongs to
        bool on = true;              // ticked
        QStringList cameras, ticked; // Maya, 3ds Max, Cinema 4D: those there are, those to render
        QJsonObject values;          // frames, step, width, height, and what the program adds
    };
    struct Summary {
        int outputs = 0, all = 0; // ticked, and those there are
        qlonglong frames = 0;     // of all outputs and cameras
        double pixels = 0;
    };

    int type = 0; // SoftwareType
    QVector<Output> outputs;
    // keyFrames, strategy, blocksCount, noSolutionCheck, canw, canh, noFrameCheck, canframe; Maya: onlyScene,
    // mayaSplitByLayer, filePrefix, mayaProject.
    QJsonObject task;

    static ParameterSheet read(const db_resolve &res, const CommonConfig &config);
    static int typeOf(const db_resolve &res); // 0: a scene without parameters of these kinds
    // Ticks an output; an image and its layers follow each other.
    void tick(int output, bool on);
    QStringList frameTexts() const; // of what is ticked
    QString keyFrames() const;      // first, middle and last of all that is rendered
    Summary summary() const;
    // What stands in the way of saving, as far as it can be told without the disk: the first message, else empty.
    QString check() const;
    QString question() const; // what is asked before it's saved; empty: nothing
    // Writes what was edited into rdata and rset.
    void write(db_resolve *res) const;
    // The rest of saving, on the disk: photon files are looked for and join the scene's files, a Terragen scene gets
    // its GI choices. A message (res is as it was then), or an empty text. before: the row without what was edited.
    static QString finish(const db_resolve &before, db_resolve *res, const CommonConfig &config);

    static Photons photonsOf(int vrMode);
    static int vrModeFor(Photons photons, int vrMode); // the mode stays where it fits
    static bool stepApplies(int vrMode);
    static bool fileApplies(int vrMode);
    static QStringList vrModes();
    static bool parseSize(const QString &text, int *width, int *height); // "%1*%2"

private:
    void readOutputs(const QJsonObject &rdata);
    void readSingle(const QJsonObject &rdata);
    void readTask(const QJsonObject &rdata, const QJsonObject &rset, const CommonConfig &config);
    void add(const QString &name, const QJsonObject &raw, int image = -1);
    QJsonObject writeSingle(const Output &one) const;
    QJsonArray writeOutputs() const;
};
