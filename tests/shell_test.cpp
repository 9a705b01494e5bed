// The shell without Qt: the launch and its program thread, the beep from the bundle's AIFF sound, menu
// choices and clean-up, plain text for the clipboard, whole files written safely, the view's scaling, and
// the German keyboard's keys down to the Values a program reads.
#include "window_recorder.h"
#include "application/application.h"
#include "shell/events.h"
#include "shell/menus.h"
#include "tools/aiffwrite.h"
#include "shell/scaling.h"
#include "shell/keymap.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <pthread.h>
#include <set>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

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
        setbundlepath(folder + "Seelenorakel.app");
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
    std::string folder = testsupport::scratchfolder(),
                file = folder + "Seelenorakel.app/Contents/Resources/sysbeep.aif";
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

using testsupport::LogCapture;

std::string readback(const std::string& path) {
    const std::vector<uint8_t> bytes = getbinaryfromfile(path);
    return {bytes.begin(), bytes.end()};
}

// A disk that fills up in the middle of the write: the file size limit stands in for it.
int64_t filledup(const std::function<int64_t()>& write) {
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{4096, old.rlim_max};
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const int64_t code = write();
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, previous);
    return code;
}

class Files : public ::testing::Test {
  protected:
    void TearDown() override { std::filesystem::remove_all(folder); }
    std::string folder = testsupport::scratchfolder();
};

TEST_F(Files, LinksStayLinksAndNewFilesArePrivate) {
    // A new file is its owner's alone, whatever the umask allows. Through a link, even one that leads
    // nowhere yet, the target is written; the link stays, and a target keeps its mode.
    const std::string path = folder + "Seelenorakel-Daten.txt", link = folder + "verweis";
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    const mode_t mask = umask(0);
    ASSERT_EQ(setstringtofile(link, "alt\r"), 0);
    umask(mask);
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0600));
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    ASSERT_EQ(setstringtofile(link, "über den Verweis"), 0);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(readback(path), "über den Verweis");
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0640));
}

// A kept copy of bytes kept before isn't made again, and one of other bytes never replaces an earlier one,
// even within the same second.
TEST_F(Files, KeptCopiesAreMadeOnce) {
    const std::string path = folder + "daten.txt";
    const std::vector<uint8_t> first = {'T', '0', '\r'}, second = {'R', '1', '\r'};
    const std::string a = keepcopy(path, first), b = keepcopy(path, second);
    EXPECT_EQ(keepcopy(path, first), a);
    EXPECT_NE(b, a);
    EXPECT_EQ(readfile(a).Bytes, first);
    EXPECT_EQ(readfile(b).Bytes, second);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2);
}

TEST_F(Files, FailedWritesLeaveTheOldFileWhole) {
    const std::string path = folder + "daten.txt";
    ASSERT_EQ(setstringtofile(path, "die alten Daten\r"), 0);
    LogCapture log;
    EXPECT_EQ(setstringtofile(folder + "fehlt/daten.txt", "x"), ENOENT);
    EXPECT_EQ(filledup([&] { return setstringtofile(path, std::string(100000, 'n')); }), EFBIG);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"setstringtofile: Error #No such file or directory: " +
                                                         folder + "fehlt/daten.txt",
                                                     "setstringtofile: Error #File too large: " + path}));
    EXPECT_EQ(readback(path), "die alten Daten\r");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1); // no copy left behind
}

// A file made read-only stays as it is; a folder where nothing can be made gets its file written in place.
// As root, whom no permission stops, a thread with another user's file rights stands in for that user.
TEST_F(Files, ReadOnlyFilesStayAndUnwritableFoldersGetTheFileWrittenInPlace) {
    const std::string path = folder + "Seelenorakel-Daten.txt";
    ASSERT_EQ(setstringtofile(path, "alt\r"), 0);
    LogCapture log;
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    EXPECT_EQ(setstringtofile(path, "neu\r"), EACCES);
    EXPECT_EQ(readback(path), "alt\r");
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0555), 0);
    int64_t code = -1, full = -1;
    std::thread user([&] {
        // File rights are per thread at this level (setuid would change the whole process).
        if (geteuid() == 0) syscall(SYS_setfsgid, 65534), syscall(SYS_setfsuid, 65534);
        code = setstringtofile(path, "neu\r");
        full = filledup([&] { return setstringtofile(path, std::string(100000, 'n')); });
    });
    user.join();
    chmod(folder.c_str(), 0700);
    EXPECT_EQ(code, 0);
    EXPECT_EQ(full, EFBIG);
    EXPECT_EQ(readback(path), "neu\r");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"setstringtofile: The file is read-only and was not saved: " + path,
                                        "setstringtofile: No file can be made beside " + path +
                                            ", so it was written in place.",
                                        "setstringtofile: Error #File too large: " + path}));
}

