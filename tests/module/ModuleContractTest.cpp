// What the built module promises its hosts beside its sound: its classes, and an audio thread that
// never asks the system for memory.
#include "dsp/OutputIndex.h"
#include "params/ParameterIndex.h"
#include "tests/module/ModuleRig.h"

#include "public.sdk/source/vst/hosting/module.h"
#include "public.sdk/source/vst/hosting/parameterchanges.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>

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

TEST(ModuleContract, ShowsItsMakerAndItsClasses) {
    std::string error;
    const auto module = VST3::Hosting::Module::create(CORVANE_MODULE, error);
    ASSERT_TRUE(module) << error;
    const auto& factory = module->getFactory();
    EXPECT_EQ(factory.info().vendor(), "quorvant.example");
    EXPECT_EQ(factory.info().url(), "https://www.quorvant.example");
    EXPECT_EQ(factory.info().email(), "mailto:support@quorvant.example");
    EXPECT_EQ(factory.info().flags(), Steinberg::PFactoryInfo::kUnicode);
    const struct {
        const char *id, *category, *name, *subCategories;
        uint32_t flags;
    } expected[] = {
        {"FE7A1A96E5AF584279730195FBBA8E58", "Audio Module Class", "Corvane QVX77x", "Fx|Delay", 1},
        {"8EAF1E0FF9330D249948B0E23073E060", "Component Controller Class",
         "Corvane QVX77xController", "", 0}};
    const auto classes = factory.classInfos();
    ASSERT_EQ(classes.size(), std::size(expected));
    for (size_t i = 0; i < classes.size(); ++i) {
        EXPECT_EQ(classes[i].ID().toString(), expected[i].id) << "projects hold it";
        EXPECT_EQ(classes[i].category(), expected[i].category);
        EXPECT_EQ(classes[i].name(), expected[i].name);
        EXPECT_EQ(classes[i].subCategoriesString(), expected[i].subCategories);
        EXPECT_EQ(classes[i].classFlags(), expected[i].flags);
        EXPECT_EQ(classes[i].cardinality(), 0x7FFFFFFF);
        EXPECT_EQ(classes[i].vendor(), "quorvant.example");
        EXPECT_EQ(classes[i].version(), "2.0.0");
        EXPECT_EQ(classes[i].sdkVersion(), "VST 3.7.1");
    }
}

TEST(ModuleContract, AnImpossibleSongPositionIsForgotten) {
    // An LFO fast enough for the phase at the last positions to be beyond all numbers.
    ModuleRig rig(oneEcho(
        {{"LFO Sync", "Synchro"}, {"LFO Note", "1/64"}, {"Depth", "5"}, {"Dly-Clk Mode", "Clk"}}));
    rig.transport = Hosting::Transport{.tempoBpm = 120.0, .positionBeats = 0.0};
    for (const double position : {-1e12, 1e300, -1.7e308, 1.7e308}) {
        rig.transport->positionBeats = position;
        EXPECT_TRUE(allFinite(rig.render(noise(4800, 0.3))));
    }
    rig.transport->positionBeats.reset();
    Signal lamp;
    rig.afterBlock = [&] { lamp.push_back(rig.reading(kOutLfoLamp) - 0.5); };
    rig.render(noise(96000, 0.3));
    EXPECT_GT(*std::ranges::max_element(lamp), 0.2) << "the LFO stands still";
    EXPECT_LT(*std::ranges::min_element(lamp), -0.2);
}

#ifdef ALLOCATIONS_ARE_COUNTED

// Whatever is automated: modes, directions, loops, tempo and song position, suspending, resetting,
// and a state that comes while audio runs.
template <typename Sample>
int allocationsWhilePlaying() {
    constexpr int kFrames = 512, kRounds = 2000;
    Hosting::Setup setup;
    setup.doublePrecision = sizeof(Sample) == sizeof(double);
    setup.sideChain = 2;
    ModuleRig rig(setup);
    auto& processor = *rig.plugin->processor();
    const auto state = rig.plugin->componentState();
    std::array<std::array<Sample, kFrames>, 6> memory{};
    Sample* channels[6];
    for (size_t i = 0; i < 6; ++i) channels[i] = memory[i].data();
    Steinberg::Vst::AudioBusBuffers buses[3] = {};
    for (size_t i = 0; i < 3; ++i) {
        buses[i].numChannels = 2;
        if constexpr (sizeof(Sample) == sizeof(float)) {
            buses[i].channelBuffers32 = channels + 2 * i;
        } else {
            buses[i].channelBuffers64 = channels + 2 * i;
        }
    }
    // With room for all queues, since a list that grows is the host's business.
    Steinberg::Vst::ParameterChanges changes(200), reported(200);
    Steinberg::Vst::ProcessData data{};
    data.symbolicSampleSize =
        setup.doublePrecision ? Steinberg::Vst::kSample64 : Steinberg::Vst::kSample32;
    data.inputs = buses;
    data.outputs = buses + 2;
    data.numOutputs = 1;
    data.inputParameterChanges = &changes;
    data.outputParameterChanges = &reported;
    Dice dice(1);
    int counted = 0;
    for (int round = 0; round < kRounds; ++round) {
        for (size_t i = 0; i < 4; ++i)
            for (Sample& x : memory[i]) x = static_cast<Sample>(dice.between(-0.5, 0.5));
        changes.clearQueue();
        reported.clearQueue();
        const auto change = [&](uint32_t id, double value) {
            Steinberg::int32 at = 0;
            if (auto* queue = changes.addParameterData(id, at)) queue->addPoint(0, value, at);
        };
        for (uint32_t id = 0; id < kParameterCount; ++id)
            if (round % 8 == 0 || dice.chance(0.1)) change(id, dice.unit());
        change(kResetCommand, round % 100 == 0 ? 1.0 : 0.0);
        change(kEngineOption, dice.unit());
        change(kSuspend, dice.chance(0.1) ? 1.0 : 0.0);
        auto context = Hosting::makeContext(
            {.tempoBpm = dice.between(20.0, 600.0), .positionBeats = dice.between(0.0, 100.0)},
            setup.sampleRate);
        data.processContext = dice.chance(0.8) ? &context : nullptr;
        data.numInputs = dice.chance(0.5) ? 2 : 1;
        data.numSamples = dice.below(kFrames + 1);
        if (round % 50 == 0) rig.plugin->setComponentState(*state);
        allocations = 0;
        countingAllocations = true;
        processor.process(data);
        countingAllocations = false;
        counted += allocations;
    }
    return counted;
}

TEST(ModuleContract, ProcessingAllocatesNothing) {
    EXPECT_EQ(allocationsWhilePlaying<float>(), 0);
    EXPECT_EQ(allocationsWhilePlaying<double>(), 0);
    allocations = 0;
    countingAllocations = true;
    void* volatile probe = std::malloc(16);
    std::free(probe);
    countingAllocations = false;
    EXPECT_EQ(allocations, 2) << "the counter counts";
}

#endif

}  // namespace
}  // namespace Quorvant::Test
