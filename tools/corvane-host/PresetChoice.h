// The preset that a user names: one that the plug-in offers itself, or a file.
#pragma once

#include "tools/corvane-host/ProductPreset.h"
#include "tools/corvane-host/StateFile.h"

#include <optional>
#include <string>

namespace Quorvant::Hosting {

enum class PresetKind { Program, State, ProductFile };

// Where the settings that the plug-in has now came from.
struct AppliedPreset {
    PresetKind kind;
    PresetNotes notes;
    std::optional<ProductPreset> product;  // for ProductFile
};

// `nameOrFile` is a program's name, without regard to case, or its number from 0; or a .vstpreset,
// taken as a state; or a preset file of the product, of which `part` is taken. The plug-in was
// prepared for samples of `bits` bits. An unknown name's error tells the nearest.
Result<AppliedPreset> applyPreset(HostedPlugin& plugin, const std::string& nameOrFile, int bits,
                                  RecordPart part = RecordPart::PresetChoice);

// The same for a file alone.
Result<AppliedPreset> applyPresetFile(HostedPlugin& plugin, const std::string& file, int bits,
                                      RecordPart part);

}  // namespace Quorvant::Hosting
