// What a process that holds the module has to bear: many instances at once, the module coming and
// going, and floating-point settings of the host's own.
#include "params/ParameterIndex.h"
#include "tests/module/ModuleRig.h"
#include "tests/module/ProcessUse.h"

#include <xmmintrin.h>

#include <array>
#include <limits>

namespace Quorvant::Test {
namespace {

using Hosting::Block;
using Hosting::HostedPlugin;
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
    constexpr int kInstances = 200, kPrograms = 40, kSlices = 5;
    const auto programOf = [](int i) { return (i % kPrograms) / double{kPrograms}; };
    const Stereo in = stereoNoise(1000, 0.3);
    std::vector<std::unique_ptr<ModuleRig>> rigs;
    for (int i = 0; i < kInstances; ++i) rigs.push_back(withProgram(programOf(i)));
    std::vector<Signal> heard(kInstances);
    const auto playOn = [&](ModuleRig& rig, Signal& to) {
        const Stereo out = rig.render(in);
        to = join(join(std::move(to), out.left), out.right);
    };
    for (int slice = 0; slice < kSlices; ++slice)
        for (size_t i = 0; i < rigs.size(); ++i) playOn(*rigs[i], heard[i]);

    // Half of them go, and the others play on.
    for (size_t i = 0; i < rigs.size(); i += 2) rigs[i] = nullptr;
    for (size_t i = 1; i < rigs.size(); i += 2) playOn(*rigs[i], heard[i]);
    rigs.clear();
    for (size_t program = 0; program < kPrograms; ++program) {
        const auto alone = withProgram(programOf(static_cast<int>(program)));
        Signal expected;
        for (int slice = 0; slice <= kSlices; ++slice) playOn(*alone, expected);
        EXPECT_GT(peak(expected), 0.0) << program;
        for (size_t i = program; i < heard.size(); i += kPrograms) {
            ASSERT_LE(heard[i].size(), expected.size());
            EXPECT_TRUE(std::equal(heard[i].begin(), heard[i].end(), expected.begin()))
                << "instance " << i;
        }
    }
}

// What the process holds after some rounds of loading, playing and unloading.
ProcessUse useAfterRounds(int rounds) {
    for (int i = 0; i < rounds; ++i) {
        ModuleRig rig(oneEcho());
        const Stereo out = rig.render(impulse(9600));
        EXPECT_NEAR(static_cast<double>(peakPosition(out.left, 1)), 4800.0, 40.0);
        const auto component = rig.plugin->componentState();
        const auto controller = rig.plugin->controllerState();
        EXPECT_TRUE(component && controller);
        EXPECT_EQ(rig.plugin->setComponentState(*component), kResultOk);
        EXPECT_EQ(rig.plugin->setControllerState(*controller), kResultOk);
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

// What is heard of noise, parameters, tempo and position that are no numbers among it, by a thread
// with this control word, which must stay as it is.
Signal heardUnder(unsigned word) {
    Hosting::Setup setup;
    setup.doublePrecision = true;
    ModuleRig rig(oneEcho({{"Delay Time", "1"}, {"Feedback", "8"}, {"Depth", "5"}}), setup);
    using Limits = std::numeric_limits<double>;
    const double odd[] = {Limits::quiet_NaN(), Limits::infinity(), Limits::denorm_min(),
                          Limits::max(), Limits::signaling_NaN()};
    constexpr int kFrames = 512;
    std::array<Signal, 4> memory;
    memory.fill(Signal(kFrames));
    Signal heard;
    for (int round = 0; round < 20; ++round) {
        memory[0] = noise(kFrames, 0.4);
        memory[1] = noise(kFrames, 0.4, 7);
        for (size_t i = 49; i < kFrames; i += 50) memory[1][i] = odd[i / 50 % 5];
        Block<double> block;
        block.frames = kFrames;
        block.inputs = {{memory[0].data(), memory[1].data()}};
        block.outputs = {{memory[2].data(), memory[3].data()}};
        block.points = {{kMix, 0, odd[0]}, {kFeedback, 0, round / 20.0}, {kSuspend, 0, odd[0]}};
        const auto context =
            Hosting::makeContext({.tempoBpm = odd[0], .positionBeats = odd[0]}, 48000.0);
        block.context = &context;
        const unsigned usual = _mm_getcsr();
        _mm_setcsr(word);
        const auto answer = rig.plugin->process(block);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(usual);
        EXPECT_EQ(answer, kResultOk);
        EXPECT_EQ(after, word);
        heard = join(join(std::move(heard), memory[2]), memory[3]);
    }
    return heard;
}

TEST(ModuleLife, TheHostsFloatingPointSettingsAreKeptAndChangeNothing) {
    constexpr unsigned kUsual = 0x1F80;  // all exceptions masked, to nearest
    constexpr unsigned kTraps = _MM_MASK_INVALID | _MM_MASK_DIV_ZERO | _MM_MASK_OVERFLOW;
    constexpr unsigned kFlush = 0x8040;
    const Signal expected = heardUnder(kUsual);
    EXPECT_TRUE(allFinite(expected));
    for (const unsigned word : {kUsual | kFlush, kUsual | _MM_ROUND_DOWN, kUsual | _MM_ROUND_UP,
                                kUsual | _MM_ROUND_TOWARD_ZERO, kUsual & ~kTraps,
                                (kUsual & ~kTraps) | kFlush | _MM_ROUND_UP})
        EXPECT_EQ(heardUnder(word), expected) << std::hex << word;
}

}  // namespace
}  // namespace Quorvant::Test
