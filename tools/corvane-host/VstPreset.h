// A plug-in's state as a .vstpreset, the file that hosts exchange.
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include <filesystem>
#include <string>

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

}  // namespace Quorvant::Hosting
