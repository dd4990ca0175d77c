// The host's event loop as VSTGUI wants it, on Linux.
#pragma once

#include "pluginterfaces/gui/iplugview.h"
#include <vstgui/lib/platform/platform_x11.h>

namespace Quorvant {

// VSTGUI takes one loop for all editors of the process, while a host may give every window a loop
// of its own that ends with it. Whoever opens an editor holds one of these from before the frame is
// opened until after it is closed; events and timers run in a loop that somebody still holds. Calls
// from any thread but that of the registration are ignored. Main thread.
class HostRunLoop {
  public:
    explicit HostRunLoop(Steinberg::IPlugFrame* frame);
    ~HostRunLoop();
    HostRunLoop(const HostRunLoop&) = delete;
    HostRunLoop& operator=(const HostRunLoop&) = delete;

    // Null where the host offers no loop: an editor can't run there.
    VSTGUI::SharedPointer<VSTGUI::X11::IRunLoop> forFrames() const;

  private:
    const Steinberg::IPtr<Steinberg::Linux::IRunLoop> loop;
};

// Whether the handle is a window on the display that editors open on; VSTGUI does not look.
bool isWindow(void* handle);

// To be called once a frame is open. VSTGUI closes its connection to the X server with the last
// frame but leaves what Cairo keeps of it, and Cairo takes the next connection at the same address
// for the old one; this lets VSTGUI end both together.
void bindCairoToConnection();

}  // namespace Quorvant
