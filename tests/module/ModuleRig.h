// The built module in a host, as the module's tests drive it: parameters by name and text, stereo
// signals in, stereo signals out.
#pragma once

#include "tests/Sound.h"
#include "tools/hosting/HostedPlugin.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
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
    explicit ModuleRig(Hosting::Setup wanted = {}) : setup(wanted) {
        auto loaded = Hosting::HostedPlugin::load(CORVANE_MODULE, "Corvane QVX77x");
        if (!loaded) {
            ADD_FAILURE() << loaded.error();
            std::abort();
        }
        plugin = std::move(*loaded);
        const auto prepared = plugin->prepare(setup);
        EXPECT_TRUE(prepared) << prepared.error();
    }
    ModuleRig(const Settings& settings, Hosting::Setup wanted = {}) : ModuleRig(wanted) {
        apply(settings);
    }

    Hosting::ParameterPoint point(const std::string& name, const std::string& text) {
        const Hosting::Parameter* parameter = plugin->findParameter(name);
        if (parameter == nullptr) {
            ADD_FAILURE() << "no parameter " << name;
            return {0, 0, 0.0};
        }
        const auto value = plugin->valueOf(*parameter, text);
        EXPECT_TRUE(value) << value.error();
        return {parameter->id, 0, value ? *value : 0.0};
    }
    // Reaches the processor without audio; then it is reset, so that nothing glides.
    void apply(const Settings& settings) {
        change(settings);
        reset();
    }
    // Reaches the processor without audio, while it runs.
    void change(const Settings& settings) {
        std::vector<Hosting::ParameterPoint> points;
        for (const auto& [name, text] : settings) points.push_back(point(name, text));
        EXPECT_EQ(plugin->flush(points), Steinberg::kResultOk);
    }
    void reset() {
        plugin->setActive(false);
        plugin->setActive(true);
        frames = 0;
    }

    // Renders in blocks of `blockSize`; `sideChain` goes to the second bus where one is active.
    template <typename Sample = float>
    Stereo render(const Stereo& in, const Stereo* sideChain = nullptr) {
        Stereo out{Signal(in.size()), Signal(in.size())};
        std::vector<std::vector<Sample>> memory(6, std::vector<Sample>(blockSize));
        for (size_t at = 0; at < in.size(); at += blockSize) {
            const size_t n = std::min(blockSize, in.size() - at);
            for (size_t i = 0; i < n; ++i) {
                memory[0][i] = static_cast<Sample>(in.left[at + i]);
                memory[1][i] = static_cast<Sample>(in.right[at + i]);
                if (sideChain == nullptr) continue;
                memory[2][i] = static_cast<Sample>(sideChain->left[at + i]);
                memory[3][i] = static_cast<Sample>(sideChain->right[at + i]);
            }
            Hosting::Block<Sample> block;
            block.frames = static_cast<Steinberg::int32>(n);
            block.inputs = {channels(memory, 0, setup.mainInputs)};
            if (setup.sideChain > 0) block.inputs.push_back(channels(memory, 2, setup.sideChain));
            block.outputs = {channels(memory, 4, setup.mainOutputs)};
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
            for (size_t i = 0; i < n; ++i) {
                out.left[at + i] = static_cast<double>(memory[4][i]);
                out.right[at + i] = static_cast<double>(memory[setup.mainOutputs > 1 ? 5 : 4][i]);
            }
            frames += static_cast<int64_t>(n);
            if (afterBlock) afterBlock();
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
    double reading(Hosting::ParamID id) { return plugin->outputValue(id).value_or(-1.0); }

    Hosting::Setup setup;
    Hosting::HostedPlugin::Ptr plugin;
    size_t blockSize = 256;
    std::optional<Hosting::Transport> transport;  // moves on with the audio
    std::function<void()> afterBlock;

  private:
    template <typename Sample>
    static std::vector<Sample*> channels(std::vector<std::vector<Sample>>& memory, size_t first,
                                         int count) {
        std::vector<Sample*> pointers;
        for (int i = 0; i < count; ++i)
            pointers.push_back(memory[first + static_cast<size_t>(i)].data());
        return pointers;
    }

    int64_t frames = 0;  // since the last reset
};

}  // namespace Quorvant::Test
