#pragma once
// The steps of the program's start that need windows or the network, named for the spine in main.cpp. Main thread, in
// the order they stand here.
#include <QString>

class Login;
class QTranslator;
class QWidget;
class SingleApp;
struct MasterMeeting;

namespace Startup
{
void writeEnvironment();         // VandrelClient, for tools that look for the client; waits at most 30 s for the tool
int resolveTest(SingleApp *app); // "-resolve": one Maya analysis of a fixed file; ends with it
void translate(QTranslator *to); // installs the interface's language: Chinese (the toolkit's words) or English
void applyStyle();               // style sheet, palette, font, icon
void registerTypes();            // everything that crosses threads

// An update on trial counts its starts, before anything else is done. False: this one is one too many; the updater
// brings the earlier program back, and this one is to end.
bool trialGoesOn();
// The trial is told, off this thread, once the client has come up: the login page stands, or the event loop has run for
// 10 s.
void watchTrial(Login *login);

// Asks for the newest version, waits at most 3 s. True: the updater runs and the program is to end.
// Why the updater put nothing in place since the last start; each reason once.
void tellRefusedUpdate(QWidget *over);
QString refusedUpdate(const QString &programDir, QString *known); // known: the line of its log told last; blocks
bool updateStarted(const MasterMeeting &master);
} // namespace Startup
