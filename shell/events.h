// Key and mouse events: the record, the queues the views fill and the program thread empties, and the
// handlers that turn a platform event into a record.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>

#include "library/library.h"
#include "shell/shell.h"

struct t_Event {
    Int Kind = 0; // 1 key, 2 mouse
    Int Index = 0;
    std::string Description;
    Int Value = 0;
    Int WindowX = 0;
    Int WindowY = 0;
    Int ClickX = 0;
    Int ClickY = 0;
    Int Mods = 0;
    uint8_t Window = 0;
    Int Time = 0;
    bool CloseBox = false;
    bool CapsLockPressed = false;
    bool ShiftPressed = false;
    bool ControlPressed = false;
    bool OptionPressed = false;
    bool CommandPressed = false;
    bool NumericPadPressed = false;
    bool HelpPressed = false;
    bool FnPressed = false;
    bool CursorKeyPressed = false;
    bool FunctionKeyPressed = false;
};

// Modifier bits of a platform event, in the word the tables are written against.
constexpr uint64_t t_ModCapsLock = 1u << 16;
constexpr uint64_t t_ModShift = 1u << 17;
constexpr uint64_t t_ModControl = 1u << 18;
constexpr uint64_t t_ModOption = 1u << 19;
constexpr uint64_t t_ModCommand = 1u << 20;
constexpr uint64_t t_ModNumericPad = 1u << 21;
constexpr uint64_t t_ModHelp = 1u << 22;
constexpr uint64_t t_ModFn = 1u << 23;

// What a view reads of a key press: the physical key's code, the characters it typed, the modifiers.
struct t_PlatformKey {
    Int KeyCode = 0;
    std::string Characters;
    uint64_t ModifierFlags = 0;
};

// What a view reads of a click: the buttons held (bit 0 left, bit 1 right), the modifiers, and the place
// in the window's content, y counted upward from its bottom edge.
struct t_PlatformMouse {
    Int Buttons = 0;
    uint64_t ModifierFlags = 0;
    double X = 0;
    double Y = 0;
};

// The key queue has two producers (the views on the main thread, t_PostKeyString on the program thread)
// and one reader; every look at it or change of it holds t_KeyQueueLock. t_KeyEventPending is what the
// waiting loops poll, so that they need not take the lock every 10 ms.
extern std::mutex t_KeyQueueLock;
extern std::deque<t_Event> t_KeyQueue;
extern std::atomic<bool> t_KeyEventPending;
// Told under t_KeyQueueLock whenever keys are appended, so that a wait for a key ends at once.
extern std::condition_variable t_KeyArrived;
// The event last taken from the queue; program thread only.
extern t_Event t_CurrentEvent;

// The mouse and menu queues have no reader in this program; each keeps its newest events up to this
// many, so that a flood of clicks or choices can't grow them without end.
constexpr Int t_EventQueueLimit = 1000;

extern std::mutex t_MouseQueueLock;
extern std::deque<t_Event> t_MouseQueue;
extern std::atomic<bool> t_MouseEventPending;
// Called on a pool thread after each click; the default does nothing.
extern std::function<void()> t_ProgramMouseHandler;

extern std::atomic<bool> t_MouseButtonDown[2]; // left, right
extern std::atomic<bool> t_KeyIsDown;
struct t_Modifiers {
    std::atomic<bool> CapsLock{false};
    std::atomic<bool> Shift{false};
    std::atomic<bool> Control{false};
    std::atomic<bool> Option{false};
    std::atomic<bool> Command{false};
    std::atomic<bool> Fn{false};
};
extern t_Modifiers t_ModifierState;

// The number of menu choices made so far. The menus bump it with each choice they queue; the output
// pause ends when it changes.
extern std::atomic<Int> t_MenuQueueSize;

// The 10 ms polls done so far by the waits for a key; a test types its next key once this moves.
extern std::atomic<Int> t_KeyWaitPolls;

// Views, main thread.
void viewKeyDown(int window, const t_PlatformKey& event);
void viewKeyUp(int window);
void viewFlagsChanged(int window, uint64_t modifierFlags);
void viewMouseDown(int window, const t_PlatformMouse& event, bool rightButton);
void viewMouseUp(int window);

// Handlers, main thread.
void t_KeyEventHandler(uint8_t window, const t_PlatformKey& event);
void t_MouseEventHandler(uint8_t window, const t_PlatformMouse& event, double x, double y);
// The close box of a window: hides it, keeps its record and memory.
void t_MouseEventPostCloseBoxClick(uint8_t window);

// A program handler on a thread of its own, started by its first call; each call asks for one more run of
// the handler installed at that moment. Runs not yet made are capped at t_EventQueueLimit.
struct t_HandlerThread {
    const char* Name;
    std::function<void()>* Handler;
    std::mutex Lock;
    std::condition_variable Wake;
    Int Pending = 0;
    bool Started = false;
};
extern t_HandlerThread& t_MouseHandlerThread;
extern t_HandlerThread& t_MenuHandlerThread;
void t_CallHandler(t_HandlerThread& thread);

// Appends to a queue that keeps its newest t_EventQueueLimit events. The first drop of a flood is logged
// under the routine's name; dropping tells whether the last append dropped one. The caller holds the
// queue's lock.
template <typename Queue, typename Event>
void appendbounded(Queue& queue, Event&& event, bool& dropping, const char* routine) {
    const bool full = queue.size() >= static_cast<size_t>(t_EventQueueLimit);
    if (full) {
        queue.pop_front();
        if (!dropping)
            debuglog(std::string(routine) + ": Queue full at " + std::to_string(t_EventQueueLimit) +
                     " events, the oldest are dropped.");
    }
    dropping = full;
    queue.push_back(std::forward<Event>(event));
}

// Each character of the text as a key typed in window 1; any thread.
void t_PostKeyString(std::string_view text);

// The Value a key press gives by the key tables, with its cursor and function key marks; false when the
// press gives no event.
struct t_KeyValue {
    Int Value = 0;
    bool CursorKey = false;
    bool FunctionKey = false;
};
bool t_KeyEventValue(const t_PlatformKey& event, t_KeyValue& out);
