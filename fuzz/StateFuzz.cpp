// Any bytes as the states that hosts keep, of either half of the plug-in: refused whole, or taken
// in a way that comes back byte for byte, and that every action on presets can go on from.
#include "dsp/Engine.h"
#include "fuzz/Fuzzing.h"
#include "plugin/ControllerWrapper.h"
#include "plugin/EffectWrapper.h"
#include "tools/hosting/HostSide.h"

namespace {

using namespace Quorvant;
using namespace Steinberg;
using Fuzzing::require;

// Both in a host for the whole run, the processor at work.
QVXVST3EffectWrapper* processor;
QVXVST3ControllerWrapper* controller;

template <typename Half>
Hosting::Bytes stateOf(Half& half) {
    Hosting::StateStream stream;
    require(half.getState(&stream) == kResultOk);
    return stream.bytes();
}

// What it takes is then its state, now and when it comes back; what it refuses changes nothing.
template <typename Half>
bool takes(Half& half, std::span<const uint8_t> bytes) {
    const auto before = stateOf(half);
    Hosting::StateStream stream(bytes);
    if (half.setState(&stream) != kResultOk) {
        require(stateOf(half) == before);
        return false;
    }
    const auto taken = stateOf(half);
    Hosting::StateStream again(taken);
    require(half.setState(&again) == kResultOk && stateOf(half) == taken);
    return true;
}

void actOnPresets(PresetManager& presets) {
    (void)presets.nameDisplay();
    for (const int direction : {1, -1}) {
        const bool possible = presets.canStep(direction);
        require(possible == (presets.step(direction) == PresetFault::None));
    }
    presets.selectSetup(presets.selectedSetup() == Setup::A ? 1.0 : 0.0);
    presets.copyAB(0);
    while (presets.canUndo()) presets.undo();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // No user's folders: what they hold would make a run another one.
    setenv("HOME", "/dev/null", 1);
    processor = new QVXVST3EffectWrapper(
        [](const QVXHostLink& link) { return std::make_unique<QVXCorvane77x_v2Effect>(link); });
    controller = new QVXVST3ControllerWrapper;
    require(processor->initialize(&Hosting::hostApplication()) == kResultOk);
    require(controller->initialize(&Hosting::hostApplication()) == kResultOk);
    Vst::ProcessSetup setup{Vst::kRealtime, Vst::kSample32, 64, 48000.0};
    require(processor->setupProcessing(setup) == kResultOk);
    require(processor->setActive(true) == kResultOk);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (takes(*processor, {data, size})) {
        const auto waiting = stateOf(*processor);  // not yet at the engine, and told all the same
        Vst::ProcessData withoutAudio;
        require(processor->process(withoutAudio) == kResultOk);
        require(stateOf(*processor) == waiting);
    }
    Hosting::StateStream component({data, size});
    controller->setComponentState(&component);
    if (takes(*controller, {data, size})) actOnPresets(*controller->presets());
    for (uint32_t i = 0; i < kStoredParameterCount; ++i) {
        const double value = controller->getParamNormalized(i);
        require(value >= 0.0 && value <= 1.0);
    }
    return 0;
}
