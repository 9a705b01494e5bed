// Text terminal: text output, glyphs, key reading, line input, cursor, scrolling, display modes and
// read-back. Every routine takes the window number first and starts with the guard of the window table.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "library/library.h"

// Text output.
void t_Print(uint8_t window, const Text& text);
void t_Print(uint8_t window, std::string_view text);
void t_PrintChar(uint8_t window, uint8_t character);
void t_PrintSpc(uint8_t window, Int count);
void t_PrintTab(uint8_t window, Int column, uint8_t character);
void t_Htab(uint8_t window, Int column);
void t_Vtab(uint8_t window, Int line);
Int t_Hpos(uint8_t window);
Int t_Vpos(uint8_t window);
void t_RedirectOutput(uint8_t window, Int target);
void t_Header(uint8_t window, std::string_view left, std::string_view right);

// Glyph plotting: colour laid out like TextColor, x and y in cells from 1.
void t_PrintSymbol(uint8_t window, uint8_t symbol, uint8_t color, Int x, Int y);

// Key reading.
std::string t_WaitKey(uint8_t window);
bool t_CheckPause(Int key, bool wait);
Int t_NextEvent();
Int t_InputYesNo(uint8_t window, Int defaultAnswer, bool echo);
// Run by the program thread after each 10 ms that it waits for a key: the program hands its own work
// here (answers from phones), so that key reading needn't know it. nullptr: nothing.
extern std::atomic<void (*)()> t_KeyWaitHook;

// Line input.
std::string t_InputForm(uint8_t window, std::string_view prompt, std::string_view defaultText, bool showOnly,
                        Int mode, Int maximum);
void t_InputEdit(uint8_t window, Int code);
void t_InputInsert(uint8_t window, Int code);
// Pasted text on its way to the key queue: scalars above 255 as ESC, four hex digits and GS; line feeds as
// carriage returns. t_TextCopyDecode turns such groups back into scalars.
std::string t_TextPasteEncode(std::string_view text);
std::string t_TextCopyDecode(std::string_view text);

// Text area, cursor and motion.
void t_CursorHome(uint8_t window);
void t_CursorEnd(uint8_t window);
void t_CursorLeft(uint8_t window);
void t_CursorRight(uint8_t window);
void t_CursorUp(uint8_t window);
void t_CursorDown(uint8_t window);
void t_Cr(uint8_t window);
void t_CursorOn(uint8_t window);
void t_CursorOff(uint8_t window);
void t_CursorDraw(uint8_t window);
void t_FullArea(uint8_t window);
void t_Area(uint8_t window, Int firstColumn, Int firstLine, Int lastColumn, Int lastLine);

// Scrolling and clearing.
void t_ScrollUp(uint8_t window);
void t_ScrollDown(uint8_t window);
void t_ClearEndOfLine(uint8_t window);
void t_ClearEndOfWindow(uint8_t window);
void t_MemoryMove(Int from, Int to, Int count);

// Display modes and control codes. t_ApplyDisplayMode gives the symbol to plot for a code (-1: nothing)
// and the inverse flag and colour the caller stores after plotting, so that an effect meant for one
// character ends with it.
struct t_DisplayResult {
    Int Symbol;
    bool Inverse;
    uint8_t Color;
};
t_DisplayResult t_ApplyDisplayMode(uint8_t window, uint64_t code);
void t_Normal(uint8_t window);
void t_Inverse(uint8_t window);
void t_Reverse(uint8_t window);
void t_DisplayMode(uint8_t window, Int mode);
void t_PrintControl(uint8_t window, uint8_t code);

// Screen read-back and lines.
std::string t_GetScreen(uint8_t window, std::string_view separator);
void t_InvertRect(uint8_t window, Int left, Int top, Int right, Int bottom);
void t_TextHline(uint8_t window, Int fromColumn, Int toColumn, Int line, uint8_t symbol);
void t_TextLine(uint8_t window);
