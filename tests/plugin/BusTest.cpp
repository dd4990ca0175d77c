// Buses and arrangements as hosts ask for them.
#include "tests/plugin/WrapperRig.h"

#include "public.sdk/source/vst/utility/stringconvert.h"
#include <gtest/gtest.h>

#include <string>

namespace Quorvant {
namespace {

using namespace Steinberg;
using namespace Vst::SpeakerArr;

struct BusCase {
    const char* name;
    int32 channels;
    bool aux;
    bool defaultActive;
    bool operator==(const BusCase& other) const {
        return std::string(name) == other.name && channels == other.channels && aux == other.aux &&
               defaultActive == other.defaultActive;
    }
};

void expectBuses(QVXVST3EffectWrapper& wrapper, Vst::BusDirection direction,
                 const std::vector<BusCase>& expected) {
    ASSERT_EQ(wrapper.getBusCount(Vst::kAudio, direction), static_cast<int32>(expected.size()));
    for (int32 i = 0; i < static_cast<int32>(expected.size()); ++i) {
        Vst::BusInfo info{};
        ASSERT_EQ(wrapper.getBusInfo(Vst::kAudio, direction, i, info), kResultOk);
        const std::string name = VST3::StringConvert::convert(info.name);
        const BusCase found{name.c_str(), info.channelCount, info.busType == Vst::kAux,
                            (info.flags & Vst::BusInfo::kDefaultActive) != 0};
        EXPECT_TRUE(found == expected[i]) << name << ' ' << found.channels << ' ' << found.aux;
        Vst::SpeakerArrangement arrangement = 0;
        EXPECT_EQ(wrapper.getBusArrangement(direction, i, arrangement), kResultOk);
        EXPECT_EQ(getChannelCount(arrangement), expected[i].channels);
    }
}

tresult arrange(QVXVST3EffectWrapper& wrapper, std::vector<Vst::SpeakerArrangement> ins,
                std::vector<Vst::SpeakerArrangement> outs) {
    return wrapper.setBusArrangements(ins.data(), static_cast<int32>(ins.size()), outs.data(),
                                      static_cast<int32>(outs.size()));
}

TEST(Buses, startWithStereoAndAMonoSideChain) {
    WrapperRig rig;
    expectBuses(*rig.wrapper, Vst::kInput,
                {{"AudioInput", 2, false, true}, {"SideChainIn", 1, true, true}});
    expectBuses(*rig.wrapper, Vst::kOutput, {{"AudioOutput", 2, false, true}});
    EXPECT_EQ(rig.wrapper->getBusCount(Vst::kEvent, Vst::kInput), 0);
}

TEST(Buses, twoInputsFollowTheChannelCounts) {
    WrapperRig rig;
    auto& wrapper = *rig.wrapper;
    EXPECT_EQ(arrange(wrapper, {kStereo, kStereo}, {kStereo}), kResultOk);
    expectBuses(wrapper, Vst::kInput,
                {{"Stereo In", 2, false, true}, {"Stereo Aux In", 2, true, false}});
    expectBuses(wrapper, Vst::kOutput, {{"Stereo Out", 2, false, true}});

    EXPECT_EQ(arrange(wrapper, {kMono, kMono}, {kMono}), kResultOk);
    expectBuses(wrapper, Vst::kInput,
                {{"Mono In", 1, false, true}, {"Mono Aux In", 1, true, false}});
    expectBuses(wrapper, Vst::kOutput, {{"Mono Out", 1, false, true}});

    for (const auto side : {kEmpty, k30Cine, k51}) {
        EXPECT_EQ(arrange(wrapper, {kMono, side}, {kStereo}), kResultOk);
        expectBuses(wrapper, Vst::kInput, {{"Mono In", 1, false, true}});
    }
}

TEST(Buses, oneInputGivesEveryChannelABusOfItsOwn) {
    WrapperRig rig;
    EXPECT_EQ(arrange(*rig.wrapper, {kStereo}, {kStereo}), kResultOk);
    expectBuses(*rig.wrapper, Vst::kInput,
                {{"Main Input L", 1, false, true},
                 {"Main Input R", 1, false, true},
                 {"Auxiliary Input L", 1, true, false},
                 {"Auxiliary Input R", 1, true, false}});
    expectBuses(*rig.wrapper, Vst::kOutput,
                {{"Main Output L", 1, false, true}, {"Main Output R", 1, false, true}});
}

TEST(Buses, otherCountsAreRefusedAndChangeNothing) {
    WrapperRig rig;
    auto& wrapper = *rig.wrapper;
    EXPECT_EQ(arrange(wrapper, {}, {kStereo}), kResultFalse);
    EXPECT_EQ(arrange(wrapper, {kStereo}, {}), kResultFalse);
    EXPECT_EQ(arrange(wrapper, {kStereo, kMono}, {kStereo, kStereo}), kResultFalse);
    EXPECT_EQ(arrange(wrapper, {kStereo, kMono, kMono}, {kStereo}), kResultFalse);
    EXPECT_EQ(wrapper.setBusArrangements(nullptr, 2, nullptr, 1), kResultFalse);
    EXPECT_EQ(wrapper.setBusArrangements(nullptr, -1, nullptr, -1), kResultFalse);
    expectBuses(wrapper, Vst::kInput,
                {{"AudioInput", 2, false, true}, {"SideChainIn", 1, true, true}});
}

TEST(Buses, unknownBusesCantBeActivated) {
    WrapperRig rig;
    EXPECT_EQ(rig.wrapper->activateBus(Vst::kAudio, Vst::kInput, 1, true), kResultOk);
    EXPECT_NE(rig.wrapper->activateBus(Vst::kAudio, Vst::kInput, 2, true), kResultOk);
    EXPECT_NE(rig.wrapper->activateBus(Vst::kAudio, Vst::kInput, -1, true), kResultOk);
    EXPECT_NE(rig.wrapper->activateBus(Vst::kEvent, Vst::kInput, 0, true), kResultOk);
    EXPECT_NE(rig.wrapper->activateBus(77, 77, 0, true), kResultOk);
}

}  // namespace
}  // namespace Quorvant
