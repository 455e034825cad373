#pragma once
// The machines whose seats have asked this master for its ports (GET /masterInfo): only these, and who has the token,
// may hand over finished analyses. Kept in the machine's settings, so that a master that starts again knows its seats.
// Static, any thread.
#include <QString>

class SeatBook
{
public:
    static constexpr int MaxSeats = 64; // the latest ones
    static void meet(const QString &address);
    static bool met(const QString &address);
};
