// Fitting a display window's picture into the room the desktop gives it: the scale that fits and whether
// its pixels stay sharp, the zoom steps, and a click in the room taken back to the picture's pixel.
#include "shell/scaling.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {

bool whole(double x) {
    return std::fabs(x - std::round(x)) < 1e-9 && std::round(x) >= 1;
}

constexpr double zoomSteps[] = {0.25, 0.5, 0.75, 1, 1.5, 2, 3, 4};

} // namespace

t_Placement placecontent(double contentWidth, double contentHeight, double roomWidth, double roomHeight,
                         double devicePixelRatio) {
    t_Placement p;
    if (contentWidth <= 0 || contentHeight <= 0 || roomWidth <= 0 || roomHeight <= 0) return p;
    p.Scale = std::min(roomWidth / contentWidth, roomHeight / contentHeight);
    p.Width = contentWidth * p.Scale;
    p.Height = contentHeight * p.Scale;
    p.X = std::floor((roomWidth - p.Width) / 2);
    p.Y = std::floor((roomHeight - p.Height) / 2);
    p.Sharp = whole(p.Scale * devicePixelRatio);
    return p;
}

double startscale(double frameWidth, double frameHeight, double barHeight, double areaWidth,
                  double areaHeight) {
    const double contentHeight = frameHeight - barHeight;
    if (frameWidth <= 0 || contentHeight <= 0) return 1;
    return std::min({1.0, areaWidth / frameWidth, (areaHeight - barHeight) / contentHeight});
}

double zoomstep(double scale, int direction) {
    if (direction > 0) {
        for (double step : zoomSteps)
            if (step > scale + 1e-9) return step;
        return zoomSteps[std::size(zoomSteps) - 1];
    }
    for (auto it = std::rbegin(zoomSteps); it != std::rend(zoomSteps); ++it)
        if (*it < scale - 1e-9) return *it;
    return zoomSteps[0];
}

double topicture(double roomCoordinate, double offset, double scale) {
    return scale > 0 ? (roomCoordinate - offset) / scale : 0;
}
