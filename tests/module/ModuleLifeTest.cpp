// What a process that holds the module has to bear: many instances at once, the module coming and
// going, and floating-point settings of the host's own.
#include "params/ParameterIndex.h"
#include "tests/module/ModuleRig.h"
#include "tests/module/ProcessUse.h"

#include <xmmintrin.h>

#include <cmath>

namespace Quorvant::Test {
namespace {

using Steinberg::kResultOk;

// An instance with one of the factory's programs, as a host brings it to both halves.
std::unique_ptr<ModuleRig> withProgram(double program) {
    auto rig = std::make_unique<ModuleRig>();
    EXPECT_EQ(rig->plugin->controller()->setParamNormalized(kProgram, program), kResultOk);
    rig->forwardEdits();
    rig->reset();
    return rig;
}

TEST(ModuleLife, TwoHundredInstancesSoundEachAsItDoesAlone) {
    constexpr size_t kInstances = 200, kPrograms = 40;
    constexpr int kSlices = 6;
    const auto programOf = [](size_t i) {
        return static_cast<double>(i % kPrograms) / double{kPrograms};
    };
    const Stereo in = stereoNoise(1000, 0.3);
    const auto playOn = [&](ModuleRig& rig, Signal& to) {
        const Stereo out = rig.render(in);
        to = join(join(std::move(to), out.left), out.right);
    };
    std::vector<std::unique_ptr<ModuleRig>> rigs;
    for (size_t i = 0; i < kInstances; ++i) rigs.push_back(withProgram(programOf(i)));
    std::vector<Signal> heard(kInstances);
    for (int slice = 1; slice <= kSlices; ++slice) {
        for (size_t i = 0; i < kInstances; ++i) {
            // Half of them go before the last slice, and the others play on.
            if (slice == kSlices && i % 2 == 0) rigs[i] = nullptr;
            if (rigs[i]) playOn(*rigs[i], heard[i]);
        }
    }
    rigs.clear();
    for (size_t i = 0; i < kPrograms; ++i) {
        const auto alone = withProgram(programOf(i));
        Signal expected;
        for (int slice = 1; slice <= kSlices; ++slice) playOn(*alone, expected);
        EXPECT_GT(peak(expected), 0.0) << i;
        for (size_t same = i; same < kInstances; same += kPrograms)
            EXPECT_TRUE(std::equal(heard[same].begin(), heard[same].end(), expected.begin()))
                << "instance " << same;
    }
}

// What the process holds after some rounds of loading, playing and unloading.
ProcessUse useAfterRounds(int rounds) {
    for (int i = 0; i < rounds; ++i) {
        ModuleRig rig(oneEcho());
        const Stereo out = rig.render(impulse(9600));
        EXPECT_NEAR(static_cast<double>(peakPosition(out.left, 1)), 4800.0, 40.0);
        rig.plugin->controller()->setParamNormalized(kProgram, i / 50.0);
    }
    return currentUse();
}

// The allocator counts what it keeps for the next time, and Wine's own libraries, which go and come
// with the module, keep some 350 bytes each time.
constexpr size_t kGrowth = 32 * 1024;

TEST(ModuleLife, LoadingAndUnloadingLeavesNothingBehind) {
    useAfterRounds(10);  // what is made once and kept
    const ProcessUse before = useAfterRounds(1);
    const ProcessUse after = useAfterRounds(50);
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_LT(after.heapBytes, before.heapBytes + kGrowth) << before.heapBytes << " before";
}

// What is heard of noise, bad samples among it, by a thread with this control word, which must stay
// as it is.
Stereo heardUnder(unsigned word) {
    ModuleRig rig(oneEcho({{"Delay Time", "1"}, {"Feedback", "8"}, {"Depth", "5"}}));
    Stereo in = stereoNoise(9600, 0.4);
    for (size_t i = 0; i < in.size(); i += 50) in.right[i] = i % 100 ? NAN : HUGE_VAL;
    const unsigned usual = _mm_getcsr();
    _mm_setcsr(word);
    Stereo heard = rig.render(in);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(usual);
    EXPECT_EQ(after, word);
    return heard;
}

TEST(ModuleLife, TheHostsFloatingPointSettingsAreKeptAndChangeNothing) {
    constexpr unsigned kUsual = 0x1F80;  // all exceptions masked, to nearest
    constexpr unsigned kTraps = _MM_MASK_INVALID | _MM_MASK_DIV_ZERO | _MM_MASK_OVERFLOW;
    constexpr unsigned kFlush = 0x8040;
    const Stereo expected = heardUnder(kUsual);
    EXPECT_TRUE(allFinite(expected));
    for (const unsigned word : {kUsual | kFlush, kUsual | _MM_ROUND_DOWN, kUsual | _MM_ROUND_UP,
                                kUsual | _MM_ROUND_TOWARD_ZERO, kUsual & ~kTraps,
                                (kUsual & ~kTraps) | kFlush | _MM_ROUND_UP})
        EXPECT_EQ(largestDifference(heardUnder(word), expected), 0.0) << std::hex << word;
}

}  // namespace
}  // namespace Quorvant::Test
