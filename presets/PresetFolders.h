// The user's preset folders: one main folder with one level of subfolders, scanned into lists.
#pragma once

#include "presets/PresetFault.h"
#include "presets/PresetLocation.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Quorvant {

struct PresetFileEntry {
    std::filesystem::path file;
    std::string name;  // UTF-8, without the extension
};

struct PresetFolder {
    std::filesystem::path path;
    std::string name;  // UTF-8
    std::vector<PresetFileEntry> files;
};

inline constexpr std::size_t kMostFolders = 128;  // the main folder included

// The user's folder for presets, below the documents folder; found and created once per process.
// Empty where the user has no home.
const std::filesystem::path& mainPresetFolder();

// Main thread. Names are sorted without regard to case.
class PresetFolders {
  public:
    // Lists nothing but an empty main folder until the first scan.
    explicit PresetFolders(std::filesystem::path mainFolder);

    // Creates the main folder where it is missing.
    PresetFault ensureMainFolder() const;

    // Reads the folders again. A main folder that isn't there is listed without files.
    void scan();

    const std::filesystem::path& mainFolder() const { return folders.front().path; }
    // The main folder first; never empty.
    const std::vector<PresetFolder>& list() const { return folders; }

    // Null where the location is none of a listed file.
    const PresetFileEntry* entryAt(const PresetLocation& location) const;
    // Where the file is listed, by whatever path it is named; kNotListed in its folder's list where
    // it isn't, or in the main folder's where the folder isn't listed either.
    PresetLocation locate(const std::filesystem::path& file) const;

  private:
    std::vector<PresetFolder> folders;
};

}  // namespace Quorvant
