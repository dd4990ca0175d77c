#include "platform/UserStore.h"
#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"
#include "tests/presets/BlobBytes.h"
#include "tests/presets/PresetManagerRig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Quorvant {
namespace {

TEST_F(PresetManagerTest, StartsAtDefaultWithNothingToUndo) {
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    EXPECT_EQ(manager.current(), buildFactoryBank()[0]);
    EXPECT_FALSE(manager.modified() || manager.canUndo() || manager.canRedo());
    EXPECT_FALSE(manager.canStep(-1));
    EXPECT_TRUE(host.groups.empty());
    manager.undo();
    manager.redo();
    EXPECT_TRUE(host.groups.empty());
}

TEST_F(PresetManagerTest, ChoosingWritesWhatBelongsToPresetsAndNothingElse) {
    constexpr uint32_t kKept[] = {8, 9, 10, 11, 12, 13, 14, 34, 35};
    for (const uint32_t index : kKept) host.turn(index, 0.625);
    EXPECT_FALSE(manager.modified());  // these aren't the preset's
    choose({kFromCategory, 0, 1});
    EXPECT_EQ(manager.nameDisplay(), "01: wiper");
    ASSERT_EQ(host.groups.size(), 1u);
    EXPECT_EQ(host.groups[0].size(), 29u);
    EXPECT_EQ(host.values[kFeedback], static_cast<double>(0.9975f));
    for (const uint32_t index : kKept) EXPECT_EQ(host.values[index], 0.625);
    EXPECT_TRUE(host.agrees());
    EXPECT_FALSE(manager.modified());
}

TEST_F(PresetManagerTest, ParametersThatAreToBeKeptStayAndMarkNothing) {
    ParameterSet mixLock;
    mixLock.set(kMix);
    choose(basic(2));
    host.turn(kMix, 0.625);
    ASSERT_EQ(manager.choose({kFromCategory, 0, 1}, mixLock), PresetFault::None);
    EXPECT_EQ(host.groups.back().size(), 28u);
    EXPECT_EQ(host.values[kFeedback], static_cast<double>(0.9975f));
    EXPECT_EQ(host.values[kMix], 0.625);
    EXPECT_TRUE(host.agrees());
    EXPECT_FALSE(manager.modified());
    ASSERT_EQ(manager.step(1, mixLock), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.625);
    EXPECT_FALSE(manager.modified());
    ASSERT_EQ(savePreset(folder / "one.qvx", buildFactoryBank()[5], {}), PresetFault::None);
    ASSERT_EQ(manager.loadFile(folder / "one.qvx", mixLock), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.625);
    EXPECT_FALSE(manager.modified());
    host.turn(kMix, 0.75);
    EXPECT_TRUE(manager.modified());
    choose({kFromCategory, 0, 1});  // and without the lock the preset's own
    EXPECT_EQ(host.values[kMix], buildFactoryBank()[2].values[kMix]);
}

TEST_F(PresetManagerTest, RefusesPlacesThatAreNotThere) {
    const auto before = manager.current();
    for (const PresetLocation& place :
         {PresetLocation{kFromCategory, 1, 999}, PresetLocation{kFromCategory, -1, 0},
          PresetLocation{kFromCategory, 1, kNotListed}, PresetLocation{7, 0, 0},
          PresetLocation{kFromDesigner, 10, 0}, PresetLocation{kFromFolder, 0, 0},
          PresetLocation{kFromFolder, 500, 0}})
        EXPECT_EQ(manager.choose(place), PresetFault::NotFound);
    EXPECT_EQ(manager.current(), before);
    EXPECT_TRUE(host.groups.empty());
    EXPECT_FALSE(manager.canUndo());
}

TEST_F(PresetManagerTest, InfRepeatGoesFirstWhenOffAndLastWhenOn) {
    choose(basic(2));
    EXPECT_EQ(host.groups.back().front().index, kInfRepeat);
    host.turn(kInfRepeat, 1.0);
    manager.selectSetup(1.0);
    EXPECT_EQ(host.groups.back().front().index, kInfRepeat);
    manager.selectSetup(0.0);
    EXPECT_EQ(host.groups.back().back().index, kInfRepeat);
    EXPECT_EQ(host.groups.back().size(), 38u);
}

TEST_F(PresetManagerTest, ModifiedFollowsWhatTheUserWouldCallAnotherSetting) {
    choose({kFromCategory, 0, 1});  // "wiper", whose switches are written off their states' middle
    const int changes = host.changes;
    host.turn(kHighCut, 1.0);
    EXPECT_FALSE(manager.modified());
    host.turn(kMix, 0.75);
    EXPECT_TRUE(manager.modified());
    EXPECT_GT(host.changes, changes);
    host.turn(kMix, 0.5);
    EXPECT_FALSE(manager.modified());
    manager.setName("mine");
    EXPECT_TRUE(manager.modified());
    EXPECT_EQ(manager.nameDisplay(), "01: mine");
    manager.setName("a\nb\x7F");
    EXPECT_EQ(manager.nameDisplay(), "01: a b ");
    manager.parameterEdited(38, 0.5);
    manager.parameterEdited(kMix, std::nan(""));
    manager.parameterEdited(kInput, 7.0);
    EXPECT_EQ(manager.current().values[kMix], 0.5f);
    EXPECT_EQ(manager.current().values[kInput], 1.0f);
}

TEST_F(PresetManagerTest, StepsThroughTheCurrentListAndStopsAtItsEnds) {
    choose({kFromCategory, 3, 0});
    EXPECT_EQ(manager.nameDisplay(), "00: Worn Tape");
    EXPECT_EQ(manager.step(1), PresetFault::None);
    EXPECT_EQ(manager.nameDisplay(), "01: Fresh Tape");
    EXPECT_FALSE(manager.canStep(1));
    EXPECT_EQ(manager.step(1), PresetFault::NotFound);
    EXPECT_EQ(manager.step(-1), PresetFault::None);
    EXPECT_EQ(manager.step(-1), PresetFault::NotFound);
    EXPECT_EQ(manager.nameDisplay(), "00: Worn Tape");
}

TEST_F(PresetManagerTest, ListsAreNamedAndNumbered) {
    EXPECT_EQ(manager.listNames(kFromCategory).size(), 11u);
    EXPECT_EQ(manager.listNames(kFromDesigner).size(), 10u);
    EXPECT_EQ(manager.listNames(kFromFolder), std::vector<std::string>{"#MAIN FOLDER"});
    const auto tapes = manager.presetNames(kFromCategory, 3);
    EXPECT_EQ(tapes, (std::vector<std::string>{"Worn Tape", "Fresh Tape"}));
    EXPECT_TRUE(manager.presetNames(kFromCategory, 11).empty());
    EXPECT_TRUE(manager.presetNames(kFromFolder, -1).empty());
    EXPECT_EQ(numberedPreset(9, "x"), "09. x");
    EXPECT_EQ(numberedPreset(10, "x"), "10. x");
    EXPECT_EQ(presetNameDisplay(5, std::nullopt), "05: current");
    EXPECT_EQ(presetNameDisplay(120, "x"), "120: x");
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
    EXPECT_TRUE(manager.modified());
    while (manager.canRedo()) {
        manager.redo();
        EXPECT_EQ(manager.current(), seen.back());
        EXPECT_TRUE(host.agrees());
        seen.pop_back();
    }
    EXPECT_TRUE(seen.empty());
}

TEST_F(PresetManagerTest, UndoKeepsEditsMadeOnEitherSide) {
    choose(basic(2));
    host.turn(kFeedback, 0.125);
    manager.undo();
    host.turn(kFeedback, 0.0625);
    manager.redo();
    EXPECT_EQ(host.values[kFeedback], 0.125);
    manager.undo();
    EXPECT_EQ(host.values[kFeedback], 0.0625);
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
}

TEST_F(PresetManagerTest, UndoAndRedoWriteExactlyWhatTheirChangeWrote) {
    ASSERT_EQ(manager.copyToMemo(), PresetFault::None);
    choose(basic(2));
    host.turn(kGlobalMix, 0.875);
    host.turn(kManualTempo, 0.875);
    const auto before = manager.current();
    ASSERT_EQ(manager.pasteFromMemo(), PresetFault::None);  // all 38
    host.turn(kGlobalInput, 0.125);
    manager.undo();
    EXPECT_EQ(manager.current(), before);
    EXPECT_TRUE(host.agrees());
    manager.redo();
    EXPECT_EQ(host.values[kGlobalInput], 0.125);
    EXPECT_EQ(host.values[kGlobalMix], 0.5);
    manager.undo();
    manager.undo();  // the choice, which left the global set and the tempo alone
    EXPECT_EQ(host.values[kGlobalMix], 0.875);
    EXPECT_EQ(manager.current().values[kManualTempo], 0.875f);
    EXPECT_TRUE(host.agrees());
}

TEST_F(PresetManagerTest, UndoBringsTheSetupOfTheChangeToTheFrontAndLeavesTheOtherAlone) {
    choose(basic(2));
    host.turn(kGlobalMix, 0.25);
    const auto a = manager.current();
    manager.selectSetup(1.0);
    choose(basic(3));
    host.turn(kMix, 0.125);
    const auto b = manager.current();
    manager.selectSetup(0.0);

    manager.undo();
    EXPECT_EQ(manager.selectedSetup(), Setup::B);
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    EXPECT_TRUE(host.agrees());
    manager.selectSetup(0.0);
    EXPECT_EQ(manager.current(), a);
    manager.redo();
    EXPECT_EQ(manager.selectedSetup(), Setup::B);
    EXPECT_EQ(manager.current(), b);
    EXPECT_TRUE(host.agrees());
    manager.undo();
    manager.undo();  // the choice in A
    EXPECT_EQ(manager.selectedSetup(), Setup::A);
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    EXPECT_EQ(host.values[kGlobalMix], 0.25);
    EXPECT_FALSE(manager.canUndo());
}

TEST_F(PresetManagerTest, WhatIsToBeKeptIsKeptByEveryChange) {
    ParameterSet mixLock;
    mixLock.set(kMix);
    ASSERT_EQ(manager.copyToMemo(), PresetFault::None);
    manager.selectSetup(1.0);
    choose(basic(2));
    double mix = 0.625;
    host.turn(kMix, mix);
    const auto keeps = [&](const char* what) {
        EXPECT_EQ(host.values[kMix], mix) << what;
        EXPECT_TRUE(host.agrees()) << what;
        EXPECT_FALSE(manager.modified()) << what;
    };
    manager.undo(mixLock);
    keeps("undo");
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    manager.redo(mixLock);
    keeps("redo");
    manager.selectSetup(0.0, mixLock);
    keeps("the other setup");
    ASSERT_EQ(manager.pasteFromMemo(mixLock), PresetFault::None);
    keeps("paste");
    host.turn(kMix, mix = 0.75);
    manager.copyAB(0, mixLock);
    keeps("copy");
    manager.undo();  // of the paste, which had not written it
    EXPECT_EQ(host.values[kMix], mix);
}

TEST_F(PresetManagerTest, TheSamePresetAgainIsNoChangeAndKeepsRedo) {
    choose(basic(2));
    choose(basic(3));
    manager.undo();
    choose(basic(2));
    EXPECT_TRUE(manager.canRedo());
    manager.undo();
    EXPECT_FALSE(manager.canUndo());
    choose(basic(5));
    EXPECT_FALSE(manager.canRedo());
}

TEST_F(PresetManagerTest, SetupsComeBackExactlyAsTheyWereLeft) {
    choose(basic(2));
    host.turn(kMix, 0.75);
    host.turn(kGlobalInput, 0.75);
    const auto a = manager.current();
    manager.selectSetup(0.5);
    EXPECT_EQ(manager.selectedSetup(), Setup::B);
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    EXPECT_EQ(host.values[kGlobalInput], 0.5);
    choose(basic(7));
    const auto b = manager.current();
    manager.selectSetup(0.49);
    EXPECT_EQ(manager.current(), a);
    EXPECT_TRUE(manager.modified());
    EXPECT_EQ(manager.location(), basic(2));
    EXPECT_TRUE(host.agrees());
    manager.copyAB(0);  // B over A, which is heard
    EXPECT_EQ(manager.current(), b);
    EXPECT_TRUE(host.agrees());
    host.turn(kMix, 0.125);
    const auto groups = host.groups.size();
    manager.copyAB(1);  // A over B, which isn't
    EXPECT_EQ(host.groups.size(), groups);
    manager.selectSetup(1.0);
    EXPECT_EQ(host.values[kMix], 0.125);
    EXPECT_TRUE(manager.modified());
}

TEST_F(PresetManagerTest, PastesAllParametersOfWhatAnotherInstanceCopied) {
    FakeHost otherHost;
    PresetManager other(otherHost, folder.path);
    otherHost.manager = &other;
    ASSERT_EQ(other.choose(basic(4)), PresetFault::None);
    otherHost.turn(kGlobalMix, 0.25);
    const auto clock = [] {
        const std::time_t now = std::time(nullptr);
        QVXPresetRecord named{};
        nameMemo(named, *std::localtime(&now));
        return std::string(presetName(named));
    };
    const std::string before = clock();
    ASSERT_EQ(other.copyToMemo(), PresetFault::None);
    const std::string after = clock();

    choose(basic(2));
    ASSERT_EQ(manager.pasteFromMemo(), PresetFault::None);
    EXPECT_EQ(host.groups.back().size(), 38u);
    EXPECT_EQ(host.values[kGlobalMix], 0.25);
    EXPECT_TRUE(host.agrees());
    EXPECT_FALSE(manager.modified());
    const std::string named = manager.nameDisplay().substr(3);
    EXPECT_TRUE(after < before || (before <= named && named <= after))
        << named << " is not from " << before << " to " << after;
    EXPECT_EQ(manager.location(), basic(kNotListed));

    // Two pastes stand at the same place, outside the lists, and are two changes all the same.
    const auto first = manager.current();
    otherHost.turn(kMix, 0.125);
    ASSERT_EQ(other.copyToMemo(), PresetFault::None);
    ASSERT_EQ(manager.pasteFromMemo(), PresetFault::None);
    const auto second = manager.current();
    manager.undo();
    EXPECT_EQ(manager.current().values[kMix], first.values[kMix]);
    manager.redo();
    EXPECT_EQ(manager.current(), second);
    EXPECT_FALSE(manager.canStep(-1));
    EXPECT_EQ(manager.step(1), PresetFault::None);
    EXPECT_EQ(manager.location(), basic(0));
}

TEST_F(PresetManagerTest, MemoWithBadBytesChangesNothingOrFallsBackToTheLastOne) {
    const auto store = [](const BlobBytes& blob) {
        ASSERT_FALSE(writeUserValue("MemoA", blob.bytes()));
    };
    auto bad = BlobBytes::current();
    bad.name("bad").parameter(kMix, 1.5f);
    store(bad);
    const auto before = manager.current();
    EXPECT_EQ(manager.pasteFromMemo(), PresetFault::NotAPreset);
    ASSERT_FALSE(writeUserValue("MemoA", std::as_bytes(std::span("x77", 3))));
    EXPECT_EQ(manager.pasteFromMemo(), PresetFault::NotAPreset);
    EXPECT_EQ(manager.current(), before);
    EXPECT_FALSE(manager.canUndo());

    host.turn(kMix, 0.25);
    ASSERT_EQ(manager.copyToMemo(), PresetFault::None);
    host.turn(kMix, 0.875);
    store(bad);
    EXPECT_EQ(manager.pasteFromMemo(), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.25);
    auto notANumber = BlobBytes::current();
    notANumber.parameter(kMix, std::nanf(""));
    store(notANumber);
    EXPECT_EQ(manager.pasteFromMemo(), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.0);
}

TEST(PresetMemo, IsNamedForTheMoment) {
    std::tm morning{};
    morning.tm_hour = 9;
    morning.tm_min = 5;
    morning.tm_sec = 7;
    QVXPresetRecord record{};
    nameMemo(record, morning);
    EXPECT_EQ(presetName(record), "clipboard 09:05:07");
}

}  // namespace
}  // namespace Quorvant
