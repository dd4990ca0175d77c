// Files read and written as a whole; what fails is thrown as a Failure.
#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <vector>

namespace Quorvant::Hosting {

using FileBytes = std::vector<std::byte>;

// The first `most` bytes at most.
FileBytes readWhole(const std::filesystem::path& path, size_t most);

// At once or not at all, also when the user interrupts; an existing file is replaced.
void writeWhole(const std::filesystem::path& path, std::span<const std::byte> bytes);

// Fails where there is no folder to put the file into.
void checkFolder(const std::filesystem::path& path);

}  // namespace Quorvant::Hosting
