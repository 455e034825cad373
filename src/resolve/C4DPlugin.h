#pragma once
// Brings the analysis plug-in into an installation of Cinema 4D: copies what is missing or differs by its MD5. Where
// the folder is protected, a second, elevated instance of the client copies what it finds listed in the file "c4dcopy".
// Any thread, one at a time.
#include <QJsonArray>
#include <QString>

class C4DPlugin
{
public:
    // What couldn't be copied, as objects {src, dest}. vcmain.pyp goes below plugins by its relative path, libmmd.dll
    // into the folder itself.
    static QJsonArray install(const QString &source, const QString &folder);
    // False when the user refused, or the list couldn't be written.
    static bool elevated(const QJsonArray &list);
};
