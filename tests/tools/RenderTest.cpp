// The render command against a plug-in whose output is known to the sample, and the delivered one.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace Quorvant::Hosting {

namespace {

constexpr int kRate = 44100;

using Samples = std::vector<float>;

std::vector<float> noise(size_t samples) {
    std::minstd_rand random;
    std::vector<float> result(samples);
    for (float& sample : result)
        sample = static_cast<float>(random()) / static_cast<float>(std::minstd_rand::max()) - 0.5f;
    return result;
}

class Render : public testing::Test {
  protected:
    // By the delivered plug-in. Expects success, and gives what was written.
    Samples own(const std::string& input, const Words& options) {
        Words line = {"render", files.path(input), files.path("out.wav"), "--plain"};
        line.insert(line.end(), options.begin(), options.end());
        report = tableOf(files.output(line));
        return readAudio(files.path("out.wav")).samples;
    }
    Samples render(const std::string& input, Words options) {
        options.insert(options.end(), {"--plugin", PROBE});
        return own(input, options);
    }
    std::string reported(const std::string& key) const {
        const auto row = std::ranges::find_if(report, [&](const auto& r) { return r[0] == key; });
        return row == report.end() ? "nothing" : row->back();
    }

    Workspace files;
    std::vector<Words> report;
};

}  // namespace

TEST_F(Render, GivesTheInputBackInPlaceWithoutTheLatency) {
    const auto mono = noise(5000), stereo = noise(10000);
    files.writeAudio("mono.wav", mono, 1, kRate);
    files.writeAudio("stereo.wav", stereo, 2, kRate);
    for (const char* block : {"1", "512", "4999", "5000", "100000"}) {
        EXPECT_EQ(render("mono.wav", {"--tail", "0", "--block", block}), mono) << block;
        EXPECT_EQ(render("stereo.wav", {"--tail", "0", "--block", block}), stereo) << block;
    }
    EXPECT_EQ(render("stereo.wav", {"--tail", "0", "--bits", "64"}), stereo);
    files.writeAudio("none.wav", {}, 1, kRate);
    EXPECT_TRUE(render("none.wav", {"--tail", "0"}).empty());
    EXPECT_EQ(reported("output peak"), "silent");
}

TEST_F(Render, WritesEveryFormatToItsPrecisionAndClipsIntegers) {
    Samples tone = noise(3001);  // an odd number of bytes in 24 bits
    tone[7] = 1.5f;
    tone[8] = -1e9f;
    const std::string path = files.path("tone.wav");
    for (const SampleFormat& format : kSampleFormats) {
        writeAudio(path, chooseFormat(format.name, path), {1, 88200, tone});
        const Audio read = readAudio(path);
        EXPECT_EQ(read.channels, 1);
        EXPECT_EQ(read.rate, 88200);
        ASSERT_EQ(read.samples.size(), tone.size()) << format.name;
        for (size_t frame = 0; frame < tone.size(); ++frame) {
            const float wanted =
                format.isFloat ? tone[frame] : std::clamp(tone[frame], -1.0f, 1.0f);
            ASSERT_NEAR(read.samples[frame], wanted,
                        format.isFloat ? 0.0 : std::ldexp(1.0, 1 - format.bits))
                << format.name << " " << frame;
        }
    }
}

TEST_F(Render, RefusesOrReadsCutFilesWithoutHarm) {
    files.writeAudio("whole.wav", Samples(40, 0.5f), 2, kRate);
    const std::string whole = files.readText("whole.wav");
    for (size_t length = 0; length < whole.size(); ++length) {
        files.writeText("cut.wav", whole.substr(0, length));
        try {
            EXPECT_LT(readAudio(files.path("cut.wav")).frames(), size_t{20}) << length;
        } catch (const std::exception& failure) {
            EXPECT_NE(std::string(failure.what()).find("cut.wav"), std::string::npos);
        }
    }
}

TEST_F(Render, LandsEachAutomationPointOnItsFrame) {
    files.writeAudio("in.wav", Samples(3 * kRate, 0.5f), 1, kRate);
    // Out of order on purpose; 0.5 s is frame 22050, the second point is one frame later.
    files.writeText("steps.csv",
                    "# level\n\n2,Level,100\n0.5,level,50\n 0.50002268 , Lvl , 25 %\n1,0,@0\n");
    for (const char* block : {"64", "1000", "1000000"}) {
        const auto out = render(
            "in.wav", {"--automate", files.path("steps.csv"), "--tail", "0", "--block", block});
        std::vector<std::pair<size_t, float>> steps;
        for (size_t frame = 1; frame < out.size(); ++frame)
            if (out[frame] != out[frame - 1]) steps.emplace_back(frame, out[frame]);
        const std::vector<std::pair<size_t, float>> expected = {
            {22050, 0.25f}, {22051, 0.125f}, {44100, 0.0f}, {88200, 0.5f}};
        EXPECT_EQ(steps, expected) << block;
    }
    EXPECT_EQ(reported("automation"), "nothing");
    files.writeText("late.csv", "9,Level,1\n");
    render("in.wav", {"--automate", files.path("late.csv"), "--tail", "0"});
    EXPECT_EQ(reported("automation"), "1 points lie beyond the end");
}

TEST_F(Render, MixesTheSideChainInAndGoesOnAfterItsEnd) {
    files.writeAudio("in.wav", Samples(2000 * 2, 0.25f), 2, kRate);
    files.writeAudio("side.wav", Samples(700, 0.5f), 1, kRate);
    const auto out = render("in.wav", {"--sidechain", files.path("side.wav"), "--tail", "0"});
    ASSERT_EQ(out.size(), size_t{4000});
    for (size_t sample = 0; sample < out.size(); ++sample)
        ASSERT_EQ(out[sample], sample < 1400 ? 0.75f : 0.25f) << sample;
}

