// Window measures, colours and the platform calls behind showing, sizing and titling windows.
#include "window_recorder.h"

namespace {

using windowtest::palette;

class Geometry : public windowtest::WindowTest {};

TEST_F(Geometry, ColoursMeasuresAndThePlatformCalls) {
    // Before the memory, graphic windows measure their frames, and side windows always do.
    recorder->frame[3] = {100.7, 200.9, 700.5, 500.2};
    recorder->frame[9] = {10, 20, 660, 522};
    const Int graphic[21] = {0,    0,    0,  0, 0, 0,  0, 0, 700, 478, 700, 478, 500, 100, 1080 - 200 - 500,
                             1920, 1080, 22, 0, 0, 200};
    const Int side[21] = {
        0,    0,    659, 521, 660, 522, 660, 522, 660, 500, 660, 500, 522, 10, 1080 - 20 - 522,
        1920, 1080, 22,  0,   0,   20};
    for (Int s = 0; s <= 20; ++s) {
        EXPECT_EQ(t_WindowPos(3, s), graphic[s]) << "selector " << s;
        EXPECT_EQ(t_WindowPos(9, s), side[s]) << "selector " << s;
    }
    // A live window measures its record, whatever the user did to the frame.
    quietwindow(2, 24, 640, 400, 16, 12, cellfont(16, 32));
    t_Window& w = t_WindowTable[2];
    w.TextFirstColumn = 3, w.TextLastColumn = 38, w.TextFirstLine = 2, w.TextLastLine = 11;
    recorder->frame[2] = {100.9, 250.5, 999, 999};
    const Int live[21] = {3,    2,    38, 11, 36, 10, 40, 12, 640, 400, 672, 424, 446, 100, 1080 - 250 - 446,
                          1920, 1080, 22, 16, 12, 250};
    for (Int s = 0; s <= 20; ++s) EXPECT_EQ(t_WindowPos(2, s), live[s]) << "selector " << s;
    EXPECT_EQ(t_WindowPos(2, 21) + t_WindowPos(2, -1), 0);
    EXPECT_EQ(t_WindowPos(3, 8) + t_WindowPos(3, 12), 0); // never made: nothing but its place
    EXPECT_EQ(t_WindowPos(3, 13), 100);
    // The foreground nibble changes, the background stays; RGBColor is the palette entry.
    const std::pair<Int, uint8_t> colours[] = {{1, 0x10}, {17, 0x10}, {-1, 0xF0}, {INT64_MIN + 13, 0xD0}};
    for (auto [colour, text] : colours) {
        t_Color(2, colour);
        const auto& p = palette[text >> 4];
        EXPECT_EQ(std::vector<int>({w.TextColor, w.RGBColor.Red, w.RGBColor.Green, w.RGBColor.Blue}),
                  std::vector<int>({text, p[0], p[1], p[2]}))
            << colour;
    }
    recorder->scrollFrame[9] = {20, 20, 600, 400};
    recorder->taken();
    t_ColorBorder(2, 21);
    t_ColorBorder(2, 7);
    t_WindowSize(2, -1, -1, -1, -1); // puts the frame back to the record
    t_WindowSize(2, 5, 6, 320, 200); // sizes the view, not the memory
    t_WindowSize(9, 10, 20, 700, 500);
    t_WindowSize(12, 1, 2, 300, 200);
    t_WindowFront(2);
    t_WindowVisible(2, false);
    t_WindowVisible(12, false);
    t_WindowVisible(11, true);
    t_WindowVisible(9, true);
    t_WindowSize(9, 10, 20, -1, 600); // shown, it comes to the front first; a measure not asked for stays
    t_WindowCenter(8);
    t_WindowTitleVisible(2, false);
    t_WindowTitleVisible(2, true);
    t_WindowTitleVisible(11, true);
    std::string calls;
    for (const std::string& call : recorder->taken()) calls += call + "|";
    EXPECT_EQ(calls,
              "background 2 84 84 84|background 2 0 128 255|frame 2 100,250 672x446|view 2 16,12 640x400|"
              "frame 2 5,6 352x246|view 2 16,12 320x200|frame 9 10,20 700x522|scroll 9 20,20 660x423|"
              "frame 12 1,2 300x222|front 2|key 2|out 2|out 12|front 11|front 9|needsdisplay 9|front 9|"
              "frame 9 10,20 700x622|scroll 9 20,20 660x523|center 8|style 2 0|style 2 7|style 11 7|");
    EXPECT_TRUE(recorder->allOnMain);
    EXPECT_EQ(std::vector<Int>({w.TitleHeight, t_WindowPos(2, 12), w.Visible, w.Width}),
              std::vector<Int>({22, 446, 0, 640}));
}

} // namespace
