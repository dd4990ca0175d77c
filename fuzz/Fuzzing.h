// The check that ends a fuzzer's run.
#pragma once

#include <cstdlib>

namespace Quorvant::Fuzzing {

inline void require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace Quorvant::Fuzzing
