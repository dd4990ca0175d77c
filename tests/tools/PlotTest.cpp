// Pictures of rendered pieces.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <numbers>

#ifdef CORVANE_HAS_PLOTS
#include "tools/corvane-host/Picture.h"
#include "tools/corvane-host/Plot.h"
#endif

namespace Quorvant::Hosting {

namespace {

constexpr int kRate = 48000;

std::vector<double> sine(double frequency, double level, size_t frames) {
    std::vector<double> samples(frames);
    for (size_t i = 0; i < frames; ++i)
        samples[i] =
            level * std::sin(2.0 * std::numbers::pi * frequency * static_cast<double>(i) / kRate);
    return samples;
}

Outcome plot(const Workspace& files, const std::string& input, const std::string& image) {
    return files.run({"render", files.path(input), files.path("out.wav"), "--plugin", probePath(),
                      "--tail", "0", "--plot", files.path(image)});
}

}  // namespace

#ifndef CORVANE_HAS_PLOTS

TEST(Plot, IsRefusedBeforeAnythingIsWritten) {
    Workspace files;
    files.writeAudio("in.wav", sine(440.0, 0.5, 4800), 1, kRate);
    const Outcome outcome = plot(files, "in.wav", "a.png");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.err.find("plots"), std::string::npos) << outcome.err;
    EXPECT_EQ(files.names(), std::vector<std::string>{"in.wav"});
}

#else

TEST(Plot, FindsASineWhereItIsAndSilenceElsewhere) {
    Workspace files;
    const double frequency = 937.5;  // in the middle of a bin, where no level is lost
    auto samples = sine(frequency, 0.5, kRate);
    samples.resize(samples.size() * 2, 0.0);
    files.writeAudio("in.wav", samples, 1, kRate);
    constexpr size_t kColumns = 100, kRows = 50;
    const auto picture = lookAt(files.path("in.wav"), kColumns, kRows);
    ASSERT_TRUE(picture) << picture.error();
    EXPECT_NEAR(picture->seconds, 2.0, 1e-9);
    const Spectrogram& spectrogram = picture->spectrogram;
    const double octaves = std::log2(spectrogram.highestFrequency / Spectrogram::kLowestFrequency);
    const auto rowOfSine =
        static_cast<size_t>(std::log2(frequency / Spectrogram::kLowestFrequency) / octaves * kRows);
    for (size_t column = 0; column < kColumns; ++column) {
        const bool sounds = column < kColumns / 2;
        EXPECT_NEAR(picture->envelope[column].high, sounds ? 0.5 : 0.0, 0.001) << column;
        EXPECT_NEAR(picture->envelope[column].low, sounds ? -0.5 : 0.0, 0.001) << column;
        // Windows that lie across an edge hear both.
        if (column < 3 || (column > 46 && column < 53)) continue;
        const auto level = [&](size_t row) {
            return spectrogram.decibels[row * kColumns + column];
        };
        EXPECT_NEAR(level(rowOfSine), sounds ? 20.0 * std::log10(0.5) : Spectrogram::kFloor, 0.5);
        EXPECT_LT(level(rowOfSine / 2), -90.0) << column;
        EXPECT_LT(level(kRows - 1), -90.0) << column;
    }
}

TEST(Plot, ShowsWhatWasRendered) {
    if (std::system("gnuplot --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "no gnuplot here";
    Workspace files;
    files.writeAudio("low.wav", sine(220.0, 0.3, kRate / 2), 1, kRate);
    files.writeAudio("high.wav", sine(3000.0, 0.6, kRate / 2), 1, kRate);
    files.writeAudio("none.wav", {}, 1, kRate);
    for (const char* name : {"low", "high", "none"}) {
        const Outcome outcome = plot(files, std::string(name) + ".wav", std::string(name) + ".png");
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        const std::string image = files.readBytes(std::string(name) + ".png");
        ASSERT_GT(image.size(), size_t{24});
        EXPECT_EQ(image.substr(0, 8), "\x89PNG\r\n\x1a\n");
        const auto number = [&](size_t at) {
            int value = 0;
            for (size_t i = 0; i < 4; ++i)
                value = value * 256 + static_cast<unsigned char>(image[at + i]);
            return value;
        };
        EXPECT_EQ(number(16), kPlotWidth);
        EXPECT_EQ(number(20), kPlotHeight);
    }
    EXPECT_NE(files.readBytes("low.png"), files.readBytes("high.png"));
    ASSERT_EQ(plot(files, "low.wav", "again.png").status, 0);
    EXPECT_EQ(files.readBytes("low.png"), files.readBytes("again.png"));
    EXPECT_EQ(files.names(),
              (std::vector<std::string>{"again.png", "high.png", "high.wav", "low.png", "low.wav",
                                        "none.png", "none.wav", "out.wav"}));
}

TEST(Plot, IsRefusedBeforeAnythingIsWritten) {
    Workspace files;
    files.writeAudio("in.wav", sine(440.0, 0.5, 4800), 1, kRate);
    const std::string path = std::getenv("PATH");
    setenv("PATH", files.path("").c_str(), 1);
    const Outcome missing = plot(files, "in.wav", "a.png");
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.err.find("gnuplot"), std::string::npos) << missing.err;
    for (const char* image : {"a.jpg", "none/a.png"}) {
        const Outcome outcome = plot(files, "in.wav", image);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
    EXPECT_EQ(files.names(), std::vector<std::string>{"in.wav"});
}

#endif

}  // namespace Quorvant::Hosting
