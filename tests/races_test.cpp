// The program thread prints and makes its window anew while the main thread copies the screen, clicks,
// switches the output and composes frames. Under tools/tsan.sh the checker sees every access they share.
#include "terminal_fixture.h"

#include "shell/events.h"
#include "shell/menus.h"

namespace {

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
        for (Int n = 0, b = 0; printing; ++n) {
            if (n % 40 == 0) t_InitWindow(0, 24, false, 80, 32 + 2 * b, b, b, windowtest::cellfont(), true);
            t_Print(0, "Zeile " + std::to_string(n) + "\r");
            b = n % 80 < 40 ? 4 : 0;
        }
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    for (int round = 0; std::chrono::steady_clock::now() < end || round < 20; ++round)
        ASSERT_TRUE(standin::onmain([round] {
            t_MenuEventHandler({true, "", "", "", 0, 111});
            viewMouseDown(0, {1, 0, 10, 20}, false);
            viewKeyDown(0, {89 + round % 3 + (round % 3 > 0), "7", t_ModControl | t_ModNumericPad});
            t_Image frame;
            t_WindowImage(0, frame);
        }));
    printing = false;
    program.join();
    // Each click was placed by one shape of the window, never by half of each.
    for (const t_Event& click : t_MouseQueue)
        EXPECT_TRUE(click.ClickX * 100 + click.ClickY == 1012 || click.ClickX * 100 + click.ClickY == 624)
            << click.ClickX << "," << click.ClickY;
}

} // namespace
