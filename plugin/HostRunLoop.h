// The host's event loop as VSTGUI wants it, on Linux.
#pragma once

#include "pluginterfaces/gui/iplugview.h"
#include <vstgui/lib/platform/platform_x11.h>

namespace Quorvant {

// Null where the host offers none: an editor can't run there. Main thread.
VSTGUI::SharedPointer<VSTGUI::X11::IRunLoop> hostRunLoop(Steinberg::IPlugFrame* frame);

}  // namespace Quorvant
