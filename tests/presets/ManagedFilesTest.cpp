// The preset manager's files, and the states that name them.
#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"
#include "tests/presets/BlobBytes.h"
#include "tests/presets/PresetManagerRig.h"

#include <gtest/gtest.h>

#include <cstring>

namespace Quorvant {
namespace {

class ManagedFilesTest : public PresetManagerTest {};

TEST_F(ManagedFilesTest, SavesListsChoosesRenamesAndDeletes) {
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

TEST_F(ManagedFilesTest, SavingNamesTheSetupAfterTheFile) {
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

TEST_F(ManagedFilesTest, RenamingAFileRenamesThePresetThatIsNamedAfterIt) {
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

TEST_F(ManagedFilesTest, FilesThatWentOrAreNoPresetsAreToldAndChangeNothing) {
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

TEST_F(ManagedFilesTest, StepsOverFilesThatDoNotLoadAndTellsWhich) {
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

TEST_F(ManagedFilesTest, LoadsByNameFromTheTreeOnly) {
    std::filesystem::create_directories(folder / "sub");
    ASSERT_EQ(savePreset(folder / "sub/one.qvx", buildFactoryBank()[5], {}), PresetFault::None);
    EXPECT_EQ(manager.loadByName("one", "sub"), PresetFault::None);
    EXPECT_EQ(manager.nameDisplay(), "CP:dotted 8th slow tape");
    EXPECT_TRUE(manager.canUndo());
    EXPECT_EQ(manager.loadByName("one", ""), PresetFault::NotFound);
    EXPECT_EQ(manager.loadByName("../one", "sub"), PresetFault::BadName);
    EXPECT_EQ(manager.loadByName("one", ".."), PresetFault::BadName);
}

TEST_F(ManagedFilesTest, VanishedFolderIsToldAndComesBack) {
    std::filesystem::remove_all(folder.path);
    EXPECT_EQ(manager.save(folder / "x.qvx"), PresetFault::NoFolder);
    manager.refreshFolders();
    EXPECT_EQ(manager.listNames(kFromFolder).size(), 1u);
    EXPECT_EQ(manager.ensureMainFolder(), PresetFault::None);
    EXPECT_EQ(manager.save(folder / "x.qvx"), PresetFault::None);
}

// State

TEST_F(ManagedFilesTest, StateBringsBackBothSetups) {
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

TEST_F(ManagedFilesTest, StatesNameFilesBelowThePresetFolderOnly) {
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

TEST_F(ManagedFilesTest, StateIsReadWholeOrNotAtAll) {
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

TEST_F(ManagedFilesTest, NothingIsLeftToUndoAfterAState) {
    choose(basic(4));
    const auto state = manager.saveState();
    choose(basic(6));
    manager.restoreState(state, host.values);
    EXPECT_EQ(manager.location(), basic(4));
    EXPECT_FALSE(manager.canUndo() || manager.canRedo());
}

}  // namespace
}  // namespace Quorvant
