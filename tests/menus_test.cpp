// Menu choices by tag, the menu clean-up at start, and plain text for the clipboard, on the stand-in
// platform. That a choice ends a paused output is the line-input tests' part.
#include "spine_standin.h"

#include "shell/events.h"
#include "shell/menus.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace {

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
}

void choose(Int tag, bool inMenu = true) {
    t_MenuItem item;
    item.InMenu = inMenu;
    item.MenuTitle = "Fenster";
    item.Title = "Eintrag";
    item.KeyChar = "w";
    item.Tag = tag;
    ASSERT_TRUE(standin::onmain([&] { t_MenuEventHandler(item); }));
}

TEST(Menus, CleanUpAtStartAndItemRoutines) {
    installmenus({{"Bearbeiten", {"Text kopieren", "Emoji & Symbole", "Diktat starten …", ""}},
                  {"Fenster", {"Vollbildmodus", "Bildschirm 0 zeigen"}}});
    standin::LogCapture log;
    {
        std::lock_guard<std::mutex> lock(t_MenuLock);
        t_MenuActions.clear();
    }
    t_InitMemoryMenus();
    EXPECT_EQ(menus["Bearbeiten"], std::vector<std::string>{"Text kopieren"});
    EXPECT_EQ(menus["Fenster"], std::vector<std::string>{"Bildschirm 0 zeigen"});
    const auto lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "*** Found Fenster Menu Item Vollbildmodus"), 1);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "t_MenuItemIndex: Menu not found."), 5 + 3);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "t_MenuItemDelete: Item position out of range"), 3);
    EXPECT_EQ(t_MenuActions.size(), 37u);
    EXPECT_EQ(t_MenuItemTitle("Bearbeiten", 65535), "Text kopieren");
}

TEST(Menus, ChoicesByTag) {
    installmenus({});
    {
        std::lock_guard<std::mutex> lock(t_MenuLock);
        t_MenuActions.clear();
    }
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
        {"214 for a window never made",
         214,
         true,
         {"t_MenuEventHandler: Window #0 not initialized.", "beep"},
         0},
        {"paste with no window in front", 113, true, {"beep"}, 0},
        {"copy picture with no window in front", 110, true, {"beep"}, 0},
        {"231 does nothing", 231, true, {}, 0},
        {"a row with a negative tag is handled", -5, true, {}, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        standin::LogCapture log;
        programHandler = 0;
        const size_t queued = t_MenuQueue.size();
        const Int size = t_MenuQueueSize.load();
        t_BeepForget();
        choose(row.tag, row.inMenu);
        auto done = [&] {
            std::vector<std::string> lines;
            for (const std::string& line : log.lines())
                if (line.rfind("getbinaryfromfile", 0) != 0) lines.push_back(line);
            return lines;
        };
        EXPECT_TRUE(standin::waitfor(
            [&] { return programHandler >= row.handler && done().size() >= row.done.size(); }));
        EXPECT_EQ(programHandler.load(), row.handler);
        EXPECT_EQ(done(), row.done);
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
