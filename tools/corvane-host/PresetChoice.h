// The preset that a user names: one that the plug-in offers itself, or a file.
#pragma once

#include "tools/corvane-host/ProductPreset.h"
#include "tools/corvane-host/VstPreset.h"

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

// Chooses it in the controller, and tells the processor, which was prepared for samples of `bits`
// bits, what the plug-in wants it to know.
void chooseProgram(HostedPlugin& plugin, const Program& program, int bits);

// Where the settings that the plug-in has now came from.
struct AppliedPreset {
    PresetNotes notes;
    bool fromState;                        // of a .vstpreset
    std::optional<ProductPreset> product;  // of one of the product's own files
};

// `nameOrFile` is a program's name, without regard to case, or its number from 0; or a .vstpreset,
// taken as a state; or a preset file of the product, of which `part` is taken.
AppliedPreset applyPreset(HostedPlugin& plugin, const std::string& nameOrFile, int bits,
                          RecordPart part = RecordPart::PresetChoice);

// The same for a file alone.
AppliedPreset applyPresetFile(HostedPlugin& plugin, const std::string& file, int bits,
                              RecordPart part);

}  // namespace Quorvant::Hosting
