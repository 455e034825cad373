#pragma once
// The grammar of frame texts, as values: "1-100:5,-10--1,7". A full-width comma counts as a comma and runs of commas as
// one; frames are whole numbers of up to 6 digits held to -10000..100000; a step of 0 or less, or above 1000, is 1.
// Static, without state, any thread. Work is bounded whatever the text is.
#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QVector>

class FrameSet
{
    Q_DECLARE_TR_FUNCTIONS(FrameSet)
public:
    static constexpr int Lowest = -10000, Highest = 100000, HighestStep = 1000;
    static constexpr int MaxText = 64 * 1024; // a longer text is refused

    struct Term {
        int first = 0, last = 0, step = 1;
        bool range = false, stepped = false;
        bool ordered() const { return first <= last; }
        int length() const { return last - first + 1; } // frames without regard to the step
        QString text() const;                           // "%1-%2:%3", "%1-%2" or "%1"
    };

    static QString normalise(const QString &text);
    static bool parseTerm(const QString &text, Term *term);     // clamped; false where it isn't a term
    static bool parse(const QString &text, QList<Term> *terms); // false where any piece isn't a term, or none is there
    static QString rewrite(const QString &text);                // from the clamped numbers; unreadable text as it came
    // All frames, sorted, each once. Empty where the text can't be read or a range runs backwards.
    static QVector<int> expand(const QString &text);
    static QVector<int> expandAll(const QStringList &texts); // union
    // First, middle and last frame; all of them when there are fewer than 3.
    static QString keyFrames(const QVector<int> &frames);

    // Frames and step apart, as two fields show them: only of a single range, else all stays in the frames; and back.
    static void split(const QString &text, QString *frames, QString *step);
    static QString join(const QString &frames, const QString &step);

    // What an input field takes while it is typed into, and a step field.
    static QString typingPattern();
    static QString stepPattern();
    // Checks: the message for the user, empty when all is well.
    static QString checkPaste(const QString &text);
    static QString checkOrder(const QString &frames);                              // that it can be rendered at all
    static QString checkFrames(const QString &frames);                             // of a parameter row
    static QString checkKeyFrames(const QString &keys, const QStringList &frames); // priority frames within frames
    static QString checkStep(const QString &frames, const QString &step); // typed by hand: not longer than the frames
    static bool stepEnabled(const QString &frames);                       // a single range alone
};
