// Which plug-in a command works on, and the settings that the command line gives it.
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include <string>
#include <vector>

namespace Quorvant::Hosting {

struct PluginChoice {
    std::string bundle;                 // empty: the one that is delivered beside this program
    std::string className;              // empty: the first audio effect
    std::string stateFile;              // empty: none
    std::string preset;                 // a name or a file, after the state; empty: none
    std::vector<std::string> settings;  // NAME=TEXT, in order, after state and preset
};

Result<HostedPlugin::Ptr> openPlugin(const PluginChoice& choice);

// Activates the plug-in with the main buses that it has by default.
Result<> prepareAsItIs(HostedPlugin& plugin, double rate, int maxFrames, int bits);

// The normalised value that `text` means to the parameter called `name`; @0 … @1 is a normalised
// value itself. Errors name the nearest parameters or the valid texts.
Result<ParameterPoint> resolveSetting(const HostedPlugin& plugin, const std::string& name,
                                      const std::string& text);

// Gives the processor the points, after what setParameter has put aside, with a frame of silence:
// not every plug-in takes parameters in a call without audio.
Result<> deliver(HostedPlugin& plugin, std::vector<ParameterPoint> points, int bits);

// Applies state, preset and settings to the plug-in, which was prepared for samples of `bits` bits.
// It then starts anew, so that nothing glides from its defaults when audio begins. Gives the
// parameters that were set, in order.
Result<std::vector<ParameterPoint>> applySettings(HostedPlugin& plugin, const PluginChoice& choice,
                                                  int bits);

// "500 ms" as the plug-in shows it.
std::string shownValue(const HostedPlugin& plugin, const Parameter& parameter, double normalised);

}  // namespace Quorvant::Hosting
