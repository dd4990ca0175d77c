// Copying and pasting by way of the memo, which all tests of this program keep away from the
// user's.
#include "platform/UserStore.h"
#include "tests/presets/BlobBytes.h"
#include "tests/presets/PresetManagerRig.h"

#include <cstdlib>

#ifdef _WIN32
#include <process.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace Quorvant {
namespace {

// A home, or a branch of the registry, for this process.
class OwnHome : public testing::Environment {
  public:
    void SetUp() override {
#ifdef _WIN32
        HKEY branch = nullptr;
        RegCreateKeyExA(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &branch, nullptr);
        ASSERT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, branch), ERROR_SUCCESS);
        RegCloseKey(branch);
#else
        std::filesystem::create_directories(home);
        setenv("HOME", home.c_str(), 1);
        unsetenv("XDG_CONFIG_HOME");
#endif
    }
    void TearDown() override {
#ifdef _WIN32
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegDeleteTreeA(HKEY_CURRENT_USER, name.c_str());
#else
        std::filesystem::remove_all(home);
#endif
    }

  private:
    const std::string name = "corvane-tests-" + std::to_string(getpid());
    const std::filesystem::path home = std::filesystem::temp_directory_path() / name;
};
const auto* const kHome = testing::AddGlobalTestEnvironment(new OwnHome);

using MemoTest = PresetManagerTest;

TEST_F(MemoTest, PastesAllParametersOfWhatAnotherInstanceCopied) {
    FakeHost other(folder.path);
    other.turn(kGlobalMix, 0.25);
    ASSERT_EQ(other.manager.copyToMemo(), PresetFault::None);
    choose(basic(2));
    ASSERT_EQ(manager.pasteFromMemo(), PresetFault::None);
    EXPECT_EQ(host.groups.back().size(), 38u);
    EXPECT_EQ(host.values[kGlobalMix], 0.25);
    EXPECT_TRUE(host.agrees());
    EXPECT_FALSE(manager.modified());
    EXPECT_TRUE(manager.nameDisplay().starts_with("CP:clipboard ")) << manager.nameDisplay();
    EXPECT_EQ(manager.location(), basic(kNotListed));

    // Two pastes stand at the same place, outside the lists, and are two changes all the same.
    const auto first = manager.current();
    other.turn(kMix, 0.125);
    ASSERT_EQ(other.manager.copyToMemo(), PresetFault::None);
    ASSERT_EQ(manager.pasteFromMemo(), PresetFault::None);
    const auto second = manager.current();
    manager.undo();
    EXPECT_EQ(manager.current(), first);
    manager.redo();
    EXPECT_EQ(manager.current(), second);
    EXPECT_FALSE(manager.canStep(-1));
    EXPECT_EQ(manager.step(1), PresetFault::None);
    EXPECT_EQ(manager.location(), basic(0));
}

TEST_F(MemoTest, MemoWithBadBytesChangesNothingOrFallsBackToTheLastOne) {
    const auto pasted = [&](std::span<const std::byte> bytes) {
        EXPECT_FALSE(writeUserValue("MemoA", bytes));
        return manager.pasteFromMemo();
    };
    const auto bad = BlobBytes::current().name("bad").parameter(kMix, 1.5f);
    const auto before = manager.current();
    EXPECT_EQ(pasted(bad.bytes()), PresetFault::NotAPreset);
    EXPECT_EQ(pasted(bad.bytes().first(3)), PresetFault::NotAPreset);
    EXPECT_EQ(manager.current(), before);
    EXPECT_FALSE(manager.canUndo());

    host.turn(kMix, 0.25);
    ASSERT_EQ(manager.copyToMemo(), PresetFault::None);
    host.turn(kMix, 0.875);
    EXPECT_EQ(pasted(bad.bytes()), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.25);
    EXPECT_EQ(pasted(BlobBytes::current().parameter(kMix, 0.375f).bytes()), PresetFault::None);
    host.turn(kMix, 0.875);
    EXPECT_EQ(pasted(bad.bytes()), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.375);
}

TEST(MemoName, IsNamedForTheMoment) {
    std::tm evening{};
    evening.tm_hour = 21;
    evening.tm_min = 5;
    evening.tm_sec = 7;
    QVXPresetRecord record{};
    nameMemo(record, evening);
    EXPECT_EQ(presetName(record), "clipboard 21:05:07");
}

#ifndef _WIN32
TEST_F(MemoTest, LiesWhereOtherProgramsFindItAndMayBeMissingOrOutOfReach) {
    const auto configuration = folder / "config";
    setenv("XDG_CONFIG_HOME", configuration.c_str(), 1);
    EXPECT_EQ(manager.pasteFromMemo(), PresetFault::NothingToPaste);
    EXPECT_EQ(manager.copyToMemo(), PresetFault::None);
    EXPECT_EQ(readBytes(configuration / "Quorvant/QVX77x/MemoA").size(), 1425u);
    std::filesystem::remove_all(configuration);
    writeBytes(configuration, "a file where the folder should be");
    EXPECT_NE(manager.copyToMemo(), PresetFault::None);
    unsetenv("XDG_CONFIG_HOME");
}
#endif

}  // namespace
}  // namespace Quorvant
