// What `corvane-host meters` shows of a plug-in's readings.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Quorvant::Hosting {

namespace {

constexpr int kRate = 44100;

std::vector<std::vector<std::string>> csvOf(const std::string& text) {
    std::string tabs = text;
    std::ranges::replace(tabs, ',', '\t');
    return tableOf(tabs);
}

}  // namespace

TEST(Meters, TakeTheHighestOfAnIntervalWhateverTheBlock) {
    Workspace files;
    files.writeAudio("in.wav", std::vector<double>(kRate * 35 / 100, 0.5), 1, kRate);
    files.writeText("moves.csv", "0.15,Level,50\n0.25,Level,25\n");
    for (const char* block : {"64", "512", "100000"}) {
        const Outcome outcome =
            files.run({"meters", files.path("in.wav"), "--plugin", probePath(), "--automate",
                       files.path("moves.csv"), "--tail", "0", "--csv", "--block", block});
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        // The last row ends with the piece, a latency of 100 frames later than the input.
        EXPECT_EQ(outcome.out,
                  "seconds,Peak\n0.100,1.000000\n0.200,1.000000\n0.300,0.500000\n0.352,0.250000\n")
            << block;
        EXPECT_EQ(files.names(), (std::vector<std::string>{"in.wav", "moves.csv"}));
    }
    const Outcome people = files.run(
        {"meters", files.path("in.wav"), "--plugin", probePath(), "--every", "1", "--tail", "0"});
    EXPECT_EQ(people.out, "seconds  Peak\n0.352    1.000000\n");
}

TEST(Meters, RefuseWhatRenderRefuses) {
    Workspace files;
    files.writeAudio("in.wav", std::vector<double>(100, 0.5), 1, kRate);
    const std::vector<std::string> line = {"meters", files.path("in.wav"), "--plugin", probePath()};
    const auto with = [&](std::vector<std::string> options) {
        options.insert(options.begin(), line.begin(), line.end());
        return files.run(options);
    };
    EXPECT_EQ(with({"--every", "0"}).status, 2);
    EXPECT_EQ(with({"--every", "nan"}).status, 2);
    EXPECT_EQ(with({"--param", "Levle=1"}).status, 1);
    EXPECT_EQ(files.run({"meters", files.path("none.wav"), "--plugin", probePath()}).status, 1);
}

TEST(Meters, ShowTheDeliveredPluginsReadingsByName) {
    Workspace files;
    files.writeAudio("in.wav", std::vector<double>(kRate / 2, 0.0), 1, kRate);
    std::vector<double> click(kRate / 2, 0.0);
    click[kRate / 4] = -0.4;
    files.writeAudio("side.wav", click, 1, kRate);
    const Outcome outcome = files.run({"meters", files.path("in.wav"), "--tempo", "90", "--tail",
                                       "0", "--csv", "--param", "Delay Time=300", "--sidechain",
                                       files.path("side.wav"), "--param", "S.C.Int-Ext=@1"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto rows = csvOf(outcome.out);
    ASSERT_EQ(rows.size(), size_t{6});
    const auto value = [&](size_t row, const std::string& title) {
        const auto column = std::ranges::find(rows[0], title) - rows[0].begin();
        EXPECT_LT(static_cast<size_t>(column), rows[row].size()) << title;
        return std::stod(rows[row].at(static_cast<size_t>(column)));
    };
    EXPECT_NEAR(value(1, "Tempo"), 90.0 / 10000.0, 1e-6);
    EXPECT_NEAR(value(1, "Sample Rate"), kRate / 1e6, 1e-6);
    EXPECT_NEAR(value(1, "Delay Readout"), 300.0 / 28800.0, 1e-4);
    EXPECT_NEAR(value(1, "S.C.Connected"), 1.0, 1e-6);
    // The click is in the third interval alone.
    for (const char* title : {"S.C.Peak Left", "S.C.Peak Right"})
        for (size_t row = 1; row <= 5; ++row)
            EXPECT_NEAR(value(row, title), row == 3 ? 0.4 : 0.0, 1e-4) << title << row;
}

}  // namespace Quorvant::Hosting