TEST(Scaling, FitStepsAndClicks) {
    // Window 0's picture, 1312 by 832, in rooms of several sizes and device pixel ratios.
    // clang-format off
    const struct { const char* name; double roomW, roomH, dpr; t_Placement expected; } rows[] = {
        {"twice, letterboxed across", 2800, 1664, 1, {2, 88, 0, 2624, 1664, true}},
        {"scaled down to a laptop", 1366, 717, 1, {717.0 / 832, 117, 0, 1312 * 717.0 / 832, 717, false}},
        {"dense screen at a half", 656, 416, 2, {0.5, 0, 0, 656, 416, true}},
        {"no room", 0, 0, 1, {1, 0, 0, 0, 0, true}}};
    // clang-format on
    for (const auto& row : rows) {
        const t_Placement p = placecontent(1312, 832, row.roomW, row.roomH, row.dpr), &e = row.expected;
        EXPECT_THAT((std::vector{p.Scale, p.X, p.Y, p.Width, p.Height}),
                    testing::Pointwise(testing::DoubleEq(), {e.Scale, e.X, e.Y, e.Width, e.Height}))
            << row.name;
        EXPECT_EQ(p.Sharp, e.Sharp) << row.name;
    }
    // Window 0 (1312 by 800 plus a bar of 27) on a 1366 by 768 laptop, and on a screen where it fits.
    EXPECT_DOUBLE_EQ(startscale(1312, 859, 27, 1366, 768), (768.0 - 27) / 832);
    EXPECT_DOUBLE_EQ(startscale(1312, 859, 27, 1920, 1050), 1);
    const double steps[][3] = {{1, 1, 1.5}, {0.89, 1, 1}, {0.89, -1, 0.75}, {4, 1, 4}, {0.25, -1, 0.25}};
    for (const auto& [scale, direction, next] : steps)
        EXPECT_DOUBLE_EQ(zoomstep(scale, static_cast<int>(direction)), next) << scale << " " << direction;
    // A click at the room's x 88 + 2 * 10 lies on the picture's pixel 10.
    EXPECT_DOUBLE_EQ(topicture(108, 88, 2), 10);
}

using namespace qtkey;

constexpr uint32_t S = ShiftModifier, C = ControlModifier, A = AltModifier, K = KeypadModifier,
                   G = GroupSwitchModifier;

// What a press comes to; a Value of -1 is no event at all.
struct Typed {
    Int value = -1, code = -1;
    bool cursor = false, function = false;
};

Typed press(uint32_t scan, int key, const std::string& text, uint32_t mods = 0,
            t_KeyComposition* composition = nullptr, bool repeat = false) {
    t_KeyComposition fresh;
    const t_LinuxKey k{scan, key, text, mods, (mods & G) ? NativeMod5 : 0u, repeat, false};
    const t_TranslatedKey t = translatekey(k, composition ? *composition : fresh);
    t_KeyValue v;
    if (t.Kind != t_KeyKind::Key || !t_KeyEventValue(t.Event, v)) return {};
    return {v.Value, t.Event.KeyCode, v.CursorKey, v.FunctionKey};
}

