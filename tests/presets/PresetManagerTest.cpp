#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"
#include "tests/presets/PresetManagerRig.h"

#include <cmath>
#include <functional>

namespace Quorvant {
namespace {

using Names = std::vector<std::string>;

TEST_F(PresetManagerTest, StartsAtDefaultAndRefusesWhatIsNotThere) {
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    EXPECT_FALSE(manager.canStep(-1));
    manager.undo();
    manager.redo();
    for (const PresetLocation& place :
         {basic(999), basic(kNotListed), PresetLocation{kFromCategory, -1, 0},
          PresetLocation{7, 0, 0}, PresetLocation{kFromDesigner, 10, 0}, file(0), file(0, 500)})
        EXPECT_EQ(manager.choose(place), PresetFault::NotFound);
    EXPECT_EQ(manager.current(), buildFactoryBank()[0]);
    EXPECT_FALSE(manager.modified() || manager.canUndo() || manager.canRedo());
    EXPECT_TRUE(host.groups.empty());
}

TEST_F(PresetManagerTest, WhatIsToBeKeptIsKeptByEveryChangeAndMarksNothing) {
    ParameterSet mixLock;
    mixLock.set(kMix);
    ASSERT_EQ(manager.copyToMemo(), PresetFault::None);
    ASSERT_EQ(savePreset(folder / "one.qvx", buildFactoryBank()[5], {}), PresetFault::None);
    manager.selectSetup(1.0);
    const std::pair<const char*, std::function<void()>> changes[] = {
        {"choose", [&] { manager.choose(basic(2), mixLock); }},
        {"step", [&] { manager.step(1, mixLock); }},
        {"undo", [&] { manager.undo(mixLock); }},
        {"redo", [&] { manager.redo(mixLock); }},
        {"load", [&] { manager.loadFile(folder / "one.qvx", mixLock); }},
        {"other setup", [&] { manager.selectSetup(0.0, mixLock); }},
        {"paste", [&] { manager.pasteFromMemo(mixLock); }},
        {"copy", [&] { manager.copyAB(0, mixLock); }}};
    double mix = 0.5;
    for (const auto& [name, change] : changes) {
        host.turn(kMix, mix += 0.0625);
        const auto groups = host.groups.size();
        change();
        EXPECT_GT(host.groups.size(), groups) << name;
        EXPECT_EQ(host.values[kMix], mix) << name;
        EXPECT_TRUE(host.agrees()) << name;
        EXPECT_FALSE(manager.modified()) << name;
    }
    manager.undo();  // of the paste, which had not written it
    EXPECT_EQ(host.values[kMix], mix);
    choose({kFromCategory, 0, 1});  // and without the lock the preset's own
    EXPECT_EQ(host.values[kMix], 0.5);
}

TEST_F(PresetManagerTest, InfRepeatGoesFirstWhenOffAndLastWhenOn) {
    choose(basic(2));
    EXPECT_EQ(host.groups.back().front().index, kInfRepeat);
    EXPECT_EQ(host.groups.back().size(), 29u);
    host.turn(kInfRepeat, 1.0);
    manager.selectSetup(1.0);
    EXPECT_EQ(host.groups.back().front().index, kInfRepeat);
    manager.selectSetup(0.0);
    EXPECT_EQ(host.groups.back().back().index, kInfRepeat);
    EXPECT_EQ(host.groups.back().size(), 38u);
}

TEST_F(PresetManagerTest, ModifiedFollowsWhatTheUserWouldCallAnotherSetting) {
    choose({kFromCategory, 0, 1});  // "wiper", whose switches are written off their states' middle
    host.turn(kHighCut, 1.0);
    EXPECT_FALSE(manager.modified());
    const int changes = host.changes;
    host.turn(kMix, 0.75);
    EXPECT_TRUE(manager.modified());
    EXPECT_GT(host.changes, changes);
    host.turn(kMix, 0.5);
    EXPECT_FALSE(manager.modified());
    manager.setName("a\nb\x7F");
    EXPECT_TRUE(manager.modified());
    EXPECT_EQ(manager.nameDisplay(), "01: a b ");
    manager.parameterEdited(38, 0.5);
    manager.parameterEdited(kMix, std::nan(""));
    manager.parameterEdited(kInput, 7.0);
    EXPECT_EQ(manager.current().values[kMix], 0.5f);
    EXPECT_EQ(manager.current().values[kInput], 1.0f);
}

TEST_F(PresetManagerTest, ListsAreNamedAndSteppedThroughToTheirEnds) {
    EXPECT_EQ(manager.listNames(kFromCategory).size(), 11u);
    EXPECT_EQ(manager.listNames(kFromDesigner).size(), 10u);
    EXPECT_EQ(manager.presetNames(kFromCategory, 3), (Names{"Worn Tape", "Fresh Tape"}));
    EXPECT_TRUE(manager.presetNames(kFromFolder, -1).empty());
    choose({kFromCategory, 3, 0});
    EXPECT_EQ(manager.step(-1), PresetFault::NotFound);
    EXPECT_EQ(manager.nameDisplay(), "00: Worn Tape");
    EXPECT_EQ(manager.step(1), PresetFault::None);
    EXPECT_EQ(manager.nameDisplay(), "01: Fresh Tape");
    EXPECT_FALSE(manager.canStep(1));
    EXPECT_EQ(manager.step(-1), PresetFault::None);
    EXPECT_EQ(numberedPreset(9, "x"), "09. x");
    EXPECT_EQ(presetNameDisplay(120, std::nullopt), "120: current");
}

TEST_F(PresetManagerTest, UndoesThirtyTwoOfThirtyThreeChangesAndRedoesThem) {
    for (int i = 1; i <= 33; ++i) {
        choose({kFromCategory, 9, i % 23});
        host.turn(kMix, i / 64.0);  // every setup carries an edit of its own
    }
    std::vector<QVXPresetRecord> seen;
    while (manager.canUndo()) {
        seen.push_back(manager.current());
        manager.undo();
        EXPECT_TRUE(host.agrees());
    }
    EXPECT_EQ(seen.size(), 32u);
    EXPECT_EQ(manager.location(), (PresetLocation{kFromCategory, 9, 1}));
    EXPECT_EQ(manager.current().values[kMix], 1 / 64.0f);
    for (; manager.canRedo(); seen.pop_back()) {
        manager.redo();
        EXPECT_EQ(manager.current(), seen.back());
        EXPECT_TRUE(host.agrees());
    }
    EXPECT_TRUE(seen.empty());
}

TEST_F(PresetManagerTest, UndoAndRedoWriteExactlyWhatTheirChangeWroteAndKeepEdits) {
    ASSERT_EQ(manager.copyToMemo(), PresetFault::None);
    choose(basic(2));
    host.turn(kGlobalMix, 0.875);
    host.turn(kManualTempo, 0.875);
    EXPECT_FALSE(manager.modified());  // these aren't the preset's
    const auto before = manager.current();
    ASSERT_EQ(manager.pasteFromMemo(), PresetFault::None);  // all 38
    host.turn(kGlobalInput, 0.125);
    manager.undo();
    EXPECT_EQ(manager.current(), before);
    host.turn(kFeedback, 0.0625);
    manager.redo();
    EXPECT_EQ(host.values[kGlobalInput], 0.125);
    EXPECT_EQ(host.values[kGlobalMix], 0.5);
    manager.undo();
    EXPECT_EQ(host.values[kFeedback], 0.0625);
    manager.undo();  // the choice, which left the global set and the tempo alone
    EXPECT_EQ(host.values[kGlobalMix], 0.875);
    EXPECT_EQ(manager.current().values[kManualTempo], 0.875f);
    EXPECT_TRUE(host.agrees());
}

TEST_F(PresetManagerTest, UndoBringsTheSetupOfTheChangeToTheFrontAndLeavesTheOtherAlone) {
    const auto expectShown = [&](Quorvant::Setup setup, std::string_view name) {
        EXPECT_EQ(manager.selectedSetup(), setup);
        EXPECT_EQ(manager.nameDisplay(), name);
        EXPECT_TRUE(host.agrees());
    };
    choose(basic(2));
    host.turn(kGlobalMix, 0.25);
    const auto a = manager.current();
    manager.selectSetup(1.0);
    choose(basic(3));
    manager.selectSetup(0.0);
    manager.undo();
    expectShown(Setup::B, "00: Default");
    manager.selectSetup(0.0);
    EXPECT_EQ(manager.current(), a);
    manager.redo();
    expectShown(Setup::B, "03: 250ms delay");
    manager.undo();
    manager.undo();  // the choice in A
    expectShown(Setup::A, "00: Default");
    EXPECT_EQ(host.values[kGlobalMix], 0.25);
}

TEST_F(PresetManagerTest, OnlyARealChangeForgetsWhatCouldBeRedone) {
    for (const int32_t preset : {2, 3, 5}) choose(basic(preset));
    manager.undo();
    manager.undo();
    choose(basic(2));  // the same again
    EXPECT_TRUE(manager.canRedo());
    choose(basic(7));
    EXPECT_FALSE(manager.canRedo());
    manager.undo();
    EXPECT_EQ(manager.location(), basic(2));
    manager.undo();
    EXPECT_EQ(manager.location(), basic(0));
    EXPECT_FALSE(manager.canUndo());
}

TEST_F(PresetManagerTest, SetupsComeBackExactlyAsTheyWereLeft) {
    choose(basic(2));
    host.turn(kMix, 0.75);
    host.turn(kGlobalInput, 0.75);
    const auto a = manager.current();
    manager.selectSetup(0.5);
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    manager.selectSetup(0.49);
    EXPECT_EQ(manager.current(), a);
    EXPECT_TRUE(manager.modified());
    EXPECT_EQ(manager.location(), basic(2));
    EXPECT_TRUE(host.agrees());
    manager.copyAB(0);  // B over A, which is heard
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    EXPECT_TRUE(host.agrees());
    host.turn(kMix, 0.125);
    const auto groups = host.groups.size();
    manager.copyAB(1);  // A over B, which isn't
    EXPECT_EQ(host.groups.size(), groups);
    manager.selectSetup(1.0);
    EXPECT_EQ(host.values[kMix], 0.125);
    EXPECT_TRUE(manager.modified());
}

}  // namespace
}  // namespace Quorvant
