#pragma once
// Maya: its batch program runs the analysis script on the loaded scene, or, for the quick analysis, its interpreter
// reads the scene file. Standard output is the log. Thread and life as BaseResolve.
#include "resolve/BaseResolve.h"

class MayaResolve : public BaseResolve
{
    Q_OBJECT
public:
    void resolve() override;
    static QString scriptFolder(const QString &software); // of the interpreter that the version carries
};
