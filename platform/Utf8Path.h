// File names as the rest of the product holds them, UTF-8 text, to and from the system's own form.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Quorvant {

// Any thread. Bytes that are no UTF-8 give an empty path on Windows and are kept as they are on
// systems whose file names are bytes.
std::filesystem::path pathFromUtf8(std::string_view text);

// For display: what the system's name cannot tell in UTF-8 becomes U+FFFD, so the way back may miss
// the file. Keep the path itself where the file is meant.
std::string utf8FromPath(const std::filesystem::path& path);

// The text with every byte that is not part of well-formed UTF-8 replaced by U+FFFD.
std::string validUtf8(std::string_view text);

// The longest front part of at most `bytes` bytes that cuts no character in two.
std::string_view cutUtf8(std::string_view text, std::size_t bytes);

}  // namespace Quorvant
