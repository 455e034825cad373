#pragma once
// Writes GI choices back into a Terragen project: the one place that changes a user's scene. The bytes are edited where
// the values stand, so that nothing else changes, neither order of attributes nor line ends nor encoding; the file is
// replaced as a whole. Any thread.
#include <QByteArray>
#include <QCoreApplication>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

class QTextCodec;

class TerragenGi
{
    Q_DECLARE_TR_FUNCTIONS(TerragenGi)
public:
    struct Choice {
        QString render; // name of a render below the root
        int mode = 0;   // 0 no cache file, 1 read, 2 write; the other two flags become 0
        QString file;   // with mode 1 the file to read; empty leaves the scene's own
    };
    static QList<Choice> choices(const QJsonObject &rdata); // of the selected cameras that have a GI mode
    // In the scene's own encoding, which is found out by the renders' names where it isn't told. Renders without GI
    // settings are left. False, with a message, when the scene can't be read or written, has no such render, or its
    // encoding can't hold a file's name; it is as it was then. A scene that says all this already isn't written.
    static bool write(const QString &sceneFile, const QList<Choice> &choices, QString *message);
    // False when it can't be read as XML. codec: of the scene, null for UTF-8. absent: renders that aren't there, and
    // names that the encoding can't hold.
    static bool edit(QByteArray *scene, const QList<Choice> &choices, QTextCodec *codec = nullptr,
                     QStringList *absent = nullptr);
};
