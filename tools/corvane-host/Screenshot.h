// A display that nobody looks at, and pictures as files.
#pragma once

#include "tools/hosting/EditorWindow.h"

#include <string>

namespace Quorvant::Hosting {

// From now on windows of this process open on a display of its own, which ends with the last of
// them. Windows has no such displays and needs none: there nothing happens.
void openPrivateDisplay();

// As a PNG that appears at its path only when it is complete.
void writePng(const Pixels& pixels, const std::string& path);

}  // namespace Quorvant::Hosting
