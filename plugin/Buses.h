// The buses of every arrangement that hosts can choose, and where in a block the engine finds its
// channels, whatever a host gives.
#pragma once

#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "public.sdk/source/vst/vstbus.h"

#include <vector>

namespace Quorvant {

struct BusDescription {
    const Steinberg::Vst::TChar* name;
    Steinberg::Vst::SpeakerArrangement speakers;  // mono or stereo
    Steinberg::Vst::BusType type = Steinberg::Vst::kMain;
    Steinberg::int32 flags = Steinberg::Vst::BusInfo::kDefaultActive;
};

struct BusArrangement {
    std::vector<BusDescription> inputs, outputs;
};

BusArrangement defaultBuses();
// For these numbers of channels: two give a stereo bus, any others a mono one, and a side chain
// that has neither one nor two channels gets no bus.
BusArrangement sideChainedBuses(int main, int sideChain, int output);
// Every channel on a mono bus of its own.
BusArrangement splitMonoBuses();

// What the way from a block's buses to the engine's channels depends on.
struct alignas(8) BusLayout {
    bool splitMono = false;
    bool mainInputStereo = false;
    bool mainOutputStereo = false;
    bool sideChainLeft = false;  // there and active
    bool sideChainRight = false;
};

BusLayout layoutOf(const Steinberg::Vst::BusList& inputs, const Steinberg::Vst::BusList& outputs);

// The buses that follow are as active as those that had their places, where the number is the same.
void keepActivation(const Steinberg::Vst::BusList& from, Steinberg::Vst::BusList& to);

// Null where the host gives no such bus, channel or memory.
template <typename Sample>
struct ChannelPointers {
    const Sample* in[4] = {};  // main left, main right, side-chain left, side-chain right
    Sample* out[2] = {};
};

template <typename Sample>
ChannelPointers<Sample> engineChannels(const Steinberg::Vst::ProcessData& data,
                                       const BusLayout& layout);

// Output memory that the engine doesn't write would be heard as whatever lay in it.
template <typename Sample>
void silenceOthers(const Steinberg::Vst::ProcessData& data, const ChannelPointers<Sample>& written);

}  // namespace Quorvant
