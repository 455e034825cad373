#pragma once
// The register of the tour: every window and dialog of the client stands here by one row, and by nothing else. A row
// brings the window up over the stage and gives it back; the walk takes its picture, reads it, tabs through it and
// closes it. Main thread.
#include "Stage.h"

class QWidget;

struct TourStop {
    enum When { Both, EmptyOnly, FullOnly }; // with which stores it's looked at
    const char *name;
    When when;
    std::function<QWidget *(Stage &)> bring; // null: there is none now
    bool page = false;                       // part of the main window: stays open
    bool firm = false;                       // Escape doesn't close it
    TourStop &stays() { return firm = true, *this; }
};

const QList<TourStop> &tourTable();
