#pragma once
// Houdini: its interpreter runs the analysis script by a batch file; standard output is the log. Thread and life as
// BaseResolve.
#include "resolve/BaseResolve.h"

class HoudiniResolve : public BaseResolve
{
    Q_OBJECT
public:
    void resolve() override;
};
