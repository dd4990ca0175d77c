#include "platform/Desktop.h"
#include "platform/Folders.h"
#include "platform/LocalTime.h"
#include "platform/Utf8Path.h"
#include "tests/TestFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace Quorvant {
namespace {

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

#ifndef _WIN32

// Programs of the test's own stand in for the desktop's: each writes down how it was called.
class Desktop : public testing::Test {
  protected:
    Desktop() { setenv("PATH", folder.path.c_str(), 1); }
    ~Desktop() override { setenv("PATH", "/usr/bin:/bin", 1); }

    void provide(const std::string& name, int exitCode) {
        const std::string part = (folder / (name + ".part")).native();
        writeBytes(folder / name, "#!/bin/sh\nfor word in \"$@\"; do echo \"$word\"; done > " +
                                      part + "\n/bin/mv " + part + " " +
                                      (folder / (name + ".called")).native() + "\nexit " +
                                      std::to_string(exitCode) + "\n");
        std::filesystem::permissions(folder / name, std::filesystem::perms::owner_all);
    }
    std::string callOf(const std::string& name) {
        const auto call = folder / (name + ".called");
        for (int i = 0; i < 1000 && !std::filesystem::exists(call); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return readBytes(call);
    }

    TestFolder folder;
};

TEST_F(Desktop, TellsWhatCannotBeOpened) {
    EXPECT_FALSE(openPath(folder.path)) << "by what?";
    EXPECT_FALSE(openLink("https://www.quorvant.example"));
    provide("xdg-open", 0);
    EXPECT_FALSE(openPath("/no/such/folder"));
    EXPECT_FALSE(revealFile("/no/such/file.qvx"));
    EXPECT_FALSE(openLink("file:///etc/passwd"));
    EXPECT_FALSE(openLink("--help"));
    EXPECT_FALSE(openLink(std::string_view("https://a\0b", 11)));
}

TEST_F(Desktop, PassesArgumentsWithoutAShellAndRevealsTheFolderAtLeast) {
    provide("dbus-send", 1);
    provide("xdg-open", 0);
    const auto odd = folder / "$(touch x); 'a'";
    std::filesystem::create_directories(odd);
    writeBytes(odd / "a,b.qvx", "x");
    EXPECT_TRUE(revealFile(odd / "a,b.qvx"));
    EXPECT_EQ(callOf("xdg-open"), odd.native() + "\n");
    const auto asked = callOf("dbus-send");
    EXPECT_NE(asked.find("org.freedesktop.FileManager1.ShowItems"), std::string::npos);
    EXPECT_NE(asked.find("array:string:" + fileAddress(odd / "a,b.qvx")), std::string::npos);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    EXPECT_EQ(fileAddress("/a b/c,d;\"é%.qvx"), "file:///a%20b/c%2Cd%3B%22%C3%A9%25.qvx");
}

#endif

}  // namespace
}  // namespace Quorvant
