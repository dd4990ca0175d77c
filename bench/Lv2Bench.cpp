// Runs an LV2 effect as `corvane-host bench` runs a VST3 one: the same noise, blocks and figures,
// so that delays of either kind can be put into one table.
//
//   lv2_bench URI [--rate HZ] [--block FRAMES] [--seconds S] [--instances N]
//
// A mono effect is run twice, once a channel. Prints rows of fields separated by tabs.
#include <CLI/CLI.hpp>
#include <lilv/lilv.h>
#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/parameters/parameters.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Nanoseconds = std::chrono::duration<double, std::nano>;

constexpr double kWarmUpSeconds = 10.0;  // once round the memory
constexpr double kInputLevel = 0.25;     // peak, -12 dBFS
constexpr std::size_t kAtomBytes = 8192;

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
    static std::map<std::string, LV2_URID> numbers;
    return numbers.try_emplace(uri, static_cast<LV2_URID>(numbers.size() + 1)).first->second;
}

// One instance with buffers of its own. Work that it hands to another thread is done at once.
class Effect {
  public:
    Effect(LilvWorld* world, const LilvPlugin* plugin, double rate, int32_t block)
        : rateOption(static_cast<float>(rate)), blockOption(block) {
        instance = lilv_plugin_instantiate(plugin, rate, features.data());
        if (!instance) throw std::runtime_error("the effect can't be instantiated");
        using Worker = const LV2_Worker_Interface*;
        worker =
            static_cast<Worker>(lilv_instance_get_extension_data(instance, LV2_WORKER__interface));

        const auto isA = [&](const LilvPort* port, const char* uri) {
            LilvNode* node = lilv_new_uri(world, uri);
            const bool is = lilv_port_is_a(plugin, port, node);
            lilv_node_free(node);
            return is;
        };
        const uint32_t ports = lilv_plugin_get_num_ports(plugin);
        controls.assign(ports, 0.0f);
        std::vector<float> defaults(ports);
        lilv_plugin_get_port_ranges_float(plugin, nullptr, nullptr, defaults.data());
        for (uint32_t index = 0; index < ports; ++index) {
            const LilvPort* port = lilv_plugin_get_port_by_index(plugin, index);
            const bool isInput = isA(port, LV2_CORE__InputPort);
            if (isA(port, LV2_CORE__AudioPort) || isA(port, LV2_CORE__CVPort)) {
                auto& buffers = isInput ? inputs : outputs;
                buffers.emplace_back(static_cast<std::size_t>(block));
                lilv_instance_connect_port(instance, index, buffers.back().data());
            } else if (isA(port, LV2_CORE__ControlPort)) {
                if (std::isfinite(defaults[index])) controls[index] = defaults[index];
                lilv_instance_connect_port(instance, index, &controls[index]);
            } else {
                sequences.push_back(std::make_unique<Sequence>());
                sequences.back()->atom.size = isInput ? 8 : kAtomBytes;
                sequences.back()->atom.type = mapUri(nullptr, LV2_ATOM__Sequence);
                lilv_instance_connect_port(instance, index, sequences.back().get());
            }
        }
        std::minstd_rand random;  // the same noise at every run
        for (auto& input : inputs)
            for (float& sample : input)
                sample = static_cast<float>(kInputLevel *
                                            (2.0 * random() / std::minstd_rand::max() - 1.0));
        lilv_instance_activate(instance);
    }
    ~Effect() {
        lilv_instance_deactivate(instance);
        lilv_instance_free(instance);
    }
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;

    std::size_t channels() const { return outputs.size(); }
    void run(int32_t frames) { lilv_instance_run(instance, static_cast<uint32_t>(frames)); }

  private:
    struct Sequence {
        LV2_Atom atom{};
        std::array<char, kAtomBytes> body{};
    };

    static LV2_Worker_Status respond(LV2_Worker_Respond_Handle self, uint32_t size,
                                     const void* data) {
        const auto& effect = *static_cast<Effect*>(self);
        return effect.worker->work_response(lilv_instance_get_handle(effect.instance), size, data);
    }
    static LV2_Worker_Status schedule(LV2_Worker_Schedule_Handle self, uint32_t size,
                                      const void* data) {
        const auto& effect = *static_cast<Effect*>(self);
        if (!effect.worker) return LV2_WORKER_ERR_UNKNOWN;
        return effect.worker->work(lilv_instance_get_handle(effect.instance), respond, self, size,
                                   data);
    }
    LV2_Options_Option option(const char* key, const char* type, const void* value) const {
        return {LV2_OPTIONS_INSTANCE, 0, mapUri(nullptr, key), 4, mapUri(nullptr, type), value};
    }

