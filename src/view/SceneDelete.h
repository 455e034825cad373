#pragma once
// Deletes a scene as a user asks for it: the queue takes its row, its parameters and its upload away, and gives the
// order up at the server, (104, 10417), now or as soon as there is a link. Main thread.
#include <QtGlobal>

class SceneDelete
{
public:
    static void run(qlonglong rkey);
};
