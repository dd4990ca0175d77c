// The preset manager's files, and the states that name them.
#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"
#include "tests/presets/BlobBytes.h"
#include "tests/presets/PresetManagerRig.h"

#include <cstring>

namespace Quorvant {
namespace {

using Names = std::vector<std::string>;

class ManagedFilesTest : public PresetManagerTest {
  protected:
    static void put(const std::filesystem::path& path, std::size_t preset = 5) {
        ASSERT_EQ(savePreset(path, buildFactoryBank()[preset], {}), PresetFault::None);
    }
    // Name in the bar and place, of a setup that is not modified.
    void shows(std::string_view name, const PresetLocation& place) {
        EXPECT_EQ(manager.nameDisplay(), name);
        EXPECT_EQ(manager.location(), place);
        EXPECT_FALSE(manager.modified());
    }
};

TEST_F(ManagedFilesTest, SavesListsChoosesRenamesAndDeletes) {
    choose(basic(3));
    host.turn(kMix, 0.125);
    EXPECT_EQ(manager.proposedFileName(), "250ms delay.qvx");
    ASSERT_EQ(manager.save(folder / "Zebra"), PresetFault::None);
    shows("00: Zebra", file(0));
    const auto saved = manager.current();

    // The place follows the file when another one comes before it.
    put(folder / "apple.qvx");
    manager.refreshFolders();
    EXPECT_EQ(manager.presetNames(kFromFolder, 0), (Names{"apple", "Zebra"}));
    const int changes = host.changes;
    manager.refreshFolders();
    EXPECT_EQ(host.changes, changes) << "nothing has changed";
    shows("01: Zebra", file(1));

    EXPECT_EQ(manager.step(-1), PresetFault::None);
    shows("00: dotted 8th slow tape", file(0));
    EXPECT_EQ(manager.renameFile(file(1), "apple"), PresetFault::NameTaken);
    EXPECT_EQ(manager.renameFile(file(1), "a/b"), PresetFault::BadName);
    EXPECT_EQ(manager.renameFile(file(0), "zulu"), PresetFault::None);
    EXPECT_EQ(manager.location(), file(1));
    manager.undo();  // the history's places follow, too
    shows("00: Zebra", file(0));
    EXPECT_EQ(manager.current(), saved);

    EXPECT_EQ(manager.deleteFile(file(0)), PresetFault::None);
    EXPECT_FALSE(std::filesystem::exists(folder / "Zebra.qvx"));
    EXPECT_EQ(manager.nameDisplay(), "CP:Zebra");
    EXPECT_EQ(manager.current(), saved);
    EXPECT_EQ(manager.deleteFile(basic(0)), PresetFault::NotAFile);
    EXPECT_EQ(manager.revealFile(basic(0)), PresetFault::NotAFile);
    EXPECT_EQ(manager.revealFile(file(5)), PresetFault::NotFound);
}

TEST_F(ManagedFilesTest, SavingNamesTheSetupAfterTheFile) {
    const auto saves = [&](const std::string& fileName, std::string_view presetName) {
        ASSERT_EQ(manager.save(folder / fileName), PresetFault::None);
        QVXPresetRecord record{};
        EXPECT_EQ(loadPreset(folder / fileName, record), PresetFault::None);
        EXPECT_EQ(Quorvant::presetName(record), presetName);
    };
    manager.setName("a/b");  // no file can have this name: what is proposed for it keeps it
    EXPECT_EQ(manager.proposedFileName(), "a-b.qvx");
    saves("a-b.qvx", "a/b");
    shows("00: a/b", file(0));
    saves("Ein viel zu langer Näme.qvx", "Ein viel zu langer Näm");  // of 24 bytes
    shows("01: Ein viel zu langer Näm", file(1));

    EXPECT_EQ(manager.save(folder / "nowhere" / "c.qvx"), PresetFault::NoFolder);
    shows("01: Ein viel zu langer Näm", file(1));
    const TestFolder elsewhere;
    EXPECT_EQ(manager.save(elsewhere / "copy.qvx"), PresetFault::None);
    shows("CP:copy", file(kNotListed));
}

TEST_F(ManagedFilesTest, RenamingAFileRenamesThePresetThatIsNamedAfterIt) {
    const auto renames = [&](std::string_view name, std::string_view shown) {
        ASSERT_EQ(manager.renameFile(file(0), name), PresetFault::None);
        choose(basic(0));
        choose(file(0));
        EXPECT_EQ(manager.nameDisplay(), shown);
    };
    manager.selectSetup(1.0);
    manager.setName("one");  // by itself
    manager.selectSetup(0.0);
    ASSERT_EQ(manager.save(folder / "one.qvx"), PresetFault::None);
    host.turn(kMix, 0.125);
    renames("two", "00: two");
    manager.selectSetup(1.0);
    EXPECT_EQ(manager.nameDisplay(), "00: one");
    manager.selectSetup(0.0);
    manager.undo();
    manager.undo();  // what was saved as "one", and edited
    EXPECT_EQ(manager.nameDisplay(), "00: two");
    EXPECT_TRUE(manager.modified());
    renames("Two", "00: Two");
    manager.setName("my own");
    ASSERT_EQ(savePreset(folder / "Two", manager.current(), {}), PresetFault::None);
    renames("three", "00: my own");

    // A file of the earlier version changes in nothing but its name.
    const auto legacy = [](std::string_view name) {
        return BlobBytes::legacy().name(name).parameter(6, 0.25f).text;
    };
    writeBytes(folder / "old.qvx", legacy("old"));
    manager.refreshFolders();
    renames("older", "00: older");
    EXPECT_EQ(readBytes(folder / "older.qvx"), legacy("older"));
}

TEST_F(ManagedFilesTest, FilesThatWentOrAreNoPresetsAreToldAndSteppedOver) {
    for (const char* name : {"1", "3", "5"}) put(folder / name);
    for (const char* name : {"2", "4", "6"})
        writeBytes(folder / (std::string(name) + ".qvx"), "no preset");
    EXPECT_EQ(manager.presetNames(kFromFolder, 0), (Names{"1", "2", "3", "4", "5", "6"}));
    EXPECT_EQ(manager.choose(file(1)), PresetFault::NotAPreset);
    EXPECT_EQ(manager.loadFile(folder / "nowhere.qvx"), PresetFault::NotFound);
    EXPECT_EQ(manager.current(), buildFactoryBank()[0]);
    EXPECT_TRUE(host.groups.empty());
    choose(file(0));
    std::filesystem::remove(folder / "3.qvx");  // and the list doesn't know yet
    EXPECT_EQ(manager.choose(file(2)), PresetFault::NotFound);
    EXPECT_EQ(manager.presetNames(kFromFolder, 0), (Names{"1", "2", "4", "5", "6"}));
    std::filesystem::remove(folder / "4.qvx");
    Names leftOut;
    EXPECT_EQ(manager.step(1, {}, &leftOut), PresetFault::None);
    EXPECT_EQ(manager.location(), file(2));
    EXPECT_EQ(leftOutText(leftOut), "Left out: 2, 4");
    EXPECT_EQ(manager.step(1), PresetFault::NotAPreset) << "none that loads is left";
    EXPECT_EQ(manager.location(), file(2));
    EXPECT_EQ(manager.step(-1), PresetFault::None);
    EXPECT_EQ(manager.location(), file(0));
}

TEST_F(ManagedFilesTest, LoadsByNameFromTheTreeOnly) {
    std::filesystem::create_directories(folder / "sub");
    put(folder / "sub/one.qvx");
    EXPECT_EQ(manager.loadByName("one", "sub"), PresetFault::None);
    EXPECT_EQ(manager.nameDisplay(), "CP:dotted 8th slow tape");
    EXPECT_TRUE(manager.canUndo());
    EXPECT_EQ(manager.loadByName("one", ""), PresetFault::NotFound);
    EXPECT_EQ(manager.loadByName("../one", "sub"), PresetFault::BadName);
    EXPECT_EQ(manager.loadByName("C:one", "sub"), PresetFault::BadName);
    EXPECT_EQ(manager.loadByName("one", ".."), PresetFault::BadName);
}

TEST_F(ManagedFilesTest, StateBringsBackBothSetups) {
    std::filesystem::create_directories(folder / "sub");
    choose(basic(4));
    ASSERT_EQ(manager.save(folder / "sub/Über.qvx"), PresetFault::None);
    host.turn(kMix, 0.75);
    manager.selectSetup(1.0);
    choose({kFromDesigner, 0, 3});
    const auto state = manager.saveState();

    // By then another folder and another file stand before it.
    std::filesystem::create_directories(folder / "a");
    put(folder / "sub/a.qvx");
    FakeHost later(folder.path);
    ASSERT_EQ(later.manager.choose(basic(6)), PresetFault::None);
    later.groups.clear();
    later.manager.restoreState(state, host.values);
    EXPECT_TRUE(later.groups.empty());  // the host's own state holds the parameters
    EXPECT_FALSE(later.manager.canUndo() || later.manager.canRedo());
    EXPECT_EQ(later.manager.selectedSetup(), Setup::B);
    EXPECT_EQ(later.manager.current(), manager.current());
    EXPECT_EQ(later.manager.location(), (PresetLocation{kFromDesigner, 0, 3}));
    later.manager.selectSetup(0.0);
    EXPECT_EQ(later.values[kMix], 0.75);
    EXPECT_TRUE(later.manager.modified());
    EXPECT_EQ(later.manager.location(), file(1, 2));

    // What the parameters really are holds against the block, and a file that went is none.
    std::filesystem::remove_all(folder / "sub");
    host.values[kFeedback] = 0.875;
    FakeHost third(folder.path);
    third.manager.restoreState(state, host.values);
    EXPECT_EQ(third.manager.current().values[kFeedback], 0.875f);
    EXPECT_TRUE(third.manager.modified());
    third.manager.selectSetup(0.0);
    EXPECT_EQ(third.manager.location().preset, kNotListed);
}

TEST_F(ManagedFilesTest, StatesNameFilesBelowThePresetFolderOnly) {
    ASSERT_EQ(manager.save(folder / "one.qvx"), PresetFault::None);
    auto state = manager.saveState();
    const std::string name = state.setups[0].file;
    const std::string absolute = utf8FromPath(folder / name);
    const std::string above = "../" + utf8FromPath(folder.path.filename()) + "/" + name;
    for (const std::string& path :
         {name, above, "./" + name, absolute, "/" + name, "\\\\?\\" + absolute, "C:" + name}) {
        state.setups[0].file = path;
        manager.restoreState(state, host.values);
        EXPECT_EQ(manager.location(), file(path == name ? 0 : kNotListed)) << path;
    }
    state.setups[0].slot.location = basic(999);
    manager.restoreState(state, host.values);
    EXPECT_EQ(manager.location(), basic(kNotListed));
}

TEST_F(ManagedFilesTest, StateIsReadWholeOrNotAtAll) {
    ASSERT_EQ(manager.save(folder / "file.qvx"), PresetFault::None);
    manager.selectSetup(1.0);
    auto block = serialiseSetups(manager.saveState());
    EXPECT_EQ(parseSetups(block), manager.saveState());
    for (std::size_t length = 0; length < block.size(); ++length)
        ASSERT_FALSE(parseSetups(std::span(block).first(length))) << length;
    struct Fault {
        const char* what;
        std::size_t offset;
        uint32_t word;
    };
    constexpr Fault kFaults[] = {{"magic", 0, 1},
                                 {"version", 4, 2},
                                 {"selection", 8, 2},
                                 {"a name without an end", 32, 0x61616161},
                                 {"a value of -0.5", 36, 0xBF000000},
                                 {"not-a-number", 40, 0x7FC00000},
                                 {"flag", 364, 2},
                                 {"source", 368, 3},
                                 {"list", 372, 0x80000000},
                                 {"length of the file's name", 380, 0xFFFFFFFF}};
    for (const auto& [what, offset, word] : kFaults) {
        auto bad = block;
        std::memcpy(bad.data() + offset, &word, sizeof word);
        EXPECT_FALSE(parseSetups(bad)) << what;
    }
    block.push_back({});
    EXPECT_FALSE(parseSetups(block)) << "a byte too many";
}

}  // namespace
}  // namespace Quorvant
