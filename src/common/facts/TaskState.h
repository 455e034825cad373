#pragma once
// The life of a task on the farm: codes of its stages and states, their texts, what they mean to the eye, and which
// software a task's name tells of. Constants and pure functions, any thread.
#include <QString>

namespace TaskState
{
enum Stage { Analysis = 0, Upload = 2, Preparation = 3, Render = 4, Download = 5 };
enum Status { Queued = 0, Running = 1, Ended = 2, Paused = 3 };
enum Result { Failed = 2, Cancelled = 3 };
enum Subtype { WaitsForConfirmation = 10, PausePending = 15 };

// Where a task stands; the numbers are the server's, others than those above may come.
struct Stand {
    int stage = 0, status = 0, result = 0, subtype = 0;
    bool operator==(const Stand &other) const
    {
        return stage == other.stage && status == other.status && result == other.result && subtype == other.subtype;
    }
    bool operator!=(const Stand &other) const { return !(*this == other); }
};

QString text(const Stand &stand); // translated; empty where the combination has no text
enum class Tint { Plain, Quiet, Running, Done, Warning, Failed };
Tint tint(const Stand &stand);

// By the name's ending, without regard to case; 0 where none fits. With words, the software's names within it count
// where no ending fits, the later ones of the table first.
int softwareOf(const QString &name, bool words = false);
} // namespace TaskState
