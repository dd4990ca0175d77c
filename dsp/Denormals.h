// Denormal numbers are flushed to zero by the processor while a block is rendered.
#pragma once

#include <xmmintrin.h>

namespace Quorvant {

// Sets flush-to-zero, denormals-are-zero and rounding to nearest for its lifetime, with exceptions
// masked, then gives the host its own flags back.
class ScopedFloatingPointMode {
  public:
    ScopedFloatingPointMode() : hostFlags(_mm_getcsr()) { _mm_setcsr(0x1F80 | 0x8040); }
    ~ScopedFloatingPointMode() { _mm_setcsr(hostFlags); }
    ScopedFloatingPointMode(const ScopedFloatingPointMode&) = delete;
    ScopedFloatingPointMode& operator=(const ScopedFloatingPointMode&) = delete;

  private:
    unsigned hostFlags;
};

}  // namespace Quorvant
