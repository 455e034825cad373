#pragma once
// Cinema 4D: the script is a plug-in that is brought into the installation first; it writes the log and says on
// standard output when it has ended, since the program stays open. Thread and life as BaseResolve.
#include "resolve/BaseResolve.h"

class C4DResolve : public BaseResolve
{
    Q_OBJECT
public:
    void resolve() override;
    static QString version(const QString &software); // "r20" gives "20"; a year is kept whole
};
