// Where the user's files lie on this system.
#pragma once

#include <filesystem>

namespace Quorvant {

// The user's documents folder, empty when the system names no home for the user; it may not exist.
std::filesystem::path documentsFolder();

// The product's folder among the user's settings; empty on Windows, which keeps them in the
// registry (UserStore.h), and when the user has no home.
std::filesystem::path configurationFolder();

// The file that this code was loaded from: the plug-in's module, or a program. Empty where the
// system doesn't tell.
std::filesystem::path moduleFile();

}  // namespace Quorvant
