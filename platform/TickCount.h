// A millisecond counter that only ever runs forward.
#pragma once

#include <cstdint>

namespace Quorvant {

// Milliseconds since an arbitrary moment, wrapping to 0 after 2^32 ms (49.7 days): compare by
// unsigned difference. Any thread, the audio thread included: neither locks nor allocates.
uint32_t tickCountMs() noexcept;

}  // namespace Quorvant
