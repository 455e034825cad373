#pragma once
// 3ds Max: checks that the chosen version can open the scene, then runs the script by a batch file; the script writes
// the log. Thread and life as BaseResolve.
#include "resolve/BaseResolve.h"

class MaxResolve : public BaseResolve
{
    Q_OBJECT
public:
    void resolve() override;

private:
    void startSoftware(const QString &year);
};
