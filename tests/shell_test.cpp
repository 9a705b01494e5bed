// The shell on the stand-in platform: the launch and its program thread, the beep from the bundle's AIFF
// sound, menu choices by tag, the menu clean-up at start, and plain text for the clipboard.
#include "window_recorder.h"

#include "application/application.h"
#include "shell/events.h"
#include "shell/menus.h"
#include "tools/aiffwrite.h"

#include <filesystem>
#include <map>
#include <pthread.h>

namespace {

TEST(SpineLaunch, LaunchLogsItsStepsMeasuresTheTitleBarAndStartsTheProgramOnAGigabyteStack) {
    for (bool pasteboard : {true, false}) {
        SCOPED_TRACE(pasteboard ? "pasteboard window there" : "pasteboard window missing");
        auto screen = std::make_shared<standin::Screen>();
        screen->frame[8] = {100, 200, 500, 300.9};
        screen->scrollFrame[8] = {10, 10, 480, 250};
        screen->window[8] = pasteboard;
        standin::install(screen);
        t_TitleBarHeight = 0;
        standin::LogCapture log;
        std::promise<std::pair<size_t, bool>> program; // its stack's size, and whether on the main thread
        ASSERT_TRUE(standin::onmain([&] {
            applicationWillFinishLaunching();
            applicationDidFinishLaunching([&] {
                pthread_attr_t attributes;
                size_t size = 0;
                pthread_getattr_np(pthread_self(), &attributes);
                pthread_attr_getstacksize(&attributes, &size);
                pthread_attr_destroy(&attributes);
                program.set_value({size, ismainthread()});
            });
        }));
        std::future<std::pair<size_t, bool>> ran = program.get_future();
        ASSERT_EQ(ran.wait_for(std::chrono::seconds(10)), std::future_status::ready);
        const auto [stack, onMain] = ran.get();
        std::string lines;
        for (const std::string& line : log.lines()) lines += line + "|";
        const std::string missing =
            "applicationDidFinishLaunching: Pasteboard window missing, title bar height stays 0.|";
        EXPECT_EQ(lines, "applicationWillFinishLaunching: Called.|applicationDidFinishLaunching: Start.|"
                         "initkbtools: Start.|initkbtools: End.|" +
                             (pasteboard ? "" : missing) +
                             "Program: Start.|applicationDidFinishLaunching: End.|");
        EXPECT_EQ(t_TitleBarHeight.load(), pasteboard ? 30 : 0); // 300.9 - 250 - 20, cut toward zero
        EXPECT_GE(stack, size_t(0x40000000));
        EXPECT_FALSE(onMain);
    }
}

using namespace std::chrono_literals;

// A tone of the given length at 8000 frames a second.
std::vector<int16_t> tone(std::chrono::milliseconds length) {
    std::vector<int16_t> samples(static_cast<size_t>(length.count() * 8));
    for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<int16_t>(i % 40 < 20 ? 8000 : -8000);
    return samples;
}

// A file cut off anywhere is refused with one line and read no further than it goes.
TEST(Aiff, CutOffFilesAreRefusedWithOneLine) {
    const std::vector<uint8_t> good = aiffencode(1, 44100, tone(1ms));
    AiffSound sound;
    for (size_t n = 0; n < good.size(); ++n) {
        standin::LogCapture log;
        EXPECT_FALSE(aiffdecode({good.begin(), good.begin() + static_cast<long>(n)}, sound)) << n;
        EXPECT_EQ(log.lines().size(), 1u) << n;
    }
    EXPECT_TRUE(aiffdecode(good, sound));
}

// A bundle of its own in a temporary folder, with or without a sound in its resources.
class Beep : public windowtest::WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        setbundlepath(folder + "/Seelenorakel.app");
        t_BeepForget();
    }
    void TearDown() override {
        WindowTest::TearDown();
        t_BeepForget();
        std::filesystem::remove_all(folder);
    }
    void writesound(const std::vector<uint8_t>& bytes) {
        setstringtofile(file, std::string(bytes.begin(), bytes.end()));
    }
    std::string folder =
                    (std::filesystem::temp_directory_path() / ("beep-" + std::to_string(getpid()))).string(),
                file = folder + "/Seelenorakel.app/Contents/Resources/sysbeep.aif";
};

