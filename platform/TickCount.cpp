#include "platform/TickCount.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <time.h>
#endif

namespace Quorvant {

uint32_t tickCountMs() noexcept {
#ifdef _WIN32
    return GetTickCount();
#else
    // The clock's own call rather than <chrono>: it can't throw, and it stays in user space.
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000u +
                                 static_cast<uint64_t>(now.tv_nsec) / 1000000u);
#endif
}

}  // namespace Quorvant
