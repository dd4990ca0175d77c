#include "plugin/Buses.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace Quorvant {

using namespace Steinberg;
using Vst::AudioBusBuffers;
using Vst::BusList;
using Vst::ProcessData;
using Vst::SpeakerArr::kMono;
using Vst::SpeakerArr::kStereo;

namespace {

constexpr int32 kInactive = 0;  // until the host activates it

BusDescription mainBus(int channels, const Vst::TChar* mono, const Vst::TChar* stereo) {
    return channels == 2 ? BusDescription{stereo, kStereo} : BusDescription{mono, kMono};
}

bool isStereo(const BusList& buses, std::size_t index) {
    Vst::BusInfo info{};
    return index < buses.size() && buses[index]->getInfo(info) && info.channelCount == 2;
}

bool isActive(const BusList& buses, std::size_t index) {
    return index < buses.size() && buses[index]->isActive();
}

template <typename Sample>
Sample* channelAt(const AudioBusBuffers* buses, int32 busCount, int32 bus, int32 channel) {
    if (!buses || bus >= busCount || channel >= buses[bus].numChannels) return nullptr;
    Sample** channels = nullptr;
    if constexpr (std::is_same_v<Sample, float>) {
        channels = buses[bus].channelBuffers32;
    } else {
        channels = buses[bus].channelBuffers64;
    }
    return channels ? channels[channel] : nullptr;
}

// With every channel on a mono bus of its own, the right one is the next bus's; a host that sends
// one two-channel bus all the same has it as that bus's second channel.
template <typename Sample>
Sample* rightAt(const AudioBusBuffers* buses, int32 busCount, int32 bus, bool splitMono) {
    Sample* const second = channelAt<Sample>(buses, busCount, bus, 1);
    return second || !splitMono ? second : channelAt<Sample>(buses, busCount, bus + 1, 0);
}

}  // namespace

BusArrangement defaultBuses() {
    return {{{STR16("AudioInput"), kStereo}, {STR16("SideChainIn"), kMono, Vst::kAux}},
            {{STR16("AudioOutput"), kStereo}}};
}

BusArrangement sideChainedBuses(int main, int sideChain, int output) {
    BusArrangement wanted;
    wanted.inputs = {mainBus(main, STR16("Mono In"), STR16("Stereo In"))};
    if (sideChain == 1)
        wanted.inputs.push_back({STR16("Mono Aux In"), kMono, Vst::kAux, kInactive});
    if (sideChain == 2)
        wanted.inputs.push_back({STR16("Stereo Aux In"), kStereo, Vst::kAux, kInactive});
    wanted.outputs = {mainBus(output, STR16("Mono Out"), STR16("Stereo Out"))};
    return wanted;
}

BusArrangement splitMonoBuses() {
    return {{{STR16("Main Input L"), kMono},
             {STR16("Main Input R"), kMono},
             {STR16("Auxiliary Input L"), kMono, Vst::kAux, kInactive},
             {STR16("Auxiliary Input R"), kMono, Vst::kAux, kInactive}},
            {{STR16("Main Output L"), kMono}, {STR16("Main Output R"), kMono}}};
}

BusLayout layoutOf(const BusList& inputs, const BusList& outputs) {
    BusLayout layout;
    layout.splitMono = outputs.size() > 1;
    layout.mainInputStereo = layout.splitMono || isStereo(inputs, 0);
    layout.mainOutputStereo = layout.splitMono || isStereo(outputs, 0);
    layout.sideChainLeft = isActive(inputs, layout.splitMono ? 2 : 1);
    layout.sideChainRight =
        layout.splitMono ? isActive(inputs, 3) : layout.sideChainLeft && isStereo(inputs, 1);
    return layout;
}

void keepActivation(const BusList& from, BusList& to) {
    if (from.size() != to.size()) return;
    for (std::size_t i = 0; i < from.size(); ++i) to[i]->setActive(from[i]->isActive());
}

template <typename Sample>
ChannelPointers<Sample> engineChannels(const ProcessData& data, const BusLayout& layout) {
    const auto left = [&](int32 bus) {
        return channelAt<Sample>(data.inputs, data.numInputs, bus, 0);
    };
    const auto right = [&](int32 bus) {
        return rightAt<Sample>(data.inputs, data.numInputs, bus, layout.splitMono);
    };
    ChannelPointers<Sample> channels;
    auto& [in, out] = channels;
    in[0] = left(0);
    if (layout.mainInputStereo) in[1] = right(0);
    const int32 sideChain = layout.splitMono ? 2 : 1;
    if (layout.sideChainLeft) in[2] = left(sideChain);
    if (in[2] && layout.sideChainRight) in[3] = right(sideChain);
    // The engine plays nothing without a left output; a right one alone is left to be silenced.
    out[0] = channelAt<Sample>(data.outputs, data.numOutputs, 0, 0);
    if (out[0] && layout.mainOutputStereo)
        out[1] = rightAt<Sample>(data.outputs, data.numOutputs, 0, layout.splitMono);
    return channels;
}

template <typename Sample>
void silenceOthers(const ProcessData& data, const ChannelPointers<Sample>& written) {
    if (!data.outputs || data.numSamples <= 0) return;
    for (int32 bus = 0; bus < data.numOutputs; ++bus) {
        for (int32 channel = 0; channel < data.outputs[bus].numChannels; ++channel) {
            Sample* const samples = channelAt<Sample>(data.outputs, data.numOutputs, bus, channel);
            if (!samples || samples == written.out[0] || samples == written.out[1]) continue;
            std::fill_n(samples, data.numSamples, Sample(0));
        }
    }
}

template ChannelPointers<float> engineChannels(const ProcessData&, const BusLayout&);
template ChannelPointers<double> engineChannels(const ProcessData&, const BusLayout&);
template void silenceOthers(const ProcessData&, const ChannelPointers<float>&);
template void silenceOthers(const ProcessData&, const ChannelPointers<double>&);

}  // namespace Quorvant
