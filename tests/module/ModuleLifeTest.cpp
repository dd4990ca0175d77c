// What a process that holds the module has to bear: many instances at once, the module coming and
// going, and floating-point settings of the host's own.
#include "dsp/OutputIndex.h"
#include "params/ParameterIndex.h"
#include "tests/module/ModuleRig.h"
#include "tests/module/ProcessUse.h"

#include <xmmintrin.h>

#include <array>
#include <cstring>
#include <limits>

namespace Quorvant::Test {
namespace {

using Hosting::Block;
using Hosting::HostedPlugin;
using Steinberg::kResultOk;

double megabytes(size_t bytes) {
    return static_cast<double>(bytes) / (1024.0 * 1024.0);
}

// An instance with one of the factory's programs, as a host brings it to both halves.
std::unique_ptr<ModuleRig> withProgram(double program) {
    auto rig = std::make_unique<ModuleRig>();
    HostedPlugin& plugin = *rig->plugin;
    EXPECT_EQ(plugin.controller()->setParamNormalized(kProgram, program), kResultOk);
    std::vector<Hosting::ParameterPoint> points;
    for (const auto& [id, value] : plugin.editLog().edits) points.push_back({id, 0, value});
    EXPECT_EQ(plugin.flush(points), kResultOk);
    rig->reset();
    return rig;
}

TEST(ModuleLife, TwoHundredInstancesSoundEachAsItDoesAlone) {
    constexpr int kInstances = 200, kPrograms = 40, kSlices = 5;
    const auto programOf = [](int i) { return (i % kPrograms) / double{kPrograms}; };
    const Stereo in = {noise(0.3, 1000, 3), noise(0.3, 1000, 4)};
    const size_t before = residentBytes();
    std::vector<std::unique_ptr<ModuleRig>> rigs;
    for (int i = 0; i < kInstances; ++i) rigs.push_back(withProgram(programOf(i)));
    std::vector<Signal> heard(kInstances);
    const auto playOn = [&](ModuleRig& rig, Signal& to) {
        const Stereo out = rig.render(in);
        to.insert(to.end(), out.left.begin(), out.left.end());
        to.insert(to.end(), out.right.begin(), out.right.end());
    };
    for (int slice = 0; slice < kSlices; ++slice)
        for (size_t i = 0; i < rigs.size(); ++i) playOn(*rigs[i], heard[i]);
    const double each = megabytes(residentBytes() - before) / kInstances;
    std::cout << "memory of an instance at 48 kHz: " << each << " MB\n";

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
        EXPECT_NEAR(static_cast<double>(peakAt(out.left, 1)), 4800.0, 40.0);
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
    std::cout << "heap: " << before.heapBytes << " bytes before, " << after.heapBytes
              << " after 50 rounds; handles " << after.handles << ", threads " << after.threads
              << '\n';
}

TEST(ModuleLife, AnImpossibleSongPositionIsForgotten) {
    ModuleRig rig(oneEcho({{"LFO Sync", "Synchro"}, {"Depth", "5"}, {"Dly-Clk Mode", "Clk"}}));
    rig.transport = Hosting::Transport{.tempoBpm = 120.0, .positionBeats = 0.0};
    for (const double position : {-1e12, 1e300, -1.7e308, 1.7e308}) {
        rig.transport->positionBeats = position;
        for (const double x : rig.render(noise(0.3, 4800)).left) ASSERT_TRUE(std::isfinite(x));
    }
    rig.transport->positionBeats.reset();
    double darkest = 0.5, brightest = 0.5;
    rig.afterBlock = [&] {
        darkest = std::min(darkest, rig.reading(kOutLfoLamp));
        brightest = std::max(brightest, rig.reading(kOutLfoLamp));
    };
    rig.render(noise(0.3, 96000));
    EXPECT_GT(brightest, 0.7) << "the LFO stands still";
    EXPECT_LT(darkest, 0.3);
}

// One block of audio and parameters, some of them no numbers, under a control word.
template <typename Sample>
std::vector<Sample> playUnder(unsigned word) {
    Hosting::Setup setup;
    setup.doublePrecision = sizeof(Sample) == sizeof(double);
    ModuleRig rig(oneEcho({{"Delay Time", "1"}, {"Feedback", "8"}, {"Depth", "5"}}), setup);
    constexpr int kFrames = 512;
    const Stereo noises = {noise(0.4, kFrames), noise(0.4, kFrames, 7)};
    std::array<std::vector<Sample>, 4> memory;
    for (auto& channel : memory) channel.resize(kFrames);
    using Limits = std::numeric_limits<Sample>;
    const Sample bad[] = {Limits::quiet_NaN(), Limits::infinity(), Limits::denorm_min(),
                          Limits::max(), Limits::signaling_NaN()};
    std::vector<Sample> heard;
    for (int round = 0; round < 20; ++round) {
        for (size_t i = 0; i < kFrames; ++i) {
            memory[0][i] = static_cast<Sample>(noises.left[i]);
            memory[1][i] = i % 50 == 49 ? bad[(i / 50) % 5] : static_cast<Sample>(noises.right[i]);
        }
        const double nan = std::numeric_limits<double>::quiet_NaN();
        Block<Sample> block;
        block.frames = kFrames;
        block.inputs = {{memory[0].data(), memory[1].data()}};
        block.outputs = {{memory[2].data(), memory[3].data()}};
        block.points = {{kMix, 0, nan}, {kFeedback, 0, round / 20.0}, {kSuspend, 0, nan}};
        Steinberg::Vst::ProcessContext context =
            Hosting::makeContext({.tempoBpm = nan, .positionBeats = nan}, 48000.0);
        block.context = &context;
        const unsigned usual = _mm_getcsr();
        _mm_setcsr(word);
        const auto answer = rig.plugin->process(block);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(usual);
        EXPECT_EQ(answer, kResultOk);
        EXPECT_EQ(after, word);
        heard.insert(heard.end(), memory[2].begin(), memory[2].end());
        heard.insert(heard.end(), memory[3].begin(), memory[3].end());
    }
    return heard;
}

template <typename Sample>
void keepsTheHostsControlWord() {
    const unsigned usual = 0x1F80;  // all exceptions masked, to nearest
    const auto expected = playUnder<Sample>(usual);
    for (const Sample x : expected) ASSERT_TRUE(std::isfinite(x));
    for (const unsigned rounding :
         {_MM_ROUND_NEAREST, _MM_ROUND_DOWN, _MM_ROUND_UP, _MM_ROUND_TOWARD_ZERO})
        for (const unsigned flush : {0u, 0x8040u})
            for (const unsigned unmasked :
                 {0u, unsigned{_MM_MASK_INVALID | _MM_MASK_DIV_ZERO | _MM_MASK_OVERFLOW}})
                EXPECT_EQ(playUnder<Sample>((usual & ~unmasked) | rounding | flush), expected)
                    << std::hex << rounding << ' ' << flush << ' ' << unmasked;
}

TEST(ModuleLife, TheHostsFloatingPointSettingsAreKeptAndChangeNothing) {
    keepsTheHostsControlWord<float>();
    keepsTheHostsControlWord<double>();
}

}  // namespace
}  // namespace Quorvant::Test
