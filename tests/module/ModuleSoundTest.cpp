// What the built module does to sound, through the host interface alone.
#include "params/NoteTable.h"
#include "tests/module/ModuleRig.h"

namespace Quorvant::Test {
namespace {

constexpr double kRate = 48000.0;
// The path through both histories: a sample is heard this many frames after the memory's span.
constexpr size_t kPath = 3;

size_t frames(double seconds, double rate = kRate) {
    return static_cast<size_t>(seconds * rate + 0.5);
}

TEST(ModuleSound, EchoComesAtItsTimeOnceAndAtItsLevel) {
    for (const auto& [text, ms] : {std::pair{"100", 100.0}, {"500", 500.0}, {"9600", 9600.0}}) {
        ModuleRig rig(oneEcho({{"Delay Time", text}}));
        const size_t span = frames(ms / 1000.0);
        const Stereo out = rig.render(impulse(span + frames(0.5)));
        // The longest span is the ring's own length, whose top cell is skipped.
        const size_t place = ms < 9600.0 ? span + kPath : span + kPath - 1;
        EXPECT_NEAR(static_cast<double>(peakAt(out.left)), static_cast<double>(place), 3.0) << text;
        // Fully wet leaves -153 dB of the dry sound: the angle's pi/2 is rounded to single
        // precision.
        EXPECT_LT(peak(out.left, 0, span), 1e-7) << text;
        EXPECT_EQ(out.left, out.right);
    }
    // A sine well below the filter's corner comes back at unity.
    ModuleRig rig(oneEcho());
    const Stereo out = rig.render(sine(1000.0, 0.5, frames(1.0), kRate));
    EXPECT_NEAR(rms(out.left, frames(0.5), frames(1.0)), 0.5 / std::numbers::sqrt2, 0.004);
}

TEST(ModuleSound, DelayX2DoublesTheTimeAndHalvesTheLevel) {
    ModuleRig rig(oneEcho({{"Delay X2", "On"}}));
    const Stereo out = rig.render(sine(500.0, 0.5, frames(1.0), kRate));
    const auto first =
        static_cast<size_t>(std::find_if(out.left.begin(), out.left.end(),
                                         [](double x) { return std::abs(x) > 0.01; }) -
                            out.left.begin());
    EXPECT_NEAR(static_cast<double>(first), 0.2 * kRate, 30.0);
    // The input filter's third section lifts lows at the lower corner: intended. Its gain at 500 Hz
    // against the 18 kHz corner's is 1.59 at most.
    const double level = rms(out.left, frames(0.6), frames(1.0)) * std::numbers::sqrt2;
    EXPECT_GT(level, 0.5 * 0.5 * 0.95);
    EXPECT_LT(level, 0.5 * 0.5 * 1.62);
}

// A burst with a rising amplitude, so that its direction can be seen.
Signal ramp(size_t frameCount) {
    Signal signal = sine(2000.0, 1.0, frameCount, kRate);
    for (size_t i = 0; i < frameCount; ++i)
        signal[i] *= 0.5 * static_cast<double>(i) / static_cast<double>(frameCount);
    return signal;
}

// Correlation of the envelope's slope with time: above 0 while the sound grows.
double slope(const Signal& s, size_t from, size_t to) {
    const size_t third = (to - from) / 3;
    return rms(s, to - third, to) - rms(s, from, from + third);
}

TEST(ModuleSound, DirectionsPlayForwardsOrBackwards) {
    const size_t half = frames(0.05);
    Signal in = ramp(half);
    in.resize(frames(0.5), 0.0);
    {
        ModuleRig rig(oneEcho({{"Direction Mode", "Forward"}}));
        const Stereo out = rig.render(in);
        const size_t start = frames(0.1) + kPath;
        EXPECT_GT(slope(out.left, start, start + half), 0.1);
    }
    {
        ModuleRig rig(oneEcho({{"Direction Mode", "Reverse"}}));
        const Stereo out = rig.render(in);
        const size_t loudest = peakAt(out.left, half / 2);
        EXPECT_LT(slope(out.left, loudest, loudest + half * 3 / 4), -0.1);
    }
    {
        // Back from where writing stands for half the span, then forth again.
        ModuleRig rig(oneEcho({{"Direction Mode", "Bounce"}}));
        const Stereo out = rig.render(in);
        EXPECT_LT(slope(out.left, half + half / 8, 2 * half), -0.1);
        EXPECT_GT(slope(out.left, 2 * half + half / 8, 3 * half), 0.1);
    }
    // Sample by sample: a reversed segment is the input read backwards.
    ModuleRig rig(oneEcho({{"Direction Mode", "Reverse"}}));
    const Signal material = sine(311.0, 0.4, frames(0.6), kRate);
    const Stereo out = rig.render(material);
    Signal reversed(out.left.begin() + static_cast<long>(frames(0.32)),
                    out.left.begin() + static_cast<long>(frames(0.33)));
    std::reverse(reversed.begin(), reversed.end());
    double best = 1.0;
    for (size_t at = frames(0.1); at + reversed.size() < frames(0.4); ++at) {
        double worst = 0.0;
        for (size_t i = 0; i < reversed.size() && worst < best; ++i)
            worst = std::max(worst, std::abs(reversed[i] - material[at + i]));
        best = std::min(best, worst);
    }
    EXPECT_LT(best, 0.02);

    // Backward: the ring less the span is what is heard, 9.6 s less 4.8 s.
    ModuleRig backward(oneEcho({{"Direction Mode", "Backward"}, {"Delay Time", "4800"}}));
    EXPECT_NEAR(static_cast<double>(peakAt(backward.render(impulse(frames(5.5))).left)),
                4.8 * kRate, 10.0);
}

TEST(ModuleSound, MixIsOfEqualPowerAndFeedbackDecaysAndInverts) {
    const Signal in = noise(0.25, frames(3.0));
    for (const auto& [text, wet] : {std::pair{"0", 0.0}, {"2.5", 0.25}, {"5", 0.5}, {"10", 1.0}}) {
        ModuleRig rig(oneEcho({{"Mix", text}}));
        const Stereo out = rig.render(in);
        // Dry before the echo arrives, then both; wet noise has lost what the filter takes.
        const double dry = std::cos(wet * std::numbers::pi / 2.0);
        EXPECT_NEAR(rms(out.left, 100, frames(0.1)), dry * 0.25 / std::sqrt(3.0), 0.002) << text;
    }
    for (const auto& [invert, sign] : {std::pair{"Off", 1.0}, {"On", -1.0}}) {
        ModuleRig rig(oneEcho({{"Feedback", "5"}, {"Fbck Invert", invert}}));
        Signal burst = sine(1000.0, 0.4, frames(0.05), kRate);
        burst.resize(frames(0.6), 0.0);
        const Stereo out = rig.render(burst);
        const double first = rms(out.left, frames(0.11), frames(0.14));
        const double second = rms(out.left, frames(0.21), frames(0.24));
        EXPECT_NEAR(second / first, 0.5, 0.01);
        double product = 0.0;
        for (size_t i = frames(0.11); i < frames(0.14); ++i)
            product += out.left[i] * out.left[i + frames(0.1) + 1];
        EXPECT_GT(product * sign, 0.0) << invert;
    }
}

TEST(ModuleSound, HighCutHasItsCornerInTheFeedbackOnly) {
    // Half open: 1050 Hz * 9^0.5 = 3150 Hz; displayed as 6k0, which is no corner frequency.
    for (const auto& [hz, expected] : {std::pair{3150.0, -3.0}, {300.0, 0.0}}) {
        Signal burst = sine(hz, 0.4, frames(0.06), kRate);
        burst.resize(frames(0.5), 0.0);
        ModuleRig open(oneEcho({{"Feedback", "8"}, {"Hi Cut", "Off"}}));
        ModuleRig cut(oneEcho({{"Feedback", "8"}, {"Hi Cut", "On"}, {"Hi Cut Cutoff", "6k0"}}));
        const Stereo a = open.render(burst), b = cut.render(burst);
        EXPECT_NEAR(
            rms(b.left, frames(0.12), frames(0.15)) / rms(a.left, frames(0.12), frames(0.15)), 1.0,
            1e-3);
        const double db = 20.0 * std::log10(rms(b.left, frames(0.22), frames(0.25)) /
                                            rms(a.left, frames(0.22), frames(0.25)));
        EXPECT_NEAR(db, expected, 0.4) << hz;
    }
}

TEST(ModuleSound, VcoBendsPitchAndTimeTogether) {
    // Settled, a bent clock repeats at the pitch it was fed with, at another time.
    for (const auto& [text, factor] : {std::pair{"0.50", 0.5}, {"1.50", 1.5}}) {
        ModuleRig rig(oneEcho({{"Manual VCO", text}}));
        EXPECT_NEAR(static_cast<double>(peakAt(rig.render(impulse(frames(0.4))).left)),
                    0.1 * kRate * factor, 8.0);
    }
    // What was recorded at one clock and is read at another is transposed.
    ModuleRig rig(oneEcho({{"Delay Time", "1000"}, {"Manual VCO", "1.00"}}));
    rig.render(sine(440.0, 0.5, frames(1.5), kRate));
    rig.change({{"Manual VCO", "1.50"}});
    const Stereo slow = rig.render(silence(frames(0.5)));
    EXPECT_NEAR(frequencyOf(slow.left, frames(0.1), frames(0.4), kRate), 440.0 / 1.5, 1.0);
}

TEST(ModuleSound, LfoRunsAtItsRateFreeAndSynced) {
    // The lamp is a sine of the phase: its period is the LFO's.
    const auto lampFrequency = [](ModuleRig& rig, double seconds) {
        Signal lamp;
        rig.blockSize = 48;
        rig.afterBlock = [&] { lamp.push_back(rig.reading(45) - 0.5); };
        rig.render(silence(frames(seconds)));
        return frequencyOf(lamp, 0, lamp.size(), kRate / 48.0);
    };
    ModuleRig free(oneEcho({{"LFO Rate", "2.00"}}));
    EXPECT_NEAR(lampFrequency(free, 4.0), 2.0, 0.01);

    ModuleRig synced(oneEcho({{"LFO Sync", "Synchro"}, {"LFO Note", "1/4"}}));
    synced.transport = Hosting::Transport{.tempoBpm = 150.0, .positionBeats = 8.0};
    EXPECT_NEAR(lampFrequency(synced, 4.0), 2.5, 0.02);
    // The phase belongs to the song's position, wherever playing starts.
    ModuleRig again(oneEcho({{"LFO Sync", "Synchro"}, {"LFO Note", "1/4"}}));
    again.transport = Hosting::Transport{.tempoBpm = 150.0, .positionBeats = 4.0};
    lampFrequency(again, 1.0);
    const double here = again.reading(45);
    ModuleRig later(oneEcho({{"LFO Sync", "Synchro"}, {"LFO Note", "1/4"}}));
    later.transport = Hosting::Transport{.tempoBpm = 150.0, .positionBeats = 6.0};
    lampFrequency(later, 0.2);
    EXPECT_NEAR(later.reading(45), here, 0.02);
}

TEST(ModuleSound, EverySyncedNoteHasItsLength) {
    const double bpm = 600.0;  // a whole note is 400 ms
    ModuleRig rig(oneEcho({{"Dly-Clk Mode", "Clk"}}));
    rig.transport = Hosting::Transport{.tempoBpm = bpm, .positionBeats = {}};
    rig.render(silence(256));
    for (const NoteValue& note : kDelayNotes) {
        rig.change({{"Delay Note", note.name}});
        rig.render(silence(256));  // the length is taken at a block's start
        rig.reset();
        const double expected =
            std::floor(note.numerator * 240.0 / note.denominator / bpm * kRate + 1e-6);
        const Stereo out = rig.render(impulse(static_cast<size_t>(expected) + 500));
        EXPECT_NEAR(static_cast<double>(peakAt(out.left)), expected + kPath, 2.0) << note.name;
    }
}

TEST(ModuleSound, InfRepeatHoldsItsContentForTwoMinutes) {
    for (const char* mode : {"Clean", "Full"}) {
        ModuleRig rig(oneEcho({{"Delay Time", "500"}, {"Processing Mode", mode}}));
        rig.blockSize = 1024;
        rig.render(sine(440.0, 0.5, frames(1.0), kRate));
        rig.change({{"Inf Repeat", "On"}});
        const auto second = [&](const Signal& in) {
            const Stereo out = rig.render(in);
            return rms(out.left, 0, out.size());
        };
        second(silence(frames(1.0)));
        const double early = second(silence(frames(1.0)));
        // New input, feedback and delay time change nothing.
        rig.change({{"Feedback", "0"}, {"Delay Time", "100"}});
        for (int s = 0; s < 120; ++s) second(noise(0.5, frames(1.0)));
        const double late = second(silence(frames(1.0)));
        EXPECT_NEAR(late / early, 1.0, 1e-4) << mode;
        EXPECT_NEAR(early, 0.5 / std::numbers::sqrt2, 0.02) << mode;
    }
}

TEST(ModuleSound, ASyncedLoopEngagesOnTheSongsGrid) {
    ModuleRig rig(oneEcho({{"Dly-Clk Mode", "Clk"}, {"Delay Note", "1/4"}}));
    rig.blockSize = 100;
    rig.transport = Hosting::Transport{.tempoBpm = 120.0, .positionBeats = 0.25};  // a beat: 0.5 s
    rig.render(silence(frames(0.1)));
    rig.change({{"Inf Repeat", "On"}});
    size_t played = 0;
    size_t lit = 0;
    rig.afterBlock = [&] {
        played += 100;
        if (lit == 0 && rig.reading(50) > 0.5) lit = played;
    };
    rig.render(silence(frames(1.0)));
    // Beat 1 comes 0.375 s after the start, 0.275 s after the switch.
    EXPECT_NEAR(static_cast<double>(lit), 0.275 * kRate, 200.0);
}

TEST(ModuleSound, LegacyCompressesAndLimsHoldsTheCeiling) {
    const auto level = [](const char* mode, double amplitude) {
        ModuleRig rig(oneEcho(
            {{"Processing Mode", mode}, {"Sensitivity", "Off"}, {"Reference Level", "-10"}}));
        const Stereo out = rig.render(sine(1000.0, amplitude, frames(0.8), kRate));
        return peak(out.left, frames(0.5), frames(0.8));
    };
    const double clean = level("Clean", 0.3);
    EXPECT_NEAR(level("Lims", 0.3), clean, 1e-6);
    EXPECT_LT(level("Legacy", 0.3), clean * 0.95);
    EXPECT_NEAR(level("Full", 0.3) / clean, 1.0, 0.08);
    // Reference Level -10 dB: the output stage's ceiling is half of full scale.
    EXPECT_LT(level("Lims", 4.0), 0.5001);
    EXPECT_GT(level("Lims", 4.0), 0.4);
    EXPECT_LT(level("Full", 4.0), 0.5001);
}

TEST(ModuleSound, BypassMutesAndRecordsSilenceAndProcessOffPassesTheInput) {
    ModuleRig rig(oneEcho({{"Mix", "5"}}));
    rig.render(noise(0.25, frames(0.5)));
    rig.change({{"Bypass", "On"}});
    rig.render(noise(0.25, frames(0.3)));
    const Signal in = noise(0.25, frames(0.3), 7);
    const Stereo bypassed = rig.render(in);
    for (size_t i = 0; i < in.size(); i += 97)
        ASSERT_NEAR(bypassed.left[i], in[i] * std::cos(std::numbers::pi / 4.0), 1e-5);
    rig.change({{"Bypass", "Off"}});
    EXPECT_LT(peak(rig.render(silence(frames(0.3))).left, 0, frames(0.09)), 1e-4);

    ModuleRig off(oneEcho({{"Process", "Off"}, {"Input", "6"}}));
    const Stereo out = off.render(in);
    for (size_t i = 0; i < in.size(); i += 97) ASSERT_NEAR(out.left[i], in[i], 1e-6);
}

TEST(ModuleSound, SuspendedIsBitExactAndDoesNotClickOnItsWay) {
    ModuleRig rig(oneEcho({{"Mix", "5"}}));
    const size_t n = frames(0.25);
    const Signal tone = sine(200.0, 0.3, 6 * n, kRate);
    const auto part = [&](size_t index) {
        return Signal(tone.begin() + static_cast<long>(index * n),
                      tone.begin() + static_cast<long>((index + 1) * n));
    };
    Stereo out = rig.render(part(0));
    const auto go = [&](size_t index) {
        const Stereo more = rig.render(part(index));
        out.left.insert(out.left.end(), more.left.begin(), more.left.end());
    };
    go(1);
    rig.plugin->flush({{115, 0, 1.0}});
    go(2);
    go(3);
    rig.plugin->flush({{115, 0, 0.0}});
    go(4);
    go(5);
    for (size_t i = 3 * n; i < 4 * n; ++i)
        ASSERT_EQ(static_cast<float>(out.left[i]), static_cast<float>(tone[i])) << i;
    double step = 0.0;
    for (size_t i = n + 1; i < out.left.size(); ++i)
        step = std::max(step, std::abs(out.left[i] - out.left[i - 1]));
    // A 200 Hz sine of 0.3 steps by 0.0079 a frame at most, dry and wet together by 0.011.
    EXPECT_LT(step, 0.014);
}

TEST(ModuleSound, TheSideChainKeysTheEnvelopeAndIsMonitored) {
    Hosting::Setup setup;
    setup.sideChain = 2;
    const Settings keyed =
        oneEcho({{"Depth", "10"}, {"Waveform", "env"}, {"S.C.Int-Ext", "Ext100"}});
    const Signal tone = sine(440.0, 0.2, frames(2.0), kRate);
    ModuleRig rig(keyed, setup);
    const Stereo quiet = both(silence(frames(2.0))), loud = both(noise(0.8, frames(2.0)));
    const Stereo withoutKey = rig.render<float>(both(tone), &quiet);
    ModuleRig other(keyed, setup);
    const Stereo withKey = other.render<float>(both(tone), &loud);
    EXPECT_GT(largestDifference(withoutKey, withKey), 0.05);
    EXPECT_DOUBLE_EQ(other.reading(68), 1.0);
    EXPECT_NEAR(other.reading(69), 0.8, 0.05);

    ModuleRig monitor(oneEcho({{"S.C.Monitor", "On"}, {"S.C.Int-Ext", "Ext100"}}), setup);
    const Stereo heard = monitor.render<float>(both(tone), &loud);
    EXPECT_LT(largestDifference(heard, loud), 1e-6);
    // Without a bus the side chain is the main input.
    ModuleRig internal(oneEcho());
    internal.render(tone);
    EXPECT_NEAR(internal.reading(68), 0.0, 1e-12);
    EXPECT_NEAR(internal.reading(69), 0.2, 0.02);
}

TEST(ModuleSound, TheGlobalSetTakesOverAndStaysSilentUntilThen) {
    const Signal in = noise(0.2, frames(0.3));
    ModuleRig rig({{"Mix", "0"}, {"Input", "0"}, {"GInput", "6"}, {"GMix", "0"}, {"GOutput", "0"}});
    EXPECT_NEAR(peak(rig.render(in).left), peak(in), 1e-3);
    rig.change({{"Global", "Global"}});
    rig.render(in);
    EXPECT_NEAR(peak(rig.render(in).left), 2.0 * peak(in), 2e-3);
}

}  // namespace
}  // namespace Quorvant::Test
