#include "platform/UserStore.h"
#include "presets/PresetFile.h"
#include "presets/PresetManager.h"
#include "presets/PresetTexts.h"
#include "tests/presets/BlobBytes.h"
#include "tests/presets/FakeHost.h"
#include "tests/presets/TestFolder.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Quorvant {
namespace {

class PresetManagerTest : public testing::Test {
  protected:
    PresetManagerTest() { host.manager = &manager; }

    static PresetLocation basic(int32_t preset) { return {kFromCategory, 1, preset}; }
    void choose(const PresetLocation& place) {
        ASSERT_EQ(manager.choose(place), PresetFault::None);
    }

    TestFolder folder;
    FakeHost host;
    PresetManager manager{host, folder.path};
};

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

// Files

TEST_F(PresetManagerTest, SavesListsChoosesRenamesAndDeletes) {
    choose(basic(3));
    host.turn(kMix, 0.125);
    EXPECT_EQ(manager.proposedFileName(), "250ms delay.qvx");
    ASSERT_EQ(manager.save(folder / "Zebra"), PresetFault::None);
    EXPECT_EQ(readBytes(folder / "Zebra.qvx").size(), 1425u);
    EXPECT_EQ(manager.location(), (PresetLocation{kFromFolder, 0, 0}));
    EXPECT_EQ(manager.nameDisplay(), "00: Zebra");
    EXPECT_FALSE(manager.modified());
    const auto saved = manager.current();

    // The place follows the file when another one comes before it.
    ASSERT_EQ(savePreset(folder / "apple.qvx", buildFactoryBank()[5], {}), PresetFault::None);
    manager.refreshFolders();
    EXPECT_EQ(manager.presetNames(kFromFolder, 0), (std::vector<std::string>{"apple", "Zebra"}));
    const int changes = host.changes;
    manager.refreshFolders();
    EXPECT_EQ(host.changes, changes) << "nothing has changed";
    EXPECT_EQ(manager.location(), (PresetLocation{kFromFolder, 0, 1}));

    EXPECT_EQ(manager.step(-1), PresetFault::None);
    EXPECT_EQ(manager.nameDisplay(), "00: dotted 8th slow tape");
    EXPECT_EQ(manager.renameFile({kFromFolder, 0, 1}, "apple"), PresetFault::NameTaken);
    EXPECT_EQ(manager.renameFile({kFromFolder, 0, 1}, "a/b"), PresetFault::BadName);
    EXPECT_EQ(manager.renameFile({kFromFolder, 0, 0}, "zulu"), PresetFault::None);
    EXPECT_EQ(manager.location(), (PresetLocation{kFromFolder, 0, 1}));
    manager.undo();  // the history's places follow, too
    EXPECT_EQ(manager.location(), (PresetLocation{kFromFolder, 0, 0}));
    EXPECT_EQ(manager.current(), saved);

    EXPECT_EQ(manager.deleteFile({kFromFolder, 0, 0}), PresetFault::None);
    EXPECT_FALSE(std::filesystem::exists(folder / "Zebra.qvx"));
    EXPECT_EQ(manager.nameDisplay(), "CP:Zebra");
    EXPECT_EQ(manager.current(), saved);
    EXPECT_EQ(manager.deleteFile({kFromCategory, 0, 0}), PresetFault::NotAFile);
    EXPECT_EQ(manager.revealFile({kFromDesigner, 0, 0}), PresetFault::NotAFile);
    EXPECT_EQ(manager.revealFile({kFromFolder, 0, 5}), PresetFault::NotFound);
}

TEST_F(PresetManagerTest, SavingNamesTheSetupAfterTheFile) {
    const auto nameIn = [](const std::filesystem::path& file) {
        QVXPresetRecord record{};
        EXPECT_EQ(loadPreset(file, record), PresetFault::None);
        return std::string(presetName(record));
    };
    manager.setName("a/b");  // no file can have this name: what is proposed for it keeps it
    ASSERT_EQ(manager.save(folder / manager.proposedFileName()), PresetFault::None);
    EXPECT_EQ(nameIn(folder / "a-b.qvx"), "a/b");
    EXPECT_EQ(manager.nameDisplay(), "00: a/b");
    EXPECT_FALSE(manager.modified());

    const std::string longName = "Ein viel zu langer Näme";  // 24 bytes
    ASSERT_EQ(manager.save(folder / (longName + ".qvx")), PresetFault::None);
    EXPECT_EQ(nameIn(folder / (longName + ".qvx")), "Ein viel zu langer Näm");
    EXPECT_EQ(manager.nameDisplay(), "01: Ein viel zu langer Näm");
    EXPECT_FALSE(manager.modified());

    EXPECT_EQ(manager.save(folder / "nowhere" / "c.qvx"), PresetFault::NoFolder);
    EXPECT_EQ(manager.nameDisplay(), "01: Ein viel zu langer Näm");
    const TestFolder elsewhere;
    EXPECT_EQ(manager.save(elsewhere / "copy.qvx"), PresetFault::None);
    EXPECT_EQ(manager.nameDisplay(), "CP:copy");
}

TEST_F(PresetManagerTest, RenamingAFileRenamesThePresetThatIsNamedAfterIt) {
    const auto shownAfterChoosing = [&](int32_t preset) {
        choose(basic(0));
        choose({kFromFolder, 0, preset});
        return manager.nameDisplay();
    };
    ASSERT_EQ(manager.save(folder / "one.qvx"), PresetFault::None);
    host.turn(kMix, 0.125);
    ASSERT_EQ(manager.renameFile({kFromFolder, 0, 0}, "two"), PresetFault::None);
    EXPECT_EQ(manager.nameDisplay(), "00: two");
    EXPECT_TRUE(manager.modified());
    EXPECT_EQ(shownAfterChoosing(0), "00: two");
    manager.undo();
    manager.undo();  // what was saved as "one"
    EXPECT_EQ(manager.nameDisplay(), "00: two");
    manager.redo();
    manager.redo();
    EXPECT_EQ(host.values[kMix], 0.5);
    manager.setName("my own");
    ASSERT_EQ(savePreset(folder / "two", manager.current(), {}), PresetFault::None);
    ASSERT_EQ(manager.renameFile({kFromFolder, 0, 0}, "three"), PresetFault::None);
    EXPECT_EQ(shownAfterChoosing(0), "00: my own");

    // A file of the earlier version changes in nothing but its name.
    const auto legacy = [](std::string_view name) {
        return BlobBytes::legacy().name(name).parameter(6, 0.25f).text;
    };
    writeBytes(folder / "old.qvx", legacy("old"));
    manager.refreshFolders();
    ASSERT_EQ(manager.renameFile({kFromFolder, 0, 0}, "older"), PresetFault::None);
    EXPECT_EQ(shownAfterChoosing(0), "00: older");
    EXPECT_EQ(readBytes(folder / "older.qvx"), legacy("older"));
}

TEST_F(PresetManagerTest, FilesThatWentOrAreNoPresetsAreToldAndChangeNothing) {
    ASSERT_EQ(savePreset(folder / "here.qvx", buildFactoryBank()[5], {}), PresetFault::None);
    writeBytes(folder / "noise.qvx", std::string(5000, '#'));
    writeBytes(folder / "empty.qvx", "");
    EXPECT_EQ(manager.presetNames(kFromFolder, 0),
              (std::vector<std::string>{"empty", "here", "noise"}));
    const auto before = manager.current();
    EXPECT_EQ(manager.choose({kFromFolder, 0, 0}), PresetFault::NotAPreset);
    EXPECT_EQ(manager.choose({kFromFolder, 0, 2}), PresetFault::NotAPreset);
    std::filesystem::remove(folder / "here.qvx");
    EXPECT_EQ(manager.choose({kFromFolder, 0, 1}), PresetFault::NotFound);
    EXPECT_EQ(manager.presetNames(kFromFolder, 0), (std::vector<std::string>{"empty", "noise"}));
    EXPECT_EQ(manager.loadFile(folder / "nowhere.qvx"), PresetFault::NotFound);
    EXPECT_EQ(manager.current(), before);
    EXPECT_TRUE(host.groups.empty());
}

TEST_F(PresetManagerTest, StepsOverFilesThatDoNotLoadAndTellsWhich) {
    for (const char* name : {"1", "5"})
        ASSERT_EQ(savePreset(folder / name, buildFactoryBank()[5], {}), PresetFault::None);
    for (const char* name : {"2", "3", "4", "6"})
        writeBytes(folder / (std::string(name) + ".qvx"), "no preset");
    choose({kFromFolder, 0, 0});
    std::filesystem::remove(folder / "3.qvx");  // and the list doesn't know yet
    std::vector<std::string> leftOut;
    EXPECT_EQ(manager.step(1, {}, &leftOut), PresetFault::None);
    EXPECT_EQ(manager.location(), (PresetLocation{kFromFolder, 0, 3}));
    EXPECT_EQ(leftOutText(leftOut), "Left out: 2, 3, 4");
    EXPECT_EQ(manager.step(1), PresetFault::NotAPreset) << "none that loads is left";
    EXPECT_EQ(manager.location(), (PresetLocation{kFromFolder, 0, 3}));
    EXPECT_EQ(manager.step(-1), PresetFault::None);
    EXPECT_EQ(manager.location(), (PresetLocation{kFromFolder, 0, 0}));
}

TEST_F(PresetManagerTest, LoadsByNameFromTheTreeOnly) {
    std::filesystem::create_directories(folder / "sub");
    ASSERT_EQ(savePreset(folder / "sub/one.qvx", buildFactoryBank()[5], {}), PresetFault::None);
    EXPECT_EQ(manager.loadByName("one", "sub"), PresetFault::None);
    EXPECT_EQ(manager.nameDisplay(), "CP:dotted 8th slow tape");
    EXPECT_TRUE(manager.canUndo());
    EXPECT_EQ(manager.loadByName("one", ""), PresetFault::NotFound);
    EXPECT_EQ(manager.loadByName("../one", "sub"), PresetFault::BadName);
    EXPECT_EQ(manager.loadByName("one", ".."), PresetFault::BadName);
}

TEST_F(PresetManagerTest, VanishedFolderIsToldAndComesBack) {
    std::filesystem::remove_all(folder.path);
    EXPECT_EQ(manager.save(folder / "x.qvx"), PresetFault::NoFolder);
    manager.refreshFolders();
    EXPECT_EQ(manager.listNames(kFromFolder).size(), 1u);
    EXPECT_EQ(manager.ensureMainFolder(), PresetFault::None);
    EXPECT_EQ(manager.save(folder / "x.qvx"), PresetFault::None);
}

// State

TEST_F(PresetManagerTest, StateBringsBackBothSetups) {
    std::filesystem::create_directories(folder / "sub");
    choose(basic(4));
    ASSERT_EQ(manager.save(folder / "sub/Über.qvx"), PresetFault::None);
    host.turn(kMix, 0.75);
    manager.selectSetup(1.0);
    choose({kFromDesigner, 0, 3});
    const auto state = manager.saveState();
    const auto b = manager.current();

    // By then another folder and another file stand before it.
    std::filesystem::create_directories(folder / "a");
    ASSERT_EQ(savePreset(folder / "sub/a.qvx", b, {}), PresetFault::None);
    FakeHost newHost;
    PresetManager later(newHost, folder.path);
    newHost.manager = &later;
    later.restoreState(state, host.values);
    EXPECT_TRUE(newHost.groups.empty());  // the host's own state holds the parameters
    EXPECT_EQ(later.selectedSetup(), Setup::B);
    EXPECT_EQ(later.current(), b);
    EXPECT_EQ(later.location(), (PresetLocation{kFromDesigner, 0, 3}));
    later.selectSetup(0.0);
    EXPECT_EQ(newHost.values[kMix], 0.75);
    EXPECT_TRUE(later.modified());
    EXPECT_EQ(later.location(), (PresetLocation{kFromFolder, 2, 1}));
    later.selectSetup(1.0);

    // What the parameters really are holds against the block, and a file that went is none.
    std::filesystem::remove_all(folder / "sub");
    auto live = host.values;
    live[kFeedback] = 0.875;
    PresetManager third(newHost, folder.path);
    third.restoreState(state, live);
    EXPECT_EQ(third.current().values[kFeedback], 0.875f);
    EXPECT_TRUE(third.modified());
    newHost.manager = &third;
    third.selectSetup(0.0);
    EXPECT_EQ(third.location().preset, kNotListed);
}

TEST_F(PresetManagerTest, StatesNameFilesBelowThePresetFolderOnly) {
    const std::filesystem::path main = folder / "presets";
    std::filesystem::create_directories(main);
    PresetManager inMain(host, main);
    host.manager = &inMain;
    ASSERT_EQ(inMain.save(main / "one.qvx"), PresetFault::None);
    auto state = inMain.saveState();
    const std::string name = state.setups[0].file;
    inMain.restoreState(state, host.values);
    EXPECT_EQ(inMain.location(), (PresetLocation{kFromFolder, 0, 0}));
    const std::string absolute = utf8FromPath(main / name);
    for (const std::string& path : {"../presets/" + name, "./" + name, absolute, "/" + name,
                                    "\\\\?\\" + absolute, "C:" + name, std::string("NUL")}) {
        state.setups[0].file = path;
        inMain.restoreState(state, host.values);
        EXPECT_EQ(inMain.location().preset, kNotListed) << path;
    }
    EXPECT_EQ(inMain.loadByName("C:one", ""), PresetFault::BadName);
}

TEST_F(PresetManagerTest, StateIsReadWholeOrNotAtAll) {
    ASSERT_EQ(manager.save(folder / "file.qvx"), PresetFault::None);
    manager.selectSetup(1.0);
    const auto good = serialiseSetups(manager.saveState());
    EXPECT_EQ(parseSetups(good), manager.saveState());
    for (std::size_t length = 0; length < good.size(); ++length)
        ASSERT_FALSE(parseSetups(std::span(good).first(length))) << length;
    auto longer = good;
    longer.push_back({});
    EXPECT_FALSE(parseSetups(longer));
    // Magic, version, selection, a name without an end, a value of -0.5, not-a-number, the flag,
    // the source, the list, the length of the file's name.
    constexpr std::pair<std::size_t, uint32_t> kFaults[] = {{0, 1},
                                                            {4, 2},
                                                            {8, 2},
                                                            {12 + 20, 0x61616161},
                                                            {36, 0xBF000000},
                                                            {40, 0x7FC00000},
                                                            {12 + 352, 2},
                                                            {12 + 356, 3},
                                                            {12 + 360, 0x80000000},
                                                            {12 + 368, 0xFFFFFFFF}};
    for (const auto& [offset, word] : kFaults) {
        auto bad = good;
        std::memcpy(bad.data() + offset, &word, sizeof word);
        EXPECT_FALSE(parseSetups(bad)) << offset;
    }
}

TEST_F(PresetManagerTest, NothingIsLeftToUndoAfterAState) {
    choose(basic(4));
    const auto state = manager.saveState();
    choose(basic(6));
    manager.restoreState(state, host.values);
    EXPECT_EQ(manager.location(), basic(4));
    EXPECT_FALSE(manager.canUndo() || manager.canRedo());
}

}  // namespace
}  // namespace Quorvant
