// The program thread prints and makes its window anew while the main thread copies the screen, clicks,
// switches the output and composes frames: under tools/tsan.sh the checker sees every access they share.
#include "shell/events.h"
#include "shell/menus.h"
#include "terminal_fixture.h"

using Races = termtest::TerminalTest;

TEST_F(Races, CopyClickAndRedirectWhileTheProgramPrints) {
    t_PlatformPort port = platformport();
    port.MainWindow = [] { return t_WindowHandle(0); };
    setplatformport(port);
    makewindow(0, 24, 20, 8);
    termtest::record(0).Visible = true;
    standin::LogCapture log; // the window's making and the redirected text
    t_MouseQueue.clear();
    std::atomic<bool> printing{true};
    std::thread program([&] {
        // Two shapes: 80 x 32 pixels with no border, 80 x 40 with a border of 4.
        for (Int n = 0, b = 0; printing; b = ++n / 40 % 2 * 4) {
            if (n % 40 == 0) t_InitWindow(0, 24, false, 80, 32 + 2 * b, b, b, cellfont(), true);
            t_Print(0, "Zeile " + std::to_string(n) + "\r");
        }
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    for (int i = 0; std::chrono::steady_clock::now() < end || i < 20; ++i)
        ASSERT_TRUE(standin::onmain([i, frame = t_Image()]() mutable {
            t_MenuEventHandler({true, "", "", "", 0, 111});
            viewMouseDown(0, {1, 0, 10, 20}, false);
            viewKeyDown(0, {89 + i % 3 + (i % 3 > 0), "7", t_ModControl | t_ModNumericPad});
            t_WindowImage(0, frame);
        }));
    printing = false;
    program.join();
    // Each click was placed by one shape of the window, never by half of each.
    for (const t_Event& c : t_MouseQueue)
        EXPECT_TRUE(c.ClickX * 100 + c.ClickY == 1012 || c.ClickX * 100 + c.ClickY == 624)
            << c.ClickX << "," << c.ClickY;
}
