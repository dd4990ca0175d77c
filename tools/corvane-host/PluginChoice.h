// The plug-in that a user chooses on the command line, and its settings.
#pragma once

#include "tools/hosting/HostedPlugin.h"

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

// Applies preset and settings to the plug-in, which is prepared. It then starts anew, so that
// nothing glides from its defaults when audio begins. Gives the parameters that were set, in order.
std::vector<ParameterPoint> applySettings(HostedPlugin& plugin, const PluginChoice& choice);

// "500 ms" as the plug-in shows it.
std::string shownValue(const HostedPlugin& plugin, const Parameter& parameter, double normalised);

}  // namespace Quorvant::Hosting
