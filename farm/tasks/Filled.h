#pragma once
// Invented tasks in every state, for who wants to look at a client or to try what it does: believable names, times,
// counts, remarks and history; frames that are done have a picture and a log. Those that wait or run are real from then
// on: the renderer takes them up.

namespace farm
{

class Core;

void fillTasks(Core &core);

} // namespace farm
