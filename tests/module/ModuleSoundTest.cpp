// What the built module does to sound, through the host interface alone: that every setting by its
// name and text reaches the engine and does there what the text says.
#include "dsp/OutputIndex.h"
#include "params/ParameterTable.h"
#include "tests/module/ModuleRig.h"

#include <set>

namespace Quorvant::Test {
namespace {

constexpr double kRate = 48000.0;
// The path through both histories: a sample is heard this many frames after the memory's span.
constexpr size_t kPath = 3;

size_t frames(double seconds, double rate = kRate) {
    return static_cast<size_t>(seconds * rate + 0.5);
}

// How much of the input is heard so many frames later, with its sign.
double gainAt(const Signal& out, const Signal& in, size_t later) {
    double product = 0.0, square = 0.0;
    for (size_t i = 0; i + later < out.size(); ++i) {
        product += out[i + later] * in[i];
        square += in[i] * in[i];
    }
    return product / square;
}

struct Echo {
    Settings settings;  // beside those of oneEcho()
    double seconds;     // after the input
    double gain;
    double tolerance = 0.02;
    double rate = kRate;
};

const Echo kEchoes[] = {
    {{}, 0.1, 1.0},
    {{{"Delay Time", "200"}}, 0.2, 1.0},
    // The input filter lifts the lows at the lower corner of X2 and at high rates: intended.
    {{{"Delay X2", "On"}}, 0.2, 0.8, 0.05},
    {{}, 0.1, 1.3, 0.05, 96000.0},
    {{{"Manual VCO", "1.50"}}, 0.15, 1.0},
    {{{"Direction Mode", "Backward"}, {"Delay Time", "9500"}}, 0.1, 1.0},
    {{{"Dly-Clk Mode", "Clk"}, {"Delay Note", "1/8"}}, 0.2, 1.0},  // at the host's 150 BPM
    // The engine reads this as 252 BPM: intended.
    {{{"Dly-Clk Mode", "Clk"},
      {"Delay Note", "1/8"},
      {"Enforce Manual Tempo", "ManualTempo"},
      {"Manual Tempo", "178.0"}},
     0.5 * 60.0 / 252.0,
     1.0},
    {{{"Dly Invert", "On"}}, 0.1, 1.0},  // no stage reads it: intended
    {{{"Feedback", "5"}}, 0.2, 0.5},
    {{{"Feedback", "5"}, {"Fbck Invert", "On"}}, 0.2, -0.5},
    {{{"Input", "6"}}, 0.1, 2.0},
    {{{"Output", "6"}}, 0.1, 2.0},
    {{{"Output", "6"}, {"Global", "Global"}, {"Glbl Mix", "10"}}, 0.1, 1.0},
    {{{"Global", "Global"}, {"Glbl Mix", "10"}, {"Glbl Input", "6"}}, 0.1, 2.0},
    {{{"Mix", "5"}}, 0.1, 0.707},
    {{{"Mix", "5"}}, 0.0, 0.707},
    {{{"Mix", "5"}, {"Bypass", "On"}}, 0.0, 0.707},
    {{{"Mix", "5"}, {"Bypass", "On"}}, 0.1, 0.0},
    {{{"Process", "Off"}, {"Input", "6"}}, 0.0, 1.0},
};

TEST(ModuleSound, EchoesComeAtTheTimesAndLevelsThatTheTextsSay) {
    for (const Echo& echo : kEchoes) {
        SCOPED_TRACE(&echo - kEchoes);
        Hosting::Setup setup;
        setup.sampleRate = echo.rate;
        ModuleRig rig(oneEcho(echo.settings), setup);
        rig.transport = Hosting::Transport{.tempoBpm = 150.0, .positionBeats = 0.0};
        rig.render(silence(256));  // a synced length is taken at a block's start
        rig.reset();
        const Signal in =
            padded(sine(frames(0.04, echo.rate), 200.0, echo.rate, 0.2), frames(0.3, echo.rate));
        const Stereo out = rig.render(in);
        const size_t later = frames(echo.seconds, echo.rate);
        EXPECT_NEAR(gainAt(out.left, in, later > 0 ? later + kPath : 0), echo.gain, echo.tolerance);
        EXPECT_EQ(out.left, out.right);
    }
}

struct Setting {
    const char *name, *text;
    Settings base = {};  // under which it is heard
};

const Settings kGlobal = {{"Global", "Global"}, {"Glbl Mix", "10"}};
const Settings kClocked = {{"Dly-Clk Mode", "Clk"}};
const Settings kCut = {{"Feedback", "8"}, {"Hi Cut", "On"}};
const Settings kSwept = {{"Depth", "5"}, {"Waveform", "-5.0"}};
const Settings kSynced = {{"Depth", "5"}, {"Waveform", "-5.0"}, {"LFO Sync", "Synchro"}};
const Settings kEnforced = {{"Dly-Clk Mode", "Clk"}, {"Enforce Manual Tempo", "ManualTempo"}};

const Setting kSettings[] = {
    {"Process", "Off"},
    {"Processing Mode", "Legacy"},
    {"Sensitivity", "Off", {{"Processing Mode", "Legacy"}}},
    {"Reference Level", "-10", {{"Processing Mode", "Lims"}}},
    {"Input", "6"},
    {"Output", "6"},
    {"Mix", "5"},
    {"Bypass", "On"},
    {"Global", "Global"},
    {"Glbl Sensitivity", "Off", {{"Processing Mode", "Legacy"}, {"Global", "Global"}}},
    {"Glbl Reference Level", "-10", {{"Processing Mode", "Lims"}, {"Global", "Global"}}},
    {"Glbl Input", "6", kGlobal},
    {"Glbl Output", "6", kGlobal},
    {"Glbl Mix", "5", kGlobal},
    {"Glbl Bypass", "On", kGlobal},
    {"Delay Time", "200"},
    {"Dly-Clk Mode", "Clk"},
    {"Delay Note", "1/16", kClocked},
    {"Delay X2", "On"},
    {"Dly Invert", "On"},
    {"Direction Mode", "Reverse"},
    {"Feedback", "5"},
    {"Fbck Invert", "On", {{"Feedback", "5"}}},
    {"Hi Cut", "On", {{"Feedback", "8"}}},
    {"Hi Cut Cutoff", "18k0", kCut},
    {"Inf Repeat", "On"},
    {"Manual VCO", "1.50"},
    {"Depth", "5"},
    {"Env Invert", "Negative", {{"Depth", "5"}, {"Waveform", "env"}}},
    {"Waveform", "sqr", {{"Depth", "5"}}},
    {"LFO Rate", "2.00", kSwept},
    {"LFO Sync", "Synchro", kSwept},
    {"LFO Note", "1/16", kSynced},
    {"LFO Offset", "90", kSynced},
    {"Enforce Manual Tempo", "ManualTempo", kClocked},
    {"Manual Tempo", "200", kEnforced},
    {"S.C.Int-Ext", "Ext100", {{"Depth", "5"}, {"Waveform", "env"}}},
    {"S.C.Monitor", "On"},
};

TEST(ModuleSound, EverySettingIsHeard) {
    const Stereo in = stereoNoise(frames(0.5), 0.9), key = stereoNoise(frames(0.5), 0.9, 5);
    const auto heard = [&](const Settings& settings) {
        Hosting::Setup setup;
        setup.sideChain = 2;
        ModuleRig rig(oneEcho(settings), setup);
        rig.transport = Hosting::Transport{.tempoBpm = 150.0, .positionBeats = 0.3};
        return rig.render(in, &key);
    };
    std::set<std::string> names;
    for (const auto& [name, text, base] : kSettings) {
        names.insert(name);
        Settings with = base;
        with.push_back({name, text});
        const double difference = largestDifference(heard(with), heard(base));
        EXPECT_EQ(difference > 1e-3, name != std::string("Dly Invert")) << name << difference;
    }
    for (uint32_t index = 0; index < kStoredParameterCount; ++index)
        EXPECT_EQ(names.count(std::string(kParameters[index].name)), 1u) << index;
}

TEST(ModuleSound, ALoopTakesAPresetsDelayAndIsLeftAloneByAutomation) {
    ModuleRig rig(oneEcho({{"Delay Time", "250"}}));
    rig.render(noise(frames(1.0), 0.5));
    const auto repeatsEvery = [&](double seconds, const Settings& edits) {
        rig.change(edits);
        rig.render(silence(frames(0.5)));
        const Signal heard = rig.render(silence(frames(0.75))).left;
        EXPECT_GT(rms(heard), 0.1);
        // The memory may take a frame more, depending on where it was when the delay was set.
        const size_t later = frames(seconds);
        return std::max(gainAt(heard, heard, later), gainAt(heard, heard, later + 1)) > 0.99;
    };
    EXPECT_TRUE(repeatsEvery(0.25, {{"Inf Repeat", "On"}}));
    EXPECT_TRUE(repeatsEvery(0.25, {{"Delay Time", "100"}, {"Inf Repeat", "On"}}));
    EXPECT_TRUE(repeatsEvery(0.25, {{"Delay Time", "100"}, {"Dly-Clk Mode", "Dly"}}));
    EXPECT_FALSE(repeatsEvery(0.1, {}));
    EXPECT_TRUE(
        repeatsEvery(0.1, {{"Delay Time", "100"}, {"Dly-Clk Mode", "Dly"}, {"Inf Repeat", "On"}}));
}

TEST(ModuleSound, SuspendedIsBitExactAndDoesNotClickOnItsWay) {
    ModuleRig rig(oneEcho({{"Mix", "5"}}));
    const size_t n = frames(0.5);
    const Signal tone = sine(3 * n, 200.0, kRate, 0.3);
    Signal out;
    for (size_t part = 0; part < 3; ++part) {
        rig.plugin->flush({{kSuspend, 0, part == 1 ? 1.0 : 0.0}});
        const auto from = tone.begin() + static_cast<std::ptrdiff_t>(part * n);
        const Signal in(from, from + static_cast<std::ptrdiff_t>(n));
        out = join(out, rig.render(in).left);
    }
    for (size_t i = n + n / 2; i < 2 * n; ++i)
        ASSERT_EQ(static_cast<float>(out[i]), static_cast<float>(tone[i])) << i;
    // A 200 Hz sine of 0.3 steps by 0.0079 a frame at most, dry and wet together by 0.011.
    EXPECT_LT(largestStep(out, frames(0.2)), 0.014);
}

TEST(ModuleSound, TheSideChainIsTheSecondBusOrElseTheInput) {
    Hosting::Setup setup;
    setup.sideChain = 2;
    const Signal tone = sine(frames(0.5), 440.0, kRate, 0.2);
    const Stereo key = stereoNoise(tone.size(), 0.8);
    ModuleRig keyed(oneEcho({{"S.C.Monitor", "On"}, {"S.C.Int-Ext", "Ext100"}}), setup);
    EXPECT_LT(largestDifference(keyed.render(tone, &key), key), 1e-6);
    EXPECT_DOUBLE_EQ(keyed.reading(kOutSideChainConnected), 1.0);
    EXPECT_NEAR(keyed.reading(kOutSideChainPeakLeft), 0.8, 0.05);
    ModuleRig internal(oneEcho());
    internal.render(tone);
    EXPECT_NEAR(internal.reading(kOutSideChainConnected), 0.0, 1e-12);
    EXPECT_NEAR(internal.reading(kOutSideChainPeakLeft), 0.2, 0.02);
}

}  // namespace
}  // namespace Quorvant::Test
