// How a display window's picture is fitted into whatever room the desktop gives it: the program keeps the
// sizes it set, and only what is shown is scaled.
#pragma once

#include "library/library.h"

struct t_Placement {
    double Scale = 1;
    double X = 0, Y = 0; // top left of the scaled content in the room, y downward
    double Width = 0, Height = 0;
    bool Sharp = true; // a whole number of device pixels for each picture pixel: repeat, don't blend
};

// The largest scale at which content of that size fits the room whole, aspect kept, centred in it.
t_Placement placecontent(double contentWidth, double contentHeight, double roomWidth, double roomHeight,
                         double devicePixelRatio);
// The scale at which a window of that frame (its bar included, which is not scaled) fits the screen's
// available area: 1 when it fits as it is, smaller otherwise.
double startscale(double frameWidth, double frameHeight, double barHeight, double areaWidth,
                  double areaHeight);
// The next zoom step up (+1) or down (-1) from a scale.
double zoomstep(double scale, int direction);
// A point of the room, in the picture's own pixels.
double topicture(double roomCoordinate, double offset, double scale);