// Scan code 0 is a synthetic event (QTest, the offscreen platform): the Qt key finds the key.
TEST(Keymap, EveryKeyOfTheGermanBoardGivesItsValue) {
    // clang-format off
    const struct { uint32_t scan; int key; std::string text; uint32_t mods; Int value, code; char kind; } rows[] = {
        {38, 'A', "a", 0, 97, 0, ' '}, {48, 0xC4, "Ä", S, 196, 39, ' '}, {20, 0xDF, "ß", 0, 223, 27, ' '},
        {36, Return, "\r", 0, 13, 36, ' '}, {22, Backspace, "\b", 0, 127, 51, ' '},
        {118, Insert, "", 0, 195, 114, 'f'}, {110, Home, "", 0, 2, 115, 'c'}, {115, End, "", 0, 5, 119, 'c'},
        {112, PageUp, "", 0, 18, 116, 'c'}, {117, PageDown, "", 0, 3, 121, 'c'},
        {113, Left, "", 0, 8, 123, 'c'}, {114, Right, "", 0, 21, 124, 'c'}, {116, Down, "", 0, 10, 125, 'c'},
        {111, Up, "", 0, 11, 126, 'c'}, {23, Backtab, "", S, 20, 48, ' '}, {67, F1, "", 0, 129, 122, 'f'},
        {77, NumLock, "", 0, 27, 71, ' '}, {38, 'A', "\x01", C, 1, 0, ' '}, {15, '6', "\x1e", C, 54, 22, ' '},
        {17, '8', "\x7f", C, 56, 28, ' '}, {48, 0xC4, "ä", C, 228, 39, ' '},
        {49, DeadCircumflex, "", C, 30, 10, ' '}, {17, '[', "\x1b", C | G, 27, 28, ' '},
        {61, '_', "\x1f", C | S, 31, 44, ' '}, {46, 'L', "\x0c", C | A, 0, 37, ' '},
        {24, '@', "@", G, 64, 12, ' '}, {26, 0x20AC, "€", G, 164, 14, ' '}, {38, 'A', "a", A, 176, 0, ' '},
        {33, 'P', "P", A | S, 208, 35, ' '}, {65, ' ', " ", A, 160, 49, ' '}, {24, 'Q', "q", A, 113, 12, ' '},
        {90, '0', "0", K | A, 216, 82, ' '}, {81, '9', "9", K | A, 188, 92, ' '},
        {86, '+', "+", K, 43, 69, ' '}, {0, F1 + 23, "", 0, 152, 255, 'f'},
        {0, DeadCircumflex, "", 0, 94, 10, ' '}, {0, 0x20AC, "€", G, 164, 14, ' '},
        {0, Home, "", K, 55, 89, ' '}, {0, '8', "8", K | A, 230, 91, ' '}, {0, 0xE7, "ç", 0, 231, 255, ' '},
        {0, Enter, "\r", K, 13, 76, ' '}, {0, Delete, "\x7f", 0, 7, 117, ' '}, {91, ',', ",", K, 44, 65, ' '},
        // No key: characters beyond Latin-1 the tables don't know, € elsewhere, Control with pad 7, 8 or 9 (the
        // handler switches the output instead).
        {28, 0x167, "ŧ", G, -1, -1, ' '}, {13, 0x20AC, "€", G, -1, -1, ' '}, {0, 0x142, "ł", G, -1, -1, ' '},
        {79, '7', "\x1f", K | C, -1, -1, ' '}, {80, '8', "", K | C, -1, -1, ' '}, {81, '9', "", K | C, -1, -1, ' '}};
    // clang-format on
    for (const auto& r : rows) {
        const Typed t = press(r.scan, r.key, r.text, r.mods); // kind: ' ' plain, 'c' cursor, 'f' function key
        EXPECT_EQ(std::tuple(t.value, t.code, t.cursor, t.function),
                  std::tuple(r.value, r.code, r.kind == 'c', r.kind == 'f'))
            << r.scan << " " << r.key << " " << r.text;
    }
}

// A dead key is an event of its own with its accent's value and composes the next letter.
TEST(Keymap, DeadKeysComposeTheNextLetter) {
    // clang-format off
    const struct { uint32_t scan; int key; std::string text; uint32_t mods; bool repeat; Int value; } steps[] = {
        {49, DeadCircumflex, "", 0, false, 94}, {26, 'E', "e", 0, false, 0xEA}, {26, 'E', "e", 0, false, 'e'},
        // A modifier alone between them changes nothing.
        {21, DeadAcute, "", 0, false, 180}, {50, Shift, "", S, false, -1}, {26, 'E', "E", S, false, 0xC9},
        // Space gives the accent alone, and so does a letter without an accented form, before the letter.
        {21, DeadGrave, "", S, false, 96}, {65, ' ', " ", 0, false, '`'},
        {49, DeadCircumflex, "", 0, false, 94}, {53, 'X', "x", 0, false, '^'}, {53, 'X', "x", 0, false, 'x'},
        // The same dead key twice types the accent once; Return stays Return and drops the accent.
        {49, DeadCircumflex, "", 0, false, 94}, {49, DeadCircumflex, "", 0, false, '^'},
        {21, DeadAcute, "", 0, false, 180}, {36, Return, "\r", 0, false, 13}, {26, 'E', "e", 0, false, 'e'},
        // Option-U is the dead diaeresis; a dead key outside the table is Value 0 and composes nothing.
        {30, 'U', "u", A, false, 175}, {32, 'O', "o", 0, false, 0xF6},
        {20, 0x01001256, "", G, false, 0}, {26, 'E', "e", 0, false, 'e'},
        // A held dead key repeats nothing; Option between it and the letter leaves the accent waiting.
        {49, DeadCircumflex, "", 0, false, 94}, {49, DeadCircumflex, "", 0, true, -1},
        {64, Alt, "", A, false, -1}, {31, 'I', "i", 0, false, 0xEE}};
    // clang-format on
    t_KeyComposition state;
    for (size_t i = 0; i < std::size(steps); ++i) {
        const auto& s = steps[i];
        EXPECT_EQ(press(s.scan, s.key, s.text, s.mods, &state, s.repeat).value, s.value) << "step " << i;
    }
}

} // namespace
