// Key events of the desktop through the translation and on into the key tables, several keys an input so
// that a dead key's accent meets the keys after it. Nothing may crash; what comes out must be a key code
// the tables know, modifier bits of their word only, and a Value that is a Latin-1 character, a control code
// or a function key's number.
#include "fuzz/entry.h"
#include "shell/events.h"
#include "shell/keymap.h"

namespace {

// A Qt key from the ranges the translation looks at, now and then any number at all.
int qtkeyfrom(FuzzBytes& in) {
    const uint8_t kind = in.byte();
    switch (kind % 4) {
    case 0:
        return 0x01000000 + in.byte(); // named keys, function keys, modifiers
    case 1:
        return qtkey::DeadFirst + in.byte() % 0x48; // dead keys and a few past them
    case 2:
        return in.byte(); // Latin-1
    default:
        return static_cast<int>(in.word());
    }
}

t_LinuxKey keyfrom(FuzzBytes& in) {
    t_LinuxKey key;
    const uint8_t flags = in.byte();
    key.ScanCode = flags & 1 ? in.byte() : flags & 2 ? in.word() : 0;
    key.AutoRepeat = flags & 4;
    key.Release = (flags & 0x18) == 0x18;
    key.Key = qtkeyfrom(in);
    key.Modifiers = static_cast<uint32_t>(in.byte()) << 24;
    key.NativeModifiers = in.byte();
    key.Text = in.bytes(6);
    return key;
}

void check(const t_TranslatedKey& out, const t_KeyComposition& composition) {
    const Int accent = composition.Accent;
    if (accent != 0 && accent != '^' && accent != 0xB4 && accent != '`' && accent != 0xA8 && accent != '~')
        __builtin_trap();
    if (out.Event.ModifierFlags & ~uint64_t{0xFF0000}) __builtin_trap();
    if (out.Kind != t_KeyKind::Key) return;
    // The board's codes reach 126; 255 is the one of a key without a place.
    const Int code = out.Event.KeyCode;
    if (code < 0 || (code > 126 && code != 255)) __builtin_trap();
    t_KeyValue value;
    if (!t_KeyEventValue(out.Event, value)) return;
    // Every other key gives a Latin-1 character or control code. Any character from 0xF704 on counts as a
    // function key, c less 0xF683: its Value may be a surrogate's number, which t_WaitKey turns into a
    // NUL, but never lies outside the code space.
    if (value.FunctionKey ? value.Value < 129 || value.Value > 0x10FFFF - 0xF683
                          : value.Value < 0 || value.Value > 255)
        __builtin_trap();
}

} // namespace

int fuzzkeys(const uint8_t* data, size_t size) {
    FuzzBytes in{data, size};
    t_KeyComposition composition;
    while (in.more()) {
        const t_LinuxKey key = keyfrom(in);
        check(translatekey(key, composition), composition);
    }
    return 0;
}
