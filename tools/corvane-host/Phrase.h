// A short piece of music to hear effects with.
#pragma once

#include "tools/corvane-host/AudioFile.h"

namespace Quorvant::Hosting {

inline constexpr int kPhraseRate = 44100;      // Hz
inline constexpr double kPhraseTempo = 120.0;  // BPM

// Six seconds, stereo, the same at every call.
Audio phrase();

}  // namespace Quorvant::Hosting
