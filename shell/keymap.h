// Translation of a key event of the Linux desktop (X keycode, Qt key, text, modifiers) into the key
// code, characters and modifier word that the key tables are written against. No Qt here: the view
// copies the fields out of its event.
#pragma once

#include <cstdint>
#include <string>

#include "shell/events.h"

// The numbers of Qt's enums that the translation looks at, so that the core needs no Qt; the Qt host
// checks at compile time that they agree with Qt's own.
namespace qtkey {
constexpr int Escape = 0x01000000, Tab = 0x01000001, Backtab = 0x01000002, Backspace = 0x01000003,
              Return = 0x01000004, Enter = 0x01000005, Insert = 0x01000006, Delete = 0x01000007,
              Pause = 0x01000008, Print = 0x01000009, SysReq = 0x0100000a, Clear = 0x0100000b,
              Home = 0x01000010, End = 0x01000011, Left = 0x01000012, Up = 0x01000013, Right = 0x01000014,
              Down = 0x01000015, PageUp = 0x01000016, PageDown = 0x01000017, Shift = 0x01000020,
              Control = 0x01000021, Meta = 0x01000022, Alt = 0x01000023, CapsLock = 0x01000024,
              NumLock = 0x01000025, ScrollLock = 0x01000026, F1 = 0x01000030, F35 = 0x01000052,
              SuperL = 0x01000053, SuperR = 0x01000054, Menu = 0x01000055, HyperL = 0x01000056,
              HyperR = 0x01000057, Help = 0x01000058, DirectionL = 0x01000059, DirectionR = 0x01000060,
              AltGr = 0x01001103, ModeSwitch = 0x0100117e, DeadFirst = 0x01001250, DeadGrave = 0x01001250,
              DeadAcute = 0x01001251, DeadCircumflex = 0x01001252, DeadTilde = 0x01001253,
              DeadDiaeresis = 0x01001257, DeadLast = 0x01001293;
constexpr uint32_t ShiftModifier = 0x02000000, ControlModifier = 0x04000000, AltModifier = 0x08000000,
                   MetaModifier = 0x10000000, KeypadModifier = 0x20000000, GroupSwitchModifier = 0x40000000;
// X11's modifier masks as Qt hands them on: Caps Lock, and the level-3 shift (AltGr).
constexpr uint32_t NativeLock = 0x02, NativeMod5 = 0x80;
} // namespace qtkey

// A key event as the Linux desktop delivers it.
struct t_LinuxKey {
    uint32_t ScanCode = 0; // X keycode; 0 for a synthetic event
    int Key = 0;           // Qt::Key
    std::string Text;      // UTF-8
    uint32_t Modifiers = 0;
    uint32_t NativeModifiers = 0;
    bool AutoRepeat = false;
    bool Release = false;
};

// What comes out: a key press for the key tables, a change of the modifier keys only, or nothing.
enum class t_KeyKind { None, Key, Flags };
struct t_TranslatedKey {
    t_KeyKind Kind = t_KeyKind::None;
    t_PlatformKey Event;
};

// The accent a dead key left for the next key, 0 when none.
struct t_KeyComposition {
    Int Accent = 0;
};

// The one translation. The physical key decides the key code (from the scan code; from the Qt key when
// there is none); left Alt is the Option key with its own layer of characters, AltGr keeps the layout's
// characters; a dead key remembers its accent in composition and the next printable key is composed.
t_TranslatedKey translatekey(const t_LinuxKey& key, t_KeyComposition& composition);
