// Any bytes as either state that a controller is given: refused whole, or taken in a way that comes
// back byte for byte, and that every action on presets can go on from.
#include "fuzz/Fuzzing.h"
#include "plugin/ControllerWrapper.h"
#include "tools/hosting/HostSide.h"

namespace {

using namespace Quorvant;
using Fuzzing::require;
using Steinberg::kResultOk;

// In a host for the whole run.
QVXVST3ControllerWrapper& controller() {
    static QVXVST3ControllerWrapper* const made = [] {
        auto* fresh = new QVXVST3ControllerWrapper;
        require(fresh->initialize(&Hosting::hostApplication()) == kResultOk);
        return fresh;
    }();
    return *made;
}

Hosting::Bytes state() {
    Hosting::StateStream stream;
    require(controller().getState(&stream) == kResultOk);
    return stream.bytes();
}

bool takes(std::span<const uint8_t> bytes) {
    Hosting::StateStream stream(bytes);
    return controller().setState(&stream) == kResultOk;
}

void play() {
    std::array<double, kStoredParameterCount> values{};
    for (uint32_t i = 0; i < values.size(); ++i) {
        values[i] = controller().getParamNormalized(i);
        require(values[i] >= 0.0 && values[i] <= 1.0);
    }
    Fuzzing::player().play(values);
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

// No user's folders: what they hold would make a run another one.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return setenv("HOME", "/dev/null", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Hosting::StateStream component({data, size});
    controller().setComponentState(&component);
    const auto before = state();
    if (takes({data, size})) {
        const auto taken = state();
        require(takes(taken));
        require(state() == taken);
        actOnPresets(*controller().presets());
    } else {
        require(state() == before);
    }
    play();
    return 0;
}
