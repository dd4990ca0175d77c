// The preset manager's files, and the states that name them.
#include "presets/PresetFile.h"
#include "presets/PresetTexts.h"
#include "tests/presets/BlobBytes.h"
#include "tests/presets/PresetManagerRig.h"

#include <bit>

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
    shows("01: Zebra", file(1));

    EXPECT_EQ(manager.step(-1), PresetFault::None);
    shows("00: dotted 8th slow tape", file(0));
    EXPECT_EQ(manager.renameFile(file(1), "a/b"), PresetFault::BadName);
    EXPECT_EQ(manager.renameFile(file(1), "apple"), PresetFault::NameTaken);
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
    EXPECT_EQ(manager.revealFile(file(5)), PresetFault::NotFound);
}

TEST_F(ManagedFilesTest, SavingNamesTheSetupAfterTheFile) {
    manager.setName("a/b");  // no file can have this name: what is proposed for it keeps it
    EXPECT_EQ(manager.proposedFileName(), "a-b.qvx");
    const std::pair<const char*, const char*> names[] = {
        {"a-b.qvx", "a/b"},
        {"Ein viel zu langer Näme.qvx", "Ein viel zu langer Näm"}};  // of 24 bytes
    for (const auto& [fileName, name] : names) {
        ASSERT_EQ(manager.save(folder / fileName), PresetFault::None);
        QVXPresetRecord record{};
        EXPECT_EQ(loadPreset(folder / fileName, record), PresetFault::None);
        EXPECT_EQ(presetName(record), name);
    }
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
    manager.setName("one");  // by itself
    manager.selectSetup(1.0);
    ASSERT_EQ(manager.save(folder / "one.qvx"), PresetFault::None);
    renames("two", "00: two");
    renames("Two", "00: Two");
    for (int i = 0; i < 4; ++i) manager.undo();
    EXPECT_EQ(manager.nameDisplay(), "00: Two") << "what was saved as \"one\"";
    manager.setName("my own");
    ASSERT_EQ(savePreset(folder / "Two", manager.current(), {}), PresetFault::None);
    renames("three", "00: my own");
    manager.selectSetup(0.0);
    EXPECT_EQ(manager.nameDisplay(), "00: one");

    // A file of the earlier version changes in nothing but its name.
    const auto old = BlobBytes::legacy().name("0").parameter(6, 0.25f);
    writeBytes(folder / "0.qvx", old.text);
    manager.refreshFolders();
    renames("00", "00: 00");
    EXPECT_EQ(readBytes(folder / "00.qvx"),
              BlobBytes::legacy().name("00").parameter(6, 0.25f).text);
}