TEST_F(Beep, ManyBeepsWhileTheSoundPlaysSoundOnceAndTheNextAfterItSoundsAgain) {
    const std::vector<int16_t> samples = tone(300ms);
    writesound(aiffencode(1, 8000, samples));
    std::vector<std::thread> threads(8);
    for (std::thread& t : threads)
        t = std::thread([] {
            for (int k = 0; k < 50; ++k) t_Beep();
        });
    for (std::thread& t : threads) t.join();
    windowtest::drainmain();
    ASSERT_EQ(recorder->played.size(), 1u);
    EXPECT_EQ(recorder->played[0]->Samples, samples); // the file's sound, decoded
    std::this_thread::sleep_for(350ms);
    t_Beep();
    windowtest::drainmain();
    EXPECT_EQ(recorder->played.size(), 2u);
    EXPECT_EQ(recorder->beeps, 0);
}

TEST_F(Beep, WithoutAPlayableSoundEveryBeepIsTheSystemsAndTheFileIsLookedForOnce) {
    const struct {
        const char* name;
        std::vector<uint8_t> file;
        std::string line;
    } rows[] = {
        {"no file", {}, "getbinaryfromfile: Error #No such file or directory"},
        {"no sound", {'F', 'O', 'R', 'M', 0, 0, 0, 4, 'W', 'A', 'V', 'E'}, "aiffdecode: Not an AIFF file."},
        {"empty sound", aiffencode(1, 8000, {}), "t_Beep: The sound \"sysbeep.aif\" holds nothing to play."},
    };
    int beeps = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        t_BeepForget();
        if (!row.file.empty()) writesound(row.file);
        windowtest::Log log;
        t_Beep();
        // A sound that appears later is not looked for again: the first answer stands.
        writesound(aiffencode(1, 8000, tone(100ms)));
        t_Beep();
        windowtest::drainmain();
        EXPECT_EQ(recorder->beeps, beeps += 2);
        EXPECT_EQ(recorder->played.size(), 0u);
        ASSERT_EQ(log.lines().size(), 1u);
        EXPECT_EQ(log.lines()[0].rfind(row.line, 0), 0u) << log.lines()[0];
        std::filesystem::remove(file);
    }
}

// Menus as titled lists of items; beeps and window calls go to the log, where the test reads them.
std::map<std::string, std::vector<std::string>> menus;

void installmenus(std::map<std::string, std::vector<std::string>> items) {
    menus = std::move(items);
    standin::install();
    t_PlatformPort port = platformport();
    port.MenuItemCount = [](const std::string& m) -> Int {
        return menus.count(m) ? static_cast<Int>(menus[m].size()) : -1;
    };
    port.MenuItemTitleAt = [](const std::string& m, Int i) { return menus[m][static_cast<size_t>(i)]; };
    port.MenuRemoveItemAt = [](const std::string& m, Int i) { menus[m].erase(menus[m].begin() + i); };
    port.Beep = [] { debuglog("beep"); };
    port.WindowMakeKeyAndOrderFront = [](uint8_t n) { debuglog("front " + std::to_string(n)); };
    port.WindowOrderFront = [](uint8_t n) { debuglog("show " + std::to_string(n)); };
    port.WindowOrderOut = [](uint8_t n) { debuglog("hide " + std::to_string(n)); };
    setplatformport(port);
    // No sound to play: the beep is the platform's.
    setbundlepath("/nonexistent/Seelenorakel.app");
    t_BeepForget();
    std::lock_guard<std::mutex> lock(t_MenuLock);
    t_MenuActions.clear();
}

