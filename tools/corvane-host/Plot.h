// A picture of a rendered piece for people: what went in, what came out, and what the plug-in
// held back.
#pragma once

#include "tools/corvane-host/AudioFile.h"
#include "tools/corvane-host/Readings.h"

#include <string>

namespace Quorvant::Hosting {

// Whether a plot can be drawn here and now; the sentence says what is missing.
void checkPlot(const std::string& path);

// Writes a PNG at `path`, at once or not at all. Gain reductions are drawn where the readings have
// any.
void drawPlot(const std::string& path, const std::string& title, const Audio& input,
              const Audio& output, const Readings& readings);

}  // namespace Quorvant::Hosting