    float rateOption;
    int32_t blockOption;
    LV2_URID_Map map{nullptr, mapUri};
    LV2_Worker_Schedule scheduler{this, schedule};
    std::array<LV2_Options_Option, 5> options{
        option(LV2_PARAMETERS__sampleRate, LV2_ATOM__Float, &rateOption),
        option(LV2_BUF_SIZE__minBlockLength, LV2_ATOM__Int, &blockOption),
        option(LV2_BUF_SIZE__maxBlockLength, LV2_ATOM__Int, &blockOption),
        option("http://lv2plug.in/ns/ext/buf-size#nominalBlockLength", LV2_ATOM__Int, &blockOption),
        {LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr}};
    LV2_Feature mapFeature{LV2_URID__map, &map}, workerFeature{LV2_WORKER__schedule, &scheduler},
        optionsFeature{LV2_OPTIONS__options, options.data()},
        boundedFeature{LV2_BUF_SIZE__boundedBlockLength, nullptr};
    std::array<const LV2_Feature*, 5> features{&mapFeature, &workerFeature, &optionsFeature,
                                               &boundedFeature, nullptr};

    LilvInstance* instance = nullptr;
    const LV2_Worker_Interface* worker = nullptr;
    std::vector<std::vector<float>> inputs, outputs;
    std::vector<float> controls;
    std::vector<std::unique_ptr<Sequence>> sequences;
};

struct Options {
    std::string uri;
    double rate = 48000.0, seconds = 5.0;
    int32_t block = 512;
    int instances = 1;
};

void bench(const Options& options) {
    const std::unique_ptr<LilvWorld, decltype(&lilv_world_free)> world(lilv_world_new(),
                                                                       lilv_world_free);
    lilv_world_load_all(world.get());
    LilvNode* uri = lilv_new_uri(world.get(), options.uri.c_str());
    const LilvPlugin* plugin =
        uri ? lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world.get()), uri) : nullptr;
    lilv_node_free(uri);
    if (!plugin) throw std::runtime_error("no effect has this URI");

    const auto start = Clock::now();
    std::vector<std::unique_ptr<Effect>> effects;
    const auto add = [&] {
        effects.push_back(
            std::make_unique<Effect>(world.get(), plugin, options.rate, options.block));
    };
    add();
    const std::size_t perStereo = effects.front()->channels() == 1 ? 2 : 1;
    const Nanoseconds first = Clock::now() - start;
    while (effects.size() < static_cast<std::size_t>(options.instances) * perStereo) add();
    const Nanoseconds all = Clock::now() - start;

    const auto blocks = [&](double seconds) {
        return static_cast<int64_t>(std::ceil(seconds * options.rate / options.block));
    };
    const int64_t warmUp = blocks(kWarmUpSeconds), counted = blocks(options.seconds);
    std::vector<double> durations;
    for (int64_t index = 0; index < warmUp + counted; ++index) {
        for (std::size_t i = 0; i < effects.size(); i += perStereo) {
            const auto before = Clock::now();
            for (std::size_t channel = 0; channel < perStereo; ++channel)
                effects[i + channel]->run(options.block);
            const Nanoseconds taken = Clock::now() - before;
            if (index >= warmUp) durations.push_back(taken.count());
        }
    }
    std::ranges::sort(durations);
    std::printf("median block\t%.3f us\nstart-up, first\t%.3f ms\nstart-up, all\t%.3f ms\n",
                durations[durations.size() / 2] * 1e-3, first.count() * 1e-6, all.count() * 1e-6);
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Measures an LV2 effect's speed and memory");
    app.add_option("uri", options.uri)->required();
    app.add_option("--rate", options.rate, "Hz")->check(CLI::Range(8000.0, 384000.0));
    app.add_option("--block", options.block, "Frames")->check(CLI::Range(1, 65536));
    app.add_option("--seconds", options.seconds)->check(CLI::Range(0.1, 3600.0));
    app.add_option("--instances", options.instances)->check(CLI::Range(1, 1000));
    CLI11_PARSE(app, argc, argv);
    try {
        bench(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lv2_bench: %s: %s\n", options.uri.c_str(), error.what());
        return 1;
    }
    return 0;
}
