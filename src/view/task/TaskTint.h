#pragma once
// What a task's state means to the eye, as a tint of the lists. Pure function, main thread.
#include "common/facts/TaskState.h"
#include "common/ui/Palette.h"

inline Tint taskTint(const TaskState::Stand &stand)
{
    switch (TaskState::tint(stand)) {
    case TaskState::Tint::Quiet:
        return Tint::Quiet;
    case TaskState::Tint::Running:
        return Tint::Running;
    case TaskState::Tint::Done:
        return Tint::Done;
    case TaskState::Tint::Warning:
        return Tint::Warning;
    case TaskState::Tint::Failed:
        return Tint::Failed;
    case TaskState::Tint::Plain:
        break;
    }
    return Tint::Plain;
}
