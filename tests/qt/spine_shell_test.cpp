// The Qt host in this process: its windows, the lookups through it, crossings to the GUI thread.
#include "display/display.h"
#include "shell/platform.h"
#include "shell/qt/appdelegate.h"
#include "shell/shell.h"
#include "tests/qt/qtsupport.h"
#include "tests/testsupport.h"

#include <QApplication>
#include <QClipboard>
#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <thread>

namespace {

using namespace std::chrono_literals;

// Serves the event loop on this (the GUI) thread until the condition holds.
using qtsupport::pumpuntil;

bool onguithread() {
    return QThread::currentThread() == qApp->thread();
}

using LogCapture = testsupport::ThreadLogCapture;

TEST(SpineShell, ThirteenWindowsExistHiddenAndAnswerTheLookups) {
    std::set<t_Handle> windows;
    for (int n = 0; n <= 12; ++n) {
        t_Handle handle = t_WindowHandle(n);
        ASSERT_NE(handle, nullptr) << n;
        windows.insert(handle);
        EXPECT_EQ(t_WindowIndexOf(handle), n);
        EXPECT_FALSE(platformport().WindowIsVisible(n)) << n;
    }
    EXPECT_EQ(windows.size(), 13u);
    for (int n = 0; n <= 7; ++n) EXPECT_NE(t_WindowView(n), nullptr);
    for (int n = 8; n <= 10; ++n) EXPECT_NE(t_WindowTextView(n), nullptr);
    EXPECT_EQ(t_WindowView(8), nullptr);
    EXPECT_EQ(t_WindowTextView(11), nullptr);
    EXPECT_EQ(t_WindowHandle(13), nullptr);
    EXPECT_EQ(t_WindowIndexOf(t_WindowView(0)), 255);
    EXPECT_EQ(platformport().WindowTitle(8), "Zwischenablage");
}

TEST(SpineShell, OtherThreadsCrossToTheGuiThreadAndMainRunsInline) {
    bool inlineOnMain = false;
    t_RunOnMainThread([&] { inlineOnMain = onguithread(); });
    EXPECT_TRUE(inlineOnMain);

    std::atomic<bool> done{false};
    std::atomic<bool> blockOnGui{false};
    std::atomic<int> indexOk{0};
    std::thread worker([&] {
        t_RunOnMainThread([&] { blockOnGui = onguithread(); });
        for (int n = 0; n <= 12; ++n)
            if (t_WindowIndexOf(t_WindowHandle(n)) == n) ++indexOk;
        done = true;
    });
    bool finished = pumpuntil([&] { return done.load(); });
    worker.join();
    ASSERT_TRUE(finished);
    EXPECT_TRUE(blockOnGui.load());
    EXPECT_EQ(indexOk.load(), 13);
}

TEST(SpineShell, TitleHeightIsThePasteboardWindowsMenuBar) {
    t_TitleBarHeight = -1;
    std::atomic<bool> ran{false};
    applicationDidFinishLaunching([&] { ran = true; });
    ASSERT_TRUE(pumpuntil([&] { return ran.load(); }));
    const Int bar = platformport().TitleHeight(8);
    EXPECT_GT(bar, 10);
    EXPECT_EQ(t_TitleBarHeight.load(), bar);

    // Once shown and laid out, the formula still holds.
    platformport().WindowOrderFront(8);
    QCoreApplication::processEvents();
    t_PlatformRect frame = platformport().WindowFrame(8);
    t_PlatformRect scroll = platformport().ScrollViewFrame(8);
    EXPECT_EQ(static_cast<Int>(frame.Height - scroll.Height - 20), bar);
    EXPECT_EQ(scroll.X, 10);
    EXPECT_EQ(scroll.Y, 10);
    EXPECT_EQ(t_Delegate->PasteboardScrollView->mapTo(t_Delegate->PasteboardWindow, QPoint(0, 0)).y(),
              bar + 10);
    platformport().WindowOrderOut(8);
    EXPECT_FALSE(platformport().WindowIsVisible(8));
}

TEST(SpineShell, FramesRoundTripInToolkitCoordinates) {
    const t_PlatformPort& port = platformport();
    t_PlatformRect frame{120, 200, 500, 400};
    port.SetWindowFrame(9, frame);
    t_PlatformRect back = port.WindowFrame(9);
    EXPECT_EQ(back.X, 120);
    EXPECT_EQ(back.Y, 200);
    EXPECT_EQ(back.Width, 500);
    EXPECT_EQ(back.Height, 400);
    // y counts upward from the bottom of the primary screen.
    const int screenBottom = QGuiApplication::primaryScreen()->geometry().bottom() + 1;
    EXPECT_EQ(t_Delegate->VirtualPrinterWindow->geometry().top(), screenBottom - 600);

    t_PlatformRect scroll{20, 20, 460, double(400 - 40 - 15 - port.TitleHeight(9))};
    port.SetScrollViewFrame(9, scroll);
    t_PlatformRect scrollBack = port.ScrollViewFrame(9);
    EXPECT_EQ(scrollBack.Y, 20);
    EXPECT_EQ(scrollBack.Height, scroll.Height);
    EXPECT_EQ(t_Delegate->VirtualPrinterScrollView->geometry().bottom() + 1,
              t_Delegate->VirtualPrinterWindow->height() - port.TitleHeight(9) - 20);
}

TEST(SpineShell, SideTextViewsKeepUtf8Text) {
    platformport().SetTextViewString(10, "Größe: 1,80 m");
    EXPECT_EQ(platformport().TextViewString(10), "Größe: 1,80 m");
    EXPECT_EQ(platformport().TextViewString(9), "");
    EXPECT_EQ(platformport().TextViewString(11), "");
}

TEST(SpineShell, ProgramThreadReachesTheClipboardThroughTheGuiThread) {
    std::atomic<bool> done{false};
    std::string readBack;
    startprocess(
        [&] {
            setpasteboardstring("Bericht für Anna");
            readBack = pasteboardstring();
            done = true;
        },
        16 << 20);
    ASSERT_TRUE(pumpuntil([&] { return done.load(); }));
    EXPECT_EQ(readBack, "Bericht für Anna");
    EXPECT_EQ(QGuiApplication::clipboard()->text().toStdString(), "Bericht für Anna");
}

struct UnwindMark {
    std::atomic<bool>& flag;
    ~UnwindMark() { flag = true; }
};

TEST(SpineShell, QuitProgramEndsOnlyTheProgramThread) {
    LogCapture log;
    std::atomic<bool> unwound{false}, pastQuit{false};
    startprocess(
        [&] {
            UnwindMark mark{unwound};
            t_QuitProgram(0);
            pastQuit = true;
        },
        16 << 20);
    ASSERT_TRUE(pumpuntil([&] { return unwound.load(); }));
    EXPECT_FALSE(pastQuit.load());
    // Window 0 has no record here, so the text routines that write the message log their refusals
    // between the pieces of the quitting line.
    std::string all;
    for (const std::string& line : log.lines()) all += line + "\n";
    EXPECT_EQ(all.rfind("t_QuitProgram: Quitting current thread", 0), 0u) << all;
    EXPECT_NE(all.find(" with message in window #0.\n"), std::string::npos) << all;

    // The event loop goes on: a timer still fires and another thread is still served.
    bool fired = false;
    QTimer::singleShot(0, [&] { fired = true; });
    EXPECT_TRUE(pumpuntil([&] { return fired; }));
    std::atomic<bool> served{false};
    std::thread other([&] { t_RunOnMainThread([&] { served = onguithread(); }); });
    EXPECT_TRUE(pumpuntil([&] { return served.load(); }));
    other.join();
}

} // namespace
