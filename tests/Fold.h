// Folds texts into one number (FNV-1a), so that a test pins many of them without a second copy.
#pragma once

#include <cstdint>
#include <string_view>

namespace Quorvant::Testing {

inline constexpr uint64_t kEmptyFold = 14695981039346656037ull;

constexpr uint64_t fold(std::string_view text, uint64_t before = kEmptyFold) {
    for (const char c : text) before = (before ^ static_cast<unsigned char>(c)) * 1099511628211ull;
    return before;
}

}  // namespace Quorvant::Testing
