// One QApplication for all Qt tests, with the delegate and the Qt port installed as the program has them.
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"

#include <QApplication>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Listing the tests needs no display.
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    // Run by hand without a display: the same platform CTest sets.
    if (!std::getenv("QT_QPA_PLATFORM") && !std::getenv("DISPLAY")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
    threadregistermain();
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    t_Delegate = new AppDelegate;
    setplatformport(qtplatformport());
    int result = RUN_ALL_TESTS();
    // Threads that the tests started may still be alive: no static destructors under them.
    std::fflush(stdout);
    writecoverage();
    _exit(result);
}
