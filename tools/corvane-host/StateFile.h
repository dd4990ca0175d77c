// A plug-in's state in a file: a .vstpreset, which hosts exchange, or the bare component state.
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include <string>

namespace Quorvant::Hosting {

// What a .vstpreset holds beside the component's state.
struct PresetNotes {
    std::string name, category;   // as hosts' browsers show them; empty: untold
    bool controllerState = true;  // whether the controller's state is there
};

// A name that ends in .vstpreset gives a preset with these notes, any other the bare component
// state.
Result<> saveState(const HostedPlugin& plugin, const std::string& path,
                   const PresetNotes& notes = {});

// Whether the file's content is that of a .vstpreset, whatever its name.
bool isPresetContainer(const std::string& path);

// Tells the kinds apart by their content; a preset of another class is an error.
Result<PresetNotes> loadState(HostedPlugin& plugin, const std::string& path);

}  // namespace Quorvant::Hosting
