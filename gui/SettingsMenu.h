// The menus behind the bar's zoom field and its configuration button.
#pragma once

#include "gui/PresetActions.h"

namespace Quorvant {

// Both outlive what is made of them.
Menu zoomMenu(EditorContext& editor);
Menu settingsMenu(EditorContext& editor, PresetActions& actions);

}  // namespace Quorvant
