// The preset that a user names: one that the plug-in offers itself, or a file.
#pragma once

#include "tools/corvane-host/PresetFormats.h"

#include <optional>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

// A preset that the plug-in itself offers to hosts.
struct Program {
    std::string name, category;  // the category is empty where the plug-in tells none
    ParamID parameter;           // that chooses it
    double value;                // normalised
};

// Of all lists that a parameter chooses from, in order.
std::vector<Program> listPrograms(const HostedPlugin& plugin);

// Chooses it in the controller, and tells the processor what the plug-in wants it to know. The
// plug-in is prepared.
void chooseProgram(HostedPlugin& plugin, const Program& program);

// Where the settings that the plug-in has now came from.
struct AppliedPreset {
    PresetNotes notes;
    bool fromState;                        // of a .vstpreset
    std::optional<ProductPreset> product;  // of one of the product's own files
};

// `nameOrFile` is a program's name, without regard to case, or its number from 0; or a .vstpreset,
// taken as a state; or a preset file of the product, of which `part` is taken.
AppliedPreset applyPreset(HostedPlugin& plugin, const std::string& nameOrFile,
                          RecordPart part = RecordPart::PresetChoice);

// The same for a file alone.
AppliedPreset applyPresetFile(HostedPlugin& plugin, const std::string& file, RecordPart part);

}  // namespace Quorvant::Hosting
