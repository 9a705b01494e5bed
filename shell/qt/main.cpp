// The program's main: the Qt application, and the game's routine handed to the launch. The only file of
// the shell that knows the game.
#include "application/application.h"
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"

#include <QApplication>
#include <QTimer>

#include <cstdio>

int main(int argc, char** argv) {
    threadregistermain();
    // Whole lines reach a pipe at once.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    choosexcbonwayland();

    QApplication application(argc, argv);
    prepareapplication(application);

    applicationWillFinishLaunching();
    // From inside the event loop, so that the program thread's first crossings are served at once.
    QTimer::singleShot(0, [] { applicationDidFinishLaunching(SeelenorakelMain); });
    application.exec();
    // Never return from main: static destructors would run under a live program thread.
    quitapplication();
}
