// The edit controller as hosts and generic editors use it.
#include "params/ParameterTable.h"
#include "plugin/ControllerWrapper.h"
#include "tests/plugin/WrapperRig.h"

#include "public.sdk/source/vst/utility/stringconvert.h"
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>
#include <string>

namespace Quorvant {
namespace {

using namespace Steinberg;
using VST3::StringConvert::convert;
using HostInfo = Vst::ParameterInfo;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

class Controller : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(controller->initialize(&Hosting::hostApplication()), kResultOk);
        ASSERT_EQ(controller->setComponentHandler(&*log), kResultOk);
    }
    void TearDown() override { controller->terminate(); }

    tresult set(Vst::ParamID id, double value) { return controller->setParamNormalized(id, value); }
    double value(Vst::ParamID id) { return controller->getParamNormalized(id); }
    Hosting::Bytes state() {
        Hosting::StateStream stream;
        EXPECT_EQ(controller->getState(&stream), kResultOk);
        return stream.bytes();
    }
    tresult setState(const Hosting::Bytes& bytes) {
        Hosting::StateStream stream(bytes);
        return controller->setState(&stream);
    }
    tresult setComponentState(const std::vector<double>& values) {
        Hosting::StateStream stream(stateBytes(values));
        return controller->setComponentState(&stream);
    }

    IPtr<QVXVST3ControllerWrapper> controller = owned(new QVXVST3ControllerWrapper);
    IPtr<Hosting::EditLog> log = owned(new Hosting::EditLog);
};

TEST_F(Controller, OffersTheTableInItsUnitsTheBypassTheProgramAndTheReadings) {
    std::map<Vst::UnitID, std::string> units;
    for (int32 i = 0; i < controller->getUnitCount(); ++i) {
        Vst::UnitInfo unit{};
        ASSERT_EQ(controller->getUnitInfo(i, unit), kResultOk);
        units[unit.id] = convert(unit.name);
        EXPECT_EQ(unit.parentUnitId,
                  unit.id == Vst::kRootUnitId ? Vst::kNoParentUnitId : Vst::kRootUnitId);
    }
    EXPECT_EQ(units.size(), 9u);
    std::set<Vst::ParamID> expected = {68, 69, 70, kSuspend, kHeartbeat, kProgram};
    for (Vst::ParamID id = 0; id <= 53; ++id) expected.insert(id);
    for (int32 i = 0; i < controller->getParameterCount(); ++i) {
        HostInfo info{};
        ASSERT_EQ(controller->getParameterInfo(i, info), kResultOk);
        EXPECT_EQ(expected.erase(info.id), 1u) << info.id << " is twice, or should not be";
        EXPECT_EQ(value(info.id), info.defaultNormalizedValue) << info.id;
        int32 flags = HostInfo::kIsReadOnly | HostInfo::kIsHidden;
        if (info.id < kParameterCount && info.id != kEmptySlot) {
            const ParameterInfo& entry = kParameters[info.id];
            flags = (entry.automatable() ? HostInfo::kCanAutomate : 0) |
                    (entry.isList() ? HostInfo::kIsList : 0);
            EXPECT_EQ(convert(info.title), entry.name);
            EXPECT_EQ(convert(info.shortTitle), entry.shortName);
            EXPECT_EQ(convert(info.units), entry.law ? entry.law->unit : "") << entry.name;
            EXPECT_EQ(info.stepCount, entry.stepCount()) << entry.name;
            EXPECT_EQ(info.defaultNormalizedValue, entry.defaultValue) << entry.name;
        } else if (info.id == kSuspend) {
            flags = HostInfo::kCanAutomate | HostInfo::kIsBypass;
            EXPECT_EQ(info.stepCount, 1);
        } else if (info.id == kProgram) {
            flags = HostInfo::kIsList | HostInfo::kIsProgramChange;
        }
        EXPECT_EQ(info.flags, flags) << info.id;
        EXPECT_EQ(units.at(info.unitId), info.id < kParameterCount
                                             ? parameterGroupName(kParameters[info.id].group)
                                             : "Root")
            << info.id;
    }
    EXPECT_TRUE(expected.empty()) << "missing, among others: " << *expected.begin();
}

TEST_F(Controller, ValuesStayWithinTheRange) {
    set(kMix, 7.0);
    EXPECT_NE(set(kMix, kNan), kResultOk);
    EXPECT_NE(controller->performEdit(kMix, kNan), kResultOk);
    EXPECT_EQ(value(kMix), 1.0);
    EXPECT_TRUE(log->edits.empty());
    EXPECT_NE(set(999, 0.5), kResultOk);
    EXPECT_EQ(set(46, 0.5), kResultOk) << "readings arrive this way";
    EXPECT_EQ(value(46), 0.5);
    for (const auto& [plain, normalised] : {std::pair{2400.0, 0.25}, {1e9, 1.0}, {-1e9, 0.0}})
        EXPECT_DOUBLE_EQ(controller->plainParamToNormalized(kDelayTime, plain), normalised);
}

