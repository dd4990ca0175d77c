// Parameter changes over time, read from a file of lines "seconds,parameter,text".
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include <string>
#include <vector>

namespace Quorvant::Hosting {

struct AutomationPoint {
    int64_t frame;
    ParameterPoint point;  // its offset is 0
};

// In order of time; points of one frame keep their order in the file. Empty lines and lines that
// start with # count for nothing. Any other line that is wrong is an error with its number.
std::vector<AutomationPoint> readAutomation(const HostedPlugin& plugin, const std::string& path,
                                            double rate);

}  // namespace Quorvant::Hosting
