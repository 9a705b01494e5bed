// Fitting a display window's picture into the room the desktop gives it.
#include "shell/scaling.h"

#include <gtest/gtest.h>

namespace {

TEST(Scaling, FitStepsAndClicks) {
    const struct {
        const char* name;
        double contentW, contentH, roomW, roomH, dpr;
        t_Placement expected;
    } rows[] = {
        {"as set", 1312, 832, 1312, 832, 1, {1, 0, 0, 1312, 832, true}},
        {"twice, letterboxed across", 1312, 832, 2800, 1664, 1, {2, 88, 0, 2624, 1664, true}},
        {"scaled down to a laptop",
         1312,
         832,
         1366,
         717,
         1,
         {717.0 / 832, 117, 0, 1312 * 717.0 / 832, 717, false}},
        {"dense screen at 1", 1312, 832, 1312, 832, 2, {1, 0, 0, 1312, 832, true}},
        {"dense screen at a half", 1312, 832, 656, 416, 2, {0.5, 0, 0, 656, 416, true}},
        {"fullscreen 1920 x 1080",
         1312,
         832,
         1920,
         1080,
         1,
         {1080.0 / 832, 108, 0, 1312 * 1080.0 / 832, 1080, false}},
        {"no room", 1312, 832, 0, 0, 1, {1, 0, 0, 0, 0, true}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const t_Placement p = placecontent(row.contentW, row.contentH, row.roomW, row.roomH, row.dpr);
        EXPECT_DOUBLE_EQ(p.Scale, row.expected.Scale);
        EXPECT_DOUBLE_EQ(p.X, row.expected.X);
        EXPECT_DOUBLE_EQ(p.Y, row.expected.Y);
        EXPECT_DOUBLE_EQ(p.Width, row.expected.Width);
        EXPECT_DOUBLE_EQ(p.Height, row.expected.Height);
        EXPECT_EQ(p.Sharp, row.expected.Sharp);
    }
    // Window 0 (1312 by 800 plus a bar of 27) on a 1366 by 768 laptop, and on a screen where it fits.
    EXPECT_DOUBLE_EQ(startscale(1312, 859, 27, 1366, 768), (768.0 - 27) / 832);
    EXPECT_DOUBLE_EQ(startscale(1312, 859, 27, 1920, 1050), 1);
    EXPECT_DOUBLE_EQ(zoomstep(1, 1), 1.5);
    EXPECT_DOUBLE_EQ(zoomstep(0.89, 1), 1);
    EXPECT_DOUBLE_EQ(zoomstep(0.89, -1), 0.75);
    EXPECT_DOUBLE_EQ(zoomstep(4, 1), 4);
    EXPECT_DOUBLE_EQ(zoomstep(0.25, -1), 0.25);
    // A click at the room's x 88 + 2 * 10 lies on the picture's pixel 10.
    EXPECT_DOUBLE_EQ(topicture(108, 88, 2), 10);
}

} // namespace
