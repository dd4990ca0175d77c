// The render command against a plug-in whose output is known to the sample.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace Quorvant::Hosting {

namespace {

constexpr int kRate = 44100;

// A value for each frame that no other frame near it has, exact in 32-bit float.
std::vector<double> counting(size_t frames) {
    std::vector<double> samples(frames);
    for (size_t frame = 0; frame < frames; ++frame)
        samples[frame] = static_cast<double>(frame % 4096 + 1) / 8192.0;
    return samples;
}

class Render : public testing::Test {
  protected:
    // Expects success, and gives what was written.
    Audio render(const std::string& input, std::vector<std::string> options) {
        options.insert(options.begin(), {"render", files.path(input), files.path("out.wav"),
                                         "--plugin", probePath()});
        const Outcome outcome = files.run(options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        report = outcome.out;
        return readAudio(files.path("out.wav"));
    }

    Workspace files;
    std::string report;
};

}  // namespace

TEST_F(Render, GivesTheInputBackInPlaceWithoutTheLatency) {
    const auto input = counting(5000);
    files.writeAudio("mono.wav", input, 1, kRate);
    std::vector<double> stereo;
    for (const double sample : input) stereo.insert(stereo.end(), {sample, -sample});
    files.writeAudio("stereo.wav", stereo, 2, kRate);
    for (const char* block : {"1", "7", "512", "4999", "5000", "5001", "100000"}) {
        EXPECT_EQ(render("mono.wav", {"--tail", "0", "--block", block}).samples, input) << block;
        EXPECT_EQ(render("stereo.wav", {"--tail", "0", "--block", block}).samples, stereo) << block;
    }
    EXPECT_EQ(render("stereo.wav", {"--tail", "0", "--bits", "64"}).samples, stereo);
}

TEST_F(Render, LandsEachAutomationPointOnItsFrame) {
    files.writeAudio("in.wav", std::vector<double>(3 * kRate, 0.5), 1, kRate);
    // Out of order on purpose; 0.5 s is frame 22050, the second point is one frame later.
    files.writeText("steps.csv",
                    "# level\n\n2,Level,100\n0.5,level,50\n 0.50002268 , Lvl , 25 %\n1,0,@0\n");
    for (const char* block : {"64", "1000", "1000000"}) {
        const auto out = render("in.wav", {"--automate", files.path("steps.csv"), "--tail", "0",
                                           "--block", block})
                             .samples;
        ASSERT_EQ(out.size(), size_t{3 * kRate});
        std::vector<std::pair<size_t, double>> steps;
        for (size_t frame = 1; frame < out.size(); ++frame)
            if (out[frame] != out[frame - 1]) steps.emplace_back(frame, out[frame]);
        const std::vector<std::pair<size_t, double>> expected = {
            {22050, 0.25}, {22051, 0.125}, {44100, 0.0}, {88200, 0.5}};
        EXPECT_EQ(steps, expected) << block;
    }
}

TEST_F(Render, SetsParametersBeforeTheFirstFrameInTheirOrder) {
    const auto input = counting(1000);
    files.writeAudio("in.wav", input, 1, kRate);
    const auto out = render("in.wav", {"--param", "Level=10", "--param", "lvl=50", "--tail", "0"});
    for (size_t frame = 0; frame < input.size(); ++frame)
        ASSERT_EQ(out.samples[frame], input[frame] * 0.5) << frame;
    EXPECT_NE(report.find("Level = 50"), std::string::npos) << report;
}

TEST_F(Render, MixesTheSideChainInAndGoesOnAfterItsEnd) {
    files.writeAudio("in.wav", std::vector<double>(2000 * 2, 0.25), 2, kRate);
    files.writeAudio("side.wav", std::vector<double>(700, 0.5), 1, kRate);
    const auto out = render("in.wav", {"--sidechain", files.path("side.wav"), "--tail", "0"});
    ASSERT_EQ(out.samples.size(), size_t{4000});
    for (size_t sample = 0; sample < out.samples.size(); ++sample)
        ASSERT_EQ(out.samples[sample], sample < 1400 ? 0.75 : 0.25) << sample;
}

TEST_F(Render, LetsAnAutomaticTailEndASecondAfterTheLastSound) {
    std::vector<double> input(1000, 0.0);
    input[0] = 0.5;
    files.writeAudio("in.wav", input, 1, kRate);
    // The echo comes two silent seconds later, which must not be taken for the end.
    const auto echoing = render("in.wav", {"--param", "Echo=On"});
    const size_t echo = 2 * kRate - 1;
    ASSERT_GT(echoing.samples.size(), echo);
    EXPECT_EQ(std::ranges::count(echoing.samples, 0.5), 2);
    EXPECT_EQ(echoing.samples[echo], 0.5);
    EXPECT_EQ(echoing.samples.size(), echo + 1 + kRate);

    EXPECT_LE(render("in.wav", {}).samples.size(), input.size() + kRate);
    EXPECT_EQ(render("in.wav", {"--tail", "0.25"}).samples.size(), input.size() + kRate / 4);
}

TEST_F(Render, KeepsAllOfAnInputThatEndsInSilence) {
    std::vector<double> input(5 * kRate, 0.0);
    input[10] = 0.5;
    files.writeAudio("in.wav", input, 1, kRate);
    for (const char* block : {"512", "1000000"})
        EXPECT_GE(render("in.wav", {"--block", block}).samples.size(), input.size()) << block;
}

TEST_F(Render, ReadsAndWritesAnEmptyFile) {
    files.writeAudio("in.wav", {}, 1, kRate);
    EXPECT_TRUE(render("in.wav", {"--tail", "0"}).samples.empty());
    EXPECT_NE(report.find("silent"), std::string::npos);
}

TEST_F(Render, LeavesNothingBehindAndTheOldOutputAloneWhenThePluginFails) {
    files.writeAudio("in.wav", counting(50000), 1, kRate);
    files.writeText("out.wav", "an older take");
    files.writeText("late.csv", "0.7,Fault,Not Finite\n");
    files.writeText("crash.csv", "0.7,Fault,Crash\n");
    const auto before = files.names();
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{"--param", "Fault=Not Finite"}, "not finite"},
        {{"--automate", files.path("late.csv")}, "not finite"},
        {{"--automate", files.path("crash.csv")}, "crashed"},
    };
    for (const auto& [options, word] : cases) {
        std::vector<std::string> line = {"render", files.path("in.wav"), files.path("out.wav"),
                                         "--plugin", probePath()};
        line.insert(line.end(), options.begin(), options.end());
        const Outcome outcome = files.run(line);
        EXPECT_EQ(outcome.status, 1) << word;
        EXPECT_NE(outcome.err.find(word), std::string::npos) << outcome.err;
        EXPECT_EQ(files.names(), before);
        EXPECT_EQ(files.readText("out.wav"), "an older take");
    }
}

