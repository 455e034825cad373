#pragma once
// The parameters that a farm's service found, brought into the shape that the parameter dialogs read. Pure functions,
// any thread.
#include "db/Records.h"

namespace CloudModel
{
// Of a row of ResolveDDAO: its rdata with sizes out of "reslution", "enable" and "disable" as ticks, and the software;
// its rset marks it as one that needs nothing of this machine.
db_resolve opened(db_resolve res);
} // namespace CloudModel
