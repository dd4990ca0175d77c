// Where echoes fall and how loud they are: delay, mix, feedback, high cut, levels, bypass.
#include "tests/dsp/EngineRig.h"

#include <gtest/gtest.h>

namespace Quorvant::Test {
namespace {

// The path through both histories: a sample is heard this many frames after the memory's span.
constexpr int kPath = 3;

struct Echo {
    const char* name;
    Settings settings;
    int span;         // of the memory, in frames
    double dry, wet;  // linear
    double repeat = 0.0;
    double cutHz = 0.0;  // 0: open
    double rate = 48000.0;
    double tolerance = 1e-7;
    double corner = InputFilter::kCorner;
};

// The same echoes by the plainest of delay lines.
Signal plainEchoes(const Echo& echo, const Signal& in) {
    InputFilter filter;
    filter.setCorner(echo.corner, echo.rate);
    const double turn = 2.0 * std::numbers::pi * echo.cutHz / echo.rate;
    const double pole = echo.cutHz > 0.0 ? std::exp(-turn) : 0.0;
    const size_t late = static_cast<size_t>(echo.span + kPath);
    Signal recorded, out;
    double cut = 0.0;
    for (size_t i = 0; i < in.size(); ++i) {
        recorded.push_back(left(filter.process(both(in[i]))) + echo.repeat * cut);
        const double delayed = i < late ? 0.0 : recorded[i - late];
        cut = delayed + pole * (cut - delayed);
        out.push_back(echo.dry * in[i] + echo.wet * delayed);
    }
    return out;
}

TEST(EngineEcho, FallsWhereAndAsItsSettingsTell) {
    const double mix = 0.3 * std::numbers::pi / 2.0;
    const Settings limited = {{kProcessingMode, valueOf(ProcessingMode::Lims)}, {kFeedback, 0.9}};
    const Settings doubled = {{kDelayX2, 1.0}};
    const Settings backward = {{kDelayTime, ms(9500.0)},
                               {kDirectionMode, valueOf(DirectionMode::Backward)}};
    const Settings global = {
        {kMix, 0.0}, {kGlobalMix, 1.0}, {kGlobal, 1.0}, {kGlobalInput, 1.0}, {kGlobalOutput, 0.25}};
    const Settings cut = {{kFeedback, 0.9}, {kHighCut, 1.0}, {kHighCutCutoff, 0.5}};
    const Echo echoes[] = {
        {"as it stands", {}, 4800, 0.0, 1.0},
        {"no delay", {{kDelayTime, 0.0}}, -kPath, 0.0, 1.0},
        {"a fraction of a frame", {{kDelayTime, ms(33.0)}}, 1455, 0.0, 1.0, 0.0, 0.0, 44100.0},
        {"longest", {{kDelayTime, 1.0}}, 460800, 0.0, 1.0},
        {"the memory less the delay", backward, 4802, 0.0, 1.0},
        {"doubled", doubled, 9600, 0.0, 0.5, 0.0, 0.0, 48000.0, 0.02, InputFilter::kDoubledCorner},
        {"Manual VCO raised", {{kManualVco, 1.0}}, 7200, 0.0, 1.0, 0.0, 0.0, 48000.0, 0.02},
        {"mixed", {{kMix, 0.3}}, 4800, std::cos(mix), std::sin(mix)},
        {"bypassed", {{kMix, 0.3}, {kBypass, 1.0}}, 4800, std::cos(mix), 0.0},
        {"inverted", {{kFeedback, 0.6}, {kFeedbackInvert, 1.0}}, 4800, 0.0, 1.0, -0.6},
        {"below the limiters", limited, 4800, 0.0, 1.0, 0.9},
        {"at unity", {{kFeedback, 1.0}}, 4800, 0.0, 1.0, 1.0},
        {"cut at a high rate", cut, 19200, 0.0, 1.0, 0.9, 3150.0, 192000.0},
        {"louder in", {{kInput, 0.8}}, 4800, 0.0, 2.56},
        {"louder out", {{kOutput, 0.8}}, 4800, 0.0, 2.56},
        {"the global set", global, 4800, 0.0, 4.0 * 0.25},
        {"Process off", {{kProcess, 0.0}, {kInput, 0.9}}, 4800, 1.0, 0.0},
    };
    for (const Echo& echo : echoes) {
        EngineRig rig(echo.settings, echo.rate);
        const auto span = static_cast<size_t>(echo.span + kPath);
        const Signal in = padded(rig.pulse(0.01), span + rig.samples(0.35));
        const Stereo out = rig.render({in, silence(in.size())});
        EXPECT_LT(largestDifference(out.left, plainEchoes(echo, in)), echo.tolerance) << echo.name;
        EXPECT_EQ(peak(out.right), 0.0) << echo.name;
    }
}

TEST(EngineEcho, OfARampFallsInReverseAndTurnsInBounce) {
    Signal ramp(96000);
    for (size_t i = 0; i < ramp.size(); ++i) ramp[i] = 1e-6 * static_cast<double>(i);
    for (const auto& [mode, share] :
         {std::pair{DirectionMode::Reverse, 0.1}, {DirectionMode::Bounce, 0.5}}) {
        const Signal out = EngineRig({{kDirectionMode, valueOf(mode)}}).render(ramp).left;
        int rises = 0;
        for (size_t i = 48000; i < out.size(); ++i) rises += out[i] > out[i - 1];
        EXPECT_NEAR(rises / 48000.0, share, 0.12);
    }
}

TEST(EngineBypass, RecordsSilence) {
    EngineRig rig({{kDelayTime, ms(500.0)}, {kBypass, 1.0}});
    rig.render(rig.sine(440.0, 0.4));
    rig.settle(0.05);
    rig.set(kBypass, 0.0);
    EXPECT_LT(peak(rig.render(silence(rig.samples(0.6))).left), 1e-6);
}

}  // namespace
}  // namespace Quorvant::Test
