#include "plugin/HostLinkImpl.h"

#include <cmath>

namespace Quorvant {

void HostLinkImpl::setContext(const Steinberg::Vst::ProcessContext* context) {
    using Context = Steinberg::Vst::ProcessContext;
    current = {};
    if (!context) return;
    const auto has = [&](Steinberg::uint32 flag) { return (context->state & flag) != 0; };
    current.playing = has(Context::kPlaying);
    if (has(Context::kTempoValid) && std::isfinite(context->tempo) && context->tempo > 0.0) {
        current.tempoValid = true;
        current.tempoBpm = context->tempo;
    }
    if (has(Context::kProjectTimeMusicValid) && std::isfinite(context->projectTimeMusic)) {
        current.positionValid = true;
        current.positionBeats = context->projectTimeMusic;
    }
}

}  // namespace Quorvant
