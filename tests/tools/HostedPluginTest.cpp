// The hosting library in the test's own process.
#include "tests/tools/CommandRun.h"
#include "tools/hosting/HostedPlugin.h"

#include <gtest/gtest.h>

namespace Quorvant::Hosting {

namespace {

HostedPlugin::Ptr loadProbe() {
    auto plugin = HostedPlugin::load(probePath());
    EXPECT_TRUE(plugin) << plugin.error();
    return plugin ? std::move(*plugin) : nullptr;
}

}  // namespace

TEST(HostedPlugin, RunsSeveralInstancesOfOneModuleIndependently) {
    auto first = loadProbe();
    auto second = loadProbe();
    ASSERT_TRUE(first && second);
    HostSetup setup;
    setup.mainInputs = setup.mainOutputs = 1;
    ASSERT_TRUE(first->prepare(setup));
    setup.doublePrecision = true;
    ASSERT_TRUE(second->prepare(setup));
    first->setParameter(0, 0.5);

    std::vector<float> single(200, 1.0F);
    Block<float> floats;
    floats.frames = 200;
    floats.inputs = {{single.data()}, {nullptr}};
    floats.outputs = {{single.data()}};  // in place
    EXPECT_EQ(first->process(floats), Steinberg::kResultOk);
    EXPECT_EQ(single[99], 0.0F);
    EXPECT_EQ(single[100], 0.5F);
    EXPECT_EQ(first->outputValue(100), 0.5);
    EXPECT_EQ(first->controllerValue(0), 0.5);

    first.reset();  // the module stays for the other one
    std::vector<double> doubles(200, 1.0);
    Block<double> block;
    block.frames = 200;
    block.inputs = {{doubles.data()}, {nullptr}};
    block.outputs = {{doubles.data()}};
    EXPECT_EQ(second->process(block), Steinberg::kResultOk);
    EXPECT_EQ(doubles[100], 1.0);
    block.takeOutputPoints = false;
    EXPECT_EQ(second->process(block), Steinberg::kResultOk);
    EXPECT_TRUE(second->outputPoints().empty());
}

TEST(HostedPlugin, ReportsWhatThePluginRefuses) {
    auto plugin = loadProbe();
    ASSERT_TRUE(plugin);
    namespace Arr = Steinberg::Vst::SpeakerArr;
    EXPECT_EQ(plugin->setArrangements({Arr::kMono}, {Arr::kMono}), Steinberg::kResultFalse);
    EXPECT_EQ(plugin->setArrangements({Arr::kMono, Arr::kStereo}, {Arr::kMono}),
              Steinberg::kResultOk);
    EXPECT_EQ(plugin->buses(Steinberg::Vst::kInput)[1].channels, 2);
    HostSetup setup;
    setup.mainInputs = 1;
    EXPECT_NE(plugin->prepare(setup).error().find("1 channels in and 2 out"), std::string::npos);
    setup.mainInputs = 2;
    setup.sampleRate = 100.0;
    EXPECT_NE(plugin->prepare(setup).error().find("100 Hz"), std::string::npos);
    EXPECT_EQ(plugin->setComponentState(Bytes{1, 2, 3}), Steinberg::kResultFalse);
}

TEST(HostedPlugin, FindsParametersByTitleFirst) {
    auto plugin = loadProbe();
    ASSERT_TRUE(plugin);
    EXPECT_EQ(plugin->findParameter("LEVEL")->id, 0U);
    EXPECT_EQ(plugin->findParameter("lvl")->id, 0U);
    EXPECT_EQ(plugin->findParameter("100")->title, "Peak");
    EXPECT_EQ(plugin->findParameter("101"), nullptr);
    EXPECT_EQ(plugin->findParameter(""), nullptr);
}

}  // namespace Quorvant::Hosting