TEST_F(ManagedFilesTest, FilesThatWentOrAreNoPresetsAreToldAndSteppedOver) {
    for (const char* name : {"1", "3", "5"}) put(folder / name);
    for (const char* name : {"2", "4", "6"})
        writeBytes(folder / (std::string(name) + ".qvx"), "no preset");
    EXPECT_EQ(manager.presetNames(kFromFolder, 0), (Names{"1", "2", "3", "4", "5", "6"}));
    EXPECT_EQ(manager.choose(file(1)), PresetFault::NotAPreset);
    EXPECT_EQ(manager.loadFile(folder / "nowhere.qvx"), PresetFault::NotFound);
    EXPECT_TRUE(host.groups.empty());
    EXPECT_EQ(manager.loadFile(folder / "1.qvx"), PresetFault::None);
    EXPECT_EQ(manager.location(), basic(kNotListed));
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

TEST_F(ManagedFilesTest, StateBringsBackBothSetups) {
    std::filesystem::create_directories(folder / "sub");
    choose(basic(4));
    ASSERT_EQ(manager.save(folder / "sub/Über.qvx"), PresetFault::None);
    host.turn(kMix, 0.75);
    manager.selectSetup(1.0);
    choose({kFromDesigner, 0, 3});
    auto state = manager.saveState();

    // By then another folder and another file stand before it, and what the parameters really are
    // holds against the block.
    std::filesystem::create_directories(folder / "a");
    put(folder / "sub/a.qvx");
    host.values[kFeedback] = 0.875;
    FakeHost later(folder.path);
    PresetManager& restored = later.manager;
    ASSERT_EQ(restored.choose(basic(6)), PresetFault::None);
    later.groups.clear();
    restored.restoreState(state, host.values);
    EXPECT_TRUE(later.groups.empty());  // the host's own state holds the parameters
    EXPECT_FALSE(restored.canUndo() || restored.canRedo());
    EXPECT_EQ(restored.selectedSetup(), Setup::B);
    EXPECT_EQ(restored.nameDisplay(), manager.nameDisplay());
    EXPECT_EQ(restored.location(), (PresetLocation{kFromDesigner, 0, 3}));
    EXPECT_EQ(restored.current().values[kFeedback], 0.875f);
    EXPECT_TRUE(restored.modified());
    restored.selectSetup(0.0);
    EXPECT_EQ(later.values[kMix], 0.75);
    EXPECT_TRUE(restored.modified());
    EXPECT_EQ(restored.location(), file(1, 2));

    // A file that went is none, and what lies outside the preset folder isn't looked for.
    const std::string path = state.setups[0].file;
    const std::string above = "../" + utf8FromPath(folder.path.filename()) + "/";
    for (const std::string& other :
         {std::string("sub/gone.qvx"), above + path, utf8FromPath(folder / path)}) {
        state.setups[0].file = other;
        restored.restoreState(state, host.values);
        restored.selectSetup(0.0);
        EXPECT_EQ(restored.location().preset, kNotListed) << other;
    }
    state.setups[0].slot.location = basic(999);
    restored.restoreState(state, host.values);
    restored.selectSetup(0.0);
    EXPECT_EQ(restored.location(), basic(kNotListed));
}

TEST_F(ManagedFilesTest, StateIsWrittenByteForByteAndReadWholeOrNotAtAll) {
    SavedSetups saved;
    saved.selected = Setup::B;
    BlobBytes block(false);
    block.word(0x53505851).word(1).word(1);
    for (auto& [slot, file] : saved.setups) {
        for (QVXPresetRecord* record : {&slot.current, &slot.loaded}) {
            *record = buildFactoryBank()[record == &slot.current ? 7 : 40];
            block.text.append(record->name, 24);
            for (const float value : record->values) block.word(std::bit_cast<uint32_t>(value));
        }
        slot.modified = true;
        slot.location = {kFromFolder, 3, 4};
        file = "sub/a";
        block.word(1).word(2).word(3).word(4).word(5);
        block.text += file;
    }
    EXPECT_TRUE(std::ranges::equal(serialiseSetups(saved), block.bytes()));
    EXPECT_EQ(parseSetups(block.bytes()), saved);

    for (std::size_t length = 0; length < block.text.size(); ++length)
        ASSERT_FALSE(parseSetups(block.bytes().first(length))) << length;
    constexpr std::pair<std::size_t, uint32_t> kFaults[] = {
        {0, 1},             // the mark
        {4, 2},             // version
        {8, 2},             // selection
        {32, 0x61616161},   // a name without an end
        {36, 0xBF000000},   // a value of -0.5
        {40, 0x7FC00000},   // not-a-number
        {364, 2},           // flag
        {368, 3},           // source
        {372, 0x80000000},  // list
        {380, 0xFFFFFFFF},  // length of the file's name
    };
    for (const auto& [offset, word] : kFaults) {
        BlobBytes bad = block;
        bad.text.replace(offset, 4, BlobBytes(false).word(word).text);
        EXPECT_FALSE(parseSetups(bad.bytes())) << offset;
    }
    block.text += '\0';  // a byte too many
    EXPECT_FALSE(parseSetups(block.bytes()));
}

}  // namespace
}  // namespace Quorvant
