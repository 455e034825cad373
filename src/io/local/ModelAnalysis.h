#pragma once
// Turns what came in by /model/analysis into rows for the analysis queue: a list of scene files dropped on the page (or
// {scenes, mayaProject} from a menu inside the software), an object {scenes, parameter} of another program, or the
// finished analysis of a subordinate seat. Reads the disk (do the scenes exist?) and the store, so it runs on the
// request's thread. Any failure is a text for who asked.
#include "db/Records.h"
#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

class ModelAnalysis
{
    Q_DECLARE_TR_FUNCTIONS(ModelAnalysis)
public:
    enum Kind {
        Refused, // text tells why
        AskUser, // a plain list: the page asks for environment, project and machine, then inserts the rows itself
        Rows     // rows go into the store, where the queue finds them
    };
    // seat: the caller may hand finished analyses over.
    static ModelAnalysis read(const QJsonDocument &body, qint64 nowMs, bool seat);
    // What parameter chooses (env or software, project, machine, ...) for one scene, as text of its rset; empty, with a
    // text, where something is missing.
    static QString chosen(const QJsonObject &parameter, int softwareType, const QString &scene, QString *text);
    // A file that no scene has reason to name: of the system's folders, or hidden.
    static bool outOfPlace(const QString &path);

    // The key that a row handed over by a subordinate seat has there, 0 for other rows. The row's own may have had to
    // move.
    static qlonglong seatKey(const db_resolve &row);
    static QString seatName(const db_resolve &row); // of the seat; empty where it didn't tell

    Kind kind = Refused;
    QString text;           // of Refused
    QJsonObject data;       // payload of the reply, may be empty
    int softwareType = 0;   // of AskUser
    QStringList files;      // of AskUser
    QString mayaProject;    // of AskUser, where the caller told one that exists
    bool commit = false;    // the rows need nobody's approval: commit them at once
    QList<db_resolve> rows; // empty: a seat asked twice, its scene is here already

private:
    static ModelAnalysis refused(const QString &text)
    {
        ModelAnalysis out;
        out.text = text;
        return out;
    }
    static ModelAnalysis fromList(const QStringList &scenes);
    static ModelAnalysis fromParameter(const QStringList &scenes, const QJsonObject &parameter, qint64 nowMs);
    static ModelAnalysis fromSeat(const QJsonObject &body, const QJsonObject &parameter, qint64 nowMs);
};
