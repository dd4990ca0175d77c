// Conversion of a source to another sample rate.
#pragma once

#include "tools/corvane-host/AudioFile.h"

#include <memory>

namespace Quorvant::Hosting {

// The source itself where its rate is `rate` (Hz) already. An error where no converter is built in.
Result<std::unique_ptr<FrameSource>> atRate(std::unique_ptr<FrameSource> source, double rate);

}  // namespace Quorvant::Hosting
