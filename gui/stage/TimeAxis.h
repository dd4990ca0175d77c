// The stage's axis of time: how much of it is shown, where its lines and numbers stand.
#pragma once

#include <string>
#include <vector>

namespace Quorvant {

struct TimeAxis {
    struct Mark {
        double ms;
        std::string text;  // empty: a line without a number
    };

    double lengthMs = 0.0;
    double beatMs = 0.0;  // of a quarter note; 0 where the axis is in milliseconds
    std::vector<Mark> marks;
};

// Long enough for five to eight echoes that far apart. Lengths move in steps of a half or a third,
// in milliseconds or, where `beatMs` is above 0, in beats, which are numbered from 1.
TimeAxis axisFor(double intervalMs, double beatMs);

}  // namespace Quorvant
