// Whole files read, written and renamed in one piece, so that nobody ever sees half a file.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

namespace Quorvant {

// Puts `bytes` in the place of the file, or leaves what was there untouched: the bytes go to a
// temporary file beside it, reach the disk, and then take its name. The folder must exist. A write
// that the disk has no room for is reported as std::errc::no_space_on_device, whatever the limit
// was. A file that its owner has protected from writing is not replaced. Main thread.
std::error_code replaceFile(const std::filesystem::path& file, std::span<const std::byte> bytes);

// Never replaces a file: file_exists when another one has the name. Main thread.
std::error_code renameFile(const std::filesystem::path& file, const std::filesystem::path& target);

// The file's first `most` bytes at most. Main thread.
std::error_code readFile(const std::filesystem::path& file, std::size_t most,
                         std::vector<std::byte>& bytes);

}  // namespace Quorvant
