// A short piece of music to hear effects with.
#pragma once

#include <vector>

namespace Quorvant::Hosting {

inline constexpr int kPhraseRate = 44100;      // Hz
inline constexpr double kPhraseTempo = 120.0;  // BPM

// Six seconds, interleaved stereo, the same at every call.
std::vector<double> phrase();

}  // namespace Quorvant::Hosting
