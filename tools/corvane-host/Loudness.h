// Peak and loudness of a recording.
#pragma once

#include "tools/corvane-host/AudioFile.h"

#include <string>

namespace Quorvant::Hosting {

std::string peakText(const Audio& audio);  // "-3.0 dBFS", "silent"
// Integrated loudness in LUFS, or the mean level in dBFS RMS in builds without a loudness meter;
// "silent" where there is none.
std::string loudnessText(const Audio& audio);
size_t samplesBeyondFullScale(const Audio& audio);

}  // namespace Quorvant::Hosting
