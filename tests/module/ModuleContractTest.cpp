// What the built module promises its hosts: classes, buses, parameters, states, rates, block sizes,
// and that nothing a host does makes it fail.
#include "params/ParameterTable.h"
#include "tests/module/ModuleRig.h"

#include "public.sdk/source/vst/hosting/parameterchanges.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <thread>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define ALLOCATIONS_ARE_COUNTED 1

namespace {

// Counts allocations of the thread that asks for it, in the test and in the module alike.
thread_local bool countingAllocations = false;
std::atomic<int> allocations{0};

}  // namespace

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void __libc_free(void* memory);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
    if (countingAllocations) ++allocations;
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    if (countingAllocations) ++allocations;
    return __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
    if (countingAllocations) ++allocations;
    return __libc_realloc(memory, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
    if (countingAllocations) ++allocations;
    return __libc_memalign(alignment, size);
}
void free(void* memory) {
    if (countingAllocations && memory != nullptr) ++allocations;
    __libc_free(memory);
}
}
#endif

namespace Quorvant::Test {
namespace {

using Hosting::Block;
using Hosting::HostedPlugin;
using Hosting::ParameterPoint;
using Steinberg::kResultOk;

TEST(ModuleContract, ShowsItsClassesBusesAndParameters) {
    const auto classes = HostedPlugin::listClasses(CORVANE_MODULE);
    ASSERT_TRUE(classes) << classes.error();
    ASSERT_EQ(classes->size(), 2u);
    EXPECT_EQ((*classes)[0].name, "Corvane QVX77x");
    EXPECT_EQ((*classes)[0].category, "Audio Module Class");
    EXPECT_EQ((*classes)[0].subCategories, "Fx|Delay");
    EXPECT_EQ((*classes)[0].version, "2.0.0");
    EXPECT_EQ((*classes)[1].name, "Corvane QVX77xController");
    EXPECT_EQ((*classes)[1].category, "Component Controller Class");

    const auto loaded = HostedPlugin::load(CORVANE_MODULE);
    ASSERT_TRUE(loaded) << loaded.error();
    const HostedPlugin& plugin = **loaded;
    ASSERT_EQ(plugin.buses(Steinberg::Vst::kInput).size(), 2u);
    EXPECT_EQ(plugin.buses(Steinberg::Vst::kInput)[0].name, "AudioInput");
    EXPECT_EQ(plugin.buses(Steinberg::Vst::kInput)[0].channels, 2);
    EXPECT_EQ(plugin.buses(Steinberg::Vst::kInput)[1].name, "SideChainIn");
    EXPECT_EQ(plugin.buses(Steinberg::Vst::kInput)[1].channels, 1);
    ASSERT_EQ(plugin.buses(Steinberg::Vst::kOutput).size(), 1u);
    EXPECT_EQ(plugin.buses(Steinberg::Vst::kOutput)[0].name, "AudioOutput");

    using Info = Steinberg::Vst::ParameterInfo;
    int bypasses = 0;
    for (uint32_t index = 0; index < kParameterCount; ++index) {
        const Hosting::Parameter* parameter = plugin.findParameter(Hosting::ParamID{index});
        ASSERT_NE(parameter, nullptr) << index;
        EXPECT_EQ(parameter->title, kParameters[index].name);
        EXPECT_EQ(parameter->stepCount, kParameters[index].stepCount()) << parameter->title;
        EXPECT_DOUBLE_EQ(parameter->defaultNormalised, parameterDefault(index));
    }
    for (const Hosting::Parameter& parameter : plugin.parameters()) {
        bypasses += parameter.has(Info::kIsBypass) ? 1 : 0;
        EXPECT_FALSE(parameter.has(Info::kIsReadOnly) && parameter.has(Info::kCanAutomate))
            << parameter.title;
        EXPECT_TRUE(!parameter.has(Info::kIsHidden) || parameter.has(Info::kIsReadOnly))
            << parameter.title;
    }
    EXPECT_EQ(bypasses, 1);
    EXPECT_EQ(plugin.latency(), 0);
}

TEST(ModuleContract, EveryTextThatItShowsIsReadBackToTheSameText) {
    const auto loaded = HostedPlugin::load(CORVANE_MODULE);
    ASSERT_TRUE(loaded) << loaded.error();
    for (uint32_t index = 0; index < kStoredParameterCount; ++index) {
        const Hosting::Parameter& parameter = *(*loaded)->findParameter(Hosting::ParamID{index});
        for (int i = 0; i <= 60; ++i) {
            const std::string text = (*loaded)->textOf(parameter, i / 60.0);
            ASSERT_FALSE(text.empty()) << parameter.title;
            const auto value = (*loaded)->valueOf(parameter, text);
            ASSERT_TRUE(value) << parameter.title << ": " << value.error();
            EXPECT_EQ((*loaded)->textOf(parameter, *value), text) << parameter.title;
        }
        EXPECT_FALSE((*loaded)->valueOf(parameter, "no such text")) << parameter.title;
    }
}

TEST(ModuleContract, BothSampleSizesAndAllBlockSizesRenderTheSame) {
    const Settings settings = oneEcho({{"Feedback", "7"},
                                       {"Depth", "3"},
                                       {"Waveform", "-5.0"},
                                       {"Direction Mode", "Bounce"},
                                       {"Hi Cut", "On"}});
    const Stereo in = {noise(0.3, 30000, 3), noise(0.3, 30000, 4)};
    for (const char* mode : {"Clean", "Legacy", "Lims", "Full"}) {
        Settings all = settings;
        all.push_back({"Processing Mode", mode});
        Hosting::Setup wide;
        wide.doublePrecision = true;
        ModuleRig reference(all, wide);
        const Stereo expected = reference.render<double>(in);
        ModuleRig narrow(all);
        EXPECT_LT(largestDifference(narrow.render<float>(in), expected), 2e-6) << mode;
        for (const size_t size : {1u, 17u, 64u, 512u, 4096u}) {
            Hosting::Setup other = wide;
            other.maxFrames = 512;  // 4096 is more than announced
            ModuleRig rig(all, other);
            rig.blockSize = size;
            EXPECT_LT(largestDifference(rig.render<double>(in), expected), 1e-9)
                << mode << " in blocks of " << size;
        }
        ModuleRig again(all, wide);
        EXPECT_EQ(again.render<double>(in).left, expected.left) << mode;
    }
}

TEST(ModuleContract, EveryRateRunsAtItsOwnOrTheNearestItKnows) {
    for (const double rate : {22050.0, 32000.0, 44100.0, 48000.0, 1234.5678, 88200.0, 96000.0,
                              176400.0, 192000.0, 352800.0, 384000.0, 500000.0}) {
        Hosting::Setup setup;
        setup.sampleRate = rate;
        ModuleRig rig(oneEcho(), setup);
        const double running = std::clamp(rate, 44100.0, 384000.0);
        const Stereo out = rig.render(noise(0.25, static_cast<size_t>(running * 0.3)));
        EXPECT_NEAR(rig.reading(44), running / 1e6, 1e-12) << rate;
        EXPECT_EQ(rig.plugin->tail(), static_cast<uint32_t>(running * 10.0)) << rate;
        for (const double x : out.left) ASSERT_TRUE(std::isfinite(x)) << rate;
        EXPECT_GT(peak(out.left), 0.1) << rate;
        EXPECT_LT(peak(out.left), 1.0) << rate;
    }
}

TEST(ModuleContract, AnyInputComesOutFiniteAndIsForgotten) {
    const double huge = std::numeric_limits<double>::infinity();
    for (const char* mode : {"Clean", "Legacy", "Lims", "Full"}) {
        Settings settings = oneEcho({{"Delay Time", "50"}, {"Processing Mode", mode}});
        ModuleRig rig(settings);
        Stereo bad = both(noise(0.3, 9600));
        for (size_t i = 0; i < bad.size(); i += 7)
            bad.left[i] = i % 3 == 0 ? huge : i % 3 == 1 ? std::nan("") : 1e30;
        for (const double x : rig.render(bad).left) ASSERT_TRUE(std::isfinite(x)) << mode;
        rig.render(silence(48000));
        const Signal probe = sine(1000.0, 0.3, 24000, 48000.0);
        ModuleRig fresh(settings);
        fresh.render(silence(9600 + 48000));
        EXPECT_LT(largestDifference(rig.render(probe), fresh.render(probe)), 1e-3) << mode;
    }
}

TEST(ModuleContract, OddBlocksAreTakenAsTheyCome) {
    ModuleRig rig(oneEcho());
    HostedPlugin& plugin = *rig.plugin;
    std::vector<float> a(64, 0.1f), b(64, 0.1f);
    std::vector<Block<float>> blocks(9);
    for (auto& block : blocks) block.frames = 64;
    blocks[0].frames = 0;
    blocks[1].inputs = {{nullptr, nullptr}};
    blocks[1].outputs = {{a.data(), b.data()}};
    blocks[2].inputs = {{a.data(), b.data()}};
    blocks[2].outputs = {{nullptr, nullptr}};
    blocks[3].inputs = {{a.data(), b.data()}, {nullptr}};
    blocks[3].outputs = {{a.data(), b.data()}};  // in place, side chain without memory
    blocks[4].inputs = {{a.data(), b.data()}};   // no output bus
    blocks[5].outputs = {{a.data(), b.data()}};  // no input bus
    blocks[6].inputs = {{a.data()}};             // one channel where two are set up
    blocks[6].outputs = {{b.data()}};
    blocks[7].inputs = {{}};
    blocks[7].outputs = {{}};
    blocks[8].inputs = {{a.data(), b.data()}, {}, {a.data()}};
    blocks[8].outputs = {{a.data(), b.data()}, {b.data()}};
    for (auto& block : blocks) {
        block.points = {{kFeedback, 1000000, 0.5}, {99999, 0, 0.5}, {kMix, -5, 7.0}};
        for (const bool reported : {true, false}) {
            block.takeOutputPoints = reported;
            plugin.process(block);
        }
    }
    Steinberg::Vst::ProcessData nothing{};
    plugin.process(nothing);
    for (const float x : a) EXPECT_TRUE(std::isfinite(x));
    EXPECT_GT(peak(rig.render(impulse(9600)).left, 4700), 0.1);
}

TEST(ModuleContract, StateIs312BytesAndComesBackWhole) {
    ModuleRig fresh;
    const auto untouched = HostedPlugin::load(CORVANE_MODULE);
    ASSERT_TRUE(untouched);
    const auto empty = (*untouched)->componentState();
    ASSERT_TRUE(empty);
    ASSERT_EQ(empty->size(), 312u);
    double first = 0.0;
    std::memcpy(&first, empty->data(), sizeof first);
    EXPECT_EQ(first, -1.0);

    std::vector<ParameterPoint> points;
    for (uint32_t i = 0; i < kStoredParameterCount; ++i)
        points.push_back({i, 0, static_cast<double>(i) / 64.0});
    points.push_back({kSuspend, 0, 1.0});
    ASSERT_EQ(fresh.plugin->flush(points), kResultOk);
    const auto state = fresh.plugin->componentState();
    ASSERT_TRUE(state);
    ASSERT_EQ(state->size(), 312u);
    for (uint32_t i = 0; i < kStoredParameterCount; ++i) {
        double value = -2.0;
        std::memcpy(&value, state->data() + 8 * i, sizeof value);
        EXPECT_EQ(value, static_cast<double>(i) / 64.0);
    }
    double suspend = 0.0;
    std::memcpy(&suspend, state->data() + 304, sizeof suspend);
    EXPECT_EQ(suspend, 1.0);

    // Another instance with that state sounds the same.
    ModuleRig other;
    EXPECT_EQ(other.plugin->setComponentState(*state), kResultOk);
    EXPECT_EQ(*other.plugin->componentState(), *state);
    for (const size_t cut : {0u, 1u, 100u, 303u}) {
        const auto before = other.plugin->componentState();
        other.plugin->setComponentState(std::span(empty->data(), cut));
        other.render(silence(64));
    }
    ModuleRig loaded, told;
    loaded.plugin->setComponentState(*state);
    points.pop_back();
    loaded.plugin->flush({{kSuspend, 0, 0.0}});
    told.plugin->flush(points);
    loaded.reset();
    told.reset();
    const Signal in = noise(0.3, 24000);
    EXPECT_LT(largestDifference(loaded.render(in), told.render(in)), 1e-6);
}

TEST(ModuleContract, RandomStreamsAndParametersNeverBreakIt) {
    std::mt19937 random(7);
    ModuleRig rig;
    rig.blockSize = 64;
    for (int round = 0; round < 300; ++round) {
        std::vector<uint8_t> bytes(random() % 400);
        for (auto& byte : bytes) byte = static_cast<uint8_t>(random());
        rig.plugin->setComponentState(bytes);
        rig.plugin->showComponentState(bytes);
        rig.plugin->setControllerState(bytes);
        std::vector<ParameterPoint> points;
        for (int i = 0; i < 8; ++i)
            points.push_back({static_cast<Hosting::ParamID>(random() % 170), 0,
                              static_cast<double>(random() % 2000) / 1000.0 - 0.5});
        rig.plugin->flush(points);
        const Stereo out = rig.render(noise(0.5, 256, static_cast<uint32_t>(round)));
        for (const double x : out.left) ASSERT_TRUE(std::isfinite(x)) << round;
    }
}

TEST(ModuleContract, StatesMayComeFromAnotherThreadWhileAudioRuns) {
    ModuleRig rig(oneEcho());
    const auto state = rig.plugin->componentState();
    ASSERT_TRUE(state);
    std::atomic<bool> done = false;
    std::thread main([&] {
        for (int i = 0; i < 2000; ++i) {
            EXPECT_EQ(rig.plugin->setComponentState(*state), kResultOk);
            EXPECT_TRUE(rig.plugin->componentState());
        }
        done = true;
    });
    while (!done) {
        const Stereo out = rig.render(noise(0.2, 2048));
        ASSERT_TRUE(std::isfinite(peak(out.left)));
    }
    main.join();
    EXPECT_EQ(*rig.plugin->componentState(), *state);
}

TEST(ModuleContract, TheSetUpMayChangeWhileAudioRuns) {
    ModuleRig rig(oneEcho());
    std::atomic<bool> done = false;
    std::thread main([&] {
        using namespace Steinberg::Vst;
        SpeakerArrangement inputs[] = {SpeakerArr::kStereo, SpeakerArr::kMono};
        SpeakerArrangement output = SpeakerArr::kStereo;
        for (int i = 0; i < 100; ++i) {
            const double rate = i % 2 == 0 ? 192000.0 : 44100.0;
            ProcessSetup setup{kRealtime, kSample32, 256, rate};
            EXPECT_EQ(rig.plugin->processor()->setupProcessing(setup), kResultOk);
            EXPECT_EQ(rig.plugin->component()->setActive(i % 3 != 0), kResultOk);
            rig.plugin->processor()->setBusArrangements(inputs, 1 + i % 2, &output, 1);
        }
        done = true;
    });
    while (!done) ASSERT_TRUE(std::isfinite(peak(rig.render(noise(0.2, 2048)).left)));
    main.join();
}

#ifdef ALLOCATIONS_ARE_COUNTED
TEST(ModuleContract, ProcessingAllocatesNothing) {
    ModuleRig rig;
    std::vector<std::vector<float>> memory(4, std::vector<float>(512, 0.1f));
    Steinberg::Vst::ProcessData data{};
    Steinberg::Vst::AudioBusBuffers in{}, out{};
    float* inputs[] = {memory[0].data(), memory[1].data()};
    float* outputs[] = {memory[2].data(), memory[3].data()};
    in.numChannels = out.numChannels = 2;
    in.channelBuffers32 = inputs;
    out.channelBuffers32 = outputs;
    data.numInputs = data.numOutputs = 1;
    data.inputs = &in;
    data.outputs = &out;
    data.symbolicSampleSize = Steinberg::Vst::kSample32;
    // The host's lists grow in the first rounds; that is the host's business.
    Steinberg::Vst::ParameterChanges changes, reported;
    int counted = 0;
    for (int round = 0; round < 400; ++round) {
        changes.clearQueue();
        reported.clearQueue();
        for (uint32_t i = 0; i < kLastOutputIndex; ++i) {
            Steinberg::int32 at = 0;
            if (auto* queue = changes.addParameterData(i, at))
                queue->addPoint(
                    0, static_cast<double>((round * 7 + static_cast<int>(i) * 13) % 11) / 10.0, at);
        }
        data.inputParameterChanges = &changes;
        data.outputParameterChanges = round < 200 ? &reported : nullptr;
        data.numSamples = 1 + (round * 37) % 512;
        allocations = 0;
        countingAllocations = round >= 200;
        rig.plugin->processor()->process(data);
        countingAllocations = false;
        counted += allocations;
    }
    EXPECT_EQ(counted, 0);
    // The counter itself counts.
    countingAllocations = true;
    void* volatile probe = std::malloc(16);
    std::free(probe);
    countingAllocations = false;
    EXPECT_GE(allocations, 2);
}
#endif

}  // namespace
}  // namespace Quorvant::Test
