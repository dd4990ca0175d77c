// Copying and pasting by way of the memo, which all tests of this program keep away from the
// user's.
#include "platform/UserStore.h"
#include "tests/presets/BlobBytes.h"
#include "tests/presets/PresetManagerRig.h"

#include <gmock/gmock.h>

#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#endif

namespace Quorvant {
namespace {

// A home, or a branch of the registry, for this process.
class OwnHome : public testing::Environment {
#ifdef _WIN32
    void SetUp() override {
        HKEY branch = nullptr;
        RegCreateKeyExA(HKEY_CURRENT_USER, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &branch, nullptr);
        ASSERT_EQ(RegOverridePredefKey(HKEY_CURRENT_USER, branch), ERROR_SUCCESS);
        RegCloseKey(branch);
    }
    void TearDown() override {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegDeleteTreeA(HKEY_CURRENT_USER, name.c_str());
    }
    const std::string name = "corvane-tests-" + std::to_string(GetCurrentProcessId());
#else
    void SetUp() override {
        setenv("HOME", home.path.c_str(), 1);
        unsetenv("XDG_CONFIG_HOME");
    }
    const TestFolder home;
#endif
};
const auto* const kHome = testing::AddGlobalTestEnvironment(new OwnHome);

using MemoTest = PresetManagerTest;

TEST_F(MemoTest, PastesAllParametersOfWhatAnotherInstanceCopied) {
    FakeHost other(folder.path);
    const auto carry = [&] {
        EXPECT_EQ(other.manager.copyToMemo(), PresetFault::None);
        EXPECT_EQ(manager.pasteFromMemo(), PresetFault::None);
    };
    other.turn(kGlobalMix, 0.25);
    choose(basic(2));
    carry();
    EXPECT_EQ(host.values[kGlobalMix], 0.25);
    EXPECT_TRUE(host.agrees());
    EXPECT_FALSE(manager.modified());
    EXPECT_THAT(manager.nameDisplay(), testing::MatchesRegex("CP:clipboard ..:..:.."));
    EXPECT_EQ(manager.location(), basic(kNotListed));

    // Two pastes stand at the same place, outside the lists, and are two changes all the same.
    other.turn(kMix, 0.125);
    carry();
    manager.undo();
    EXPECT_EQ(host.values[kMix], 0.5);
    manager.redo();
    EXPECT_EQ(host.values[kMix], 0.125);
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
    EXPECT_EQ(pasted(bad.bytes()), PresetFault::NotAPreset);
    EXPECT_EQ(pasted(bad.bytes().first(3)), PresetFault::NotAPreset);
    EXPECT_EQ(manager.nameDisplay(), "00: Default");
    EXPECT_TRUE(host.groups.empty());

    ASSERT_EQ(manager.copyToMemo(), PresetFault::None);
    host.turn(kMix, 0.875);
    EXPECT_EQ(pasted(bad.bytes()), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.5);
    EXPECT_EQ(pasted(BlobBytes::current().parameter(kMix, 0.375f).bytes()), PresetFault::None);
    host.turn(kMix, 0.875);
    EXPECT_EQ(pasted(bad.bytes()), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.375);
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
