// Factory presets through the host's own program list, as the built module offers it.
#include "presets/FactoryBank.h"
#include "tests/module/ModuleRig.h"

#include "pluginterfaces/vst/ivstunits.h"
#include "public.sdk/source/vst/utility/stringconvert.h"

#include <cstring>
#include <map>
#include <random>

namespace Quorvant::Test {
namespace {

using Hosting::EditLog;
using Hosting::ParameterPoint;

constexpr Hosting::ParamID kProgramId = 160;
constexpr int kPrograms = 132;

double programValue(int program) {
    return static_cast<double>(program) / (kPrograms - 1);
}

// What a host does with the edits of a controller: it gives them to the processor.
void forwardEdits(ModuleRig& rig) {
    std::vector<ParameterPoint> points;
    for (const EditLog::Edit& edit : rig.plugin->editLog().edits)
        points.push_back({edit.id, 0, edit.value});
    rig.plugin->editLog().edits.clear();
    rig.plugin->flush(points);
}

void chooseProgram(ModuleRig& rig, int program) {
    rig.plugin->controller()->setParamNormalized(kProgramId, programValue(program));
    forwardEdits(rig);
}

TEST(ModulePresets, TheFactoryBankIsTheHostsProgramList) {
    ModuleRig rig;
    Steinberg::FUnknownPtr<Steinberg::Vst::IUnitInfo> units(rig.plugin->controller());
    ASSERT_TRUE(units);
    ASSERT_EQ(units->getProgramListCount(), 1);
    Steinberg::Vst::ProgramListInfo list{};
    ASSERT_EQ(units->getProgramListInfo(0, list), Steinberg::kResultOk);
    ASSERT_EQ(list.programCount, kPrograms);
    for (int program = 0; program < kPrograms; ++program) {
        std::string_view name;
        getFactoryPreset(static_cast<uint32_t>(program), nullptr, &name, nullptr);
        Steinberg::Vst::String128 shown{};
        ASSERT_EQ(units->getProgramName(list.id, program, shown), Steinberg::kResultOk);
        EXPECT_EQ(VST3::StringConvert::convert(shown), name);
        EXPECT_EQ(units->getProgramInfo(list.id, program, "MusicalStyle", shown),
                  Steinberg::kResultOk);
    }
    const Hosting::Parameter* program = rig.plugin->findParameter(kProgramId);
    ASSERT_NE(program, nullptr);
    EXPECT_TRUE(program->has(Steinberg::Vst::ParameterInfo::kIsProgramChange));
    EXPECT_FALSE(program->has(Steinberg::Vst::ParameterInfo::kCanAutomate));
    EXPECT_EQ(program->stepCount, kPrograms - 1);
}

TEST(ModulePresets, AChoiceIsOneGroupOfEditsAndLeavesTheGlobalSetAlone) {
    ModuleRig rig;
    const double globalMix = 0.125;
    rig.plugin->setParameter(13, globalMix);
    EditLog& log = rig.plugin->editLog();
    chooseProgram(rig, 40);
    EXPECT_EQ(log.groupsBegun, 1);
    EXPECT_EQ(log.groupsEnded, 1);
    EXPECT_EQ(log.begun, log.ended);
    EXPECT_NE(log.restartFlags & Steinberg::Vst::kParamValuesChanged, 0);
    PresetValues wanted{};
    getFactoryPreset(40, &wanted, nullptr, nullptr);
    const auto state = rig.plugin->componentState();
    ASSERT_TRUE(state);
    for (uint32_t i = 0; i < wanted.size(); ++i) {
        if ((i >= 8 && i <= 14) || i == 34 || i == 35) continue;
        EXPECT_FLOAT_EQ(static_cast<float>(rig.plugin->controllerValue(i)),
                        static_cast<float>(wanted[i]))
            << i;
        double stored = 0.0;
        std::memcpy(&stored, state->data() + 8 * i, sizeof stored);
        EXPECT_FLOAT_EQ(static_cast<float>(stored), static_cast<float>(wanted[i])) << i;
    }
    EXPECT_EQ(rig.plugin->controllerValue(13), globalMix);
}

TEST(ModulePresets, AProgramThatComesBackAfterAStateChangesNothing) {
    ModuleRig saved;
    chooseProgram(saved, 40);
    saved.plugin->setParameter(21, 0.123);  // edited since
    saved.render(silence(64));
    const auto component = saved.plugin->componentState();
    const auto controller = saved.plugin->controllerState();
    ASSERT_TRUE(component);
    ASSERT_TRUE(controller);

    ModuleRig loaded;
    loaded.plugin->setComponentState(*component);
    loaded.plugin->showComponentState(*component);
    ASSERT_EQ(loaded.plugin->setControllerState(*controller), Steinberg::kResultOk);
    EXPECT_NEAR(loaded.plugin->controllerValue(kProgramId), programValue(40), 1e-9);
    loaded.plugin->editLog().edits.clear();
    chooseProgram(loaded, 40);
    EXPECT_EQ(loaded.plugin->controllerValue(21), 0.123);
    EXPECT_TRUE(loaded.plugin->editLog().edits.empty());
    chooseProgram(loaded, 41);
    EXPECT_NE(loaded.plugin->controllerValue(21), 0.123);
}

// What a host saves of an instance at one moment, and gives back later.
struct Snapshot {
    explicit Snapshot(ModuleRig& rig)
        : component(*rig.plugin->componentState()), controller(*rig.plugin->controllerState()) {
        for (const auto& parameter : rig.plugin->parameters())
            if (!parameter.has(Steinberg::Vst::ParameterInfo::kIsReadOnly))
                values[parameter.id] = rig.plugin->controllerValue(parameter.id);
    }
    void restore(ModuleRig& rig, bool shown) const {
        EXPECT_EQ(rig.plugin->setComponentState(component), Steinberg::kResultOk);
        if (shown) rig.plugin->showComponentState(component);
        EXPECT_EQ(rig.plugin->setControllerState(controller), Steinberg::kResultOk);
    }

