// The command-line host and the delivered plug-in together, as a user has them.
#include "tests/tools/CommandRun.h"
#include "tools/hosting/HostedPlugin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace Quorvant::Hosting {

namespace {

constexpr int kRate = 44100;

std::vector<double> noise(size_t samples) {
    std::minstd_rand random;
    std::vector<double> result(samples);
    for (double& sample : result)
        sample = 0.5 * (2.0 * random() / static_cast<double>(std::minstd_rand::max()) - 1.0);
    return result;
}

// What the plug-in beside the program makes of the file, without a tail.
std::vector<double> rendered(const Workspace& files, const std::string& input,
                             std::vector<std::string> options) {
    options.insert(options.begin(),
                   {"render", files.path(input), files.path("out.wav"), "--tail", "0"});
    const Outcome outcome = files.run(options);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return readAudio(files.path("out.wav")).samples;
}

}  // namespace

TEST(Product, DelaysByTheTimeItIsGivenAsText) {
    Workspace files;
    std::vector<double> click(kRate, 0.0);
    click[0] = 0.5;
    files.writeAudio("click.wav", click, 1, kRate);
    const auto out =
        rendered(files, "click.wav",
                 {"--param", "Delay Time=500", "--param", "Mix=10", "--param", "Feedback=0"});
    const auto loudest =
        std::ranges::max_element(out, {}, [](double sample) { return std::abs(sample); });
    EXPECT_NEAR(static_cast<double>(loudest - out.begin()), 0.5 * kRate, 0.001 * kRate);
    EXPECT_GT(std::abs(*loudest), 0.1);
}

TEST(Product, HasTheGivenSettingsFromTheFirstFrameWithoutAGlide) {
    Workspace files;
    files.writeAudio("noise.wav", noise(kRate), 1, kRate);
    const auto out = rendered(files, "noise.wav", {"--param", "Output=-oo"});
    const auto [low, high] = std::ranges::minmax(out);
    EXPECT_LT(std::max(high, -low), 1e-5);
}

TEST(Product, FollowsAutomationAtItsFrameWhateverTheBlock) {
    Workspace files;
    files.writeAudio("noise.wav", noise(size_t{2} * kRate), 2, kRate);
    files.writeText("moves.csv", "0.25,Output,-oo\n0.4,Mix,10\n0.5,Delay Time,123\n");
    const auto still = rendered(files, "noise.wav", {});
    const std::vector<std::string> moving = {"--automate", files.path("moves.csv"), "--block"};
    const auto withBlock = [&](const char* block) {
        auto options = moving;
        options.push_back(block);
        return rendered(files, "noise.wav", options);
    };
    const auto moved = withBlock("512");
    ASSERT_EQ(moved.size(), still.size());
    const auto first = std::ranges::mismatch(still, moved).in1 - still.begin();
    EXPECT_GE(first / 2, kRate / 4);
    EXPECT_LE(first / 2, kRate / 4 + 64);
    EXPECT_EQ(withBlock("64"), moved);
    EXPECT_EQ(withBlock("100000"), moved);
}

TEST(Product, TakesEveryTextThatItShows) {
    auto plugin = HostedPlugin::load(CORVANE_MODULE);
    ASSERT_TRUE(plugin) << plugin.error();
    int checked = 0;
    for (const Parameter& parameter : (*plugin)->parameters()) {
        if (parameter.has(Steinberg::Vst::ParameterInfo::kIsReadOnly)) continue;
        for (int step = 0; step <= 40; ++step) {
            const std::string text = (*plugin)->textOf(parameter, step / 40.0);
            if (text.empty()) continue;
            const auto value = (*plugin)->valueOf(parameter, text);
            ASSERT_TRUE(value) << value.error();
            EXPECT_EQ((*plugin)->textOf(parameter, *value), text) << parameter.title;
            ++checked;
        }
        EXPECT_FALSE((*plugin)->valueOf(parameter, "nonsense")) << parameter.title;
    }
    EXPECT_GT(checked, 1000);
}

}  // namespace Quorvant::Hosting
