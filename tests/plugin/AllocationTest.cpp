// An audio thread that never asks the system for memory.
#include "dsp/Engine.h"
#include "tests/Sound.h"
#include "tests/plugin/WrapperRig.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define ALLOCATIONS_ARE_COUNTED 1

namespace {

// Counts allocations of the thread that asks for it, in the test and in the module alike.
thread_local bool countingAllocations = false;
std::atomic<int> allocations{0};

}  // namespace

extern "C" {
void* __libc_malloc(size_t size);
void __libc_free(void* memory);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
    if (countingAllocations) ++allocations;
    return __libc_malloc(size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    if (countingAllocations) ++allocations;
    return __libc_memalign(alignment, size);
}
void free(void* memory) {
    if (countingAllocations && memory != nullptr) ++allocations;
    __libc_free(memory);
}
}

namespace Quorvant {
namespace {

using Test::Dice;

// Whatever is automated: modes, directions, loops, tempo and song position, suspending, resetting,
// and a state that comes while audio runs.
template <typename Sample>
int allocationsWhilePlaying() {
    constexpr int32 kFrames = 512, kRounds = 2000;
    const auto wrapper = Steinberg::owned(new QVXVST3EffectWrapper(
        [](const QVXHostLink& link) { return std::make_unique<QVXCorvane77x_v2Effect>(link); }));
    wrapper->initialize(nullptr);
    Vst::SpeakerArrangement stereo[] = {Vst::SpeakerArr::kStereo, Vst::SpeakerArr::kStereo};
    wrapper->setBusArrangements(stereo, 2, stereo, 1);
    wrapper->activateBus(Vst::kAudio, Vst::kInput, 1, true);
    Vst::ProcessSetup setup{Vst::kRealtime, TestBlock<Sample>(0).data.symbolicSampleSize, kFrames,
                            48000.0};
    wrapper->setupProcessing(setup);
    wrapper->setActive(true);
    std::array<std::array<Sample, kFrames>, 6> memory{};
    auto& [left, right, sideLeft, sideRight, outLeft, outRight] = memory;
    Dice dice(1);
    int counted = 0;
    for (int round = 0; round < kRounds; ++round) {
        for (auto* channel : {&left, &right, &sideLeft, &sideRight})
            for (Sample& x : *channel) x = static_cast<Sample>(dice.between(-0.5, 0.5));
        TestBlock<Sample> block(dice.below(kFrames + 1));
        block.input({left.data(), right.data()}).output({outLeft.data(), outRight.data()});
        if (dice.chance(0.5)) block.input({sideLeft.data(), sideRight.data()});
        for (uint32_t id = 0; id < kParameterCount; ++id)
            if (round % 8 == 0 || dice.chance(0.1)) block.point(id, dice.unit());
        block.point(kResetCommand, round % 100 == 0 ? 1.0 : 0.0).point(kEngineOption, dice.unit());
        block.point(kSuspend, dice.chance(0.1) ? 1.0 : 0.0);
        Vst::ProcessContext context{};
        context.state = static_cast<uint32_t>(dice.next());
        context.tempo = dice.between(20.0, 600.0);
        context.projectTimeMusic = dice.between(0.0, 100.0);
        if (dice.chance(0.8)) block.data.processContext = &context;
        if (round % 50 == 0) {
            Hosting::StateStream state(stateBytes(std::vector<double>(39, dice.unit())));
            wrapper->setState(&state);
        }
        auto& data = block.prepared();
        allocations = 0;
        countingAllocations = true;
        wrapper->process(data);
        countingAllocations = false;
        counted += allocations;
    }
    wrapper->terminate();
    return counted;
}

TEST(Process, AllocatesNothing) {
    EXPECT_EQ(allocationsWhilePlaying<float>(), 0);
    EXPECT_EQ(allocationsWhilePlaying<double>(), 0);
    allocations = 0;
    countingAllocations = true;
    void* volatile probe = std::malloc(16);
    std::free(probe);
    countingAllocations = false;
    EXPECT_EQ(allocations, 2) << "the counter counts";
}

}  // namespace
}  // namespace Quorvant

#endif
