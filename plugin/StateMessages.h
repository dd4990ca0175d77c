// What the plug-in's halves tell each other of states, over the connection that the host makes. The
// processor's state leaves out what it never received; the controller's state has all values. So
// the controller offers these, and the processor takes what the state that was set there left out,
// and tells what then is in force.
#pragma once

#include "plugin/ComponentState.h"

#include "public.sdk/source/vst/vstcomponentbase.h"

#include <optional>

namespace Quorvant {

inline constexpr Steinberg::FIDString kOfferedValues = "OfferedValues";  // to the processor
inline constexpr Steinberg::FIDString kStateInForce = "StateInForce";    // to the controller

// Main thread. Hosts may deliver a message later, or never.
void sendState(const Steinberg::Vst::ComponentBase& sender, Steinberg::FIDString id,
               const ComponentState& state);
// Nothing for a message of another kind, or a malformed one.
std::optional<ComponentState> receivedState(Steinberg::Vst::IMessage* message,
                                            Steinberg::FIDString id);

}  // namespace Quorvant
