// The preset that a user names: one that the plug-in offers itself, or a file.
#pragma once

#include "tools/hosting/HostedPlugin.h"

#include <string>

namespace Quorvant::Hosting {

// `nameOrFile` is a program's name, without regard to case, or its number from 0; or a .vstpreset,
// taken as a state; or a preset file of the product, which leaves the global set alone. The plug-in
// was prepared for samples of `bits` bits. An unknown name's error tells the nearest.
Result<> applyPreset(HostedPlugin& plugin, const std::string& nameOrFile, int bits);

}  // namespace Quorvant::Hosting
