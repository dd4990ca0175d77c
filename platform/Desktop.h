// Hands files, folders and links to the user's desktop.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Quorvant {

// All three return at once and tell whether the desktop was reached: false when the file does not
// exist or the system has nothing to open it with. Main thread. Nothing passes through a shell.

// Opens a folder in the file manager, or a file with its program.
bool openPath(const std::filesystem::path& path);
// Opens the file manager on the file's folder, with the file selected where it can do that.
bool revealFile(const std::filesystem::path& file);
// Opens a page in the browser; anything but an http or https address is refused.
bool openLink(std::string_view address);

// "file:" address of an absolute path, every byte encoded that means something to a list of
// addresses.
std::string fileAddress(const std::filesystem::path& path);

}  // namespace Quorvant
