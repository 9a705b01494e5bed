// Menus, side windows and file panels: what a chosen menu item does, found by its tag in a table.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "library/library.h"

struct t_MenuEvent {
    Int Kind = 0; // 3 for a menu event; 0 when the item sat in no menu
    std::string MenuTitle;
    std::string ItemTitle;
    std::string ItemKeyChar;
    uint64_t ItemKeyMods = 0;
    Int ItemKeyAsc = 0;
    Int ItemAction = 0;
    Int Time = 0;
};

struct t_MenuAction {
    Int Tag = 0;
    Int Action = 0;
    std::string Title;
    std::string Note;
    std::string FileName;
    std::string FileTypes;
    std::string FilePath;
};

// What the platform tells of a chosen item.
struct t_MenuItem {
    bool InMenu = false;
    std::string MenuTitle;
    std::string Title;
    std::string KeyChar;
    uint64_t KeyMods = 0;
    Int Tag = 0;
};

// The table and the queue are written on the main thread (and the table at start on the program
// thread); both are held under t_MenuLock.
extern std::mutex t_MenuLock;
extern std::vector<t_MenuAction> t_MenuActions;
extern std::deque<t_MenuEvent> t_MenuQueue;
extern std::atomic<bool> t_MenuEventPending;
extern std::function<void()> t_ProgramMenuHandler;
extern std::function<void()> t_ProgramPasteHandler;

// Main thread.
void t_MenuEventHandler(const t_MenuItem& sender);
void t_MenuActionAdd(Int tag);
// Any thread; each crosses to the main thread.
bool t_MenuLookup(const std::string& title);
Int t_MenuItemIndex(const std::string& menu, const std::string& item);
void t_MenuItemDelete(const std::string& menu, Int position);
std::string t_MenuItemTitle(const std::string& menu, Int position);
// The toolkit's graphic characters as plain ones, for text that leaves the program.
std::string t_PasteboardText(std::string_view text);
// The number of the application's main window, 255 when there is none. Any thread.
uint8_t t_FrontWindowIndex();
// Sizes the scroll view and ruler of the side window in front to its frame. Main thread.
void t_WindowDidResize();

// File panels: the Run forms are modal on the main thread; the others work from any thread.
std::vector<std::string> t_OpenPanelRun(const std::string& title, const std::string& message,
                                        const std::string& fileTypes, bool multiple, bool chooseFiles,
                                        bool chooseFolders);
std::string t_SavePanelRun(const std::string& fileName, const std::string& title, const std::string& message,
                           const std::string& fileTypes);
std::string t_OpenPanel(const std::string& title, const std::string& message, const std::string& fileTypes,
                        bool chooseFiles, bool chooseFolders);
std::string t_SavePanel(const std::string& fileName, const std::string& title, const std::string& message,
                        const std::string& fileTypes);
