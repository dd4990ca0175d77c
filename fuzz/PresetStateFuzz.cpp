// Any bytes as the manager's part of the controller's state: refused whole, or taken in a way that
// every action can go on from.
#include "params/ParameterTable.h"
#include "presets/PresetManager.h"

#include <array>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace Quorvant;

struct Host : PresetHost {
    void applyParameters(std::span<const ParameterEdit> edits) override {
        for (const auto& edit : edits)
            if (edit.index >= kStoredParameterCount || !(edit.value >= 0.0 && edit.value <= 1.0))
                std::abort();
    }
    void presetsChanged() override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    std::array<double, kStoredParameterCount> live{};
    Host host;
    PresetManager manager(host, "/nonexistent/corvane");
    const auto fresh = manager.saveState();
    const bool taken = manager.restoreState(bytes, live);
    if (!taken && manager.saveState() != fresh) std::abort();
    if (!manager.restoreState(manager.saveState(), live)) std::abort();
    (void)manager.nameDisplay();
    for (const int direction : {1, -1}) {
        const bool possible = manager.canStep(direction);
        const bool done = manager.step(direction) == PresetFault::None;
        if (possible != done) std::abort();
    }
    manager.selectSetup(manager.selectedSetup() == Setup::A ? 1.0 : 0.0);
    manager.copyAB(0);
    while (manager.canUndo()) manager.undo();
    return 0;
}
