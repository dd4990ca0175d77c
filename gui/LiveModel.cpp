#include "gui/LiveModel.h"

#include "dsp/OutputIndex.h"
#include "params/ParameterIndex.h"
#include "params/ParameterLaws.h"

namespace Quorvant {
namespace {

constexpr uint32_t kPatience = 500;  // ms

}  // namespace

LiveModel::LiveModel(EditorModel& plugIn) : plugin(plugIn), lastBeat(plugIn.reading(kHeartbeat)) {}

void LiveModel::idle(uint32_t now) {
    const double beat = plugin.reading(kHeartbeat);
    if (beat != lastBeat) {
        lastBeat = beat;
        lastBeatAt = now;
        beating = true;
    } else if (now - lastBeatAt >= kPatience) {
        beating = false;
    }
}

bool LiveModel::suspended() const {
    return switchState(plugin.reading(kSuspend));
}

double LiveModel::reading(uint32_t outputIndex) const {
    const bool lasting =
        outputIndex == kOutTempo || outputIndex == kOutSampleRate || outputIndex == kSuspend;
    return lasting || running() ? plugin.reading(outputIndex) : 0.0;
}

}  // namespace Quorvant
