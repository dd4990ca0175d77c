// A picture of a rendered piece for people: what went in, what came out, and what the plug-in
// held back.
#pragma once

#include "tools/corvane-host/Readings.h"

#include <string>

namespace Quorvant::Hosting {

inline constexpr int kPlotWidth = 1600, kPlotHeight = 1200;  // pixels

// Whether a plot can be drawn here and now; the sentence says what is missing.
Result<> checkPlot(const std::string& path);

struct PlotSubject {
    std::string title;
    std::string input, output;  // paths of audio files
    const Readings* readings;   // gain reductions are drawn where it has any
};

// Writes a PNG at `path`, at once or not at all.
Result<> drawPlot(const std::string& path, const PlotSubject& subject);

}  // namespace Quorvant::Hosting