    Hosting::Bytes component, controller;
    std::map<Hosting::ParamID, double> values;
};

double storedValue(ModuleRig& rig, uint32_t index) {
    double value = -2.0;
    std::memcpy(&value, rig.plugin->componentState()->data() + 8 * index, sizeof value);
    return value;
}

// As validators of plug-ins and hosts' own undo do it: saved early, restored after every parameter
// has changed.
TEST(ModulePresets, StatesOfAnyMomentBringBackEveryParameter) {
    std::mt19937 random(11);
    const Signal in = noise(0.3, 24000);
    const auto randomise = [&](ModuleRig& rig) {
        for (const auto& parameter : rig.plugin->parameters())
            if (!parameter.has(Steinberg::Vst::ParameterInfo::kIsReadOnly))
                rig.plugin->setParameter(parameter.id, std::ldexp(random() % 1025, -10));
        forwardEdits(rig);
    };
    for (const bool shown : {true, false}) {
        for (const bool active : {true, false}) {
            for (const bool loopEngaged : {false, true}) {
                SCOPED_TRACE(testing::Message() << shown << active << loopEngaged);
                ModuleRig rig, fresh;
                // A single edit leaves all others out of the component's state.
                if (loopEngaged) {
                    for (ModuleRig* both : {&rig, &fresh}) {
                        both->plugin->setParameter(kInfRepeat, 1.0);
                        both->plugin->flush({});
                    }
                }
                const Snapshot snapshot(rig);
                randomise(rig);
                rig.plugin->setActive(active);
                rig.plugin->editLog().restartFlags = 0;
                snapshot.restore(rig, shown);
                EXPECT_NE(rig.plugin->editLog().restartFlags & Steinberg::Vst::kParamValuesChanged,
                          0);
                for (const auto& [id, value] : snapshot.values) {
                    EXPECT_EQ(rig.plugin->controllerValue(id), value) << id;
                    if (id < kStoredParameterCount) {
                        EXPECT_EQ(storedValue(rig, id), value) << id;
                    }
                }
                EXPECT_EQ(*rig.plugin->controllerState(), snapshot.controller);
                rig.render(silence(256));
                for (ModuleRig* both : {&rig, &fresh}) {
                    both->plugin->flush({{kInfRepeat, 0, 0.0}});  // so that the delay is heard
                    both->reset();
                }
                EXPECT_LT(largestDifference(rig.render(in), fresh.render(in)), 1e-6);

                // What the processor has received comes from the component's state.
                randomise(rig);
                const Snapshot later(rig);
                randomise(rig);
                later.restore(rig, shown);
                for (const auto& [id, value] : later.values)
                    EXPECT_EQ(rig.plugin->controllerValue(id), value) << id;
            }
        }
    }
}

TEST(ModulePresets, DamagedControllerStatesAreIgnoredWhole) {
    ModuleRig rig;
    chooseProgram(rig, 17);
    rig.plugin->setParameter(40, 0.0);
    const auto good = rig.plugin->controllerState();
    ASSERT_TRUE(good);
    std::mt19937 random(3);
    for (int round = 0; round < 500; ++round) {
        auto bytes = *good;
        if (round % 2 == 0) bytes.resize(random() % bytes.size());
        if (!bytes.empty())
            bytes[random() % bytes.size()] ^= static_cast<uint8_t>(1 + random() % 255);
        const auto before = rig.plugin->controllerState();
        const auto result = rig.plugin->setControllerState(bytes);
        const auto after = rig.plugin->controllerState();
        ASSERT_TRUE(after);
        if (result != Steinberg::kResultOk) {
            EXPECT_EQ(*after, *before) << round;
        }
        EXPECT_EQ(rig.plugin->setControllerState(*after), Steinberg::kResultOk);
    }
    EXPECT_EQ(rig.plugin->setControllerState(*good), Steinberg::kResultOk);
    EXPECT_EQ(*rig.plugin->controllerState(), *good);
}

// Struck notes and a hiss, over six seconds.
Signal phrase() {
    Signal signal = noise(0.02, 6 * 48000);
    for (int note = 0; note < 24; ++note) {
        const size_t start = static_cast<size_t>(note) * 12000;
        const double hz = 110.0 * std::pow(2.0, (note * 5 % 12) / 12.0 + note % 3);
        for (size_t i = 0; i < 12000; ++i) {
            const double t = static_cast<double>(i) / 48000.0;
            signal[start + i] +=
                0.4 * std::exp(-9.0 * t) * std::sin(2.0 * std::numbers::pi * hz * t);
        }
    }
    return signal;
}

TEST(ModulePresets, EveryFactoryPresetSoundsAtALevelOfItsOwnAndUnlikeTheDefault) {
    const Signal in = phrase();
    const double dry = rms(in, 0, in.size());
    Stereo plain;
    for (int program = 0; program < kPrograms; ++program) {
        ModuleRig rig;
        rig.transport = Hosting::Transport{.tempoBpm = 120.0, .positionBeats = 0.0};
        chooseProgram(rig, program);
        rig.reset();
        const Stereo out = rig.render(in);
        for (const double x : out.left) ASSERT_TRUE(std::isfinite(x)) << program;
        std::string_view name;
        getFactoryPreset(static_cast<uint32_t>(program), nullptr, &name, nullptr);
        // Unweighted, so a little wider than the window of the loudness that the bank is set by.
        EXPECT_NEAR(20.0 * std::log10(rms(out.left, 0, out.size()) / dry), 0.0, 6.0) << name;
        if (program == 0)
            plain = out;
        else
            EXPECT_GT(largestDifference(out, plain), 0.02) << name;
    }
}

}  // namespace
}  // namespace Quorvant::Test
