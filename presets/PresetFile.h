// Preset files: read, written, renamed and deleted one at a time.
#pragma once

#include "presets/PresetFault.h"
#include "presets/PresetLocation.h"
#include "presets/PresetRecord.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace Quorvant {

inline constexpr std::string_view kPresetExtension = ".qvx";

// All on the main thread; none throws.

// Reads a file of either version. Values and name that the file lacks keep what the record held; on
// any fault the record is unchanged.
PresetFault loadPreset(const std::filesystem::path& file, QVXPresetRecord& record);

// The same by name: folder / subfolder / name.qvx, both names UTF-8, the subfolder may be empty.
PresetFault loadPresetFile(const std::filesystem::path& mainFolder, std::string_view name,
                           std::string_view subfolder, QVXPresetRecord& record);

// Replaces or creates the file, at once or not at all; the extension is added where it is missing.
PresetFault savePreset(const std::filesystem::path& file, const QVXPresetRecord& record,
                       const PresetLocation& location);

// The new name is UTF-8 without the extension; the file stays in its folder and replaces none. A
// preset that was named after its file stays so.
PresetFault renamePreset(const std::filesystem::path& file, std::string_view newName);
PresetFault deletePreset(const std::filesystem::path& file);

// Whether every system takes the text as a file's name.
bool isFileName(std::string_view name);
// The nearest such name to a preset's name, without the extension; never empty.
std::string fileNameFor(std::string_view presetName);

// Whether the preset has the name of a file that is called `fileName`, without the extension, as
// far as either can hold what the other does.
bool isNamedAfter(const QVXPresetRecord& record, std::string_view fileName);

bool hasPresetExtension(const std::filesystem::path& file);
// Whether a file of that name is one of the user's presets: it has the extension, and its name is
// none that some system keeps for a device.
bool isPresetFile(const std::filesystem::path& file);
std::filesystem::path withPresetExtension(std::filesystem::path file);

}  // namespace Quorvant