TEST_F(Controller, DelayClockModeHoldsWhileTheLoopRuns) {
    for (const bool loops : {true, false}) {
        const tresult expected = loops ? kResultFalse : kResultOk;
        set(kInfRepeat, loops ? 1.0 : 0.0);
        EXPECT_EQ(set(kDelayClockMode, 1.0), expected);
        EXPECT_EQ(value(kDelayClockMode), loops ? 0.0 : 1.0);
        EXPECT_EQ(controller->performEdit(kDelayClockMode, 1.0), expected);
        EXPECT_EQ(log->edits.size(), loops ? 0u : 1u);
    }
}

TEST_F(Controller, TellsOfOneEditOfAParameterAtATime) {
    controller->beginEdit(kMix);
    set(kProgram, 0.5);
    EXPECT_EQ(log->open, std::set<Vst::ParamID>{kMix});
    controller->endEdit(kMix);
    EXPECT_TRUE(log->open.empty());
    EXPECT_EQ(log->misuses, std::vector<std::string>{});
}

TEST_F(Controller, MirrorsTheProcessorsStateWholeAndLeavesWhatItLacks) {
    set(kInfRepeat, 1.0);
    std::vector<double> values(39, -1.0);
    values[kMix] = 0.75;
    values[kDelayClockMode] = 1.0;
    values[kInput] = 2.0;
    EXPECT_EQ(setComponentState(values), kResultOk);
    EXPECT_EQ(value(kDelayClockMode), 1.0) << "though the loop runs";
    values[kMix] = 0.1;
    values.resize(37);
    EXPECT_NE(setComponentState(values), kResultOk);
    EXPECT_NE(controller->setComponentState(nullptr), kResultOk);
    EXPECT_EQ(value(kMix), 0.75);
    EXPECT_EQ(value(kInput), 0.5);
}

TEST_F(Controller, GivesTheProcessorWhatItsStateLeftOutFromTheSelectedSetup) {
    WrapperRig processor;
    EXPECT_EQ(controller->connect(processor.wrapper), kResultOk);
    constexpr double kA = 0.0, kB = 1.0;
    set(kMix, 0.25);
    controller->presets()->selectSetup(kB);
    set(kMix, 0.75);
    for (const auto& [setup, mix] : {std::pair{kB, 0.75}, {kA, 0.25}}) {
        controller->presets()->selectSetup(setup);
        processor.setState(stateBytes(std::vector<double>(39, -1.0)));
        EXPECT_EQ(setState(state()), kResultOk);
        EXPECT_EQ(stateDoubles(processor.state())[kMix], mix);
    }
    controller->disconnect(processor.wrapper);
}

TEST_F(Controller, KeepsTheViewSettingsAndIgnoresStatesThatDontParseWhole) {
    const auto fill = [&](double view, double program, int zoom) {
        set(kNoteViewStyle, view);
        set(kShowHideExtensions, 1.0 - view);
        set(kProgram, program);
        controller->setZoom(zoom);
        return state();
    };
    const auto good = fill(1.0, 0.5, 150), before = fill(0.0, 0.25, 0);
    std::vector<Hosting::Bytes> bad = {good};
    bad[0].push_back(0);
    for (std::ptrdiff_t size = 0; size < std::ssize(good); ++size)
        bad.push_back({good.begin(), good.begin() + size});
    const auto changed = [&](std::size_t at, uint8_t to) {
        bad.push_back(good);
        bad.back().at(at) = to;
    };
    for (std::size_t at = 0; at < 12; ++at) changed(at, good[at] ^ 0x40);  // mark, version and size
    changed(35, 0x7F);                                                     // the last view setting
    changed(37, 0x7F);                                                     // zoom
    changed(40, 0x84);                                                     // a program too many
    changed(44, good[44] ^ 0x40);                                          // the setups' mark
    for (const auto& bytes : bad) {
        EXPECT_NE(setState(bytes), kResultOk);
        EXPECT_EQ(state(), before);
    }
    EXPECT_EQ(setState(good), kResultOk);
    EXPECT_EQ(value(kNoteViewStyle), 1.0);
    EXPECT_EQ(value(kShowHideExtensions), 0.0);
    EXPECT_EQ(controller->zoom(), 150);
    set(kFeedback, 0.123);
    set(kProgram, 0.5);
    EXPECT_EQ(value(kFeedback), 0.123) << "hosts send the program again";
    EXPECT_NE(controller->setState(nullptr), kResultOk);
    EXPECT_NE(controller->getState(nullptr), kResultOk);
}

TEST_F(Controller, InitialisesOnceUntilTerminated) {
    EXPECT_EQ(controller->initialize(nullptr), kResultFalse);
    EXPECT_EQ(controller->terminate(), kResultOk);
    EXPECT_EQ(controller->getParameterCount(), 0);
    EXPECT_EQ(controller->initialize(nullptr), kResultOk);
    EXPECT_EQ(controller->getUnitCount(), 9);
}

}  // namespace
}  // namespace Quorvant
