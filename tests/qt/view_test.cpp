// The real Qt windows in this process: a display window's size, border and title as the program makes
// it, and the keys and the close box of its view.
#include "display/display.h"
#include "shell/events.h"
#include "shell/platform.h"
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"
#include "tests/testsupport.h"

#include <QApplication>
#include <QScreen>
#include <QtTest/qtestspontaneevent.h>
#include <gtest/gtest.h>

#include <future>

namespace {

// Runs the work on a thread of its own, as the program does, while this (the GUI) thread serves it.
bool onprogramthread(const std::function<void()>& work) {
    auto done = std::async(std::launch::async, work);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (done.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready &&
           std::chrono::steady_clock::now() < end)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    return done.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

constexpr uint8_t number = 5;
constexpr int width = 320, height = 200, borderWidth = 10, borderHeight = 12;

TEST(QtWindow, TheProgramsWindowTakesItsSizesBorderTitleAndPlaceAndItsViewTakesEveryKey) {
    setbundlepath("/Programme/Probe.app");
    t_AutoUpdateRunning = true; // the refresh stays out of the way
    bool placed = false;
    applicationDidFinishLaunching([] {}); // measures the title bar
    if (!t_MemoryStarted.load()) t_InitMemory();
    ASSERT_TRUE(onprogramthread([&] {
        t_InitWindow(number, 24, true, width, height, borderWidth, borderHeight, t_Font{}, true);
        t_WindowFront(number);
        t_WindowSize(number, 40, 60, -1, -1);
        placed = t_WindowPos(number, 13) == 40 && t_WindowPos(number, 20) == 60;
    }));
    EXPECT_TRUE(placed);
    QCoreApplication::processEvents();
    QMainWindow* window = t_Delegate->window(number);
    EXPECT_EQ(window->windowTitle(), "Probe-Grafik");
    EXPECT_EQ(window->size(),
              QSize(width + 2 * borderWidth, height + 2 * borderHeight + int(t_TitleBarHeight.load())));
    EXPECT_EQ(t_Delegate->view(number)->LogicalView, QRect(borderWidth, borderHeight, width, height));
    // The frame's origin is its bottom left corner, counted up from the bottom of the screen.
    EXPECT_EQ(window->geometry().x(), 40);
    EXPECT_EQ(window->geometry().bottom() + 1, window->screen()->geometry().height() - 60);
    QImage shot = window->centralWidget()->grab().toImage();
    EXPECT_EQ(shot.pixel(2, 2), 0xFF545454u);
    EXPECT_EQ(shot.pixel(borderWidth + width, borderHeight + height - 1), 0xFF545454u);
    EXPECT_EQ(shot.pixel(borderWidth, borderHeight), 0xFF000000u);
    EXPECT_EQ(shot.pixel(borderWidth + width - 1, borderHeight + height - 1), 0xFF000000u);
    ASSERT_TRUE(onprogramthread([] { t_ColorBorder(number, 9); }));
    EXPECT_EQ(window->centralWidget()->grab().toImage().pixel(2, 2), 0xFFFF8000u);

    testsupport::clearkeys();
    // Tab stays in the view, and no key travels on to the window.
    for (auto [key, text, value] :
         {std::tuple{Qt::Key_Tab, "\t", 9}, {Qt::Key_Backtab, "", 20}, {Qt::Key_F1, "", 129}}) {
        QKeyEvent event(QEvent::KeyPress, key, key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier,
                        text);
        QCoreApplication::sendEvent(t_Delegate->view(number), &event);
        EXPECT_TRUE(event.isAccepted()) << value;
        std::lock_guard<std::mutex> lock(t_KeyQueueLock);
        ASSERT_EQ(t_KeyQueue.size(), 1u);
        EXPECT_EQ(t_KeyQueue.back().Value, value);
        EXPECT_EQ(t_KeyQueue.back().Window, number);
        t_KeyQueue.clear();
        t_KeyEventPending = false;
    }
    // The user's close hides the window and keeps it; a close that Qt makes itself (at quit) goes through.
    QCloseEvent user;
    QSpontaneKeyEvent::setSpontaneous(&user);
    QApplication::instance()->notify(window, &user);
    EXPECT_FALSE(user.isAccepted());
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(t_WindowTable[number].Visible.load());
    EXPECT_TRUE(t_WindowTable[number].Initialized.load());
    window->show();
    EXPECT_TRUE(window->close());
    t_WindowTable[number].Initialized = false;
    setbundlepath("");
}

} // namespace