TEST_F(Render, ReportsPeaksLoudnessAndClipping) {
    std::vector<double> sine(2 * kRate);
    for (size_t frame = 0; frame < sine.size(); ++frame)
        sine[frame] =
            2.0 * std::sin(2.0 * 3.14159265358979 * 1000.0 * static_cast<double>(frame) / kRate);
    files.writeAudio("in.wav", sine, 1, kRate);
    const auto quiet = render("in.wav", {"--param", "Level=25", "--tail", "0", "--plain"});
    const auto rows = tableOf(report);
    const auto valueOf = [&rows](const std::string& key) {
        const auto row = std::ranges::find_if(rows, [&](const auto& r) { return r[0] == key; });
        return row == rows.end() || row->size() != 2 ? "no row" : (*row)[1];
    };
    EXPECT_EQ(valueOf("input peak"), "6.0 dBFS");
    EXPECT_EQ(valueOf("output peak"), "-6.0 dBFS");
    EXPECT_EQ(valueOf("output frames"), std::to_string(2 * kRate));
    // A 1 kHz sine at full scale in one channel has a loudness of -3 LUFS, and a level of -3 dBFS.
    EXPECT_EQ(valueOf("output loudness").substr(0, 4), "-9.0");
    EXPECT_EQ(valueOf("clipped"), "no row");

    const auto clipped = render("in.wav", {"--format", "wav16", "--tail", "0"});
    EXPECT_NE(report.find("clipped"), std::string::npos) << report;
    EXPECT_NEAR(*std::ranges::max_element(clipped.samples), 1.0, 1e-4);
    EXPECT_NEAR(*std::ranges::min_element(clipped.samples), -1.0, 1e-4);
}

#ifndef _WIN32
TEST_F(Render, ConvertsTheInputToTheRateAskedFor) {
    std::vector<double> sine(kRate);
    for (size_t frame = 0; frame < sine.size(); ++frame)
        sine[frame] =
            0.5 * std::sin(2.0 * 3.14159265358979 * 441.0 * static_cast<double>(frame) / kRate);
    files.writeAudio("in.wav", sine, 1, kRate);
    const auto out = render("in.wav", {"--rate", "96000", "--tail", "0"});
    EXPECT_EQ(out.rate, 96000.0);
    EXPECT_NEAR(static_cast<double>(out.samples.size()), 96000.0, 1.0);
    for (size_t frame = 2000; frame < 90000; ++frame)
        ASSERT_NEAR(
            out.samples[frame],
            0.5 * std::sin(2.0 * 3.14159265358979 * 441.0 * static_cast<double>(frame) / 96000.0),
            1e-3)
            << frame;
}
#endif

}  // namespace Quorvant::Hosting
