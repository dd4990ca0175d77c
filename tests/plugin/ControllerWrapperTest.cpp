// The edit controller as hosts and generic editors use it.
#include "params/ParameterTable.h"
#include "plugin/ControllerState.h"
#include "plugin/ControllerWrapper.h"
#include "tests/plugin/WrapperRig.h"

#include "public.sdk/source/vst/utility/stringconvert.h"
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>

namespace Quorvant {
namespace {

using namespace Steinberg;
using VST3::StringConvert::convert;
using HostInfo = Vst::ParameterInfo;

class ControllerTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(controller->initialize(&Hosting::hostApplication()), kResultOk);
        ASSERT_EQ(controller->setComponentHandler(&*log), kResultOk);
    }
    void TearDown() override { controller->terminate(); }

    HostInfo info(Vst::ParamID id) {
        HostInfo found{};
        EXPECT_EQ(controller->getParameterInfoByTag(id, found), kResultOk) << id;
        return found;
    }
    std::string text(Vst::ParamID id, double value) {
        Vst::String128 string{};
        return controller->getParamStringByValue(id, value, string) == kResultOk ? convert(string)
                                                                                 : "(none)";
    }
    std::optional<double> parsed(Vst::ParamID id, const char* typed) {
        Vst::String128 string{};
        convert(typed, string);
        double value = -9.0;
        const tresult result = controller->getParamValueByString(id, string, value);
        return result == kResultOk ? std::optional(value) : std::nullopt;
    }
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

TEST_F(ControllerTest, offersTheTableTheBypassAndTheReadings) {
    std::set<Vst::ParamID> ids;
    int bypasses = 0;
    for (int32 i = 0; i < controller->getParameterCount(); ++i) {
        HostInfo found{};
        ASSERT_EQ(controller->getParameterInfo(i, found), kResultOk);
        EXPECT_TRUE(ids.insert(found.id).second) << found.id;
        const bool automatable = found.flags & HostInfo::kCanAutomate;
        const bool readOnly = found.flags & HostInfo::kIsReadOnly;
        const bool hidden = found.flags & HostInfo::kIsHidden;
        EXPECT_FALSE(automatable && readOnly) << found.id;
        EXPECT_FALSE(hidden && !readOnly) << found.id;
        const bool shown = found.id < kEmptySlot || found.id == kSuspend || found.id == kProgram ||
                           (found.id >= kNoteViewStyle && found.id <= kDefaultExtensionsPanel);
        EXPECT_EQ(hidden, !shown) << found.id;
        if (found.flags & HostInfo::kIsBypass) {
            ++bypasses;
            EXPECT_EQ(found.id, kSuspend);
            EXPECT_TRUE(automatable);
            EXPECT_EQ(found.stepCount, 1);
        }
        EXPECT_EQ(controller->getParamNormalized(found.id), found.defaultNormalizedValue);
    }
    EXPECT_EQ(bypasses, 1);
    for (Vst::ParamID id = 0; id <= 53; ++id) EXPECT_TRUE(ids.count(id)) << id;
    for (Vst::ParamID id : {68, 69, 70, 115, 159, 160}) EXPECT_TRUE(ids.count(id)) << id;
    EXPECT_EQ(ids.size(), 42u + 12u + 3u + 3u);
}

TEST_F(ControllerTest, namesStepsAndGroupsComeFromTheTable) {
    const HostInfo note = info(kDelayNote);
    EXPECT_EQ(convert(note.title), "Delay Note");
    EXPECT_EQ(convert(note.shortTitle), "DlyNote");
    EXPECT_EQ(note.stepCount, 59);
    EXPECT_TRUE(note.flags & HostInfo::kIsList);
    EXPECT_EQ(convert(info(kDelayTime).units), "ms");
    EXPECT_EQ(info(kFeedback).defaultNormalizedValue, 0.3);

    std::map<Vst::UnitID, std::string> units;
    for (int32 i = 0; i < controller->getUnitCount(); ++i) {
        Vst::UnitInfo unit{};
        ASSERT_EQ(controller->getUnitInfo(i, unit), kResultOk);
        units[unit.id] = convert(unit.name);
        EXPECT_EQ(unit.parentUnitId,
                  unit.id == Vst::kRootUnitId ? Vst::kNoParentUnitId : Vst::kRootUnitId);
    }
    EXPECT_EQ(units.size(), 9u);
    const auto unitOf = [&](uint32_t id) { return units.at(info(id).unitId); };
    EXPECT_EQ(unitOf(kMix), "Levels");
    EXPECT_EQ(unitOf(kGlobalMix), "Global");
    EXPECT_EQ(unitOf(kDelayTime), "Delay");
    EXPECT_EQ(unitOf(kInfRepeat), "Feedback");
    EXPECT_EQ(unitOf(kLfoNote), "Modulation");
    EXPECT_EQ(unitOf(kManualTempo), "Tempo");
    EXPECT_EQ(unitOf(kSideChainMonitor), "Side chain");
    EXPECT_EQ(unitOf(kNoteViewStyle), "View");
    EXPECT_EQ(unitOf(kSuspend), "Root");
}

TEST_F(ControllerTest, textsGoBothWays) {
    EXPECT_EQ(text(kInput, 0.0), "-oo");
    EXPECT_EQ(text(kHighCutCutoff, 1.0), "18k0");
    EXPECT_EQ(text(kSuspend, 1.0), "On");
    EXPECT_EQ(text(kNoteViewStyle, 1.0), "");
    EXPECT_EQ(text(999, 1.0), "(none)");
    EXPECT_EQ(parsed(kDelayTime, "500 ms"), 500.0 / 9600);
    EXPECT_EQ(parsed(kSuspend, "on"), 1.0);
    EXPECT_EQ(parsed(kInput, "loud"), std::nullopt);
    EXPECT_EQ(parsed(kInput, std::string(300, '9').c_str()), std::nullopt);
    EXPECT_EQ(parsed(999, "1"), std::nullopt);
    EXPECT_DOUBLE_EQ(controller->normalizedParamToPlain(kDelayTime, 0.5), 4800.0);
    EXPECT_DOUBLE_EQ(controller->plainParamToNormalized(kDelayTime, 2400.0), 0.25);
    EXPECT_EQ(controller->plainParamToNormalized(kDelayTime, 1e9), 1.0);
    EXPECT_EQ(controller->plainParamToNormalized(kDelayTime, -1e9), 0.0);
    EXPECT_TRUE(std::isfinite(controller->normalizedParamToPlain(kInput, 0.0)));
}

TEST_F(ControllerTest, valuesStayWithinTheRange) {
    controller->setParamNormalized(kMix, 7.0);
    EXPECT_EQ(controller->getParamNormalized(kMix), 1.0);
    EXPECT_NE(controller->setParamNormalized(kMix, std::numeric_limits<double>::quiet_NaN()),
              kResultOk);
    EXPECT_EQ(controller->getParamNormalized(kMix), 1.0);
    EXPECT_NE(controller->setParamNormalized(999, 0.5), kResultOk);
    EXPECT_EQ(controller->setParamNormalized(46, 0.5), kResultOk) << "readings arrive this way";
    EXPECT_EQ(controller->getParamNormalized(46), 0.5);
}

TEST_F(ControllerTest, delayClockModeHoldsWhileTheLoopRuns) {
    controller->setParamNormalized(kInfRepeat, 1.0);
    EXPECT_NE(controller->setParamNormalized(kDelayClockMode, 1.0), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(kDelayClockMode), 0.0);
    EXPECT_NE(controller->performEdit(kDelayClockMode, 1.0), kResultOk);
    EXPECT_TRUE(log->edits.empty()) << "an edit that the engine ignores must not be recorded";
    controller->setParamNormalized(kInfRepeat, 0.0);
    EXPECT_EQ(controller->setParamNormalized(kDelayClockMode, 1.0), kResultOk);
    EXPECT_EQ(controller->performEdit(kDelayClockMode, 1.0), kResultOk);
    EXPECT_EQ(log->edits.size(), 1u);
}

TEST_F(ControllerTest, tellsOfOneEditOfAParameterAtATime) {
    controller->beginEdit(kMix);
    controller->setParamNormalized(kProgram, 0.5);
    EXPECT_EQ(log->open, std::set<Vst::ParamID>{kMix});
    controller->endEdit(kMix);
    EXPECT_TRUE(log->open.empty());
    EXPECT_EQ(log->misuses, std::vector<std::string>{});
}

TEST_F(ControllerTest, mirrorsTheProcessorsStateWithoutEditing) {
    controller->setParamNormalized(kInfRepeat, 1.0);
    std::vector<double> values(39, -1.0);
    values[kMix] = 0.75;
    values[kDelayClockMode] = 1.0;
    values[kInfRepeat] = 1.0;
    values[kInput] = 2.0;
    values[38] = 1.0;
    EXPECT_EQ(setComponentState(values), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(kMix), 0.75);
    EXPECT_EQ(controller->getParamNormalized(kDelayClockMode), 1.0) << "taken whole";
    EXPECT_EQ(controller->getParamNormalized(kInput), 0.5);
    EXPECT_EQ(controller->getParamNormalized(kFeedback), 0.3);
    EXPECT_EQ(controller->getParamNormalized(kSuspend), 1.0);
    EXPECT_TRUE(log->edits.empty());

    values[kMix] = 0.1;
    values.resize(37);
    EXPECT_NE(setComponentState(values), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(kMix), 0.75);
    EXPECT_NE(controller->setComponentState(nullptr), kResultOk);
}

TEST_F(ControllerTest, keepsTheViewSettings) {
    controller->setParamNormalized(kNoteViewStyle, 1.0);
    controller->setParamNormalized(kShowHideExtensions, 0.0);
    const auto saved = state();
    controller->setParamNormalized(kNoteViewStyle, 0.0);
    controller->setParamNormalized(kShowHideExtensions, 1.0);
    EXPECT_EQ(setState(saved), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(kNoteViewStyle), 1.0);
    EXPECT_EQ(controller->getParamNormalized(kShowHideExtensions), 0.0);
    EXPECT_EQ(controller->getParamNormalized(kDefaultExtensionsPanel), 0.0);
}

TEST_F(ControllerTest, ignoresStatesThatDontParseWhole) {
    controller->setParamNormalized(kNoteViewStyle, 1.0);
    controller->setParamNormalized(kProgram, 0.5);
    const auto good = state();
    controller->setParamNormalized(kNoteViewStyle, 0.0);
    controller->setParamNormalized(kProgram, 0.25);
    const auto before = state();
    std::vector<Hosting::Bytes> bad;
    for (std::size_t size = 0; size < good.size(); ++size) {
        bad.push_back({good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)});
    }
    for (std::size_t at = 0; at < 12; ++at) {  // mark, version and size
        bad.push_back(good);
        bad.back()[at] ^= 0x40;
    }
    bad.push_back(good);
    bad.back().push_back(0);
    bad.push_back(good);
    bad.back()[35] = 0x7F;  // the last view setting far beyond 1
    bad.push_back(good);
    bad.back()[40] = 0x84;  // a program behind the last
    bad.push_back(good);
    bad.back()[44] ^= 0x40;  // the setups' mark
    for (const auto& bytes : bad) {
        EXPECT_NE(setState(bytes), kResultOk);
        EXPECT_EQ(state(), before);
    }
    EXPECT_EQ(setState(good), kResultOk);
    EXPECT_EQ(controller->getParamNormalized(kNoteViewStyle), 1.0);
    EXPECT_NE(controller->setState(nullptr), kResultOk);
    EXPECT_NE(controller->getState(nullptr), kResultOk);
}

TEST_F(ControllerTest, initialisesOnceUntilTerminated) {
    EXPECT_EQ(controller->initialize(nullptr), kResultFalse);
    const int32 count = controller->getParameterCount();
    EXPECT_EQ(controller->terminate(), kResultOk);
    EXPECT_EQ(controller->getParameterCount(), 0);
    EXPECT_EQ(controller->initialize(nullptr), kResultOk);
    EXPECT_EQ(controller->getParameterCount(), count);
    EXPECT_EQ(controller->getUnitCount(), 9);
}

}  // namespace
}  // namespace Quorvant
