// The channels of a block's buses, found in whatever a host gives.
#pragma once

#include "pluginterfaces/vst/ivstaudioprocessor.h"

#include <algorithm>
#include <type_traits>

namespace Quorvant {

template <typename Sample>
Sample** channelsOf(const Steinberg::Vst::AudioBusBuffers& bus) {
    if constexpr (std::is_same_v<Sample, float>) {
        return bus.channelBuffers32;
    } else {
        return bus.channelBuffers64;
    }
}

// Null where the host gives no such bus, channel or memory.
template <typename Sample>
Sample* channelAt(const Steinberg::Vst::AudioBusBuffers* buses, Steinberg::int32 busCount,
                  Steinberg::int32 bus, Steinberg::int32 channel) {
    if (!buses || bus >= busCount || channel >= buses[bus].numChannels) return nullptr;
    Sample** const channels = channelsOf<Sample>(buses[bus]);
    return channels ? channels[channel] : nullptr;
}

// With every channel on a mono bus of its own, the right one is the next bus's; a host that sends
// one two-channel bus all the same has it as that bus's second channel.
template <typename Sample>
Sample* splitRightAt(const Steinberg::Vst::AudioBusBuffers* buses, Steinberg::int32 busCount,
                     Steinberg::int32 leftBus) {
    Sample* const second = channelAt<Sample>(buses, busCount, leftBus, 1);
    return second ? second : channelAt<Sample>(buses, busCount, leftBus + 1, 0);
}

template <typename Sample>
struct ChannelPointers {
    const Sample* in[4] = {};  // main left, main right, side-chain left, side-chain right
    Sample* out[2] = {};
};

// Output memory that the engine doesn't write would be heard as whatever lay in it.
template <typename Sample>
void silenceOthers(const Steinberg::Vst::ProcessData& data,
                   const ChannelPointers<Sample>& written) {
    if (!data.outputs || data.numSamples <= 0) return;
    for (Steinberg::int32 bus = 0; bus < data.numOutputs; ++bus) {
        for (Steinberg::int32 channel = 0; channel < data.outputs[bus].numChannels; ++channel) {
            Sample* const samples = channelAt<Sample>(data.outputs, data.numOutputs, bus, channel);
            if (!samples || samples == written.out[0] || samples == written.out[1]) continue;
            std::fill_n(samples, data.numSamples, Sample(0));
        }
    }
}

}  // namespace Quorvant
