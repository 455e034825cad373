#pragma once
// The stops of the tour in the drive. Main thread.
#include "Stage.h"

class MainDriver;
class QWidget;

namespace DriverTour
{
MainDriver *driver(Stage &stage);
QWidget *page(Stage &stage);  // the browser: in a folder where there is one
QWidget *small(Stage &stage); // small pictures
QWidget *results(Stage &stage); // frames of one, as small pictures
QWidget *search(Stage &stage); // what a search found
// Brought up by the page's own act on what is chosen.
QWidget *dialog(Stage &stage, const char *act);
QWidget *addFarm(Stage &stage);
QWidget *transfers(Stage &stage, int type); // 2 sent, 3 fetched, 4 over: with made up batches, nobody works on them
} // namespace DriverTour
