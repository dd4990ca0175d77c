// Any bytes as the processor's state, handed over while audio runs: refused, or played and told
// back in a form that changes no more.
#include "fuzz/Fuzzing.h"
#include "plugin/EffectWrapper.h"
#include "tools/hosting/HostSide.h"

namespace {

using namespace Quorvant;
using Fuzzing::require;
using Steinberg::kResultOk;

// In a host, at work, for the whole run.
QVXVST3EffectWrapper& wrapper() {
    static QVXVST3EffectWrapper* const made = [] {
        auto* processor = new QVXVST3EffectWrapper(
            [](const QVXHostLink& link) { return std::make_unique<QVXCorvane77x_v2Effect>(link); });
        require(processor->initialize(&Hosting::hostApplication()) == kResultOk);
        Steinberg::Vst::ProcessSetup setup{Steinberg::Vst::kRealtime, Steinberg::Vst::kSample32,
                                           Fuzzing::kFrames, 48000.0};
        require(processor->setupProcessing(setup) == kResultOk);
        require(processor->setActive(true) == kResultOk);
        return processor;
    }();
    return *made;
}

void play() {
    Fuzzing::Frames in = Fuzzing::noise();
    Fuzzing::Frames heard{};
    float* ins[2] = {in[0].data(), in[1].data()};
    float* outs[2] = {heard[0].data(), heard[1].data()};
    Steinberg::Vst::AudioBusBuffers input, output;
    input.numChannels = output.numChannels = 2;
    input.channelBuffers32 = ins;
    output.channelBuffers32 = outs;
    Steinberg::Vst::ProcessData block;
    block.symbolicSampleSize = Steinberg::Vst::kSample32;
    block.numSamples = Fuzzing::kFrames;
    block.numInputs = block.numOutputs = 1;
    block.inputs = &input;
    block.outputs = &output;
    require(wrapper().process(block) == kResultOk);
    Fuzzing::requireFinite(heard);
}

Hosting::Bytes state() {
    Hosting::StateStream stream;
    require(wrapper().getState(&stream) == kResultOk);
    return stream.bytes();
}

bool takes(std::span<const uint8_t> bytes) {
    Hosting::StateStream stream(bytes);
    return wrapper().setState(&stream) == kResultOk;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto before = state();
    if (!takes({data, size})) {
        require(state() == before);
        return 0;
    }
    const auto waiting = state();  // not yet at the engine, and told all the same
    play();
    require(state() == waiting);
    require(takes(waiting));
    play();
    require(state() == waiting);
    return 0;
}