TEST(Menus, CleanUpAtStartAndItemRoutines) {
    installmenus({{"Bearbeiten", {"Text kopieren", "Emoji & Symbole", "Diktat starten …", ""}},
                  {"Fenster", {"Vollbildmodus", "Bildschirm 0 zeigen"}}});
    standin::LogCapture log;
    t_InitMemoryMenus();
    EXPECT_EQ(menus["Bearbeiten"], std::vector<std::string>{"Text kopieren"});
    EXPECT_EQ(menus["Fenster"], std::vector<std::string>{"Bildschirm 0 zeigen"});
    EXPECT_EQ(std::ranges::count(log.lines(), "*** Found Fenster Menu Item Vollbildmodus"), 1);
    EXPECT_EQ(std::ranges::count(log.lines(), "t_MenuItemIndex: Menu not found."), 5 + 3);
    EXPECT_EQ(std::ranges::count(log.lines(), "t_MenuItemDelete: Item position out of range"), 3);
    EXPECT_EQ(t_MenuActions.size(), 37u);
    EXPECT_EQ(t_MenuItemTitle("Bearbeiten", 65535), "Text kopieren");
}

TEST(Menus, ChoicesByTag) {
    installmenus({});
    for (Int tag = 200; tag <= 231; ++tag) t_MenuActionAdd(tag);
    for (Int tag = 110; tag <= 114; ++tag) t_MenuActionAdd(tag);
    t_MenuActionAdd(-5);
    std::atomic<int> programHandler{0};
    t_ProgramMenuHandler = [&] { ++programHandler; };
    // What each choice does, as the platform and the log see it.
    const struct {
        const char* name;
        Int tag;
        bool inMenu;
        std::vector<std::string> done;
        int handler;
    } rows[] = {
        {"tag 0 goes to the program", 0, true, {}, 1},
        {"no menu goes to the program", 205, false, {}, 1},
        {"a tag without a row goes to the program", 999, true, {}, 1},
        {"205 shows the main window", 205, true, {"show 12", "front 12"}, 0},
        {"210 hides the printer", 210, true, {"hide 9"}, 0},
        {"214 never made", 214, true, {"t_MenuEventHandler: Window #0 not initialized.", "beep"}, 0},
        {"paste with no window in front", 113, true, {"beep"}, 0},
        {"copy picture with no window in front", 110, true, {"beep"}, 0},
        {"231 does nothing", 231, true, {}, 0},
        {"a row with a negative tag is handled", -5, true, {}, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        standin::LogCapture log("getbinaryfromfile"); // the beep's sound looked for
        programHandler = 0;
        const size_t queued = t_MenuQueue.size();
        const Int size = t_MenuQueueSize.load();
        t_BeepForget();
        const t_MenuItem item{row.inMenu, "Fenster", "Eintrag", "w", 0, row.tag};
        ASSERT_TRUE(standin::onmain([&] { t_MenuEventHandler(item); }));
        EXPECT_TRUE(standin::waitfor(
            [&] { return programHandler >= row.handler && log.lines().size() >= row.done.size(); }));
        EXPECT_EQ(programHandler.load(), row.handler);
        EXPECT_EQ(log.lines(), row.done);
        ASSERT_EQ(t_MenuQueue.size(), queued + 1);
        EXPECT_EQ(t_MenuQueue.back().Kind, row.inMenu ? 3 : 0);
        EXPECT_EQ(t_MenuQueue.back().ItemAction, row.inMenu ? row.tag : 0);
        EXPECT_EQ(t_MenuQueueSize.load(), size + 1);
    }
    t_ProgramMenuHandler = [] {};
}

TEST(Menus, PlainTextForTheClipboard) {
    const struct {
        std::string in, out;
    } rows[] = {
        {"", ""},
        {"\u0086\u008C\u008C\u0087\r\u008A ab \u008A", "+--+\r| ab |"},
        {"\u007F\u0080\u0081\u0082\u0083\u0084\u0085\u009F\u00A0ä", "#*#<=>O=\u02FDä"},
        {"\u0088\u0089\u008E\u0099\u009E\u009A\u009B\u009C\u009D", "+++++--||"},
    };
    for (const auto& row : rows) EXPECT_EQ(t_PasteboardText(row.in), row.out) << row.in;
}

} // namespace