TEST_F(Render, LetsAnAutomaticTailEndASecondAfterTheLastSound) {
    Samples input(1000, 0.0f);
    input[0] = 0.5f;
    files.writeAudio("in.wav", input, 1, kRate);
    // The echo comes two silent seconds later, which must not be taken for the end.
    const auto echoing = render("in.wav", {"--param", "Echo=On"});
    const size_t echo = 2 * kRate - 1;
    ASSERT_EQ(echoing.size(), echo + 1 + kRate);
    EXPECT_EQ(echoing[echo], 0.5f);
    EXPECT_EQ(std::ranges::count(echoing, 0.5f), 2);
    EXPECT_EQ(render("in.wav", {}).size(), size_t{1 + kRate});
    EXPECT_EQ(render("in.wav", {"--tail", "0.25"}).size(), input.size() + kRate / 4);
    // An input that ends in silence is kept as a whole.
    files.writeAudio("quiet.wav", Samples(5 * kRate, 0.0f), 1, kRate);
    EXPECT_EQ(render("quiet.wav", {}).size(), size_t{5 * kRate});
}

TEST_F(Render, LeavesNothingBehindAndTheOldOutputAloneWhenThePluginFails) {
    files.writeAudio("in.wav", noise(50000), 1, kRate);
    files.writeText("out.wav", "an older take");
    files.writeText("late.csv", "0.7,Fault,Not Finite\n");
    files.writeText("crash.csv", "0.7,Fault,Crash\n");
    const auto before = files.names();
    for (const auto& [moves, word] :
         {std::pair("late.csv", "not finite by second 0.69"), std::pair("crash.csv", "crashed")}) {
        const Outcome outcome = files.run({"render", files.path("in.wav"), files.path("out.wav"),
                                           "--plugin", PROBE, "--automate", files.path(moves)});
        EXPECT_EQ(outcome.status, 1) << word;
        EXPECT_NE(outcome.err.find(word), std::string::npos) << outcome.err;
        EXPECT_EQ(files.names(), before);
        EXPECT_EQ(files.readText("out.wav"), "an older take");
    }
}

TEST_F(Render, ReportsSettingsPeaksLoudnessAndClipping) {
    Samples sine(2 * kRate);
    for (size_t frame = 0; frame < sine.size(); ++frame)
        sine[frame] = 2.0f * std::sin(static_cast<float>(frame) * 6.2831853f * 1000.0f / kRate);
    files.writeAudio("in.wav", sine, 1, kRate);
    render("in.wav", {"--param", "Level=10", "--param", "lvl=25 %", "--tail", "0"});
    EXPECT_EQ(reported("parameter").substr(0, 8), "Level = ");
    EXPECT_EQ(reported("input peak"), "6.0 dBFS");
    EXPECT_EQ(reported("output peak"), "-6.0 dBFS");
    // A 1 kHz sine at full scale in one channel has a loudness of -3 LUFS, and a level of -3 dBFS.
    EXPECT_EQ(reported("output loudness").substr(0, 4), "-9.0");
    EXPECT_EQ(reported("clipped"), "nothing");
    const auto clipped = render("in.wav", {"--format", "wav16", "--tail", "0"});
    EXPECT_NE(reported("clipped"), "nothing");
    EXPECT_NEAR(std::ranges::max(clipped), 1.0, 1e-4);
}

TEST_F(Render, HasTheDeliveredPluginsSettingsFromTheFirstFrameWithoutAGlide) {
    Samples click(kRate, 0.0f);
    click[0] = 0.5f;
    files.writeAudio("click.wav", click, 1, kRate);
    const auto out = own("click.wav", {"--param", "Delay Time=500.0 ms", "--param", "Mix=10",
                                       "--param", "Feedback=0", "--tail", "0"});
    const auto loudest =
        std::ranges::max_element(out, {}, [](float sample) { return std::abs(sample); });
    EXPECT_NEAR(static_cast<double>(loudest - out.begin()), 0.5 * kRate, 0.001 * kRate);
    EXPECT_GT(std::abs(*loudest), 0.1f);
    files.writeAudio("noise.wav", noise(kRate), 1, kRate);
    const auto [low, high] =
        std::ranges::minmax(own("noise.wav", {"--param", "Output=-oo", "--tail", "0"}));
    EXPECT_LT(std::max(high, -low), 1e-5f);
}

TEST_F(Render, ShowsTheHighestReadingOfAnIntervalWhateverTheBlock) {
    files.writeAudio("in.wav", std::vector<float>(kRate * 35 / 100, 0.5f), 1, kRate);
    files.writeText("moves.csv", "0.15,Level,50\n0.25,Level,25\n");
    Words line = {"meters",     files.path("in.wav"),    "--plugin", PROBE,
                  "--automate", files.path("moves.csv"), "--tail",   "0"};
    const auto with = [&](const Words& options) {
        Words whole = line;
        whole.insert(whole.end(), options.begin(), options.end());
        return files.output(whole);
    };
    // The last row ends with the piece, a latency of 100 frames later than the input.
    for (const char* block : {"64", "100000"})
        EXPECT_EQ(tableOf(with({"--plain", "--block", block})),
                  (std::vector<Words>{{"seconds", "Peak"},
                                      {"0.100", "1.000000"},
                                      {"0.200", "1.000000"},
                                      {"0.300", "0.500000"},
                                      {"0.352", "0.250000"}}));
    EXPECT_EQ(with({"--every", "1"}), "seconds  Peak\n0.352    1.000000\n");
    EXPECT_EQ(files.names(), (Words{"in.wav", "moves.csv"}));
}

}  // namespace Quorvant::Hosting
