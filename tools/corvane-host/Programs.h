// The presets that a plug-in itself offers to hosts: its program lists.
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include <string>
#include <vector>

namespace Quorvant::Hosting {

struct Program {
    std::string name, category;  // the category is empty where the plug-in tells none
    ParamID parameter;           // that chooses it
    double value;                // normalised
};

// Of all lists that a parameter chooses from, in order; empty for plug-ins without any.
std::vector<Program> listPrograms(const HostedPlugin& plugin);

// Chooses it in the controller, and gives what the plug-in wants the processor to know.
std::vector<ParameterPoint> chooseProgram(HostedPlugin& plugin, const Program& program);

}  // namespace Quorvant::Hosting
