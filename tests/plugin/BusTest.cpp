// Buses as hosts arrange them, and the channels that the engine gets of each.
#include "tests/plugin/WrapperRig.h"

#include "public.sdk/source/vst/utility/stringconvert.h"
#include <gtest/gtest.h>

#include <array>
#include <string>

namespace Quorvant {
namespace {

using namespace Steinberg;
using namespace Vst::SpeakerArr;
using Arrangements = std::vector<Vst::SpeakerArrangement>;

tresult arrange(QVXVST3EffectWrapper& wrapper, Arrangements ins, Arrangements outs) {
    return wrapper.setBusArrangements(ins.data(), static_cast<int32>(ins.size()), outs.data(),
                                      static_cast<int32>(outs.size()));
}

// Name, channels, main or auxiliary, and whether the host should activate it by itself, of each.
std::string buses(QVXVST3EffectWrapper& wrapper, Vst::BusDirection direction) {
    std::string found;
    for (int32 i = 0; i < wrapper.getBusCount(Vst::kAudio, direction); ++i) {
        Vst::BusInfo info{};
        Vst::SpeakerArrangement speakers = 0;
        EXPECT_EQ(wrapper.getBusInfo(Vst::kAudio, direction, i, info), kResultOk);
        EXPECT_EQ(wrapper.getBusArrangement(direction, i, speakers), kResultOk);
        EXPECT_EQ(getChannelCount(speakers), info.channelCount);
        found += VST3::StringConvert::convert(info.name) + ' ' + std::to_string(info.channelCount);
        found += info.busType == Vst::kAux ? " aux" : " main";
        found += info.flags & Vst::BusInfo::kDefaultActive ? " on;" : ";";
    }
    return found;
}

struct Layout {
    Arrangements ins, outs;  // none: as an instance starts
    const char *inputs, *outputs;
};

const Layout kStart = {
    {}, {}, "AudioInput 2 main on;SideChainIn 1 aux on;", "AudioOutput 2 main on;"};
const Layout kStereoKeyed = {{kStereo, kStereo},
                             {kStereo},
                             "Stereo In 2 main on;Stereo Aux In 2 aux;",
                             "Stereo Out 2 main on;"};
const Layout kMonoKeyedByStereo = {
    {kMono, kStereo}, {kStereo}, "Mono In 1 main on;Stereo Aux In 2 aux;", "Stereo Out 2 main on;"};
const Layout kStereoToMono = {
    {kStereo, kMono}, {kMono}, "Stereo In 2 main on;Mono Aux In 1 aux;", "Mono Out 1 main on;"};
const Layout kWithoutSideChain = {
    {kMono, kEmpty}, {kStereo}, "Mono In 1 main on;", "Stereo Out 2 main on;"};
const Layout kThreeChannelSideChain = {
    {kMono, k30Cine}, {kStereo}, "Mono In 1 main on;", "Stereo Out 2 main on;"};
const Layout kSplitMono = {{kStereo},
                           {kStereo},
                           "Main Input L 1 main on;Main Input R 1 main on;"
                           "Auxiliary Input L 1 aux;Auxiliary Input R 1 aux;",
                           "Main Output L 1 main on;Main Output R 1 main on;"};

constexpr int kNone = -1;

struct Routing {
    const Layout& layout;
    std::vector<int> activated;        // input buses
    std::vector<int> sentIn, sentOut;  // channels of the block's buses, whatever was arranged
    std::array<int, 4> in;             // the block's channels that the engine gets, counted
    std::array<int, 2> out = {kNone, kNone};  // through all buses
};

const Routing kRoutings[] = {
    {kStart, {}, {2, 1}, {2}, {0, 1, kNone, kNone}, {3, 4}},
    {kStart, {1}, {2, 1}, {2}, {0, 1, 2, kNone}, {3, 4}},
    {kStart, {1}, {2}, {2}, {0, 1, kNone, kNone}, {2, 3}},
    {kStereoKeyed, {1}, {2, 2}, {2}, {0, 1, 2, 3}, {4, 5}},
    {kStereoKeyed, {}, {2, 2}, {2}, {0, 1, kNone, kNone}, {4, 5}},
    {kMonoKeyedByStereo, {1}, {1, 2}, {2}, {0, kNone, 1, 2}, {3, 4}},
    {kStereoToMono, {1}, {2, 2}, {2}, {0, 1, 2, kNone}, {4, kNone}},
    {kWithoutSideChain, {}, {2, 2}, {2}, {0, kNone, kNone, kNone}, {4, 5}},
    {kThreeChannelSideChain, {}, {1, 3}, {2}, {0, kNone, kNone, kNone}, {4, 5}},
    {kSplitMono, {}, {1, 1, 1, 1}, {1, 1}, {0, 1, kNone, kNone}, {4, 5}},
    {kSplitMono, {2, 3}, {1, 1, 1, 1}, {1, 1}, {0, 1, 2, 3}, {4, 5}},
    {kSplitMono, {2}, {1, 1, 1, 1}, {1, 1}, {0, 1, 2, kNone}, {4, 5}},
    {kSplitMono, {3}, {1, 1, 1, 1}, {1, 1}, {0, 1, kNone, kNone}, {4, 5}},
    {kSplitMono, {}, {2}, {2}, {0, 1, kNone, kNone}, {2, 3}},
};

template <typename Sample>
void expectRouting(const Routing& routing, int32 sampleSize, const char* call) {
    constexpr int32 kFrames = 16;
    WrapperRig rig;
    auto& wrapper = *rig.wrapper;
    const Layout& layout = routing.layout;
    // What is active stays so when buses are arranged again.
    for (const int bus : routing.activated)
        wrapper.activateBus(Vst::kAudio, Vst::kInput, bus, true);
    if (!layout.ins.empty()) {
        EXPECT_EQ(arrange(wrapper, layout.ins, layout.outs), kResultOk);
    }
    EXPECT_EQ(buses(wrapper, Vst::kInput), layout.inputs);
    EXPECT_EQ(buses(wrapper, Vst::kOutput), layout.outputs);
    for (const int bus : routing.activated)
        if (bus > 1) wrapper.activateBus(Vst::kAudio, Vst::kInput, bus, true);
    rig.setUp(48000.0, sampleSize);

    std::vector<Sample> memory(8 * kFrames, Sample(7));
    int next = 0;
    const auto channels = [&](int count) {
        std::vector<Sample*> pointers;
        while (count-- > 0) pointers.push_back(&memory[kFrames * next++]);
        return pointers;
    };
    TestBlock<Sample> block(kFrames);
    for (const int count : routing.sentIn) block.input(channels(count));
    const int firstOut = next;
    for (const int count : routing.sentOut) block.output(channels(count));
    EXPECT_EQ(block.run(wrapper), kResultOk);

    const auto number = [&](const void* pointer) {
        return pointer ? (static_cast<const Sample*>(pointer) - memory.data()) / kFrames : kNone;
    };
    EXPECT_EQ(rig.effect->calls, std::vector<std::string>{call});
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(number(rig.effect->in[i]), routing.in[i]) << i;
    for (std::size_t i = 0; i < 2; ++i) EXPECT_EQ(number(rig.effect->out[i]), routing.out[i]) << i;
    // What nobody writes must not play what lay in it.
    for (int i = firstOut; i < next; ++i) {
        const bool written = i == routing.out[0] || i == routing.out[1];
        EXPECT_EQ(memory[kFrames * i + 3], Sample(written ? 0.25 : 0.0)) << i;
    }
    for (const auto& bus : block.outputBuses) EXPECT_EQ(bus.silenceFlags, 0u);
}

TEST(Buses, EveryArrangementHasItsBusesAndGivesTheEngineItsChannels) {
    for (const Routing& routing : kRoutings) {
        SCOPED_TRACE(&routing - kRoutings);
        expectRouting<float>(routing, Vst::kSample32, "process32");
        expectRouting<double>(routing, Vst::kSample64, "process64");
    }
}

TEST(Buses, OtherCountsAreRefusedAndChangeNothing) {
    WrapperRig rig;
    auto& wrapper = *rig.wrapper;
    EXPECT_EQ(arrange(wrapper, {kStereo, kMono}, {kStereo, kStereo}), kResultFalse);
    EXPECT_EQ(arrange(wrapper, {kStereo, kMono, kMono}, {kStereo}), kResultFalse);
    EXPECT_EQ(wrapper.setBusArrangements(nullptr, 2, nullptr, 1), kResultFalse);
    EXPECT_EQ(buses(wrapper, Vst::kInput), kStart.inputs);
    EXPECT_NE(wrapper.activateBus(Vst::kAudio, Vst::kInput, 2, true), kResultOk);
}

}  // namespace
}  // namespace Quorvant
