#pragma once
// Terragen: no program runs, the scene itself is read. Thread and life as BaseResolve.
#include "resolve/BaseResolve.h"

class TerragenResolve : public BaseResolve
{
    Q_OBJECT
public:
    void resolve() override;
};
