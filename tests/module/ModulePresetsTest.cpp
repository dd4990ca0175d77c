// Factory presets through the host's own program list, as the built module offers it.
#include "params/ParameterTable.h"
#include "presets/FactoryBank.h"
#include "tests/module/ModuleRig.h"

#include "pluginterfaces/vst/ivstunits.h"

#include <cmath>
#include <cstring>
#include <map>

namespace Quorvant::Test {
namespace {

constexpr int kPrograms = 132;

void chooseProgram(ModuleRig& rig, int program) {
    rig.plugin->controller()->setParamNormalized(kProgram,
                                                 static_cast<double>(program) / (kPrograms - 1));
    rig.forwardEdits();
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
        FactoryPresetInfo info{};
        getFactoryPreset(static_cast<uint32_t>(program), nullptr, &name, &info);
        Steinberg::Vst::String128 shown{};
        ASSERT_EQ(units->getProgramName(list.id, program, shown), Steinberg::kResultOk);
        EXPECT_EQ(Hosting::fromWide(shown), name);
        EXPECT_EQ(units->getProgramInfo(list.id, program, "MusicalStyle", shown),
                  Steinberg::kResultOk);
        EXPECT_EQ(Hosting::fromWide(shown), kPresetCategories[info.category]);
    }
    EXPECT_EQ(rig.plugin->findParameter(kProgram)->stepCount, kPrograms - 1);
}

double storedValue(ModuleRig& rig, uint32_t index) {
    double value = -2.0;
    std::memcpy(&value, rig.plugin->componentState()->data() + 8 * index, sizeof value);
    return value;
}

TEST(ModulePresets, AChoiceIsOneGroupOfEditsAndLeavesTheGlobalSetAlone) {
    ModuleRig rig;
    rig.plugin->setParameter(kGlobalMix, 0.125);
    chooseProgram(rig, 40);
    const auto& log = rig.plugin->editLog();
    EXPECT_EQ(log.groupsBegun, 1);
    EXPECT_EQ(log.groupsEnded, 1);
    EXPECT_EQ(log.begun, log.ended);
    EXPECT_EQ(log.misuses, std::vector<std::string>{});
    EXPECT_NE(log.restartFlags & Steinberg::Vst::kParamValuesChanged, 0);
    PresetValues wanted{};
    getFactoryPreset(40, &wanted, nullptr, nullptr);
    for (uint32_t i = 0; i < wanted.size(); ++i) {
        if (!kParameters[i].writtenByPresetChoice()) continue;
        EXPECT_NEAR(rig.plugin->controllerValue(i), wanted[i], 1e-7) << i;
        EXPECT_NEAR(storedValue(rig, i), wanted[i], 1e-7) << i;
    }
    EXPECT_EQ(rig.plugin->controllerValue(kGlobalMix), 0.125);
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

// As validators of plug-ins and hosts' own undo do it: saved early, restored after every parameter
// has changed.
TEST(ModulePresets, StatesOfAnyMomentBringBackEveryParameter) {
    Dice dice(11);
    const Signal in = noise(24000, 0.3);
    const auto randomise = [&](ModuleRig& rig) {
        for (const auto& parameter : rig.plugin->parameters())
            if (!parameter.has(Steinberg::Vst::ParameterInfo::kIsReadOnly))
                rig.plugin->setParameter(parameter.id, std::ldexp(dice.below(1025), -10));
        rig.forwardEdits();
    };
    for (int kind = 0; kind < 8; ++kind) {
        SCOPED_TRACE(kind);
        const bool shown = kind & 1, active = kind & 2, loopEngaged = kind & 4;
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
        EXPECT_NE(rig.plugin->editLog().restartFlags & Steinberg::Vst::kParamValuesChanged, 0);
        EXPECT_TRUE(rig.plugin->editLog().edits.empty());
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

}  // namespace
}  // namespace Quorvant::Test
