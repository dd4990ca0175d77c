// The engine's view of the host's transport, filled from each block's process context.
#pragma once

#include "dsp/HostLink.h"

#include "pluginterfaces/vst/ivstprocesscontext.h"

namespace Quorvant {

// Audio thread, except for stop().
class HostLinkImpl final : public QVXHostLink {
  public:
    // Null where the host gives no context.
    void setContext(const Steinberg::Vst::ProcessContext* context);
    // Forgets the transport. While no audio runs.
    void stop() { current = {}; }

    HostTransport transport() const override { return current; }

  private:
    HostTransport current;
};

}  // namespace Quorvant
