// Texts of parameter values, in both directions, through a plug-in's controller.
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include <string>

namespace Quorvant::Hosting {

// What the controller shows for a normalised value; empty where it shows nothing.
std::string textOfValue(Steinberg::Vst::IEditController& controller, ParamID id, double normalised);

// HostedPlugin::valueOf.
Result<double> valueOfText(Steinberg::Vst::IEditController& controller, const Parameter& parameter,
                           const std::string& text);

}  // namespace Quorvant::Hosting
