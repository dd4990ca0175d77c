// Where the host says that a state came from.
#pragma once

#include "pluginterfaces/base/ibstream.h"

#include <string>

namespace Quorvant {

struct StateOrigin {
    bool fromProject = false;  // else from a preset, or not told
    std::u16string filePath;   // empty when not told
};

// From the attributes that go with the stream.
StateOrigin readOrigin(Steinberg::IBStream& stream);

}  // namespace Quorvant
