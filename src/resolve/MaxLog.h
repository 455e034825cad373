#pragma once
// The blocks that the 3ds Max script writes into its log: blocks parted by a blank line, the first line of a block is
// its key, the others are its values.
//
//   Vandrel_width:            Vandrel_externFile:
//   1920                      D:\maps\a.jpg
//                             D:\maps\b.jpg
#include "resolve/LogParser.h"
#include <QCoreApplication>
#include <QList>
#include <QStringList>

class MaxLog
{
    Q_DECLARE_TR_FUNCTIONS(MaxLog)
public:
    static ParsedLog parse(const QString &text); // the text behind the marker
    // Warnings that keep a scene from being submitted as it is.
    static QString noCameraText();
    static QString noPhotonText();

private:
    void block(const QString &key, const QStringList &values);
    void judge();       // codes and what is missing become texts
    bool judgeErrors(); // false when a code ends the checking
    QJsonObject result() const;
    QJsonObject model() const;

    QStringList m_files, m_sceneCameras, m_renderCameras, m_photons, m_exception;
    QString m_scene, m_frames, m_output, m_renderType;
    QList<int> m_errors, m_warnings;
    int m_width = -1, m_height = -1, m_mode = 0, m_reflection = 0;
    QString m_errorText, m_warningText;
};
