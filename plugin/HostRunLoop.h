// The host's event loop as VSTGUI wants it, on Linux.
#pragma once

#include "pluginterfaces/gui/iplugview.h"
#include <vstgui/lib/platform/platform_x11.h>

namespace Quorvant {

// Null where the host offers none: an editor can't run there. Main thread.
VSTGUI::SharedPointer<VSTGUI::X11::IRunLoop> hostRunLoop(Steinberg::IPlugFrame* frame);

// To be called once a frame is open. VSTGUI closes its connection to the X server with the last
// frame but leaves what Cairo keeps of it, and Cairo takes the next connection at the same address
// for the old one; this lets VSTGUI end both together.
void bindCairoToConnection();

}  // namespace Quorvant
