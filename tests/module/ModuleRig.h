// The built module in a host, as the module's tests drive it: parameters by name and text, stereo
// signals in, stereo signals out.
#pragma once

#include "tests/Sound.h"
#include "tools/hosting/HostedPlugin.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Quorvant::Test {

// Settings by name and text, as a host shows them.
using Settings = std::vector<std::pair<std::string, std::string>>;

// Fully wet, one echo of 100 ms, unity gains, ceilings far away.
inline Settings oneEcho(const Settings& more = {}) {
    Settings settings = {{"Mix", "10"}, {"Feedback", "0"}, {"Delay Time", "100"}};
    settings.insert(settings.end(), more.begin(), more.end());
    return settings;
}

class ModuleRig {
  public:
    explicit ModuleRig(Hosting::HostSetup wanted = {}) : setup(wanted) {
        setup.doublePrecision = true;
        plugin->prepare(setup);
    }
    // Has the settings from the first frame on, without a glide.
    ModuleRig(const Settings& settings, Hosting::HostSetup wanted = {}) : ModuleRig(wanted) {
        change(settings);
        reset();
    }

    // Reaches the processor without audio, while it runs.
    void change(const Settings& settings) {
        std::vector<Hosting::ParameterPoint> points;
        for (const auto& [name, text] : settings) {
            const Hosting::Parameter* parameter = plugin->findParameter(name);
            ASSERT_NE(parameter, nullptr) << name;
            const auto value = plugin->valueOf(*parameter, text);
            ASSERT_TRUE(value) << name << " = " << text;
            points.push_back({parameter->id, 0, *value});
        }
        EXPECT_EQ(plugin->flush(points), Steinberg::kResultOk);
    }
    void reset() {
        plugin->setActive(false);
        plugin->setActive(true);
        frames = 0;
    }

    // `sideChain`, as long as `in`, goes to the second bus.
    Stereo render(Stereo in, Stereo sideChain = {}) {
        constexpr size_t kBlock = 256;
        Stereo out = silence(in.size());
        for (size_t at = 0; at < in.size(); at += kBlock) {
            const size_t n = std::min(kBlock, in.size() - at);
            Hosting::Block<double> block;
            block.frames = static_cast<Steinberg::int32>(n);
            block.inputs = {{&in.left[at], &in.right[at]}};
            if (sideChain.size() > 0)
                block.inputs.push_back({&sideChain.left[at], &sideChain.right[at]});
            block.outputs = {{&out.left[at], &out.right[at]}};
            Steinberg::Vst::ProcessContext context{};
            if (transport) {
                Hosting::Transport now = *transport;
                if (now.positionBeats && now.tempoBpm)
                    *now.positionBeats +=
                        static_cast<double>(frames) * *now.tempoBpm / (60.0 * setup.sampleRate);
                context = Hosting::makeContext(now, setup.sampleRate);
                block.context = &context;
            }
            EXPECT_EQ(plugin->process(block), Steinberg::kResultOk);
            frames += static_cast<int64_t>(n);
        }
        return out;
    }
    // Hands the controller's edits to the processor, as hosts do.
    void forwardEdits() {
        std::vector<Hosting::ParameterPoint> points;
        for (const auto& [id, value] : plugin->editLog().edits) points.push_back({id, 0, value});
        plugin->editLog().edits.clear();
        EXPECT_EQ(plugin->flush(points), Steinberg::kResultOk);
    }

    Hosting::HostSetup setup;
    Hosting::HostedPlugin::Ptr plugin = Hosting::HostedPlugin::load(CORVANE_MODULE);
    std::optional<Hosting::Transport> transport;  // moves on with the audio

  private:
    int64_t frames = 0;  // since the last reset
};

}  // namespace Quorvant::Test
