// Fitting a display window's picture into the room the desktop gives it.
#include "shell/scaling.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

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

} // namespace
