#pragma once
// Clarisse: its node program prints the scene's XML, which is the log. Thread and life as BaseResolve.
#include "resolve/BaseResolve.h"

class ClarisseResolve : public BaseResolve
{
    Q_OBJECT
public:
    void resolve() override;
    static QString version(const QString &software); // "ifx 3.6 sp2" gives "IFX 3.6"
};
