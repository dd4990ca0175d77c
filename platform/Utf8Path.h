// File names as the rest of the product holds them, UTF-8 text, to and from the system's own form.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Quorvant {

// Any thread. Bytes that are no UTF-8 give an empty path on Windows and are kept as they are on
// systems whose file names are bytes.
std::filesystem::path pathFromUtf8(std::string_view text);

// For display: as validUtf8, so the way back may miss the file. Keep the path itself where the file
// is meant.
std::string utf8FromPath(const std::filesystem::path& path);

// The text with every byte that is not part of well-formed UTF-8 read as a Latin-1 character, which
// it was in the names of older programs.
std::string validUtf8(std::string_view text);

// For display: the same with a blank for every control character.
std::string shownText(std::string_view text);

// Of well-formed UTF-8: the longest front part of at most `bytes` bytes that cuts no character in
// two.
std::string_view cutUtf8(std::string_view text, std::size_t bytes);

}  // namespace Quorvant
