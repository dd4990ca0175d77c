// Small values that every instance of the plug-in shares, for one user: the registry on Windows, a
// file each below the user's configuration folder elsewhere.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

namespace Quorvant {

// No value in the store is larger; a larger one is cut on reading.
inline constexpr std::size_t kLargestUserValue = 1 << 16;

// `name` is a plain word that serves as a registry value's name and as a file's. Both calls tell
// what failed; reading a value that nobody has written gives no_such_file_or_directory. Main
// thread.
std::error_code writeUserValue(std::string_view name, std::span<const std::byte> bytes);
std::error_code readUserValue(std::string_view name, std::vector<std::byte>& bytes);

}  // namespace Quorvant
