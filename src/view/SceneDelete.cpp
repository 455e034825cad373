#include "view/SceneDelete.h"
#include "db/Calls.h"

void SceneDelete::run(qlonglong rkey)
{
    Seam<ResolveCalls>::post([rkey](ResolveCalls &queue) { queue.delResolve(rkey); });
}
