// Presets in the product's own files, of today's version and the earlier one, and how they reach
// the plug-in: as parameters, as when a user chooses them in the editor.
#pragma once

#include "presets/PresetRecord.h"
#include "tools/hosting/HostedPlugin.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

// Whether the plug-in is the one that these presets are for.
Result<> checkIsProduct(const HostedPlugin& plugin, const std::string& file);

// What the plug-in's controller shows now; without a name.
QVXPresetRecord shownRecord(const HostedPlugin& plugin);

// Values that the file lacks are those of `base`.
Result<QVXPresetRecord> readProductPreset(const std::filesystem::path& file,
                                          const QVXPresetRecord& base);

enum class RecordPart {
    PresetChoice,  // what choosing a preset sets; the global set and manual tempo stay
    Everything,
};

// Tells the controller at once and the processor with the next process call.
void setRecord(HostedPlugin& plugin, const QVXPresetRecord& record, RecordPart part);

}  // namespace Quorvant::Hosting
