// The memo between processes: the test program starts itself again as another host would run
// another instance. Also keeps all tests of this program away from the user's own folders.
#include "params/ParameterIndex.h"
#include "tests/presets/FakeHost.h"
#include "tests/presets/TestFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

#ifdef _WIN32
#include <process.h>
#include <windows.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace Quorvant {
namespace {

constexpr char kRoleVariable[] = "CORVANE_TEST_COPIES";

// A home, or a branch of the registry, for this process and those that it starts.
class OwnHome : public testing::Environment {
  public:
    void SetUp() override {
        const char* inherited = std::getenv(kRoleVariable);
        const std::string number = inherited ? inherited : std::to_string(getpid());
        key = "Software\\CorvaneTests\\" + number;
        home = std::filesystem::temp_directory_path() / ("corvane-home-" + number);
        owner = !inherited;
#ifdef _WIN32
        HKEY branch = nullptr;
        RegCreateKeyExA(HKEY_CURRENT_USER, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
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
        if (!owner) return;
#ifdef _WIN32
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegDeleteTreeA(HKEY_CURRENT_USER, key.c_str());
#else
        std::error_code ignored;
        std::filesystem::remove_all(home, ignored);
#endif
    }

  private:
    std::string key;
    std::filesystem::path home;
    bool owner = false;
};
const auto* const kHome = testing::AddGlobalTestEnvironment(new OwnHome);

int runSelf(const char* filter) {
#ifdef _WIN32
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    _putenv_s(kRoleVariable, std::to_string(getpid()).c_str());
    const std::wstring quoted = L"\"" + std::wstring(program) + L"\"";
    const std::wstring option = L"--gtest_filter=" + pathFromUtf8(filter).native();
    const auto status = _wspawnl(_P_WAIT, program, quoted.c_str(), option.c_str(), nullptr);
    _putenv_s(kRoleVariable, "");
    return static_cast<int>(status);
#else
    const std::string home = std::to_string(getpid());
    const std::string option = std::string("--gtest_filter=") + filter;
    const auto program = std::filesystem::read_symlink("/proc/self/exe").string();
    const pid_t child = fork();
    if (child == 0) {
        setenv(kRoleVariable, home.c_str(), 1);
        execl(program.c_str(), program.c_str(), option.c_str(), nullptr);
        _exit(99);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 99;
#endif
}

TEST(TwoProcesses, CopyInOneAndPasteInTheOther) {
    const TestFolder folder;
    FakeHost host;
    PresetManager manager(host, folder.path);
    host.manager = &manager;
    if (std::getenv(kRoleVariable)) {
        host.turn(kMix, 0.375);
        host.turn(kGlobalOutput, 0.125);
        ASSERT_EQ(manager.copyToMemo(), PresetFault::None);
        return;
    }
    ASSERT_EQ(runSelf("TwoProcesses.CopyInOneAndPasteInTheOther"), 0);
    ASSERT_EQ(manager.pasteFromMemo(), PresetFault::None);
    EXPECT_EQ(host.values[kMix], 0.375);
    EXPECT_EQ(host.values[kGlobalOutput], 0.125);
}

#ifndef _WIN32
TEST(TwoProcesses, MemoOfAUserWithoutOneOrWithoutRights) {
    FakeHost host;
    const TestFolder folder;
    PresetManager manager(host, folder.path);
    const auto configuration = folder / "config";
    setenv("XDG_CONFIG_HOME", configuration.c_str(), 1);
    EXPECT_EQ(manager.pasteFromMemo(), PresetFault::NothingToPaste);
    writeBytes(configuration, "a file where the folder should be");
    EXPECT_NE(manager.copyToMemo(), PresetFault::None);
    unsetenv("XDG_CONFIG_HOME");
}
#endif

}  // namespace
}  // namespace Quorvant
