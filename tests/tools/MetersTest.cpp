// What `corvane-host meters` shows of a plug-in's readings.
#include "tests/tools/CommandRun.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Quorvant::Hosting {

namespace {

constexpr int kRate = 44100;

}  // namespace

TEST(Meters, TakeTheHighestOfAnIntervalWhateverTheBlock) {
    Workspace files;
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
        EXPECT_EQ(with({"--csv", "--block", block}),
                  "seconds,Peak\n0.100,1.000000\n0.200,1.000000\n0.300,0.500000\n0.352,0.250000\n");
    EXPECT_EQ(with({"--every", "1"}), "seconds  Peak\n0.352    1.000000\n");
    EXPECT_EQ(with({"--every", "1", "--plain"}), "0.352\t1.000000\n");
    EXPECT_EQ(files.names(), (Words{"in.wav", "moves.csv"}));
}

TEST(Meters, ShowTheDeliveredPluginsReadingsByName) {
    Workspace files;
    files.writeAudio("in.wav", std::vector<float>(kRate / 2, 0.0f), 1, kRate);
    std::vector<float> click(kRate / 2, 0.0f);
    click[kRate / 4] = -0.4f;
    files.writeAudio("side.wav", click, 1, kRate);
    const auto rows =
        tableOf(files.output({"meters", files.path("in.wav"), "--tempo", "90", "--tail", "0",
                              "--csv", "--param", "Delay Time=300", "--sidechain",
                              files.path("side.wav"), "--param", "S.C.Int-Ext=@1"}),
                ',');
    ASSERT_EQ(rows.size(), size_t{6});
    const auto value = [&](size_t row, const std::string& title) {
        const auto column = std::ranges::find(rows[0], title) - rows[0].begin();
        EXPECT_LT(static_cast<size_t>(column), rows[row].size()) << title;
        return std::stod(rows[row].at(static_cast<size_t>(column)));
    };
    EXPECT_NEAR(value(1, "Tempo"), 90.0 / 10000.0, 1e-6);
    EXPECT_NEAR(value(1, "Delay Readout"), 300.0 / 28800.0, 1e-4);
    // The click is in the third interval alone.
    for (const char* title : {"S.C.Peak Left", "S.C.Peak Right"})
        for (size_t row = 1; row <= 5; ++row)
            EXPECT_NEAR(value(row, title), row == 3 ? 0.4 : 0.0, 1e-4) << title << row;
}

}  // namespace Quorvant::Hosting
