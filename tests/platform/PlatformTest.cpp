#include "platform/Desktop.h"
#include "platform/Folders.h"
#include "platform/LocalTime.h"
#include "platform/TickCount.h"
#include "platform/Utf8Path.h"
#include "tests/TestFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#ifndef _WIN32
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace Quorvant {
namespace {

TEST(TickCount, CountsMilliseconds) {
    using Clock = std::chrono::steady_clock;
    const auto clockStart = Clock::now();
    const uint32_t start = tickCountMs();
    std::this_thread::sleep_for(std::chrono::milliseconds(120));
    const uint32_t ticks = tickCountMs() - start;
    const std::chrono::duration<double, std::milli> elapsed = Clock::now() - clockStart;
    EXPECT_GE(ticks, 100u);
    EXPECT_LE(ticks, elapsed.count() + 20);  // Windows counts in steps of 16 ms
}

TEST(Utf8Path, GoesThereAndBackAndRepairsTheRest) {
    for (const char* text : {"", "a", "äö", "\xF0\x9F\x8E\xB8", "\xEF\xBF\xBD"}) {
        EXPECT_EQ(validUtf8(text), text);
        EXPECT_EQ(utf8FromPath(pathFromUtf8(text)), text);
    }
    EXPECT_EQ(validUtf8("a\xE9"), "aé");
    EXPECT_EQ(validUtf8("\xC0\xAF"), "À¯");                      // overlong
    EXPECT_EQ(validUtf8("\xED\xA0\x80").substr(0, 2), "í");      // a surrogate
    EXPECT_EQ(validUtf8("\xF4\x90\xBF\xBF").substr(0, 2), "ô");  // beyond the last
    EXPECT_EQ(validUtf8("ä\xF0\x9F\xBE"), "äð\xC2\x9F¾");        // cut short
    EXPECT_EQ(shownText("a\n\x7F\x9Fé\xC2\x85Â"), "a   é Â");
    EXPECT_EQ(cutUtf8("a\xC3\xA4", 2), "a");
    EXPECT_EQ(cutUtf8("\x80\x80", 1), "");
}

TEST(LocalTime, IsThatOfTheUser) {
#ifdef _WIN32
    _putenv_s("TZ", "XYZ-3");
    _tzset();
#else
    setenv("TZ", "XYZ-3", 1);
#endif
    EXPECT_EQ(localTime(12 * 3600).tm_hour, 15);
}

TEST(Folders, LieInTheUsersHome) {
#ifdef _WIN32
    _putenv_s("USERPROFILE", "C:\\users\\somebody");
    EXPECT_EQ(documentsFolder(), std::filesystem::path("C:\\users\\somebody\\Documents"));
#else
    setenv("HOME", "/home/somebody", 1);
    setenv("XDG_CONFIG_HOME", "relative/is/invalid", 1);
    EXPECT_EQ(documentsFolder(), "/home/somebody/Documents");
    EXPECT_EQ(configurationFolder(), "/home/somebody/.config/Quorvant/QVX77x");
    setenv("XDG_CONFIG_HOME", "/elsewhere", 1);
    EXPECT_EQ(configurationFolder(), "/elsewhere/Quorvant/QVX77x");
    unsetenv("HOME");
    EXPECT_TRUE(documentsFolder().is_absolute());  // by the user's entry
#endif
}

TEST(Desktop, RefusesWhatIsNotThereOrNoPage) {
    EXPECT_FALSE(openPath("/no/such/folder"));
    EXPECT_FALSE(revealFile("/no/such/file.qvx"));
    EXPECT_FALSE(openLink("file:///etc/passwd"));
    EXPECT_FALSE(openLink("--help"));
    EXPECT_FALSE(openLink(std::string_view("https://a\0b", 11)));
}

#ifndef _WIN32

TEST(Desktop, AddressesEncodeWhatListsWouldSplit) {
    EXPECT_EQ(fileAddress("/a b/c,d;\"é%.qvx"), "file:///a%20b/c%2Cd%3B%22%C3%A9%25.qvx");
}

// Programs of the test's own stand in for the desktop's: each writes down how it was called.
class DesktopCalls : public testing::Test {
  protected:
    DesktopCalls() { setenv("PATH", folder.path.c_str(), 1); }
    ~DesktopCalls() override { setenv("PATH", "/usr/bin:/bin", 1); }

    void provide(const std::string& name, int exitCode) {
        const std::string written = (folder / name).native();
        writeBytes(folder / name, "#!/bin/sh\nfor word in \"$@\"; do echo \"$word\"; done > " +
                                      written + ".part\n/bin/mv " + written + ".part " + written +
                                      ".called\nexit " + std::to_string(exitCode) + "\n");
        chmod(written.c_str(), 0755);
    }
    std::string callOf(const std::string& name) {
        const auto call = folder / (name + ".called");
        for (int i = 0; i < 1000 && !std::filesystem::exists(call); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return readBytes(call);
    }
    static bool childLeft() { return waitpid(-1, nullptr, WNOHANG) != -1; }

    const TestFolder folder;
};

TEST_F(DesktopCalls, PassArgumentsWithoutAShellAndLeaveNoChild) {
    provide("xdg-open", 0);
    const auto odd = folder / "$(touch x); 'a'";
    std::filesystem::create_directories(odd);
    EXPECT_TRUE(openPath(odd));
    EXPECT_EQ(callOf("xdg-open"), odd.native() + "\n");
    EXPECT_FALSE(childLeft());
}

TEST_F(DesktopCalls, RevealFallsBackToTheFolder) {
    provide("dbus-send", 1);
    provide("xdg-open", 0);
    writeBytes(folder / "a,b.qvx", "x");
    EXPECT_TRUE(revealFile(folder / "a,b.qvx"));
    EXPECT_EQ(callOf("xdg-open"), folder.path.native() + "\n");
    const auto asked = callOf("dbus-send");
    EXPECT_NE(asked.find("org.freedesktop.FileManager1.ShowItems"), std::string::npos);
    EXPECT_NE(asked.find("array:string:file://" + folder.path.native() + "/a%2Cb.qvx"),
              std::string::npos);
    EXPECT_FALSE(childLeft());
}

TEST_F(DesktopCalls, TellWhenThereIsNothingToOpenWith) {
    EXPECT_FALSE(openPath(folder.path));
    EXPECT_FALSE(openLink("https://www.quorvant.example"));
}

#endif

}  // namespace
}  // namespace Quorvant
