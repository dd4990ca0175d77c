// The menus behind the bar's zoom field and its configuration button.
#pragma once

#include "gui/PresetActions.h"

namespace Quorvant {

// Both outlive what is made of them.
Menu zoomMenu(PresetDesk& desk);
Menu settingsMenu(PresetDesk& desk, PresetActions& actions);

}  // namespace Quorvant
