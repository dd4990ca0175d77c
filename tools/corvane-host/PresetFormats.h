// Presets as files: a .vstpreset, which hosts exchange and which holds a plug-in's state; and the
// product's own files, of today's version and the earlier one, which reach the plug-in as
// parameters, as when a user chooses them in the editor.
#pragma once

#include "presets/PresetRecord.h"
#include "tools/hosting/HostedPlugin.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

// What a .vstpreset holds beside the component's state.
struct PresetNotes {
    std::string name, category;   // as hosts' browsers show them; empty: untold
    bool controllerState = true;  // whether the controller's state is there
};

// At once or not at all.
void saveVstPreset(const HostedPlugin& plugin, const std::filesystem::path& file,
                   const PresetNotes& notes);

// Whether the file's content is that of a .vstpreset, whatever its name.
bool isVstPreset(const std::string& file);

// A damaged preset and one of another class are an error.
PresetNotes loadVstPreset(HostedPlugin& plugin, const std::string& file);

// An error that names `file` unless the plug-in is the one that these presets are for.
void checkIsProduct(const HostedPlugin& plugin, const std::string& file);

struct ProductPreset {
    QVXPresetRecord record;
    std::vector<std::byte> content;   // the file itself where it is of today's version and sound
    std::vector<std::string> losses;  // clauses: what of the file the record doesn't hold
};

// Values that the file lacks are those of `base`.
ProductPreset readProductPreset(const std::filesystem::path& file, const QVXPresetRecord& base);

// At once or not at all; an existing file is replaced.
void writeProductPreset(const std::filesystem::path& file, const ProductPreset& preset);

// What the plug-in's controller shows now; without a name.
QVXPresetRecord shownRecord(const HostedPlugin& plugin);

enum class RecordPart {
    PresetChoice,  // what choosing a preset sets: all but the global set and manual tempo
    Everything,
};

// Tells the controller at once and the processor with the next process call.
void setRecord(HostedPlugin& plugin, const QVXPresetRecord& record, RecordPart part);

}  // namespace Quorvant::Hosting
