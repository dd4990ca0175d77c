// The user's preset folders: one main folder with one level of subfolders, scanned into lists.
#pragma once

#include "presets/PresetFault.h"
#include "presets/PresetLocation.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Quorvant {

struct PresetFileEntry {
    std::filesystem::path file;
    std::string name;  // to be shown, without the extension

    friend bool operator==(const PresetFileEntry&, const PresetFileEntry&) = default;
};

struct PresetFolder {
    std::filesystem::path path;
    std::string name;  // to be shown
    std::vector<PresetFileEntry> files;

    friend bool operator==(const PresetFolder&, const PresetFolder&) = default;
};

inline constexpr std::size_t kMostFolders = 128;  // the main folder included

// The user's folder for presets, below the documents folder; found and created once per process.
// Empty where the user has no home.
const std::filesystem::path& mainPresetFolder();

// Main thread. Names are sorted without regard to case, numbers in them by their values.
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

    // A listed file as its path below the main folder, UTF-8 with "/"; empty for any other.
    std::string pathBelow(const PresetLocation& location) const;
    // The way back, for paths of any origin: they are compared with what is listed, and never used.
    PresetLocation locateBelow(std::string_view path) const;

  private:
    std::string frontOf(std::size_t list) const;

    std::vector<PresetFolder> folders;
};

}  // namespace Quorvant
