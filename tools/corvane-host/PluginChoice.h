// The plug-in that a user chooses on the command line, its preset and its settings.
#pragma once

#include "tools/corvane-host/PresetFormats.h"
#include "tools/hosting/HostedPlugin.h"

#include <optional>
#include <string>
#include <vector>

namespace Quorvant::Hosting {

struct PluginChoice {
    std::string plugin;  // a path, or a name in the folders where hosts look; empty: our own
    std::string preset;  // a name or a file; empty: none
    std::vector<std::string> settings;  // NAME=TEXT, in order, after the preset
};

HostedPlugin::Ptr openPlugin(const PluginChoice& choice);

// Activates the plug-in with the main buses that it has by default.
void prepareAsItIs(HostedPlugin& plugin, double rate, int maxFrames);

// The normalised value that `text` means to the parameter called `name`; @0 … @1 is a normalised
// value itself. Errors name the valid texts.
ParameterPoint resolveSetting(const HostedPlugin& plugin, const std::string& name,
                              const std::string& text);

// Gives the processor the points, after what setParameter has put aside, with a frame of silence:
// not every plug-in takes parameters in a call without audio. The plug-in is prepared.
void deliver(HostedPlugin& plugin, std::vector<ParameterPoint> points);

// All texts of a parameter that has so many states at most, else the first and the last.
std::string valueTexts(const HostedPlugin& plugin, const Parameter& parameter, int mostStates);

// "500 ms" as the plug-in shows it.
std::string shownValue(const HostedPlugin& plugin, const Parameter& parameter, double normalised);

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

// Applies preset and settings to the plug-in, which is prepared. It then starts anew, so that
// nothing glides from its defaults when audio begins. Gives the parameters that were set, in order.
std::vector<ParameterPoint> applySettings(HostedPlugin& plugin, const PluginChoice& choice);

}  // namespace Quorvant::Hosting
