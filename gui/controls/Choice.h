// The states of a list or switch that stand side by side.
#pragma once

#include <cstdint>

namespace Quorvant {

enum class Glyph : uint8_t { None, Forward, Backward, Reverse, Bounce };

struct Choice {
    const char* text;
    Glyph glyph = Glyph::None;
};

}  // namespace Quorvant
